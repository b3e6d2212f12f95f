#include "RawPeer.h"
#include "RecordingSessions.h"
#include "TestRegistry.h"

#include <QProcess>
#include <QTest>
#include <enet/enet.h>

using namespace tarvex;
using namespace tarvex::test;

namespace {

// Starts the peer helper and waits until its session is open.
bool StartPeer(QProcess& process, const QStringList& args) {
    process.start(QStringLiteral(TARVEX_TEST_PEER), args);
    if (!process.waitForStarted(5000)) {
        return false;
    }
    return QTest::qWaitFor([&] { return process.readAllStandardOutput().contains("ready"); },
                           10000);
}

} // namespace

// How sessions end when the other side vanishes, misbehaves or never answers.
class SessionEndTest : public QObject {
    Q_OBJECT

private slots:
    void killedHostIsConnectionLost() {
        const quint16 port = FreeUdpPort();
        QProcess host;
        QVERIFY(StartPeer(host, {QStringLiteral("host"), QString::number(port)}));
        RecordingClient client;
        QCOMPARE(client.Join(port, QStringLiteral("Bob")), 0u);

        host.kill();
        host.waitForFinished();
        QTRY_COMPARE_WITH_TIMEOUT(client.terminations,
                                  QList<dpn::ResultCode>{dpn::DPNERR_CONNECTIONLOST}, 15000);
    }

    void killedClientLeavesTheSession() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        QProcess client;
        QVERIFY(StartPeer(
            client, {QStringLiteral("client"), QString::number(port), QStringLiteral("Gone")}));
        QTRY_COMPARE(host.created.size(), 2);

        client.kill();
        client.waitForFinished();
        QTRY_COMPARE_WITH_TIMEOUT(host.destroyed, QList<dpn::PlayerId>{host.created[1]}, 15000);
        QCOMPARE(host.session.PlayerCount(), 1);
    }

    // A peer that connects and never sends its handshake, or sends garbage, is dropped
    // without ever becoming a player.
    void joinerWithoutHandshakeIsDropped_data() {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<quint32>("reason");
        QTest::newRow("silent") << QByteArray() << dpn::DPNERR_NORESPONSE;
        QTest::newRow("garbage") << QByteArray("\x02\xff\xff", 3) << dpn::DPNERR_INVALIDAPPLICATION;
        QTest::newRow("a message before the handshake")
            << QByteArray("\x01\x00\x03\x00hey", 7) << dpn::DPNERR_INVALIDAPPLICATION;
    }
    void joinerWithoutHandshakeIsDropped() {
        QFETCH(QByteArray, sent);
        QFETCH(quint32, reason);
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);

        RawPeer joiner;
        ENetPeer* peer = joiner.Connect(port);
        QVERIFY(joiner.ServeUntil([&] { return !joiner.received.isEmpty(); }));
        QVERIFY(handshake::ParseChallenge(joiner.received.first().bytes));
        if (!sent.isEmpty()) {
            joiner.Send(peer, sent);
        }
        QVERIFY(joiner.ServeUntil([&] { return !joiner.disconnects.isEmpty(); }));
        QCOMPARE(joiner.disconnects, QList<quint32>{reason});
        QCOMPARE(host.created.size(), 1);
        QVERIFY(host.received.isEmpty());
    }

    void hostThatNeverAnswers() {
        RecordingClient client;
        // Nothing listens on the port: the attempt ends with "no response", once.
        QCOMPARE(client.Join(FreeUdpPort(), QStringLiteral("Bob")), dpn::DPNERR_NORESPONSE);
        QTest::qWait(200);
        QCOMPARE(client.completes.size(), 1);
        QVERIFY(client.dialogs->messages.isEmpty());
    }

    void abandonedAttemptReportsNothing() {
        RecordingClient client;
        QVERIFY(client.session.Connect(QStringLiteral("127.0.0.1"), FreeUdpPort(),
                                       QStringLiteral("Bob"), QString()));
        QVERIFY(client.session.IsConnecting());
        client.session.CloseClient();
        QCOMPARE(client.closed, 1);
        QTest::qWait(client.session.Timeouts().connect_ms + 300);
        QVERIFY(client.completes.isEmpty());
        QVERIFY(client.terminations.isEmpty());
        // A second close has nothing left to close.
        client.session.CloseClient();
        QCOMPARE(client.closed, 1);
    }
};

TARVEX_TEST(SessionEndTest);
#include "SessionEndTest.moc"
