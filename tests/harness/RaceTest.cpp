#include "RaceHarness.h"
#include "TestRegistry.h"
#include "results/ResultsExport.h"

#include <QTest>
#include <optional>

using namespace tarvex;
using namespace tarvex::test;

namespace {

int SlotOf(Player& player) {
    return player->IsHost ? 0 : player->LocalSlot;
}

std::uint8_t HostSeesStatus(RaceHarness& race, Player& player) {
    return race.Host()->roster[SlotOf(player)].Status;
}

bool Finished(Player& copy, const std::vector<Player*>& drivers, int race_number) {
    const RaceResult& result = copy->results.Race(race_number);
    for (Player* driver : drivers) {
        if (result.Finish[SlotOf(*driver)] == NoTime) {
            return false;
        }
    }
    return true;
}

// Every copy ends up with the same results, and each driver's time is its own game's clock.
void CompareResults(const std::vector<Player*>& everyone, const std::vector<Player*>& drivers) {
    for (Player* copy : everyone) {
        QVERIFY(SessionHarness::WaitFor([&] { return Finished(*copy, drivers, 1); }));
    }
    for (Player* driver : drivers) {
        QCOMPARE((*driver)->results.Race(1).Finish[SlotOf(*driver)],
                 driver->machine->game()->GetStatus().race_time);
    }
    // The percentages come with the car states, and one sent just before a finish may arrive
    // after it: the tables agree once the next one is in.
    auto same = [&] {
        for (Player* copy : everyone) {
            if (TextExport((*copy)->results, FixedWidth) !=
                TextExport((*everyone.front())->results, FixedWidth)) {
                return false;
            }
        }
        return true;
    };
    SessionHarness::WaitFor(same, 2000);
    const QByteArray table = TextExport((*everyone.front())->results, FixedWidth);
    for (Player* copy : everyone) {
        QCOMPARE(TextExport((*copy)->results, FixedWidth), table);
    }
}

float Countdown(Player& player) {
    return player.machine->game()->GetStatus().countdown;
}

} // namespace

// Whole races between a host and its clients, each with a stand-in game of its own.
class RaceTest : public QObject {
    Q_OBJECT

private slots:
    // Ready, launch, a common start, false starts, the finish; then a restart voted by three of
    // the four drivers (two of them from their game's menu) and a second common start.
    void FourDriversRaceAndRestart() {
        RaceHarness race;
        QVERIFY(race.StartHost({QStringLiteral("Hostess"), 1.0, 11, true}));
        Player& ann = race.Join({QStringLiteral("Ann"), 1.1, 12});
        Player& bob = race.Join({QStringLiteral("Bob"), 0.9, 13, true, true});
        Player& cid = race.Join({QStringLiteral("Cid"), 1.2, 14, false, true});
        Player& host = race.Host();
        host->settings.VoteAllowed = 1;
        const std::vector<Player*> everyone = race.Everyone();
        QVERIFY(race.AllReady(everyone));

        race.Start();
        QCOMPARE(host->host_control().StatusText(), QStringLiteral("Status: Game Launches In..."));
        QCOMPARE(host->host_control().StartCaption(), QStringLiteral("Stop"));
        QVERIFY(SessionHarness::WaitFor([&] { return host.machine->Running(); }));
        QCOMPARE(host.platform.sound->played,
                 QStringList({QStringLiteral("TEST"), QStringLiteral("TEST"),
                              QStringLiteral("TEST"), QStringLiteral("GO")}));
        QCOMPARE(cid->client_flow().StatusText(), QStringLiteral("Status: Race in Session"));
        QVERIFY(race.WaitForStart());
        // Under way, Ann's game shows the host's car as a ghost that moves with it.
        std::optional<float> ghost_x;
        QVERIFY(SessionHarness::WaitFor([&] {
            for (const sim::GhostView& ghost : ann.machine->game()->GetStatus().ghosts) {
                if (ghost.index == 0) {
                    const bool moved = ghost_x && *ghost_x != ghost.x;
                    ghost_x = ghost.x;
                    return moved;
                }
            }
            return false;
        }));
        QVERIFY(race.WaitForFinish(everyone));
        CompareResults(everyone, everyone);

        // The false starts of the host and of a client are in every copy, and the host's is
        // announced.
        for (Player* copy : everyone) {
            const RaceResult& result = (*copy)->results.Race(1);
            QVERIFY(!result.StartOk[0]);
            QVERIFY(!result.StartOk[SlotOf(bob)]);
            QVERIFY(result.StartOk[SlotOf(ann)]);
            QVERIFY((*copy)->console.Text().contains(QStringLiteral("* Hostess False Started.")));
        }

        // Bob and Cid vote from their games' menus; a second vote in the same stage is not
        // counted.
        QVERIFY(SessionHarness::WaitFor([&] { return host->host_control().RestartVotes() == 2; }));
        bob->client_flow().VoteRestart();
        QTest::qWait(500);
        QCOMPARE(host->host_control().RestartVotes(), 2);
        host->host_control().VoteRestart();
        QCOMPARE(host->host_control().state(), HostRace::State::RestartPending);
        const QString lines = host->console.Text();
        // Whoever finished first voted first.
        QVERIFY(lines.contains(QStringLiteral("* Cid voted to restart (2 needed)")));
        QVERIFY(lines.contains(QStringLiteral("* Bob voted to restart (1 needed)")));
        QVERIFY(lines.endsWith(
            QStringLiteral("*  Stage restarts in 5 seconds.  Final vote by: Hostess")));
        QVERIFY(SessionHarness::WaitFor([&] {
            return ann->console.Text().contains(QStringLiteral("Final vote by: Hostess"));
        }));
        QCOMPARE(lines.count(QStringLiteral("voted to restart")), 2);
        QCOMPARE(lines.count(QStringLiteral("Final vote by")), 1);

        QVERIFY(SessionHarness::WaitFor([&] { return host->flags.StartGiven == 0; }, 10000));
        for (Player* player : everyone) {
            QVERIFY(SessionHarness::WaitFor(
                [&] { return player->machine->game()->GetStatus().reloads == 1; }));
        }
        QVERIFY(race.WaitForStart());
        QVERIFY(race.WaitForFinish(everyone));
        CompareResults(everyone, everyone);
        // A new run of the stage: the count starts afresh and each driver may vote again.
        QVERIFY(SessionHarness::WaitFor([&] {
            return host->console.Text().count(
                       QStringLiteral("* Cid voted to restart (2 needed)")) == 2;
        }));
    }

    // Cars wait at the line until every participant is there; one that drops out (its game
    // gone, or its player gone) stops holding the others back.
    void TheStartWaitsForEveryCar() {
        RaceHarness race;
        QVERIFY(race.StartHost({QStringLiteral("Hostess"), 1.0, 21}));
        Player& ann = race.Join({QStringLiteral("Ann"), 1.0, 22});
        Player& bob = race.Join({QStringLiteral("Bob"), 1.0, 23});
        Player& cid = race.Join({QStringLiteral("Cid"), 1.0, 24});
        Player& host = race.Host();
        race.SetMenusDriven(bob, false);
        race.SetMenusDriven(cid, false);
        QVERIFY(race.AllReady(race.Everyone()));
        race.Start();

        QVERIFY(SessionHarness::WaitFor(
            [&] {
                return HostSeesStatus(race, host) == 4 && HostSeesStatus(race, ann) == 4 &&
                       HostSeesStatus(race, bob) == 3 && HostSeesStatus(race, cid) == 3;
            },
            30000));
        // Held, the countdowns stay just below 7 where they would have run out long ago.
        QTest::qWait(3500);
        QCOMPARE(host->flags.StartGiven, std::uint8_t(0));
        for (Player* held : {&host, &ann}) {
            QVERIFY(Countdown(*held) > 6.0f);
            QCOMPARE(held->machine->game()->GetStatus().race_time, 0.0f);
        }

        QVERIFY(race.session.Leave(cid));
        bob.machine->Crash();
        QVERIFY(SessionHarness::WaitFor([&] { return !bob->chkReady().Ticked(); }));
        QVERIFY(race.WaitForStart(10000));
        QVERIFY(race.WaitForFinish({&host, &ann}));
        QCOMPARE(HostSeesStatus(race, bob), std::uint8_t(1));
        QCOMPARE(host->host_control().StartCaption(), QStringLiteral("Stop"));
        CompareResults({&host, &ann, &bob}, {&host, &ann});
    }

    // A game started without a race to run in is closed again; so is the game of a player who
    // watches the race, as a host who was not Ready or a client who joined during it.
    void GamesOutsideTheRaceAreRefused() {
        RaceHarness race;
        QVERIFY(race.StartHost({QStringLiteral("Hostess"), 1.0, 31}));
        Player& ann = race.Join({QStringLiteral("Ann"), 1.0, 32});
        Player& host = race.Host();

        ann.machine->StartGame();
        QVERIFY(SessionHarness::WaitFor([&] { return !ann.machine->Running(); }));
        QVERIFY(
            ann->console.Text().endsWith(QStringLiteral("* Error: Server Has Not Started Game")));

        QVERIFY(race.AllReady({&ann}));
        race.Start();
        QCOMPARE(host->host_control().StatusText(), QStringLiteral("Status: Race in Session"));
        // With votes switched off only the voter hears of it.
        ann->client_flow().VoteRestart();
        QVERIFY(SessionHarness::WaitFor([&] {
            return ann->console.Text().contains(
                QStringLiteral("*  Vote restart has been disabled on this server."));
        }));
        QVERIFY(!host->console.Text().contains(QStringLiteral("disabled")));
        QVERIFY(host.platform.sound->played.isEmpty());
        host.machine->StartGame();
        QVERIFY(SessionHarness::WaitFor([&] { return !host.machine->Running(); }));
        QVERIFY(host->console.Text().endsWith(QStringLiteral("* Error: You are not Ready")));

        Player& bob = race.Join({QStringLiteral("Bob"), 1.0, 33});
        QCOMPARE(bob->client_flow().StatusText(), QStringLiteral("Status: Race in Session"));
        QVERIFY(!bob->chkReady().Enabled());
        QVERIFY(SessionHarness::WaitFor([&] { return bob->results.UpperBound() == 1; }));
        QCOMPARE(bob->results.Race(1).DriverName[SlotOf(ann)], QStringLiteral("Ann"));
        QVERIFY(bob->results.Race(1).DriverName[0].isEmpty());
        bob.machine->StartGame();
        QVERIFY(SessionHarness::WaitFor([&] { return !bob.machine->Running(); }));
        QVERIFY(bob->console.Text().endsWith(QStringLiteral("* Error: You are not Ready")));

        // Ann's race went on all the while, and the game closed before it did not keep her car
        // from going out to the others.
        QVERIFY(race.WaitForStart());
        QVERIFY(SessionHarness::WaitFor(
            [&] { return host->ghosts().Record(SlotOf(ann)).distance > 0; }));
        race.Start();
        QVERIFY(SessionHarness::WaitFor([&] {
            return bob->client_flow().StatusText() == QStringLiteral("Status: Idle") &&
                   bob->chkReady().Enabled();
        }));
        QCOMPARE(host->host_control().StartCaption(), QStringLiteral("Start"));
        QVERIFY(ann.machine->Running());
    }
};

TARVEX_TEST(RaceTest);
#include "RaceTest.moc"
