#include "FreePort.h"
#include "RawPeer.h"
#include "SessionHarness.h"
#include "TestRegistry.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

using namespace tarvex;
using namespace tarvex::test;

namespace {

using Clock = std::chrono::steady_clock;

// The refusal codes a raw peer was given, in the order they came, for a failure message.
QString Reasons(const QList<quint32>& codes) {
    QStringList texts;
    for (quint32 code : codes) {
        texts << QStringLiteral("0x%1").arg(code, 8, 16, QLatin1Char('0'));
    }
    return QStringLiteral("%1 refusals: %2").arg(codes.size()).arg(texts.join(u' '));
}

// What a copy knows of the rows, leaving out the slots an attack may rightly change.
QString RowsExcept(const Tarvex& tarvex, std::initializer_list<int> skipped) {
    QStringList rows;
    for (int slot = 0; slot < SlotCount; ++slot) {
        if (std::find(skipped.begin(), skipped.end(), slot) != skipped.end()) {
            continue;
        }
        const PlayerRecord& record = tarvex.roster[slot];
        const RowCar& car = tarvex.roster.cars[std::size_t(slot)];
        rows << QStringLiteral("%1:%2:%3:%4:%5/%6/%7")
                    .arg(slot)
                    .arg(record.Name)
                    .arg(record.PlayerId)
                    .arg(record.Status)
                    .arg(car.car)
                    .arg(car.transmission)
                    .arg(car.tyre);
    }
    return rows.join(u' ');
}

int CountOf(const QString& text, const QString& part) {
    return int(text.count(part));
}

// One attack on a running session. `run` goes on in a thread of its own until `stop`, with
// its own ENet endpoint; `admitted` is the attacker's connection when the attack needs a seat
// in the session (slot 2, as "Flood"), else null.
struct Attack {
    std::function<void(RawPeer& raw, ENetPeer* admitted, quint16 port,
                       const std::atomic<bool>& stop)>
        run;
    bool needs_seat = true;
    QString password = {};
};

// Sends `make(n)` `per_second` times a second until told to stop.
void Stream(RawPeer& raw, ENetPeer* peer, const std::atomic<bool>& stop, int per_second,
            const std::function<QByteArray(int)>& make) {
    const auto start = Clock::now();
    int sent = 0;
    while (!stop && peer->state == ENET_PEER_STATE_CONNECTED) {
        const auto elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        while (sent < int(elapsed * per_second) && peer->state == ENET_PEER_STATE_CONNECTED) {
            raw.Send(peer, make(sent++), 0, true, false);
        }
        enet_host_flush(raw.host());
        raw.Serve();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

QByteArray Chat(int text_bytes) {
    return Encode(ChatMsg{2, QString(text_bytes, u'x')});
}

} // namespace

Q_DECLARE_METATYPE(Attack)

// A hostile peer on loopback against a whole host: whatever it does, the other players keep
// their session and their rows, and a newcomer from another address still gets in.
class AttackTest : public QObject {
    Q_OBJECT

private slots:
    void sessionSurvives_data() {
        QTest::addColumn<Attack>("attack");
        QTest::addColumn<int>("seconds");
        // Chat lines from the attacker that may still reach the others (its budget).
        QTest::addColumn<int>("relayed_at_most");
        QTest::addColumn<QString>("host_line");
        // Verdicts the attacker may hear in that time; -1 when it asks for none.
        QTest::addColumn<int>("verdicts_at_most");

        QTest::newRow("10,000 chat lines a second")
            << Attack{[](RawPeer& raw, ENetPeer* peer, quint16, const std::atomic<bool>& stop) {
                   Stream(raw, peer, stop, 10000, [](int) { return Chat(8); });
               }}
            << 4 << 30 + 10 * 5 << "* Removed for flooding: (Flood)" << -1;
        // The transport refuses them before a byte is buffered; nothing is relayed.
        QTest::newRow("chat lines of 64 KB, 255 KB, and with 65,000 bytes of junk")
            << Attack{[](RawPeer& raw, ENetPeer* peer, quint16, const std::atomic<bool>& stop) {
                   Stream(raw, peer, stop, 20, [](int n) {
                       switch (n % 3) {
                       case 0:
                           return Chat(64 * 1024);
                       case 1:
                           return Encode(ChatMsg{2, QString()}) + QByteArray(261120, 'x');
                       default:
                           return Chat(8) + QByteArray(65000, '\x01');
                       }
                   });
               }}
            << 2 << 0 << "" << -1;
        QTest::newRow("valid chat lines with junk after them")
            << Attack{[](RawPeer& raw, ENetPeer* peer, quint16, const std::atomic<bool>& stop) {
                   Stream(raw, peer, stop, 20,
                          [](int n) { return Chat(8) + QByteArray(1 + n % 3, '\x01'); });
               }}
            << 4 << 0 << "* Removed for broken messages: (Flood)" << -1;
        QTest::newRow("times that are no times")
            << Attack{[](RawPeer& raw, ENetPeer* peer, quint16, const std::atomic<bool>& stop) {
                   const float bad[] = {std::numeric_limits<float>::quiet_NaN(),
                                        std::numeric_limits<float>::infinity(), -1e30f, -1.0f,
                                        10000.5f};
                   Stream(raw, peer, stop, 20, [&](int n) {
                       return Encode(TimeMsg{MessageType(14 + n % 3), 2, bad[n % 5]});
                   });
               }}
            << 4 << 0 << "* Removed for broken messages: (Flood)" << -1;
        QTest::newRow("40 joiners that never answer the challenge")
            << Attack{[](RawPeer& raw, ENetPeer*, quint16 port, const std::atomic<bool>& stop) {
                          while (!stop) {
                              // Every joiner the host drops comes straight back.
                              for (size_t i = 0; i < raw.host()->peerCount; ++i) {
                                  if (raw.host()->peers[i].state == ENET_PEER_STATE_DISCONNECTED) {
                                      raw.Connect(port);
                                  }
                              }
                              raw.Serve(1);
                          }
                      },
                      false}
            << 3 << 0 << "" << -1;
        QTest::newRow("40 connects never acknowledged")
            << Attack{[](RawPeer&, ENetPeer*, quint16 port, const std::atomic<bool>& stop) {
                          // A fresh endpoint every half second: 40 new connect datagrams, and
                          // nothing ever acknowledged.
                          while (!stop) {
                              RawPeer silent("127.0.0.1", 0, 40);
                              for (int i = 0; i < 40; ++i) {
                                  silent.Connect(port);
                              }
                              std::this_thread::sleep_for(std::chrono::milliseconds(500));
                          }
                      },
                      false}
            << 3 << 0 << "" << -1;
        // Three free guesses, then waits of 0.5, 1 and 2 s between verdicts, where an
        // unhindered guesser gets hundreds a second. The user still reads why. Every guess
        // comes from a socket of its own, as a guesser in a hurry would send them: a socket
        // reused at once can take a late resend of the refusal it had before for a new one.
        QTest::newRow("guessing the password")
            << Attack{[](RawPeer& raw, ENetPeer*, quint16 port, const std::atomic<bool>& stop) {
                          std::vector<std::unique_ptr<RawPeer>> guessers(raw.host()->peerCount);
                          int guess = 0;
                          while (!stop) {
                              for (auto& guesser : guessers) {
                                  if (guesser && guesser->host()->peers[0].state !=
                                                     ENET_PEER_STATE_DISCONNECTED) {
                                      guesser->Serve();
                                      continue;
                                  }
                                  if (guesser) {
                                      raw.disconnects << guesser->disconnects;
                                  }
                                  guesser = std::make_unique<RawPeer>();
                                  guesser->answer_challenges = true;
                                  guesser->hello_name = QStringLiteral("Guess");
                                  guesser->hello_password = QString::number(guess++);
                                  guesser->Connect(port);
                              }
                              std::this_thread::sleep_for(std::chrono::milliseconds(1));
                          }
                          for (auto& guesser : guessers) {
                              raw.disconnects << guesser->disconnects;
                          }
                      },
                      false, QStringLiteral("sesame")}
            << 3 << 0 << "" << 7;
    }

    void sessionSurvives() {
        QFETCH(Attack, attack);
        QFETCH(int, seconds);
        QFETCH(int, relayed_at_most);
        QFETCH(QString, host_line);
        QFETCH(int, verdicts_at_most);

        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 12, attack.password));
        Player& host = session.Host();
        Player& ann = session.Join(QStringLiteral("Ann"), attack.password);
        QVERIFY(ann->client_side().Welcomed());
        QSignalSpy ann_lost(&ann->client_side(), &ClientSide::SessionLost);
        QSignalSpy ann_times(&ann->client_side(), &ClientSide::TimeReceived);
        QSignalSpy host_times(&host->server_side(), &ServerSide::TimeReceived);

        auto raw = std::make_unique<RawPeer>("127.0.0.1", 0, attack.needs_seat ? 1 : 40);
        ENetPeer* seat = nullptr;
        if (attack.needs_seat) {
            seat = raw->Join(session.Port(), QStringLiteral("Flood"), attack.password);
            QVERIFY(seat);
            QVERIFY(SessionHarness::WaitFor([&] { return ann->roster[2].Name == "Flood"; }));
        }
        QVERIFY(SessionHarness::WaitFor([&] { return ann->roster[1].Status == 1; }));
        const QString host_rows = RowsExcept(*host, {2, 3});
        const QString ann_rows = RowsExcept(*ann, {2, 3});
        const QString ann_console = ann->console.Text();

        std::atomic<bool> stop = false;
        std::thread attacker([&, port = session.Port()] { attack.run(*raw, seat, port, stop); });
        QElapsedTimer running;
        running.start();
        QTest::qWait(500);
        // Someone else joins from another address while the attack goes on.
        RawPeer newcomer("127.0.0.2");
        const bool admitted =
            newcomer.Join(session.Port(), QStringLiteral("Newcomer"), attack.password) != nullptr;
        const bool admitted_during_attack = running.elapsed() < seconds * 1000;
        newcomer.ServeUntil([&] { return running.elapsed() >= seconds * 1000; },
                            seconds * 1000 + 1000);
        stop = true;
        attacker.join();
        QVERIFY(admitted);
        QVERIFY(admitted_during_attack);
        const int newcomer_slot = attack.needs_seat ? 3 : 2;
        if (verdicts_at_most >= 0) {
            QVERIFY2(raw->disconnects.size() >= 3 && raw->disconnects.size() <= verdicts_at_most,
                     qPrintable(Reasons(raw->disconnects)));
            for (quint32 reason : raw->disconnects) {
                QCOMPARE(reason, dpn::DPNERR_INVALIDPASSWORD);
            }
        }
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ann->roster[newcomer_slot].Name == QStringLiteral("Newcomer"); }));

        if (!host_line.isEmpty()) {
            QVERIFY(
                SessionHarness::WaitFor([&] { return host->console.Text().contains(host_line); }));
            QVERIFY(SessionHarness::WaitFor([&] { return !ann->roster[2].Occupied(); }));
        }
        // Ann is still in, and nothing of hers, the host's or anyone else's changed.
        QCOMPARE(ann_lost.size(), 0);
        QVERIFY(ann->client().IsConnected());
        QCOMPARE(RowsExcept(*host, {2, 3}), host_rows);
        QCOMPARE(RowsExcept(*ann, {2, 3}), ann_rows);
        QVERIFY(ann->console.Text().startsWith(ann_console));
        QVERIFY(CountOf(ann->console.Text(), QStringLiteral("<Flood>")) <= relayed_at_most);
        if (relayed_at_most > 0) {
            QVERIFY(ann->console.Text().contains(QStringLiteral("<Flood>")));
        }
        QCOMPARE(ann_times.size(), 0);
        QCOMPARE(host_times.size(), 0);
        // The host still relays: Ann's own line comes back to her.
        ann->client_side().SendMsg(QStringLiteral("still here"));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ann->console.Text().endsWith(QStringLiteral("<Ann> still here")); }));
    }

    // A host is trusted with the session, not with the client's memory: nothing it sends
    // seats the client where no row is, names anyone on two lines, or lands outside a table.
    void hostileHostStaysInsideTheTables() {
        const quint16 port = FreeUdpPort();
        RawPeer fake_host("127.0.0.1", port);
        Player bob;
        bob.tarvex = std::make_unique<Tarvex>(bob.platform.AsPlatform(), bob.folder.Path());
        bob->settings.ShowJoinQuit = 1;
        bob->MyName = QStringLiteral("Bob");
        QSignalSpy completes(&bob->client(), &ClientSession::ConnectComplete);
        QVERIFY(
            bob->client().Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bob"), {}));
        QVERIFY(fake_host.ServeUntil([&] { return fake_host.connects == 1; }));
        ENetPeer* peer = fake_host.host()->peers;
        fake_host.Send(peer, handshake::BuildChallenge(QByteArray(16, 'n')));
        QVERIFY(fake_host.ServeUntil([&] { return !fake_host.received.isEmpty(); }));
        QVERIFY(handshake::ParseHello(fake_host.received.first().bytes));
        fake_host.Send(peer, handshake::BuildAccept({77, 5, QStringLiteral("Evil\r\nCup"), 12}));

        const auto welcome = [](std::uint8_t slot, std::uint8_t count,
                                std::vector<WelcomeEntry> entries) {
            return Encode(WelcomeMsg{slot, count, 12, 0, std::move(entries)});
        };
        const WelcomeEntry host_entry{0, 5, 1, 1, 1, 1, QStringLiteral("Mallory")};
        const WelcomeEntry eve{2, 8, 1, 1, 1, 1, QStringLiteral("Eve)\r\n* Quit: (Bob")};
        for (const QByteArray& bytes : {
                 welcome(12, 2, {host_entry}),             // no row for slot 12
                 welcome(0, 2, {host_entry}),              // slot 0 is the host's
                 welcome(1, 2, {{13, 5, 1, 1, 1, 1, {}}}), // a player beyond the slots
                 welcome(1, 3, {host_entry, host_entry}),  // one player twice
                 welcome(1, 2, {{1, 5, 1, 1, 1, 1, {}}}),  // someone in our own seat
                 welcome(1, 3, {host_entry, eve}),         // at last, a welcome to act on
                 Encode(JoinMsg{12, 4, 12, 9, QStringLiteral("Overflow")}),
                 Encode(JoinMsg{3, 4, 12, 9, QString::fromUtf16(u"Mal\u2028<Bob> I quit")}),
                 Encode(GameStatusMsg{12, 5}),
                 Encode(CarChoiceMsg{12, 1, 1, 1}),
                 Encode(ProgressMsg{3, 101}),
                 Encode(TimeMsg{MessageType::Finish, 3, std::numeric_limits<float>::infinity()}),
                 Encode(LagTableMsg{{1, 2, 3, 4, 5}}),
                 Encode(ChatMsg{3, QString::fromUtf16(u"hi\u2029* Disconnected from Server")}),
             }) {
            fake_host.Send(peer, bytes);
        }
        QVERIFY(fake_host.ServeUntil([&] { return bob->console.Text().contains("hi"); }));

        QCOMPARE(completes.size(), 1);
        QVERIFY(bob->client_side().Welcomed());
        QCOMPARE(int(bob->LocalSlot), 1);
        QCOMPARE(bob->client().GetApplicationDesc(), QStringLiteral("Evil  Cup"));
        QCOMPARE(bob->roster.OccupiedRows(), (std::vector<int>{0, 1, 2, 3}));
        QVERIFY(!bob->roster[12].Occupied());
        QCOMPARE(bob->roster[2].Name, QStringLiteral("Eve)  * Quit: (Bob"));
        QCOMPARE(bob->console.Text(),
                 QStringLiteral("* Join: (Mal <Bob> I quit)\r\n"
                                "<Mal <Bob> I quit> hi * Disconnected from Server"));
        for (int slot = 0; slot < SlotCount; ++slot) {
            QCOMPARE(bob->roster[slot].Lag, std::uint8_t(0));
        }
        bob->client().CloseClient();
    }
};

TARVEX_TEST(AttackTest);
#include "AttackTest.moc"
