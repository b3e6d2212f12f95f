#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QString>
#include <xcb/xcb.h>

namespace tarvex::test {

// A private X server for tests that need a display of their own beside the one the test runs
// on (two "machines" side by side). Picks a free display number, starts Xvfb on it without TCP
// and waits until it accepts clients; stops it when destroyed. The server must not reset when
// its last client leaves: a test that closes every connection and opens a new one at once
// would be hung up on in the middle of the reset.
class XvfbServer {
public:
    XvfbServer() {
        for (int number = 400 + int(QCoreApplication::applicationPid() % 200); number < 1000;
             ++number) {
            if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(number)) ||
                QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number))) {
                continue;
            }
            const QString display = QStringLiteral(":%1").arg(number);
            m_process.start(QStringLiteral("Xvfb"),
                            {display, QStringLiteral("-screen"), QStringLiteral("0"),
                             QStringLiteral("800x600x24"), QStringLiteral("-nolisten"),
                             QStringLiteral("tcp"), QStringLiteral("-noreset")});
            if (!m_process.waitForStarted(5000)) {
                return;
            }
            if (WaitUntilReady(display)) {
                m_display = display;
                return;
            }
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    ~XvfbServer() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
            }
        }
    }

    // Empty when no server could be started.
    QString Display() const { return m_display; }

private:
    bool WaitUntilReady(const QString& display) {
        const QDeadlineTimer deadline(10000);
        const QByteArray name = display.toLatin1();
        while (!deadline.hasExpired() && m_process.state() == QProcess::Running) {
            xcb_connection_t* connection = xcb_connect(name.constData(), nullptr);
            const bool ok = !xcb_connection_has_error(connection);
            xcb_disconnect(connection);
            if (ok) {
                return true;
            }
            // Another test took this number first: Xvfb has exited, try the next.
            m_process.waitForFinished(50);
        }
        return false;
    }

    QProcess m_process;
    QString m_display;
};

} // namespace tarvex::test
