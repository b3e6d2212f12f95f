#include "RawPeer.h"

#include "RecordingSessions.h"
#include "TestRegistry.h"
#include "net/transport/Handshake.h"

#include <QTest>
#include <enet/enet.h>

using namespace tarvex;
using namespace tarvex::test;

// Sessions against a peer that is not one of ours: what they tell ENet about the link, and
// what they make of traffic in an order a real host produces only on a lossy network.
class RawPeerTest : public QObject {
    Q_OBJECT

private slots:
    // ENet's throttle starts dropping unreliable packets at the first rise in round-trip time;
    // car states must not be lost that way. Both sessions tell the other end the throttle they
    // use, so the far end's copy shows whether it can ever fall.
    void throttleNeverFalls() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RawPeer joiner;
        ENetPeer* peer = joiner.Connect(port);
        QVERIFY(peer);
        QCOMPARE(peer->packetThrottleDeceleration, quint32(ENET_PEER_PACKET_THROTTLE_DECELERATION));
        QVERIFY(joiner.ServeUntil([&] { return !joiner.received.isEmpty(); }));
        QCOMPARE(peer->packetThrottleDeceleration, 0u);
        QCOMPARE(peer->packetThrottle, quint32(ENET_PEER_PACKET_THROTTLE_SCALE));
    }

    // The host admits a player and at once sends on the urgent and unreliable lanes; on a lossy
    // link those arrive before the accept. The join must still succeed and keep them.
    void messagesThatOvertakeTheAccept() {
        const quint16 port = FreeUdpPort();
        RawPeer fake_host("127.0.0.1", port);
        RecordingClient client;
        QVERIFY(client.session.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bob"),
                                       QString()));
        QVERIFY(fake_host.ServeUntil([&] { return fake_host.connects == 1; }));
        ENetPeer* peer = fake_host.host()->peers;
        fake_host.Send(peer, handshake::BuildChallenge(QByteArray(16, 'n')));
        QVERIFY(fake_host.ServeUntil([&] { return !fake_host.received.isEmpty(); }));
        QVERIFY(handshake::ParseHello(fake_host.received.first().bytes));
        // The client told this end to keep every unreliable packet too.
        QCOMPARE(peer->packetThrottleDeceleration, 0u);

        fake_host.Send(peer, "car state", 2, false);
        fake_host.Send(peer, "start now", 1);
        QTest::qWait(50);
        fake_host.Send(peer, handshake::BuildAccept({77, 5, QStringLiteral("Cup"), 12}));
        fake_host.Send(peer, "welcome");
        QVERIFY(fake_host.ServeUntil([&] { return client.received.size() == 3; }));
        QCOMPARE(client.completes, QList<dpn::ResultCode>{dpn::DPN_OK});
        QVERIFY(client.session.IsConnected());
        QCOMPARE(client.session.LocalPlayerId(), 77u);
        QCOMPARE(client.received, (QList<QByteArray>{"car state", "start now", "welcome"}));
    }

    // While a handler waits, a player leaves and a newcomer gets its ENet slot. Whatever the
    // handler then sends to the player who left must not reach the newcomer, whose first packet
    // has to be its challenge.
    void slotReusedWhileAHandlerWaits() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RecordingClient leaver;
        QCOMPARE(leaver.Join(port, QStringLiteral("Leaver")), 0u);
        const dpn::PlayerId leaver_id = host.created.last();

        RawPeer newcomer;
        bool handled = false;
        connect(&host.session, &HostSession::Receive, this, [&](dpn::PlayerId, const QByteArray&) {
            leaver.session.CloseClient();
            // Give the host time to see the leaver go; a host that keeps treating the freed slot
            // as the leaver's lets this wait run out, and the newcomer then shows it.
            (void)QTest::qWaitFor([&] { return !host.session.GetConnectionInfo(leaver_id); }, 1000);
            newcomer.Connect(port);
            newcomer.ServeUntil([&] { return newcomer.connects == 1; });
            // The host counts the newcomer as connected once its acknowledgement is in.
            QTest::qWait(100);
            QCOMPARE(host.session.GetClientInfo(leaver_id), QStringLiteral("Leaver"));
            host.session.SendTo(leaver_id, "for the leaver", 0, dpn::SendReliable);
            host.session.SendTo(0, "for everyone", 0, dpn::SendUnreliable);
            handled = true;
        });
        leaver.session.Send("wait", 0, dpn::SendReliable);
        QTRY_VERIFY(handled);
        QVERIFY(newcomer.ServeUntil([&] { return !newcomer.received.isEmpty(); }));
        QVERIFY2(handshake::ParseChallenge(newcomer.received.first().bytes).has_value(),
                 newcomer.received.first().bytes.constData());
        QTRY_COMPARE(host.destroyed, QList<dpn::PlayerId>{leaver_id});
    }

    // A joiner's nickname is seated as one line of at most 32 characters, whatever it sent.
    void nicknameIsSeatedCut() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RawPeer joiner;
        joiner.answer_challenges = true;
        joiner.hello_name = QStringLiteral("Eve\r\n* Quit: (Ann)") + QString(100, u'x');
        joiner.Connect(port);
        QVERIFY(joiner.ServeUntil([&] { return host.created.size() == 2; }));
        QCOMPARE(host.session.GetClientInfo(host.created[1]),
                 QStringLiteral("Eve  * Quit: (Ann)") + QString(14, u'x'));
    }

    // A host that answers with something that is no handshake at all is not a Tarvex host.
    void hostSpeakingAnotherProtocol() {
        const quint16 port = FreeUdpPort();
        RawPeer fake_host("127.0.0.1", port);
        RecordingClient client;
        QVERIFY(client.session.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bob"),
                                       QString()));
        QVERIFY(fake_host.ServeUntil([&] { return fake_host.connects == 1; }));
        fake_host.Send(fake_host.host()->peers, "HTTP/1.0 200 OK");
        QVERIFY(fake_host.ServeUntil([&] { return !client.completes.isEmpty(); }));
        QCOMPARE(client.completes, QList<dpn::ResultCode>{dpn::DPNERR_INVALIDAPPLICATION});
        QVERIFY(!client.session.IsConnected());
    }
};

TARVEX_TEST(RawPeerTest);
#include "RawPeerTest.moc"
