#include "SessionHarness.h"
#include "TestRegistry.h"

#include <QSignalSpy>
#include <QTest>
#include <map>

using namespace tarvex;
using namespace tarvex::test;

namespace {

// What a copy knows of the twelve rows, as one comparable text.
QString RosterText(const Tarvex& tarvex) {
    QStringList rows;
    for (int slot = 0; slot < RowCount; ++slot) {
        const PlayerRecord& record = tarvex.roster[slot];
        rows << (record.Occupied() ? QStringLiteral("%1:%2:%3:%4")
                                         .arg(slot)
                                         .arg(record.Name)
                                         .arg(record.PlayerId)
                                         .arg(record.Status)
                                   : QStringLiteral("%1:open").arg(slot));
    }
    return rows.join(u' ') + QStringLiteral(" count %1/%2")
                                 .arg(tarvex.roster.PlayerCount)
                                 .arg(tarvex.roster.MaxPlayerCount);
}

bool AllAgree(std::initializer_list<Tarvex*> copies) {
    const QString first = RosterText(**copies.begin());
    for (Tarvex* copy : copies) {
        if (RosterText(*copy) != first) {
            return false;
        }
    }
    return true;
}

bool ConsoleEndsWith(const Tarvex* copy, const QString& line) {
    return copy->console.Text().endsWith(line);
}

} // namespace

class RosterSessionTest : public QObject {
    Q_OBJECT

private slots:
    // A host and three clients: seats, the shared roster, chat through the relay, a client
    // that pretends to be another, a leave and a rejoin, and the lag table.
    void HostAndThreeClients() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 8));
        Player& host = session.Host();

        Player& ann = session.Join(QStringLiteral("Ann"));
        Player& bob = session.Join(QStringLiteral("Bob"));
        Player& cy = session.Join(QStringLiteral("Cy"));
        QVERIFY(ann->client_side().Welcomed());
        QVERIFY(bob->client_side().Welcomed());
        QVERIFY(cy->client_side().Welcomed());
        QCOMPARE(int(ann->LocalSlot), 1);
        QCOMPARE(int(bob->LocalSlot), 2);
        QCOMPARE(int(cy->LocalSlot), 3);

        // Once every client has reported itself idle, all four copies hold the same table.
        QVERIFY(SessionHarness::WaitFor([&] {
            return host->roster[3].Status == 1 && AllAgree({host.tarvex.get(), ann.tarvex.get(),
                                                            bob.tarvex.get(), cy.tarvex.get()});
        }));
        QCOMPARE(RosterText(*host),
                 QStringLiteral("0:Hostess:%1:0 1:Ann:%2:1 2:Bob:%3:1 3:Cy:%4:1 4:open 5:open "
                                "6:open 7:open 8:open 9:open 10:open 11:open count 4/8")
                     .arg(host->roster[0].PlayerId)
                     .arg(host->roster[1].PlayerId)
                     .arg(host->roster[2].PlayerId)
                     .arg(host->roster[3].PlayerId));
        QCOMPARE(host->console.Text(),
                 QStringLiteral("* Join: (Ann)\r\n* Join: (Bob)\r\n* Join: (Cy)"));
        QCOMPARE(bob->console.Text(), QStringLiteral("* Join: (Bob)\r\n* Join: (Cy)"));

        // A client's own line shows only once the host has relayed it.
        const QString ann_before = ann->console.Text();
        ann->client_side().SendMsg(QStringLiteral("hello all"));
        QCOMPARE(ann->console.Text(), ann_before);
        for (Tarvex* player :
             {host.tarvex.get(), ann.tarvex.get(), bob.tarvex.get(), cy.tarvex.get()}) {
            QVERIFY(SessionHarness::WaitFor(
                [&] { return ConsoleEndsWith(player, QStringLiteral("\r\n<Ann> hello all")); }));
        }
        host->server_side().SendMsg(QStringLiteral("/me waves"));
        for (Tarvex* player :
             {host.tarvex.get(), ann.tarvex.get(), bob.tarvex.get(), cy.tarvex.get()}) {
            QVERIFY(SessionHarness::WaitFor(
                [&] { return ConsoleEndsWith(player, QStringLiteral("\r\n* Hostess waves")); }));
        }

        // Cy speaks for Ann and sends what only a host may send; then an honest line, which
        // arrives after them on the same ordered channel.
        const QString roster_before = RosterText(*host);
        cy->client().Send(Encode(ChatMsg{1, QStringLiteral("I am Ann")}), 0, 0x28);
        cy->client().Send(Encode(GameStatusMsg{1, 5}), 0, 0x28);
        cy->client().Send(Encode(CarChoiceMsg{2, 9, 9, 9}), 0, 0x28);
        cy->client().Send(Encode(QuitMsg{1, 3, 8}), 0, 0x28);
        cy->client().Send(Encode(JoinMsg{4, 5, 8, 77, QStringLiteral("ghost")}), 0, 0x28);
        cy->client().Send(Encode(GameStatusMsg{13, 1}), 0, 0x28);
        cy->client().Send(Encode(StartRaceMsg{}), 0, 0x28);
        // A text longer than the message, a car state cut short, a type nobody knows.
        cy->client().Send(QByteArray::fromHex("0103050068"), 0, 0x28);
        cy->client().Send(Encode(CarStateMsg{.slot = 3}).left(12), 0, 0x28);
        cy->client().Send(QByteArray::fromHex("04030201"), 0, 0x28);
        cy->client_side().SendMsg(QStringLiteral("marker"));
        for (Tarvex* player :
             {host.tarvex.get(), ann.tarvex.get(), bob.tarvex.get(), cy.tarvex.get()}) {
            QVERIFY(SessionHarness::WaitFor(
                [&] { return ConsoleEndsWith(player, QStringLiteral("\r\n<Cy> marker")); }));
            QVERIFY(!player->console.Text().contains(QStringLiteral("I am Ann")));
            QCOMPARE(RosterText(*player), roster_before);
            QCOMPARE(player->roster.cars[2].car, std::uint8_t(0));
            QCOMPARE(player->flags.StartGiven, std::uint8_t(0));
        }

        // Ann leaves; the next newcomer takes her slot although 2 and 3 are taken.
        QVERIFY(session.Leave(ann));
        for (Tarvex* player : {host.tarvex.get(), bob.tarvex.get(), cy.tarvex.get()}) {
            QVERIFY(SessionHarness::WaitFor(
                [&] { return ConsoleEndsWith(player, QStringLiteral("\r\n* Quit: (Ann)")); }));
            QVERIFY(!player->roster[1].Occupied());
        }
        Player& dee = session.Join(QStringLiteral("Dee"));
        QVERIFY(dee->client_side().Welcomed());
        QCOMPARE(int(dee->LocalSlot), 1);
        QVERIFY(SessionHarness::WaitFor([&] {
            return host->roster[1].Status == 1 && AllAgree({host.tarvex.get(), bob.tarvex.get(),
                                                            cy.tarvex.get(), dee.tarvex.get()});
        }));
        QCOMPARE(host->roster[1].Name, QStringLiteral("Dee"));
        QCOMPARE(host->roster.PlayerCount, std::uint8_t(4));

        // The lag table reaches every client and lands on the right rows.
        for (Tarvex* player : {bob.tarvex.get(), cy.tarvex.get(), dee.tarvex.get()}) {
            for (int slot : {0, 1, 2, 3}) {
                player->roster[slot].Lag = 99;
            }
        }
        host->server_side().pingTimer_Timer();
        QCOMPARE(host->roster[0].Lag, std::uint8_t(0));
        for (Tarvex* player : {bob.tarvex.get(), cy.tarvex.get(), dee.tarvex.get()}) {
            QVERIFY(SessionHarness::WaitFor([&] {
                for (int slot : {0, 1, 2, 3}) {
                    if (player->roster[slot].Lag != host->roster[slot].Lag) {
                        return false;
                    }
                }
                return true;
            }));
        }
    }

    // A nickname is the joiner's own choice, line breaks and all; the host seats it as one
    // line, so no console, row or board shows a line the joiner made up.
    void SeatsEveryNameOnOneLine() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 3));
        Player& host = session.Host();
        Player& ann = session.Join(QStringLiteral("Ann"));
        Player& eve = session.Join(QStringLiteral("Eve)\r\n* Quit: (Ann"));
        QVERIFY(eve->client_side().Welcomed());

        const QString seated = QStringLiteral("Eve)  * Quit: (Ann");
        const QString joined = QStringLiteral("* Join: (") + seated + u')';
        QCOMPARE(host->roster[2].Name, seated);
        QCOMPARE(host->console.Text(), QStringLiteral("* Join: (Ann)\r\n") + joined);
        QVERIFY(SessionHarness::WaitFor([&] { return ann->roster[2].Name == seated; }));
        QVERIFY(SessionHarness::WaitFor([&] { return eve->roster[2].Name == seated; }));
        QVERIFY(ConsoleEndsWith(ann.tarvex.get(), QStringLiteral("\r\n") + joined));
    }

    // Car states go to the players on the stage, never back to their sender; everyone else
    // hears only how far the car has got.
    void ForwardsCarStatesToThePlayersOnTheStage() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        Player& host = session.Host();
        Player& ann = session.Join(QStringLiteral("Ann"));
        Player& bob = session.Join(QStringLiteral("Bob"));
        Player& cy = session.Join(QStringLiteral("Cy"));
        QVERIFY(cy->client_side().Welcomed());

        ann->client_side().SendGameStatus(PlayerStatus::Driving);
        bob->client_side().SendGameStatus(PlayerStatus::Finished);
        QVERIFY(SessionHarness::WaitFor([&] {
            return host->roster[3].Status == 1 &&
                   AllAgree(
                       {host.tarvex.get(), ann.tarvex.get(), bob.tarvex.get(), cy.tarvex.get()}) &&
                   host->roster[1].Status == 4 && host->roster[2].Status == 5;
        }));

        QSignalSpy ann_states(&ann->client_side(), &ClientSide::CarStateReceived);
        QSignalSpy bob_states(&bob->client_side(), &ClientSide::CarStateReceived);
        QSignalSpy cy_states(&cy->client_side(), &ClientSide::CarStateReceived);
        QSignalSpy ann_progress(&ann->client_side(), &ClientSide::ProgressReceived);
        QSignalSpy cy_progress(&cy->client_side(), &ClientSide::ProgressReceived);
        QSignalSpy host_states(&host->server_side(), &ServerSide::CarStateReceived);

        CarStateMsg state;
        state.sent_at = 1234;
        state.distance = 250.5f;
        state.progress = 25;
        state.quaternion = {0, 0, 0, 1};
        state.position = {1, 2, 3};
        ann->client_side().SendCarState(state);
        state.distance = 300;
        state.progress = 30;
        host->server_side().SendCarState(state);

        QVERIFY(SessionHarness::WaitFor([&] { return bob_states.size() == 2; }));
        QVERIFY(SessionHarness::WaitFor([&] { return cy_progress.size() == 2; }));
        QVERIFY(SessionHarness::WaitFor([&] { return ann_states.size() == 1; }));
        QCOMPARE(host_states.size(), 1);
        QCOMPARE(host->roster[1].Distance, 250.5f);

        // The host's own state travels a shorter way and may well arrive first.
        std::map<int, CarStateMsg> at_bob;
        for (const QList<QVariant>& signal : bob_states) {
            const auto msg = signal[0].value<CarStateMsg>();
            at_bob[msg.slot] = msg;
        }
        QCOMPARE(at_bob.size(), std::size_t(2));
        QCOMPARE(at_bob[1].sent_at, 1234);
        QCOMPARE(at_bob[1].distance, 250.5f);
        QCOMPARE(at_bob[1].position, (std::array<float, 3>{1, 2, 3}));
        QCOMPARE(at_bob[0].distance, 300.0f);
        QCOMPARE(bob->roster[1].Distance, 250.5f);
        QCOMPARE(ann_states[0][0].value<CarStateMsg>().slot, std::uint8_t(0));
        std::map<int, int> progress_at_cy;
        for (const QList<QVariant>& signal : cy_progress) {
            progress_at_cy[signal[0].toInt()] = signal[1].value<std::uint8_t>();
        }
        QCOMPARE(progress_at_cy, (std::map<int, int>{{0, 30}, {1, 25}}));
        // A marker on the reliable channel proves nothing else is on its way.
        host->server_side().SendMsg(QStringLiteral("done"));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ConsoleEndsWith(cy.tarvex.get(), QStringLiteral("<Hostess> done")); }));
        QCOMPARE(cy_states.size(), 0);
        QCOMPARE(ann_progress.size(), 0);
        QCOMPARE(ann_states.size(), 1);
        QCOMPARE(bob_states.size(), 2);
        QCOMPARE(cy_progress.size(), 2);
    }

    // What each side does with race messages: times and false starts go to everyone, but a
    // player's own false start is not reported back to it; votes stay with the host; the clock
    // exchange ends with the client's empty answer, which the host ignores.
    void RelaysRaceMessages() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 3));
        Player& host = session.Host();
        Player& ann = session.Join(QStringLiteral("Ann"));
        Player& bob = session.Join(QStringLiteral("Bob"));
        QVERIFY(bob->client_side().Welcomed());

        QSignalSpy host_times(&host->server_side(), &ServerSide::TimeReceived);
        QSignalSpy bob_times(&bob->client_side(), &ClientSide::TimeReceived);
        QSignalSpy ann_times(&ann->client_side(), &ClientSide::TimeReceived);
        QSignalSpy host_false(&host->server_side(), &ServerSide::FalseStartReceived);
        QSignalSpy ann_false(&ann->client_side(), &ClientSide::FalseStartReceived);
        QSignalSpy bob_false(&bob->client_side(), &ClientSide::FalseStartReceived);
        QSignalSpy votes(&host->server_side(), &ServerSide::VoteReceived);
        QSignalSpy bob_restart(&bob->client_side(), &ClientSide::RestartCalled);
        QSignalSpy ann_clock(&ann->client_side(), &ClientSide::HostClock);
        QSignalSpy bob_start(&bob->client_side(), &ClientSide::StartSignal);
        QSignalSpy bob_race(&bob->client_side(), &ClientSide::RaceStateReceived);

        host.platform.clock->Set(123456);
        ann->client_side().SendTime(MessageType::Split2, 42.5f);
        ann->client_side().SendFStart();
        ann->client_side().VoteRestart();
        ann->client_side().SendSync();
        host->server_side().SendRaceState(1);
        host->server_side().StartRace();
        host->server_side().DoRestart();
        host->server_side().SendTime(MessageType::Finish, 83.25f);

        QVERIFY(SessionHarness::WaitFor([&] { return bob_restart.size() == 1; }));
        QVERIFY(SessionHarness::WaitFor([&] { return ann_clock.size() == 1; }));
        QVERIFY(SessionHarness::WaitFor([&] { return bob_times.size() == 2; }));
        QVERIFY(SessionHarness::WaitFor([&] { return ann_times.size() == 2; }));
        QVERIFY(SessionHarness::WaitFor([&] { return bob_false.size() == 1; }));
        QCOMPARE(ann_clock[0][0].value<std::int32_t>(), 123456);
        QCOMPARE(host_times.size(), 1);
        const auto split = host_times[0][0].value<TimeMsg>();
        QCOMPARE(split.kind, MessageType::Split2);
        QCOMPARE(int(split.slot), 1);
        QCOMPARE(split.time, 42.5f);
        std::map<int, float> at_bob;
        for (const QList<QVariant>& signal : bob_times) {
            const auto time = signal[0].value<TimeMsg>();
            at_bob[time.slot] = time.time;
        }
        QCOMPARE(at_bob, (std::map<int, float>{{0, 83.25f}, {1, 42.5f}}));
        QCOMPARE(host_false.size(), 1);
        QCOMPARE(bob_false[0][0].toInt(), 1);
        QCOMPARE(votes.size(), 1);
        QCOMPARE(votes[0][0].toInt(), 1);
        QCOMPARE(bob_start.size(), 1);
        QCOMPARE(bob->flags.StartGiven, std::uint8_t(1));
        QCOMPARE(bob_race.size(), 1);

        // Ann's own false start and Ann's vote never come back to anyone.
        host->server_side().SendMsg(QStringLiteral("end"));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ConsoleEndsWith(ann.tarvex.get(), QStringLiteral("<Hostess> end")); }));
        QCOMPARE(ann_false.size(), 0);
        QCOMPARE(votes.size(), 1);
    }
};

TARVEX_TEST(RosterSessionTest);
#include "RosterSessionTest.moc"
