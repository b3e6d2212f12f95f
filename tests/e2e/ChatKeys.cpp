// chat-keys DISPLAY TEXT: says TEXT in the in-game chat of the game that has the keyboard on
// DISPLAY, typed as a player would: T to open the line, the characters, Enter to send. Keys go
// through XTEST to whatever window has the focus, exactly as a keyboard's would.
//
// Tarvex polls T and Enter on a timer and sees characters through its key hook, so T and Enter
// are held for several of its ticks, however busy the machine is.

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDesktop.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QThread>
#include <memory>

namespace {

constexpr int kT = 'T', kEnter = 13;
constexpr int kHoldMs = 400;
constexpr int kCharacterGapMs = 60;

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 3) {
        QTextStream(stderr) << "usage: chat-keys DISPLAY TEXT\n";
        return 2;
    }
    const QString text = args[2];
    for (QChar c : text) {
        if (!(c.isLower() && c.unicode() < 128) && !c.isDigit() && c != u' ') {
            QTextStream(stderr) << "chat-keys types lower-case letters, digits and spaces only\n";
            return 2;
        }
    }
    auto connection = std::make_shared<tarvex::XcbConnection>(args[1]);
    if (!connection->IsOpen()) {
        QTextStream(stderr) << "chat-keys: no X server at " << args[1] << '\n';
        return 1;
    }
    tarvex::XcbDesktop desktop(connection);
    auto hold = [&desktop](int key) {
        desktop.SendKey(key, true);
        QThread::msleep(kHoldMs);
        desktop.SendKey(key, false);
        QThread::msleep(kHoldMs);
    };
    hold(kT);
    for (QChar c : text) {
        const int key = c.toUpper().unicode();
        desktop.SendKey(key, true);
        desktop.SendKey(key, false);
        QThread::msleep(kCharacterGapMs);
    }
    QThread::msleep(kHoldMs);
    hold(kEnter);
    return 0;
}
