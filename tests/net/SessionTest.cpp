#include "RecordingSessions.h"
#include "TestRegistry.h"

#include <QNetworkDatagram>
#include <QSet>
#include <QTest>
#include <QUdpSocket>
#include <array>
#include <memory>
#include <vector>

using namespace tarvex;
using namespace tarvex::test;

namespace {

QByteArray Numbered(char type, int number) {
    return QByteArray(1, type) + QByteArray::number(number);
}

} // namespace

class SessionTest : public QObject {
    Q_OBJECT

private slots:
    void joinOutcome_data() {
        QTest::addColumn<QString>("host_password");
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("already_in");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("guid");
        QTest::addColumn<quint32>("result");

        const QString ours = QLatin1String(dpn::ApplicationGuid);
        const QString older = QStringLiteral("{4726CF1F-714B-5108-28BC-EF9C95D9EA10}");
        QTest::newRow("open") << "" << 12 << 0 << "" << ours << dpn::DPN_OK;
        QTest::newRow("right password") << "k3y" << 12 << 0 << "k3y" << ours << dpn::DPN_OK;
        QTest::newRow("wrong password")
            << "k3y" << 12 << 0 << "key" << ours << dpn::DPNERR_INVALIDPASSWORD;
        QTest::newRow("empty password")
            << "k3y" << 12 << 0 << "" << ours << dpn::DPNERR_INVALIDPASSWORD;
        QTest::newRow("other version, right password")
            << "k3y" << 12 << 0 << "k3y" << older << dpn::DPNERR_INVALIDAPPLICATION;
        QTest::newRow("limit 2, second client")
            << "" << 2 << 1 << "" << ours << dpn::DPNERR_SESSIONFULL;
        QTest::newRow("full, and the password wrong too")
            << "k3y" << 2 << 1 << "key" << ours << dpn::DPNERR_INVALIDPASSWORD;
        QTest::newRow("limit 3, second client") << "" << 3 << 1 << "" << ours << dpn::DPN_OK;
    }
    void joinOutcome() {
        QFETCH(QString, host_password);
        QFETCH(int, limit);
        QFETCH(int, already_in);
        QFETCH(QString, password);
        QFETCH(QString, guid);
        QFETCH(quint32, result);

        RecordingHost host;
        const quint16 port = host.Open(limit, host_password);
        QVERIFY(port != 0);
        std::vector<std::unique_ptr<RecordingClient>> earlier;
        for (int i = 0; i < already_in; ++i) {
            earlier.push_back(std::make_unique<RecordingClient>());
            QCOMPARE(earlier.back()->Join(port, QStringLiteral("Early"), host_password), 0u);
        }

        RecordingClient client;
        QCOMPARE(client.Join(port, QStringLiteral("Late"), password, guid), result);
        QCOMPARE(client.session.IsConnected(), result == dpn::DPN_OK);
        QTRY_COMPARE(host.created.size(), 1 + already_in + (result == dpn::DPN_OK ? 1 : 0));
        if (result == dpn::DPN_OK) {
            QCOMPARE(client.session.GetApplicationDesc(), QStringLiteral("Test Rally"));
            QCOMPARE(host.session.GetClientInfo(host.created.last()), QStringLiteral("Late"));
        }
        // A refused attempt is over: nothing more arrives, and the host keeps no trace of it.
        QTest::qWait(100);
        QCOMPARE(client.completes.size(), 1);
        QVERIFY(client.terminations.isEmpty());
        QVERIFY(host.destroyed.isEmpty());
    }

    void hostAndElevenClients() {
        RecordingHost host;
        const quint16 port = host.Open(12);
        QVERIFY(port != 0);
        QCOMPARE(host.created.first(), host.session.HostPlayerId());

        // Eleven players behind one router, all joining at the same moment: the host takes
        // their handshakes a few at a time and every one gets in.
        std::array<std::unique_ptr<RecordingClient>, 11> clients;
        for (int i = 0; i < 11; ++i) {
            clients[i] = std::make_unique<RecordingClient>();
            QVERIFY(clients[i]->session.Connect(QStringLiteral("127.0.0.1"), port,
                                                QStringLiteral("Driver %1").arg(i + 1), {}));
        }
        for (auto& client : clients) {
            QTRY_COMPARE(client->completes, QList<dpn::ResultCode>{0u});
        }
        QCOMPARE(host.created.size(), 12);
        QCOMPARE(host.session.PlayerCount(), 12);
        QSet<dpn::PlayerId> ids(host.created.begin(), host.created.end());
        QCOMPARE(ids.size(), 12);
        QVERIFY(!ids.contains(0));
        const auto id_of = [&](int i) { return clients[i]->session.LocalPlayerId(); };
        for (int i = 0; i < 11; ++i) {
            const dpn::PlayerId id = id_of(i);
            QVERIFY(ids.contains(id));
            QCOMPARE(host.session.GetClientInfo(id), QStringLiteral("Driver %1").arg(i + 1));
            QVERIFY(host.session.GetConnectionInfo(id).has_value());
        }
        QVERIFY(!host.session.GetConnectionInfo(host.session.HostPlayerId()));

        RecordingClient thirteenth;
        QCOMPARE(thirteenth.Join(port, QStringLiteral("One too many")), dpn::DPNERR_SESSIONFULL);

        // Reliable traffic from everyone at once arrives complete and in order per sender,
        // urgent messages included.
        constexpr int Rounds = 60;
        for (int n = 0; n < Rounds; ++n) {
            for (auto& client : clients) {
                client->session.Send(Numbered('G', n), 0,
                                     n % 10 == 9 ? dpn::SendUrgent : dpn::SendReliable);
            }
            host.session.SendTo(0, Numbered('H', n), 0, dpn::SendReliable);
        }
        QTRY_COMPARE(host.received.size(), 11 * Rounds);
        for (int i = 0; i < 11; ++i) {
            const QList<QByteArray> got = host.From(host.created[i + 1]);
            QList<QByteArray> want;
            for (int n = 0; n < Rounds; ++n) {
                want << Numbered('G', n);
            }
            // The urgent lane may overtake; the ordinary lane keeps its own order.
            QList<QByteArray> ordinary;
            for (int n = 0; n < Rounds; ++n) {
                if (n % 10 != 9) {
                    ordinary << want[n];
                }
            }
            QList<QByteArray> got_ordinary;
            for (int k = 0, n = 0; k < got.size(); ++k) {
                n = got[k].mid(1).toInt();
                if (n % 10 != 9) {
                    got_ordinary << got[k];
                }
            }
            QCOMPARE(got_ordinary, ordinary);
            QCOMPARE(QSet<QByteArray>(got.begin(), got.end()),
                     QSet<QByteArray>(want.begin(), want.end()));
        }
        for (auto& client : clients) {
            QTRY_COMPARE(client->received.size(), Rounds);
            QCOMPARE(client->received.first(), Numbered('H', 0));
            QCOMPARE(client->received.last(), Numbered('H', Rounds - 1));
        }

        // Car-state traffic: nothing is dropped on a clean link.
        host.received.clear();
        for (auto& client : clients) {
            client->received.clear();
        }
        constexpr int CarStates = 150;
        for (int n = 0; n < CarStates; ++n) {
            for (auto& client : clients) {
                client->session.Send(Numbered('U', n), 250, dpn::SendUnreliable);
            }
            host.session.SendTo(0, Numbered('V', n), 250, dpn::SendUnreliable);
            if (n % 10 == 0) {
                QTest::qWait(2);
            }
        }
        QTRY_COMPARE(host.received.size(), 11 * CarStates);
        for (auto& client : clients) {
            QTRY_COMPARE(client->received.size(), CarStates);
        }

        // One addressee only.
        host.session.SendTo(id_of(4), QByteArray("only you"), 0, dpn::SendReliable);
        QTRY_COMPARE(clients[4]->received.last(), QByteArray("only you"));
        QCOMPARE(clients[3]->received.size(), CarStates);

        // Removing a client tells it the host ended its session.
        const dpn::PlayerId kicked = id_of(2);
        host.session.DestroyClient(kicked);
        QTRY_COMPARE(host.destroyed, QList<dpn::PlayerId>{kicked});
        QTRY_COMPARE(clients[2]->terminations,
                     QList<dpn::ResultCode>{dpn::DPNERR_HOSTTERMINATEDSESSION});
        // A client that leaves by itself is a DestroyPlayer too.
        clients[0]->session.CloseClient();
        QCOMPARE(clients[0]->closed, 1);
        QTRY_COMPARE(host.destroyed.size(), 2);
        QCOMPARE(host.destroyed.last(), id_of(0));
        QCOMPARE(host.session.PlayerCount(), 10);

        host.session.CloseServer();
        for (int i = 1; i < 11; ++i) {
            if (i == 2) {
                continue;
            }
            QTRY_COMPARE(clients[i]->terminations,
                         QList<dpn::ResultCode>{dpn::DPNERR_HOSTTERMINATEDSESSION});
        }
        QVERIFY(clients[0]->terminations.isEmpty());
    }

    // A handler that spins the event loop (as waiting does) is never interrupted by the next
    // event; that one comes after it, in order.
    void eventsNeverNest() {
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RecordingClient client;
        QCOMPARE(client.Join(port, QStringLiteral("Bob")), 0u);

        int depth = 0;
        int deepest = 0;
        QList<QByteArray> order;
        connect(&host.session, &HostSession::Receive, this,
                [&](dpn::PlayerId, const QByteArray& bytes) {
                    deepest = std::max(deepest, ++depth);
                    order << bytes;
                    if (bytes == "first") {
                        QTest::qWait(100);
                    }
                    --depth;
                });
        client.session.Send("first", 0, dpn::SendReliable);
        client.session.Send("second", 0, dpn::SendReliable);
        client.session.Send("third", 0, dpn::SendUnreliable);
        QTRY_COMPARE(order.size(), 3);
        QCOMPARE(deepest, 1);
        QCOMPARE(order, (QList<QByteArray>{"first", "second", "third"}));
    }

    // Everything a joining client sends passes through a relay here; the password must not.
    void passwordNeverCrossesTheWire() {
        RecordingHost host;
        const quint16 host_port = host.Open(12, QStringLiteral("Sesame-4711"));
        QVERIFY(host_port != 0);

        QUdpSocket front;
        QUdpSocket back;
        QVERIFY(front.bind(QHostAddress::LocalHost, FreeUdpPort()));
        QVERIFY(back.bind(QHostAddress::LocalHost, 0));
        QByteArray captured;
        QHostAddress client_address;
        quint16 client_port = 0;
        connect(&front, &QUdpSocket::readyRead, this, [&] {
            while (front.hasPendingDatagrams()) {
                const QNetworkDatagram datagram = front.receiveDatagram();
                client_address = datagram.senderAddress();
                client_port = quint16(datagram.senderPort());
                captured += datagram.data();
                back.writeDatagram(datagram.data(), QHostAddress::LocalHost, host_port);
            }
        });
        connect(&back, &QUdpSocket::readyRead, this, [&] {
            while (back.hasPendingDatagrams()) {
                front.writeDatagram(back.receiveDatagram().data(), client_address, client_port);
            }
        });

        RecordingClient client;
        QCOMPARE(client.Join(front.localPort(), QStringLiteral("Nickname-Marker"),
                             QStringLiteral("Sesame-4711")),
                 0u);
        // The capture did see the handshake: the nickname is in it.
        QVERIFY(captured.contains("Nickname-Marker"));
        QVERIFY(!captured.contains("Sesame-4711"));
        QVERIFY(!captured.contains(QStringLiteral("Sesame-4711").toUtf8().toBase64()));
        const QString password = QStringLiteral("Sesame-4711");
        QVERIFY(!captured.contains(
            QByteArray(reinterpret_cast<const char*>(password.utf16()), password.size() * 2)));
    }

    void startFailuresShowTheirBox() {
        RecordingHost first;
        const quint16 port = first.Open();
        QVERIFY(port != 0);

        RecordingHost second;
        QVERIFY(!second.session.InitServer(QStringLiteral("Twin"), 12, port, QString()));
        QVERIFY(!second.session.IsHosting());
        QCOMPARE(second.dialogs->messages.size(), 1);
        QCOMPARE(second.dialogs->messages[0].title, QStringLiteral("InitServer"));
        QVERIFY(second.dialogs->messages[0].text.startsWith(QStringLiteral("Error 0x80004005: ")));
        QCOMPARE(second.dialogs->messages[0].icon, Dialogs::Icon::Critical);

        RecordingClient client;
        QVERIFY(!client.session.Connect(QString(), port, QStringLiteral("Bob"), QString()));
        QCOMPARE(client.dialogs->messages.size(), 1);
        QCOMPARE(client.dialogs->messages[0].title, QStringLiteral("mdlDirectPlayConnect"));
        QVERIFY(client.dialogs->messages[0].text.startsWith(QStringLiteral("Error 0x80158040: ")));
    }

    // A host given by name is looked up while the program goes on; one that cannot be found
    // ends the attempt like a failed connection, with no box of its own.
    void hostNamesAreLookedUpOnTheSide_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<quint32>("result");
        QTest::newRow("found") << "localhost" << dpn::DPN_OK;
        // Not even a name: refused without asking anyone on the network.
        QTest::newRow("not found") << "no such host" << dpn::DPNERR_ADDRESSING;
    }
    void hostNamesAreLookedUpOnTheSide() {
        QFETCH(QString, address);
        QFETCH(quint32, result);
        RecordingHost host;
        const quint16 port = host.Open();
        QVERIFY(port != 0);
        RecordingClient client;
        QVERIFY(client.session.Connect(address, port, QStringLiteral("Bob"), QString()));
        QVERIFY(client.session.IsConnecting());
        QVERIFY(client.completes.isEmpty());
        QTRY_COMPARE(client.completes, QList<dpn::ResultCode>{result});
        QVERIFY(client.dialogs->messages.isEmpty());
        QCOMPARE(client.session.IsConnected(), result == dpn::DPN_OK);
    }
};

TARVEX_TEST(SessionTest);
#include "SessionTest.moc"
