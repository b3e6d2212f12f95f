#include "SessionHarness.h"
#include "TestRegistry.h"
#include "race/GameData.h"
#include "race/RaceCatalogue.h"

#include <QTest>

using namespace tarvex;
using namespace tarvex::test;

namespace {

// The host's choices that are not made through its race controls.
void SetHostOptions(Tarvex& host) {
    host.race.PenaltiesDisabled = 1;
    host.race.SetupsAllowed = 1;
    host.settings.DataInterval = 220;
    host.settings.Compression = 2;
    host.settings.GhostsDisabled = 1;
    host.settings.CheatProtection = 1;
    host.settings.ClockWhenPaused = 0;
    host.settings.RateAuto = 0;
    host.settings.Rate = 30;
    host.stored.host_car = {5, 1, 0};
}

} // namespace

class RaceSettingsSessionTest : public QObject {
    Q_OBJECT

private slots:
    // The host sets up a race; every field reaches both clients, each client's tyre follows
    // the conditions and comes back to the host's rows; then a race is recorded alike on
    // every copy from the times and false starts the players report.
    void GameDataRoundTripAndResults() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 6));
        Player& host = session.Host();
        SetHostOptions(*host);
        host->host_race.SetRandomSource([] { return 0.9; });
        host->host_race.FillCombos();
        host->host_race.LoadOld();

        Player& ann = session.Join(QStringLiteral("Ann"));
        Player& bob = session.Join(QStringLiteral("Bob"));
        QVERIFY(bob->client_side().Welcomed());
        QCOMPARE(int(ann->LocalSlot), 1);
        QCOMPARE(int(bob->LocalSlot), 2);
        for (Player* client : {&ann, &bob}) {
            (*client)->client_race.DisableHostControls();
            (*client)->client_race.FillCombos();
            (*client)->client_race.LoadOld();
        }

        RaceChoices& controls = host->host_race;
        controls.cmbCountry.Pick(4); // Japan
        controls.cmbStage.Pick(5);   // Tanner II
        controls.cmbWeather.Pick(2); // 56M_hazy_clear
        controls.cmbHumid.Pick(1);   // Damp
        controls.cmbWear.Pick(2);    // Worn
        controls.optWeather.Pick(1); // Random: draws bad
        controls.optDam.Pick(1);     // Safe
        controls.pTrans[0].Pick(0);  // Auto
        QCOMPARE(host->stored.host_car.Tyre, std::uint8_t(GravelInt));

        for (Player* client : {&ann, &bob}) {
            Tarvex& copy = **client;
            QVERIFY(SessionHarness::WaitFor([&] { return copy.race.Damage == 1; }));
            QVERIFY(
                SessionHarness::WaitFor([&] { return copy.stored.host_car.Transmission == 0; }));
            // Every field of the game data, byte for byte as the host would send it.
            QCOMPARE(Encode(MakeGameData(copy.stored)), Encode(MakeGameData(host->stored)));
            QCOMPARE(copy.race.WeatherPresetName, QStringLiteral("56M_hazy_clear"));
            QCOMPARE(copy.sndTimer().interval(), 220);
            // The display follows the host, including its row; the own tyre follows too.
            QCOMPARE(copy.client_race.cmbStage.CurrentText(),
                     QStringLiteral("Tanner II         [4000m]"));
            QCOMPARE(copy.client_race.pCar[0].Index(), 5);
            QCOMPARE(copy.client_race.pTrans[0].Index(), 0);
            QCOMPARE(copy.stored.client_car.Tyre, std::uint8_t(GravelInt));
            const int slot = copy.LocalSlot;
            QVERIFY(
                SessionHarness::WaitFor([&] { return host->roster.cars[slot].tyre == GravelInt; }));
            QCOMPARE(host->host_race.pTyre[slot].Index(), int(GravelInt));
        }
        // Each client sees the other's car as the host relays it.
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ann->client_race.pTyre[2].Index() == GravelInt; }));

        // Everyone Ready, then a race record on every copy.
        host->roster[0].Status = 2;
        ann->client_side().SendGameStatus(PlayerStatus::Ready);
        bob->client_side().SendGameStatus(PlayerStatus::Ready);
        QVERIFY(SessionHarness::WaitFor(
            [&] { return host->roster[1].Status == 2 && host->roster[2].Status == 2; }));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return ann->roster[2].Status == 2 && bob->roster[1].Status == 2; }));
        ann->roster[0].Status = 2;
        bob->roster[0].Status = 2;
        const QDateTime start(QDate(2026, 11, 22), QTime(21, 0, 0));
        QCOMPARE(
            NewRaceResult(host->results, host->roster, host->host_race, host->race, start, true),
            3);
        for (Player* client : {&ann, &bob}) {
            Tarvex& copy = **client;
            QCOMPARE(
                NewRaceResult(copy.results, copy.roster, copy.client_race, copy.race, start, false),
                3);
        }

        ann->client_side().SendTime(MessageType::Finish, 93.5f);
        bob->client_side().SendFStart();
        bob->results.RecordFalseStart(2);
        host->server_side().SendTime(MessageType::Split1, 30.25f);
        for (Player* copy : {&host, &ann, &bob}) {
            Results& results = (*copy)->results;
            QVERIFY(SessionHarness::WaitFor([&] {
                const RaceResult& race = results.Race(1);
                return race.Finish[1] == 93.5f && !race.StartOk[2] &&
                       (copy == &host || race.Split1[0] == 30.25f);
            }));
            const RaceResult& race = results.Race(1);
            QCOMPARE(race.StageName, QStringLiteral("Tanner II"));
            QCOMPARE(race.WeatherName, QStringLiteral("Random Weather"));
            QCOMPARE(race.DamageName, QStringLiteral("Safe"));
            QCOMPARE(race.DriverName[0], QStringLiteral("Hostess"));
            QCOMPARE(race.DriverName[1], QStringLiteral("Ann"));
            QCOMPARE(race.DriverName[2], QStringLiteral("Bob"));
            QCOMPARE(race.CarName[0], QStringLiteral("Subaru Impreza 2003"));
            QCOMPARE(race.TransmissionName[0], QStringLiteral("Auto"));
            QCOMPARE(race.TyreName[1], QStringLiteral("Gravel Int."));
            QVERIFY(race.StartOk[0]);
            QVERIFY(race.StartOk[1]);
        }
    }
};

TARVEX_TEST(RaceSettingsSessionTest);
#include "RaceSettingsSessionTest.moc"
