#include "race/RaceChoices.h"

#include "TestRegistry.h"
#include "race/RaceCatalogue.h"

#include <QTest>
#include <deque>
#include <memory>

using namespace tarvex;

namespace {

// One race window's controls with the instance's records, counting what it sends.
struct Window {
    explicit Window(RaceChoices::Form form, std::deque<double> draws = {})
        : random(std::make_shared<std::deque<double>>(std::move(draws)))
        , choices(form, race, car, [r = random] {
            const double value = r->empty() ? 0.0 : r->front();
            if (!r->empty()) {
                r->pop_front();
            }
            return value;
        }) {
        choices.SendGameData = [this] {
            ++sends;
        };
    }

    // What the user does: choose an entry, which runs the control's handler.
    void Choose(ChoiceList& list, int index) { QVERIFY(list.Pick(index)); }

    RaceSettings race;
    CarSelection car;
    std::shared_ptr<std::deque<double>> random;
    RaceChoices choices;
    int sends = 0;
};

// A host window on England, "Chirdonhead", humidity "Wet".
void OpenOnChirdonheadWet(Window& host) {
    host.choices.FillCombos();
    host.choices.LoadOld();
    host.Choose(host.choices.cmbCountry, 1);
    host.Choose(host.choices.cmbStage, 2);
    host.Choose(host.choices.cmbHumid, 2);
}

} // namespace

class RaceChoicesTest : public QObject {
    Q_OBJECT

private slots:
    void country_change_opens_first_entries_and_proposes_tyre() {
        Window host(RaceChoices::Form::Host);
        OpenOnChirdonheadWet(host);
        host.Choose(host.choices.cmbWeather, 3);
        QCOMPARE(host.car.Tyre, std::uint8_t(GravelWet));

        host.sends = 0;
        host.Choose(host.choices.cmbCountry, 3); // France
        QCOMPARE(host.race.Country, std::uint8_t(3));
        QCOMPARE(host.race.StageIndex, std::uint8_t(0));
        QCOMPARE(host.race.StageId, std::uint8_t(41));
        QCOMPARE(host.race.WeatherPreset, std::uint8_t(0));
        QCOMPARE(host.race.WeatherPresetName, QStringLiteral("41M_crisp_clear"));
        QCOMPARE(host.race.Humidity, std::uint8_t(0));
        QCOMPARE(host.choices.cmbStage.CurrentText(), QStringLiteral("Cote D'Arbroz     [4500m]"));
        QCOMPARE(host.choices.cmbWeather.Index(), 0);
        QCOMPARE(host.choices.cmbHumid.Texts(), QStringList({"Dry", "Damp", "Wet"}));
        QCOMPARE(host.choices.cmbHumid.Index(), 0);
        QCOMPARE(host.car.Tyre, std::uint8_t(TarmacDry));
        QCOMPARE(host.choices.pTyre[0].Index(), int(TarmacDry));
        QCOMPARE(host.choices.WeatherPicture(), 0);
        // The guards stop the refills from echoing, and the proposed tyre rides on the one send.
        QCOMPARE(host.sends, 1);
    }

    void rally_yard_has_no_presets() {
        Window host(RaceChoices::Form::Host);
        host.choices.FillCombos();
        host.choices.LoadOld();
        host.Choose(host.choices.cmbCountry, kSpecialCountry);
        QCOMPARE(host.race.WeatherPresetName, QStringLiteral("04E_crisp_clear")); // Rally HQ
        host.Choose(host.choices.cmbWeather, 5);

        host.sends = 0;
        host.Choose(host.choices.cmbStage, 1);
        QCOMPARE(host.race.StageId, std::uint8_t(72));
        QCOMPARE(host.choices.cmbWeather.Count(), 0);
        QCOMPARE(host.choices.cmbWeather.Index(), -1);
        QCOMPARE(host.race.WeatherPreset, std::uint8_t(5));
        QCOMPARE(host.race.WeatherPresetName, QStringLiteral("04M_crisp_partcloud"));
        QCOMPARE(host.choices.cmbHumid.Texts(), QStringList({"Dry"}));
        QCOMPARE(host.car.Tyre, std::uint8_t(GravelDry));
        QCOMPARE(host.choices.WeatherPicture(), 4);
        QCOMPARE(host.sends, 1);
        QVERIFY(!host.choices.FillingStage && !host.choices.FillingWeather &&
                !host.choices.FillingHumid && !host.choices.SelectingTyre);
    }

    // The tyre is decided before the humidity list shrinks, and the humidity index survives.
    void school_after_wet_chirdonhead_keeps_wet() {
        Window host(RaceChoices::Form::Host);
        OpenOnChirdonheadWet(host);
        host.Choose(host.choices.cmbStage, 6);
        QCOMPARE(host.race.StageId, std::uint8_t(71));
        QCOMPARE(host.choices.cmbHumid.Texts(), QStringList({"Dry"}));
        QCOMPARE(host.choices.cmbHumid.Index(), -1);
        QCOMPARE(host.race.Humidity, std::uint8_t(2));
        QCOMPARE(host.car.Tyre, std::uint8_t(GravelWet));
    }

    void weather_modes_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<double>("draw");
        QTest::addColumn<int>("condition");
        QTest::newRow("good") << 0 << 0.9 << 0;
        QTest::newRow("random draws good") << 1 << 0.2 << 0;
        QTest::newRow("random draws bad") << 1 << 0.7 << 2;
        QTest::newRow("bad") << 2 << 0.1 << 2;
    }

    void weather_modes() {
        QFETCH(int, mode);
        QFETCH(double, draw);
        Window host(RaceChoices::Form::Host, {draw});
        host.choices.FillCombos();
        host.choices.LoadOld();
        host.sends = 0;
        host.Choose(host.choices.optWeather, mode);
        QCOMPARE(host.race.WeatherMode, std::uint8_t(mode));
        QTEST(int(host.race.WeatherCondition), "condition");
        QCOMPARE(host.sends, 1);
        // Only "Random Weather" draws.
        QCOMPARE(int(host.random->size()), mode == 1 ? 0 : 1);
    }

    void randomize_stays_off_special_data() {
        QTest::addColumn<double>("country_draw");
        QTest::addColumn<double>("stage_draw");
        QTest::addColumn<int>("country");
        QTest::addColumn<int>("stage_id");
        QTest::newRow("lowest") << 0.0 << 0.0 << 0 << 10;
        QTest::newRow("highest") << 0.99999 << 0.99999 << 5 << 66;
        QTest::newRow("england, never the school") << 0.2 << 0.99999 << 1 << 25;
    }

    void randomize_stays_off_special() {
        QFETCH(double, country_draw);
        QFETCH(double, stage_draw);
        Window host(RaceChoices::Form::Host, {country_draw, stage_draw});
        host.choices.FillCombos();
        host.choices.LoadOld();
        host.sends = 0;
        host.choices.Command1_Click();
        QTEST(int(host.race.Country), "country");
        QTEST(int(host.race.StageId), "stage_id");
        // The country pick and the stage pick each announce themselves.
        QCOMPARE(host.sends, 2);
    }

    // Selecting the tyre runs the tyre list's handler, so the order of tyre and picture shows.
    void tyre_and_picture_order_data() {
        QTest::addColumn<int>("country");
        QTest::addColumn<int>("picture_at_tyre");
        QTest::newRow("Finland: tyre first") << 0 << -1;
        QTest::newRow("England: picture first") << 1 << 0;
        QTest::newRow("Australia: tyre first") << 2 << -1;
        QTest::newRow("Special: picture first") << 6 << 4;
    }

    void tyre_and_picture_order() {
        QFETCH(int, country);
        Window host(RaceChoices::Form::Host);
        host.choices.FillCombos();
        int picture_at_tyre = -2;
        host.choices.pTyre[0].SetClickHandler(
            [&] { picture_at_tyre = host.choices.WeatherPicture(); });
        host.Choose(host.choices.cmbCountry, country);
        QTEST(picture_at_tyre, "picture_at_tyre");
    }

    void host_load_restores_stored_race() {
        Window host(RaceChoices::Form::Host);
        host.race.Country = 1;
        host.race.StageIndex = 2;
        host.race.StageId = 22;
        host.race.WeatherPreset = 4;
        host.race.Humidity = 2;
        host.race.TyreWear = 1;
        host.race.Damage = 3;
        host.race.WeatherMode = 2;
        host.car = {3, 1, 0};
        host.choices.FillCombos();
        host.choices.LoadOld();

        QCOMPARE(host.race.Country, std::uint8_t(1));
        QCOMPARE(host.race.StageIndex, std::uint8_t(2));
        QCOMPARE(host.race.StageId, std::uint8_t(22));
        QCOMPARE(host.race.WeatherPreset, std::uint8_t(4));
        QCOMPARE(host.race.WeatherPresetName, QStringLiteral("22O_N_heavyrain_heavycloud"));
        QCOMPARE(host.race.Humidity, std::uint8_t(2));
        QCOMPARE(host.race.TyreWear, std::uint8_t(1));
        QCOMPARE(host.race.Damage, std::uint8_t(3));
        QCOMPARE(host.race.WeatherMode, std::uint8_t(2));
        QCOMPARE(host.race.WeatherCondition, std::uint8_t(2));
        QCOMPARE(host.choices.cmbCountry.Index(), 1);
        QCOMPARE(host.choices.cmbStage.Index(), 2);
        QCOMPARE(host.choices.cmbWeather.Index(), 4);
        QCOMPARE(host.choices.cmbHumid.Index(), 2);
        QCOMPARE(host.choices.cmbWear.Index(), 1);
        QCOMPARE(host.choices.optDam.Index(), 3);
        QCOMPARE(host.choices.optWeather.Index(), 2);
        QCOMPARE(host.choices.pCar[0].Index(), 3);
        QCOMPARE(host.choices.pTrans[0].Index(), 1);
        // Bad weather on an England stage with "Wet": gravel wet tyres, the rain picture.
        QCOMPARE(host.car.Tyre, std::uint8_t(GravelWet));
        QCOMPARE(host.choices.WeatherPicture(), 2);
    }

    // A stored index the list does not have keeps the stored value; the list keeps showing what
    // the country change selected .
    void host_load_with_stale_indexes() {
        Window host(RaceChoices::Form::Host);
        host.race.Country = 0;
        host.race.StageIndex = 9;
        host.race.StageId = 10;
        host.race.WeatherPreset = 40;
        host.race.Humidity = 2;
        host.choices.FillCombos();
        host.choices.LoadOld();
        QCOMPARE(host.race.StageIndex, std::uint8_t(9));
        QCOMPARE(host.choices.cmbStage.Index(), 0);
        QCOMPARE(host.race.WeatherPreset, std::uint8_t(40));
        QCOMPARE(host.choices.cmbWeather.Index(), 0);
        QCOMPARE(host.race.Humidity, std::uint8_t(2));
        QCOMPARE(host.choices.cmbHumid.Index(), 0);
        QCOMPARE(host.car.Tyre, std::uint8_t(Snow));
    }

    void host_own_row_only() {
        Window host(RaceChoices::Form::Host);
        host.choices.FillCombos();
        host.choices.LoadOld();
        host.sends = 0;
        host.Choose(host.choices.pCar[0], 5);
        host.Choose(host.choices.pTrans[0], 1);
        host.Choose(host.choices.pTyre[0], 2);
        QCOMPARE(host.car.Car, std::uint8_t(5));
        QCOMPARE(host.car.Transmission, std::uint8_t(1));
        QCOMPARE(host.car.Tyre, std::uint8_t(2));
        QCOMPARE(host.sends, 3);
        host.Choose(host.choices.pCar[4], 1);
        QCOMPARE(host.car.Car, std::uint8_t(5));
        QCOMPARE(host.sends, 3);
        QVERIFY(host.choices.pCar[0].Enabled());
        QVERIFY(!host.choices.pCar[4].Enabled());
    }

    // A client shows the host's race, follows with its own tyre and tells the host at once.
    void client_follows_host() {
        Window client(RaceChoices::Form::Client);
        client.choices.SetLocalSlot(3);
        client.choices.DisableHostControls();
        client.race.Country = 1;
        client.race.StageIndex = 2;
        client.race.StageId = 22;
        client.race.WeatherPreset = 4;
        client.race.Humidity = 2;
        client.race.WeatherMode = 0;
        client.race.Damage = 2;
        client.race.TyreWear = 2;
        client.choices.FillCombos();
        client.choices.LoadOld();

        QCOMPARE(client.choices.cmbStage.CurrentText(),
                 QStringLiteral("Chirdonhead       [7000m]"));
        QCOMPARE(client.race.WeatherPresetName, QStringLiteral("22O_N_heavyrain_heavycloud"));
        QCOMPARE(client.choices.cmbHumid.Texts(), QStringList({"Dry", "Damp", "Wet"}));
        QCOMPARE(client.choices.cmbHumid.Index(), 2);
        QCOMPARE(client.choices.cmbWear.Index(), 2);
        QCOMPARE(client.choices.optDam.Index(), 2);
        QCOMPARE(client.choices.optWeather.Index(), 0);
        QCOMPARE(client.choices.WeatherPicture(), 0);
        QCOMPARE(client.car.Tyre, std::uint8_t(GravelWet));
        QCOMPARE(client.choices.pTyre[3].Index(), int(GravelWet));
        QCOMPARE(client.choices.pTyre[0].Index(), -1);
        QCOMPARE(client.sends, 1);

        QVERIFY(!client.choices.cmbCountry.Enabled());
        QVERIFY(!client.choices.optWeather.Enabled());
        QVERIFY(client.choices.pTyre[3].Enabled());
        QVERIFY(!client.choices.pTyre[0].Enabled());

        // Host-only controls do nothing on a client, even when picked.
        const RaceSettings before = client.race;
        client.choices.cmbCountry.Pick(4);
        client.choices.optWeather.Pick(1);
        QCOMPARE(client.race.Country, before.Country);
        QCOMPARE(client.race.WeatherMode, before.WeatherMode);
        client.choices.cmbWeather.Pick(0);
        QCOMPARE(client.race.WeatherPresetName, QStringLiteral("22N_crisp_clear"));
        QCOMPARE(client.race.WeatherPreset, std::uint8_t(4));
        QCOMPARE(client.sends, 1);

        client.Choose(client.choices.pCar[3], 7);
        QCOMPARE(client.car.Car, std::uint8_t(7));
        QCOMPARE(client.sends, 2);

        client.choices.ShowCar(0, {2, 1, 4});
        QCOMPARE(client.choices.pCar[0].Index(), 2);
        QCOMPARE(client.choices.pTyre[0].Index(), 4);
        QCOMPARE(client.sends, 2);
    }
};

TARVEX_TEST(RaceChoicesTest);
#include "RaceChoicesTest.moc"
