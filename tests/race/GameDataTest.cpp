#include "race/GameData.h"

#include "TestRegistry.h"
#include "race/RaceCatalogue.h"

#include <QTest>

using namespace tarvex;

namespace {

StoredSettings HostStored() {
    StoredSettings stored;
    stored.host_car = {6, 1, 2};
    RaceSettings& race = stored.race;
    race.Country = 3;
    race.StageIndex = 4;
    race.StageId = 45;
    race.WeatherMode = 1;
    race.WeatherCondition = 2;
    race.WeatherPreset = 6;
    race.Humidity = 1;
    race.TyreWear = 2;
    race.Damage = 3;
    race.PenaltiesDisabled = 1;
    race.SetupsAllowed = 0;
    Settings& settings = stored.settings;
    settings.DataInterval = 300;
    settings.Compression = 4;
    settings.GhostsDisabled = 1;
    settings.CheatProtection = 0;
    settings.ClockWhenPaused = 1;
    settings.RateAuto = 0;
    settings.Rate = 40;
    return stored;
}

} // namespace

class GameDataTest : public QObject {
    Q_OBJECT

private slots:
    void host_message_bytes() {
        const QByteArray expected("\x08"
                                  "\x06\x01\x02"             // host car, transmission, tyre
                                  "\x03\x04\x2D"             // France, 5th stage, stage 45
                                  "\x01\x02\x06\x01\x02\x03" // weather, preset, humidity..
                                  "\x01\x00"                 // penalties, setups
                                  "\x2C\x01"                 // 300 ms
                                  "\x04\x01\x00\x01"         // compression .. clock
                                  "\x28",                    // rate 40
                                  22);
        QCOMPARE(Encode(MakeGameData(HostStored())), expected);

        StoredSettings automatic = HostStored();
        automatic.settings.RateAuto = 1;
        QCOMPARE(Encode(MakeGameData(automatic)).back(), '\0');

        CarSelection car{7, 1, 5};
        QCOMPARE(Encode(MakeCarChoice(11, car)), QByteArray("\x09\x0B\x07\x01\x05", 5));
    }

    void client_rate_rule_data() {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("stored_rate");
        QTest::addColumn<int>("rate_auto");
        QTest::newRow("0 means automatic") << 0 << 99 << 1;
        QTest::newRow("a rate is taken") << 40 << 40 << 0;
    }

    void client_rate_rule() {
        QFETCH(int, rate);
        GameDataMsg msg = MakeGameData(HostStored());
        msg.rate = std::uint8_t(rate);
        StoredSettings client;
        client.settings.Rate = 99;
        client.settings.RateAuto = 0;
        client.client_car = {2, 1, 4};
        ApplyGameData(msg, client);
        QTEST(int(client.settings.Rate), "stored_rate");
        QTEST(int(client.settings.RateAuto), "rate_auto");
        QCOMPARE(client.settings.DataInterval, std::int16_t(300));
        QCOMPARE(client.race.StageId, std::uint8_t(45));
        QCOMPARE(client.host_car.Car, std::uint8_t(6));
        QCOMPARE(client.client_car.Car, std::uint8_t(2));
    }

    void race_header_and_roster() {
        const RaceHeader header = DescribeRace(HostStored().race);
        QCOMPARE(header.StageName, QStringLiteral("Joux Verte II"));
        QCOMPARE(header.WeatherName, QStringLiteral("Random Weather"));
        QCOMPARE(header.DamageName, QStringLiteral("Realistic"));
        QVERIFY(header.PenaltiesDisabled);
        QVERIFY(!header.SetupsAllowed);

        RaceSettings race;
        CarSelection car;
        RaceChoices choices(RaceChoices::Form::Host, race, car, [] { return 0.0; });
        choices.ShowCar(4, {3, 1, 6});
        Roster roster;
        roster.Occupy(4, 77, QStringLiteral("Di"));
        roster[4].Status = 2;
        const auto entries = ResultRoster(roster, choices);
        QVERIFY(entries[4].InUse);
        QCOMPARE(entries[4].Status, std::uint8_t(2));
        QCOMPARE(entries[4].Name, QStringLiteral("Di"));
        QCOMPARE(entries[4].Car, QStringLiteral("Mitsubishi Lancer Evo VII"));
        QCOMPARE(entries[4].Transmission, QStringLiteral("Manual"));
        QCOMPARE(entries[4].Tyre, QStringLiteral("Snow"));
        QVERIFY(!entries[5].InUse);

        // A new race record starts everyone at the line and counts the Ready players.
        roster[4].Distance = 812.5f;
        roster.Occupy(0, 1, QStringLiteral("Ann"));
        roster[0].Status = 1;
        roster[0].Distance = 3.0f;
        Results results;
        QCOMPARE(NewRaceResult(results, roster, choices, HostStored().race,
                               QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5)), true),
                 1);
        QCOMPARE(roster[4].Distance, 0.0f);
        QCOMPARE(roster[0].Distance, 0.0f);
        QCOMPARE(results.Race(1).DriverName[4], QStringLiteral("Di"));
        QCOMPARE(results.Race(1).DriverName[0], QString());
        QCOMPARE(results.Race(1).StageName, QStringLiteral("Joux Verte II"));
        QCOMPARE(results.Race(1).PenaltiesText, QStringLiteral("True"));
    }
};

TARVEX_TEST(GameDataTest);
#include "GameDataTest.moc"
