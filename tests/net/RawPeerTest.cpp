#include "SessionHarness.h"
#include "TestRegistry.h"
#include "net/transport/Handshake.h"

#include <QMap>
#include <QTest>
#include <enet/enet.h>

using namespace tarvex;
using namespace tarvex::test;

namespace {

// A bare ENet endpoint on loopback, standing in for the other side of a session so that a
// test can send exactly what it wants, in the order it wants, and look at ENet's own view.
struct RawEndpoint {
    ENetHost* host = nullptr;
    ENetPeer* peer = nullptr;

    explicit RawEndpoint(quint16 listen_port = 0) {
        ENetAddress address;
        enet_address_set_host(&address, "127.0.0.1");
        address.port = listen_port;
        host = enet_host_create(listen_port != 0 ? &address : nullptr, 1, 3, 0, 0);
    }
    ~RawEndpoint() {
        if (host) {
            enet_host_destroy(host);
        }
    }
    void Connect(quint16 port) {
        ENetAddress address;
        enet_address_set_host(&address, "127.0.0.1");
        address.port = port;
        peer = enet_host_connect(host, &address, 3, 0);
    }
    void Send(const QByteArray& bytes, quint8 channel, bool reliable) {
        ENetPacket* packet = enet_packet_create(bytes.constData(), size_t(bytes.size()),
                                                reliable ? ENET_PACKET_FLAG_RELIABLE : 0);
        if (enet_peer_send(peer, channel, packet) != 0) {
            enet_packet_destroy(packet);
        }
        enet_host_flush(host);
    }
    // Serves the socket until `done` says so; every received packet goes to `on_packet`.
    template <typename OnPacket, typename Done>
    bool ServeUntil(OnPacket on_packet, Done done) {
        return QTest::qWaitFor(
            [&] {
                ENetEvent event;
                while (enet_host_service(host, &event, 0) > 0) {
                    if (event.type == ENET_EVENT_TYPE_CONNECT) {
                        peer = event.peer;
                    } else if (event.type == ENET_EVENT_TYPE_RECEIVE) {
                        const QByteArray bytes(reinterpret_cast<const char*>(event.packet->data),
                                               qsizetype(event.packet->dataLength));
                        enet_packet_destroy(event.packet);
                        on_packet(bytes);
                    }
                }
                return done();
            },
            10000);
    }
};

} // namespace

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
        RawEndpoint joiner;
        QVERIFY(joiner.host);
        joiner.Connect(port);
        QVERIFY(joiner.peer);
        QCOMPARE(joiner.peer->packetThrottleDeceleration,
                 quint32(ENET_PEER_PACKET_THROTTLE_DECELERATION));
        bool challenged = false;
        QVERIFY(joiner.ServeUntil([&](const QByteArray&) { challenged = true; },
                                  [&] { return challenged; }));
        QCOMPARE(joiner.peer->packetThrottleDeceleration, 0u);
        QCOMPARE(joiner.peer->packetThrottle, quint32(ENET_PEER_PACKET_THROTTLE_SCALE));
    }

    // The host admits a player and at once sends on the urgent and unreliable lanes; on a lossy
    // link those arrive before the accept. The join must still succeed and keep them.
    void messagesThatOvertakeTheAccept() {
        const quint16 port = FreeUdpPort();
        RawEndpoint fake_host(port);
        QVERIFY(fake_host.host);
        RecordingClient client;
        QVERIFY(client.session.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bob"),
                                       QString()));
        QVERIFY(fake_host.ServeUntil([](const QByteArray&) {},
                                     [&] { return fake_host.peer != nullptr; }));
        fake_host.Send(handshake::BuildChallenge(QByteArray(16, 'n')), 0, true);
        bool hello = false;
        QVERIFY(fake_host.ServeUntil(
            [&](const QByteArray& bytes) { hello = handshake::ParseHello(bytes).has_value(); },
            [&] { return hello; }));
        // The client told this end to keep every unreliable packet too.
        QCOMPARE(fake_host.peer->packetThrottleDeceleration, 0u);

        fake_host.Send("car state", 2, false);
        fake_host.Send("start now", 1, true);
        QTest::qWait(50);
        fake_host.Send(handshake::BuildAccept({77, 5, QStringLiteral("Cup"), 12}), 0, true);
        fake_host.Send("welcome", 0, true);
        QVERIFY(fake_host.ServeUntil([](const QByteArray&) {},
                                     [&] { return client.received.size() == 3; }));
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

        RawEndpoint newcomer;
        QList<QByteArray> newcomer_got;
        bool handled = false;
        connect(&host.session, &HostSession::Receive, this, [&](dpn::PlayerId, const QByteArray&) {
            leaver.session.CloseClient();
            // Give the host time to see the leaver go; a host that keeps treating the freed slot
            // as the leaver's lets this wait run out, and the newcomer then shows it.
            (void)QTest::qWaitFor([&] { return !host.session.GetConnectionInfo(leaver_id); }, 1000);
            newcomer.Connect(port);
            newcomer.ServeUntil([&](const QByteArray& bytes) { newcomer_got << bytes; },
                                [&] { return newcomer.peer->state == ENET_PEER_STATE_CONNECTED; });
            // The host counts the newcomer as connected once its acknowledgement is in.
            QTest::qWait(100);
            QCOMPARE(host.session.GetClientInfo(leaver_id), QStringLiteral("Leaver"));
            host.session.SendTo(leaver_id, "for the leaver", 0, dpn::SendReliable);
            host.session.SendTo(0, "for everyone", 0, dpn::SendUnreliable);
            handled = true;
        });
        leaver.session.Send("wait", 0, dpn::SendReliable);
        QTRY_VERIFY(handled);
        QVERIFY(newcomer.ServeUntil([&](const QByteArray& bytes) { newcomer_got << bytes; },
                                    [&] { return !newcomer_got.isEmpty(); }));
        QVERIFY2(handshake::ParseChallenge(newcomer_got.first()).has_value(),
                 newcomer_got.first().constData());
        QTRY_COMPARE(host.destroyed, QList<dpn::PlayerId>{leaver_id});
    }

    // An admitted peer that floods the host: its packets are served in turns of the event loop,
    // so the host's timers and input still run while it lasts.
    void floodIsServedInTurns() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RawEndpoint flooder;
        flooder.Connect(port);
        QVERIFY(flooder.ServeUntil(
            [&](const QByteArray& bytes) {
                if (const auto nonce = handshake::ParseChallenge(bytes)) {
                    flooder.Send(handshake::BuildHello({QLatin1String(dpn::ApplicationGuid),
                                                        QStringLiteral("Flood"),
                                                        handshake::PasswordProof(*nonce, {})}),
                                 0, true);
                }
            },
            [&] { return host.created.size() == 2; }));

        int turn = 0;
        QMap<int, int> per_turn;
        connect(&host.session, &HostSession::Receive, this, [&](dpn::PlayerId, const QByteArray&) {
            if (++per_turn[turn] == 1) {
                QMetaObject::invokeMethod(
                    this, [&] { ++turn; }, Qt::QueuedConnection);
            }
        });
        // All of it lands in the host's socket before the host gets to read any.
        constexpr int Packets = 3000;
        for (int n = 0; n < Packets; ++n) {
            const QByteArray bytes = "U" + QByteArray::number(n);
            enet_peer_send(flooder.peer, 2, enet_packet_create(bytes.constData(), bytes.size(), 0));
            if (n % 40 == 39) {
                enet_host_flush(flooder.host);
            }
        }
        enet_host_flush(flooder.host);
        QTRY_VERIFY(host.received.size() >= Packets / 2);
        QTest::qWait(100);
        int largest = 0;
        for (int count : per_turn) {
            largest = std::max(largest, count);
        }
        QVERIFY2(
            largest < host.received.size(),
            qPrintable(
                QStringLiteral("%1 of %2 in one turn").arg(largest).arg(host.received.size())));
    }

    // A host that answers with something that is no handshake at all is not a Tarvex host.
    void hostSpeakingAnotherProtocol() {
        const quint16 port = FreeUdpPort();
        RawEndpoint fake_host(port);
        RecordingClient client;
        QVERIFY(client.session.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bob"),
                                       QString()));
        QVERIFY(fake_host.ServeUntil([](const QByteArray&) {},
                                     [&] { return fake_host.peer != nullptr; }));
        fake_host.Send("HTTP/1.0 200 OK", 0, true);
        QVERIFY(fake_host.ServeUntil([](const QByteArray&) {},
                                     [&] { return !client.completes.isEmpty(); }));
        QCOMPARE(client.completes, QList<dpn::ResultCode>{dpn::DPNERR_INVALIDAPPLICATION});
        QVERIFY(!client.session.IsConnected());
    }
};

TARVEX_TEST(RawPeerTest);
#include "RawPeerTest.moc"
