#include "race/ui/RaceSettingsPanel.h"

#include "TestRegistry.h"
#include "race/RaceChoices.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace tarvex;

class RaceSettingsPanelTest : public QObject {
    Q_OBJECT

private slots:
    void host_panel_edits_race() {
        RaceSettings race;
        CarSelection car;
        RaceChoices choices(RaceChoices::Form::Host, race, car, [] { return 0.0; });
        int sends = 0;
        choices.SendGameData = [&] {
            ++sends;
        };
        RaceSettingsPanel panel(choices);
        QWidget row;
        const CarChoiceBoxes own = MakeCarChoiceBoxes(choices, 0, &row);
        choices.FillCombos();
        choices.LoadOld();

        QCOMPARE(panel.cmbCountry->count(), 7);
        QCOMPARE(panel.cmbStage->currentText(), QStringLiteral("Kaihuavaara       [6100m]"));
        QVERIFY(!panel.pWeather->pixmap().isNull());

        // The user chooses England, then "Bad Conditions".
        panel.cmbCountry->setCurrentIndex(1);
        emit panel.cmbCountry->activated(1);
        QCOMPARE(race.Country, std::uint8_t(1));
        QCOMPARE(panel.cmbStage->count(), 7);
        QCOMPARE(panel.cmbStage->itemText(6), QStringLiteral("Rally School      [2200m]"));
        QCOMPARE(panel.cmbHumid->count(), 3);
        QCOMPARE(own.pTyre->currentText(), QStringLiteral("Gravel Dry"));

        QTest::mouseClick(panel.optWeather[2], Qt::LeftButton);
        QCOMPARE(race.WeatherMode, std::uint8_t(2));
        QVERIFY(panel.optWeather[2]->isChecked());
        QVERIFY(!panel.optWeather[0]->isChecked());
        QCOMPARE(choices.WeatherPicture(), 2);

        own.pCar->setCurrentIndex(4);
        emit own.pCar->activated(4);
        QCOMPARE(car.Car, std::uint8_t(4));
        QVERIFY(panel.Command1->isVisibleTo(&panel));
        QVERIFY(sends >= 3);
    }
};

TARVEX_TEST(RaceSettingsPanelTest);
#include "RaceSettingsPanelTest.moc"
