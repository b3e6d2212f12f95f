#include "RaceHarness.h"
#include "TestRegistry.h"
#include "results/ResultsExport.h"

#include <QTest>

using namespace tarvex;
using namespace tarvex::test;

namespace {

int SlotOf(Player& player) {
    return player->IsHost ? 0 : player->LocalSlot;
}

} // namespace

// Whole races between a host and its clients, each with a stand-in game of its own.
class RaceTest : public QObject {
    Q_OBJECT

private slots:
    void FourDriversFromReadyToTheFinish() {
        RaceHarness race;
        QVERIFY(race.StartHost({QStringLiteral("Hostess"), 1.0, 11}));
        race.Join({QStringLiteral("Ann"), 1.1, 12});
        race.Join({QStringLiteral("Bob"), 0.9, 13});
        race.Join({QStringLiteral("Cid"), 1.2, 14});
        const std::vector<Player*> everyone = race.Everyone();
        QVERIFY(race.AllReady(everyone));

        race.Start();
        QCOMPARE(race.Host()->host_control().StatusText(),
                 QStringLiteral("Status: Game Launches In..."));
        QVERIFY(race.WaitForStart());
        QVERIFY(race.WaitForFinish(everyone));

        // Every copy holds the same race, and each finish time is the one its game shows.
        for (Player* player : everyone) {
            QVERIFY(SessionHarness::WaitFor([&] {
                const RaceResult& result = (*player)->results.Race(1);
                for (Player* other : everyone) {
                    if (result.Finish[SlotOf(*other)] == NoTime) {
                        return false;
                    }
                }
                return true;
            }));
            const RaceResult& own = (*player)->results.Race(1);
            QCOMPARE(own.Finish[SlotOf(*player)], player->machine->game()->GetStatus().race_time);
        }
        const QByteArray host_table = TextExport(race.Host()->results, FixedWidth);
        for (Player* player : everyone) {
            QCOMPARE(TextExport((*player)->results, FixedWidth), host_table);
        }
    }
};

TARVEX_TEST(RaceTest);
#include "RaceTest.moc"
