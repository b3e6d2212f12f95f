#pragma once

#include <QDeadlineTimer>
#include <QProcess>
#include <QString>

namespace tarvex::test {

// A private X server for tests that need a display of their own beside the one the test runs
// on (two "machines" side by side). Xvfb picks a free display number itself (-displayfd), so
// tests and scripts running at the same time can never end up on one server, and tells it once
// it accepts clients; the server stops when this object is destroyed. It must not reset when its
// last client leaves: a test that closes every connection and opens a new one at once would be
// hung up on in the middle of the reset.
class XvfbServer {
public:
    XvfbServer() {
        m_process.start(QStringLiteral("Xvfb"),
                        {QStringLiteral("-displayfd"), QStringLiteral("1"),
                         QStringLiteral("-screen"), QStringLiteral("0"),
                         QStringLiteral("800x600x24"), QStringLiteral("-nolisten"),
                         QStringLiteral("tcp"), QStringLiteral("-noreset")});
        if (!m_process.waitForStarted(5000)) {
            return;
        }
        QByteArray number;
        const QDeadlineTimer deadline(10000);
        while (!number.contains('\n') && !deadline.hasExpired() &&
               m_process.waitForReadyRead(int(deadline.remainingTime()))) {
            number += m_process.readAllStandardOutput();
        }
        if (number.contains('\n')) {
            m_display = u':' + QString::fromLatin1(number.trimmed());
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
    QProcess m_process;
    QString m_display;
};

} // namespace tarvex::test
