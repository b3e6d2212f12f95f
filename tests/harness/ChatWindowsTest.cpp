#include "SessionHarness.h"
#include "TestRegistry.h"
#include "app/ClientFRM.h"
#include "app/RaceStartControls.h"
#include "app/ServerFRM.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <memory>

using namespace tarvex;
using namespace tarvex::test;

namespace {

QTextEdit* Console(QWidget& window) {
    return window.findChild<QTextEdit*>(QStringLiteral("MainTXT"));
}

QString Status(QWidget& window) {
    return window.findChild<QLabel*>(QStringLiteral("lblStatus"))->text();
}

QLineEdit* Box(QWidget& window) {
    return window.findChild<QLineEdit*>(QStringLiteral("dataTXT"));
}

void Say(QWidget& window, const QString& line) {
    QTest::keyClicks(Box(window), line);
    QTest::keyClick(Box(window), Qt::Key_Return);
}

bool ConsoleEndsWith(QWidget& window, const QString& line) {
    return SessionHarness::WaitFor([&] { return Console(window)->toPlainText().endsWith(line); });
}

// Double-clicks the console in the middle of the first occurrence of `word`.
void DoubleClick(QWidget& window, const QString& word) {
    QTextEdit* console = Console(window);
    QTextCursor cursor(console->document());
    cursor.setPosition(int(console->toPlainText().indexOf(word) + word.size() / 2));
    QTest::mouseDClick(console->viewport(), Qt::LeftButton, {},
                       console->cursorRect(cursor).center());
}

} // namespace

// The chat box of the host's and a client's windows over a real session: what is typed reaches
// every console, a client's command texts are chat, the box recalls what was sent, links in the
// console open, keys typed elsewhere in a window go to the box, and the host's commands start,
// force, stop and kick on every copy.
class ChatWindowsTest : public QObject {
    Q_OBJECT

private slots:
    void ChatsThroughTheWindows() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        Player& host = session.Host();
        // A desktop whose keyboard cannot be watched: said once, and the rest works on.
        host.platform.keyboard->available = false;
        std::unique_ptr<ServerFRM> window = session.OpenHostWindow();
        ServerFRM& server = *window;
        std::unique_ptr<ClientFRM> client;
        Player& ann = session.JoinWithWindow(QStringLiteral("Ann"), client);
        QVERIFY(client->Welcomed());
        const auto& messages = host.platform.dialogs->messages;
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages[0].title, QStringLiteral("Error"));
        QCOMPARE(messages[0].text, QStringLiteral("Cant hook keyboard, ingame chat disabled."));
        QCOMPARE(messages[0].icon, Dialogs::Icon::Critical);
        QVERIFY(ann.platform.dialogs->messages.isEmpty());
        QVERIFY(host->in_game_chat().textTimer().isActive());

        // Before a race, "/fstart" is no command but a line like any other.
        Say(server, QStringLiteral("/fstart"));
        QVERIFY(ConsoleEndsWith(*client, QStringLiteral("\n<Hostess> /fstart")));
        QVERIFY(ConsoleEndsWith(server, QStringLiteral("\n<Hostess> /fstart")));
        QCOMPARE(Box(server)->text(), QString());
        // A client's commands are chat, and so is a link it passes on.
        Say(*client, QStringLiteral("/stop"));
        Say(*client, QStringLiteral("see WWW.example.org/a?b=1 or http://x.test/ now"));
        for (QWidget* window : {static_cast<QWidget*>(&server), static_cast<QWidget*>(&*client)}) {
            QVERIFY(ConsoleEndsWith(
                *window, QStringLiteral("<Ann> /stop\n"
                                        "<Ann> see WWW.example.org/a?b=1 or http://x.test/ now")));
        }

        // Up fetches the lines sent, newest first; Down goes back to the line being typed.
        QTest::keyClicks(Box(*client), QStringLiteral("draft"));
        QTest::keyClick(Box(*client), Qt::Key_Up);
        QTest::keyClick(Box(*client), Qt::Key_Up);
        QCOMPARE(Box(*client)->text(), QStringLiteral("/stop"));
        QCOMPARE(Box(*client)->cursorPosition(), 5);
        QTest::keyClick(Box(*client), Qt::Key_Down);
        QTest::keyClick(Box(*client), Qt::Key_Down);
        QCOMPARE(Box(*client)->text(), QStringLiteral("draft"));

        // A double-click opens the whole link under the pointer, and nothing else.
        server.show();
        QVERIFY(QTest::qWaitForWindowActive(&server));
        DoubleClick(server, QStringLiteral("example"));
        DoubleClick(server, QStringLiteral("x.test"));
        DoubleClick(server, QStringLiteral("see"));
        QCOMPARE(Console(server)->textCursor().selectedText(), QStringLiteral("see"));
        const auto& opened = host.platform.shell->calls;
        QCOMPARE(opened.size(), 2);
        QCOMPARE(opened[0].target, QStringLiteral("WWW.example.org/a?b=1"));
        QCOMPARE(opened[1].target, QStringLiteral("http://x.test/"));

        // A key typed while the console has the focus lands in the box.
        Console(server)->setFocus();
        QTest::keyClicks(Console(server), QStringLiteral("ok"));
        QCOMPARE(server.focusWidget(), Box(server));
        QCOMPARE(Box(server)->text(), QStringLiteral("ok"));
        QCOMPARE(ann->console.Text().count(QStringLiteral("\r\n")), 3);

        // The host's commands act on the race of every copy; their errors are the host's alone.
        std::unique_ptr<ClientFRM> bobs;
        Player& bob = session.JoinWithWindow(QStringLiteral("Bob"), bobs);
        Box(server)->clear();
        Say(server, QStringLiteral("/stop"));
        QVERIFY(ConsoleEndsWith(server, QStringLiteral("\nError: Game Not Started")));
        ann->chkReady().SetTicked(true);
        QVERIFY(SessionHarness::WaitFor([&] { return host->roster[1].Status == 2; }));
        Say(server, QStringLiteral("/START now"));
        QCOMPARE(server.StartControls().cmdStart->text(), QStringLiteral("Stop"));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return Status(*client) == QStringLiteral("Status: Game Launches In...3"); }));
        Say(server, QStringLiteral("/start"));
        QVERIFY(ConsoleEndsWith(server, QStringLiteral("\nError: Game Already Started")));
        Say(server, QStringLiteral("/fstart"));
        QVERIFY(SessionHarness::WaitFor([&] { return ann->flags.StartGiven == 1; }));
        Say(server, QStringLiteral("/stop"));
        QCOMPARE(server.StartControls().cmdStart->text(), QStringLiteral("Start"));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return Status(*client) == QStringLiteral("Status: Idle"); }));
        Say(server, QStringLiteral("/kick BOB"));
        QVERIFY(SessionHarness::WaitFor([&] {
            return !host->roster[2].Occupied() && !ann->roster[2].Occupied() &&
                   !bob->roster[2].Occupied();
        }));
        QVERIFY(!ann->console.Text().contains(QStringLiteral("Error")));
    }
};

TARVEX_TEST(ChatWindowsTest);
#include "ChatWindowsTest.moc"
