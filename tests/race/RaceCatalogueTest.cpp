#include "race/RaceCatalogue.h"

#include "TestRegistry.h"
#include "race/Random.h"

#include <QRegularExpression>
#include <QTest>

using namespace tarvex;

class RaceCatalogueTest : public QObject {
    Q_OBJECT

private slots:
    // Each country's list: the texts as shown, the game's stage numbers, how many weather
    // presets and humidities the game offers on each stage.
    void stages_data() {
        QTest::addColumn<int>("country");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QList<int>>("ids");
        QTest::addColumn<QList<int>>("presets");
        QTest::addColumn<QList<int>>("humidities");
        QTest::newRow("Finland")
            << 0 << QStringList{"Kaihuavaara       [6100m]", "Mustaselka        [7900m]",
                                "Sikakama         [10200m]", "Autiovaara        [6100m]",
                                "Kaihuavaara II    [6100m]", "Mustaselka II     [7700m]"}
            << QList<int>{10, 11, 12, 13, 14, 15} << QList<int>(6, 5) << QList<int>(6, 1);
        QTest::newRow("England")
            << 1 << QStringList{"Harwood Forest    [6100m]", "Falstone          [6600m]",
                                "Chirdonhead       [7000m]", "Shepherds Shield  [4800m]",
                                "Harwood Forest II [5900m]", "Chirdonhead II    [6900m]",
                                "Rally School      [2200m]"}
            << QList<int>{20, 21, 22, 23, 24, 25, 71} << QList<int>{8, 15, 8, 8, 5, 5, 0}
            << QList<int>{3, 3, 3, 3, 3, 3, 1};
        QTest::newRow("Australia")
            << 2 << QStringList{"New Bobs         [10100m]", "Greenhills        [6000m]",
                                "Mineshaft         [8200m]", "East-West         [9500m]",
                                "NewBobs II       [10000m]", "East-West II      [9600m]"}
            << QList<int>{31, 32, 33, 34, 35, 36} << QList<int>{4, 8, 4, 4, 4, 4}
            << QList<int>(6, 2);
        QTest::newRow("France")
            << 3 << QStringList{"Cote D'Arbroz     [4500m]", "Joux Verte        [7900m]",
                                "Bisanne           [5600m]", "Joux Plane       [11100m]",
                                "Joux Verte II     [7800m]", "Cote D'Arbroz II  [4300m]"}
            << QList<int>{41, 42, 43, 44, 45, 46} << QList<int>(6, 7) << QList<int>(6, 3);
        QTest::newRow("Japan") << 4 << QStringList{"Noiker           [13800m]",
                                                   "Sipirkakim        [8700m]",
                                                   "Pirka Menoko      [6700m]",
                                                   "Tanner            [3900m]",
                                                   "Noiker II        [13700m]",
                                                   "Tanner II         [4000m]"}
                               << QList<int>{51, 52, 53, 54, 55, 56} << QList<int>{7, 7, 7, 8, 4, 7}
                               << QList<int>(6, 3);
        QTest::newRow("USA") << 5 << QStringList{"Fraizer Wells     [5000m]",
                                                 "Prospect Ridge    [7800m]",
                                                 "Diamond Creek     [7100m]",
                                                 "Hualapai Nation   [8600m]",
                                                 "Prospect Ridge II [7900m]",
                                                 "Diamond Creek II  [6800m]"}
                             << QList<int>{61, 62, 63, 64, 65, 66} << QList<int>{8, 8, 7, 8, 7, 8}
                             << QList<int>(6, 3);
        QTest::newRow("Special")
            << kSpecialCountry
            << QStringList{"Rally HQ",         "Rally Yard",       "Rally Yard II",
                           "Rally Yard III",   "Rally Yard IV",    "Rally Yard V",
                           "Rally Yard VI",    "Rally Yard VII",   "Rally Yard VIII",
                           "Rally Yard IX",    "Rally School",     "Rally School II",
                           "Rally School III", "Rally School IV",  "Rally School V",
                           "Rally School VI",  "Rally School VII", "Rally School VIII",
                           "Rally School IX"}
            << QList<int>{4, 72, 73, 78, 83, 84, 85, 86, 88, 89, 71, 74, 75, 76, 77, 79, 80, 82, 87}
            << (QList<int>{43} + QList<int>(18, 0)) << (QList<int>{3} + QList<int>(18, 1));
    }

    void stages() {
        QFETCH(int, country);
        QFETCH(QStringList, texts);
        QFETCH(QList<int>, ids);
        QFETCH(QList<int>, presets);
        QFETCH(QList<int>, humidities);
        QStringList shown;
        QList<int> shown_ids, shown_presets, shown_humidities;
        for (const StageEntry& stage : CountryStages(country)) {
            const QString text = QString::fromLatin1(stage.text);
            shown << text;
            shown_ids << stage.stage_id;
            shown_presets << int(WeatherPresets(stage.stage_id).size());
            shown_humidities << int(HumidityEntries(stage.stage_id).size());
            // The name in results and messages is the list text without padding and length.
            QCOMPARE(StageName(stage.stage_id), text.section(u'[', 0, 0).trimmed());
        }
        QCOMPARE(shown, texts);
        QCOMPARE(shown_ids, ids);
        QCOMPARE(shown_presets, presets);
        QCOMPARE(shown_humidities, humidities);
        QVERIFY(CountryStages(-1).empty());
        QVERIFY(CountryStages(kCountryCount).empty());
    }

    // Every preset name follows the game's naming and belongs to its own stage; the lists are
    // in the game's (alphabetical) order and hold no duplicates.
    void preset_names() {
        const QRegularExpression grammar(QStringLiteral(
            "^(\\d\\d)(?:[EMN]_(?:crisp|hazy)_(?:clear|partcloud|lightcloud)|"
            "O_[EMN]_(?:norain|lightrain|heavyrain|lightfog|heavyfog|nosnow|lightsnow|heavysnow|"
            "hazy)_(?:lightcloud|heavycloud|partcloud))$"));
        int total = 0;
        for (int stage_id = 0; stage_id < 256; ++stage_id) {
            const QStringList presets = WeatherPresets(stage_id);
            if (stage_id >= 71) {
                QVERIFY2(presets.isEmpty(), qPrintable(QString::number(stage_id)));
            }
            QStringList sorted = presets;
            sorted.sort();
            sorted.removeDuplicates();
            QCOMPARE(sorted, presets);
            for (const QString& preset : presets) {
                const auto match = grammar.match(preset);
                QVERIFY2(match.hasMatch(), qPrintable(preset));
                QCOMPARE(match.captured(1).toInt(), stage_id);
            }
            total += int(presets.size());
        }
        QCOMPARE(total, 278);
    }

    void outside_catalogue_data() {
        QTest::addColumn<int>("stage_id");
        QTest::addColumn<QString>("humidity");
        QTest::newRow("0") << 0 << "Dry,Damp,Wet";
        QTest::newRow("16") << 16 << "Dry,Damp,Wet";
        QTest::newRow("37") << 37 << "Dry,Damp,Wet";
        QTest::newRow("67") << 67 << "Dry,Damp,Wet";
        QTest::newRow("68") << 68 << "Dry";
        QTest::newRow("81") << 81 << "Dry";
        QTest::newRow("255") << 255 << "Dry";
    }

    void outside_catalogue() {
        QFETCH(int, stage_id);
        QFETCH(QString, humidity);
        QCOMPARE(StageName(stage_id), QString());
        QVERIFY(WeatherPresets(stage_id).isEmpty());
        QCOMPARE(HumidityEntries(stage_id).join(QLatin1Char(',')), humidity);
    }

    // Every country, weather mode (including one out of range), humidity (likewise) and
    // stage position against the tyre and picture table.
    void proposal_data() {
        QTest::addColumn<int>("country");
        QTest::addColumn<int>("stage_index");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("humidity");
        QTest::addColumn<int>("tyre");
        QTest::addColumn<int>("picture");

        struct CountryRule {
            int stages;
            const char* tyres; // by humidity 0, 1, 2
            const char* good;  // picture by stage index
            char random;
            const char* bad;
        };
        const CountryRule rules[kCountryCount] = {
            {6, "666", "111111", '4', "333333"},
            {7, "345", "0101110", '4', "2222221"},
            {6, "333", "000000", '4', "111111"},
            {6, "012", "001000", '4', "222222"},
            {6, "345", "010010", '4', "222222"},
            {6, "345", "010011", '4', "222122"},
            {19, "333", "4444444444444444444", '4', "4444444444444444444"},
        };
        for (int country = 0; country < kCountryCount; ++country) {
            const CountryRule& rule = rules[country];
            for (int index = 0; index < rule.stages; ++index) {
                for (int mode = 0; mode <= 3; ++mode) {
                    for (int humidity = 0; humidity <= 3; ++humidity) {
                        int tyre = humidity <= 2 ? rule.tyres[humidity] - '0' : -1;
                        // Snow and gravel-dry countries ignore humidity altogether.
                        if (country == 0 || country == 2 || country == 6) {
                            tyre = rule.tyres[0] - '0';
                        }
                        const int picture = mode == 0   ? rule.good[index] - '0'
                                            : mode == 1 ? rule.random - '0'
                                            : mode == 2 ? rule.bad[index] - '0'
                                                        : -1;
                        QTest::addRow("c%d s%d m%d h%d", country, index, mode, humidity)
                            << country << index << mode << humidity << tyre << picture;
                    }
                }
            }
        }
    }

    void proposal() {
        QFETCH(int, country);
        QFETCH(int, stage_index);
        QFETCH(int, mode);
        QFETCH(int, humidity);
        RaceSettings race;
        race.Country = std::uint8_t(country);
        race.StageIndex = std::uint8_t(stage_index);
        race.WeatherMode = std::uint8_t(mode);
        race.Humidity = std::uint8_t(humidity);
        const TyreProposal proposal = ProposeTyre(race);
        QTEST(proposal.tyre, "tyre");
        QTEST(proposal.picture, "picture");
    }

    void list_texts() {
        QCOMPARE(CountryNames().join(QLatin1Char('|')),
                 QStringLiteral("Finland|England|Australia|France|Japan|USA|Special"));
        QCOMPARE(CarNames().join(QLatin1Char('|')),
                 QStringLiteral("Citroen Xsara|Hyundai Accent|MG ZR Super 1600|"
                                "Mitsubishi Lancer Evo VII|Peugeot 206|Subaru Impreza 2003|"
                                "Toyota Corolla|Subaru Impreza 2000"));
        QCOMPARE(TyreNames().join(QLatin1Char('|')),
                 QStringLiteral("Tarmac Dry|Tarmac Int.|Tarmac Wet|Gravel Dry|Gravel Int.|"
                                "Gravel Wet|Snow"));
        QCOMPARE(TransmissionNames().join(QLatin1Char('|')), QStringLiteral("Auto|Manual"));
        QCOMPARE(WeatherModeNames().join(QLatin1Char('|')),
                 QStringLiteral("Good Conditions|Random Weather|Bad Conditions"));
        QCOMPARE(DamageNames().join(QLatin1Char('|')),
                 QStringLiteral("Off|Safe|Reduced|Realistic"));
        QCOMPARE(TyreWearNames().join(QLatin1Char('|')), QStringLiteral("New|Normal|Worn"));
    }
};

TARVEX_TEST(RaceCatalogueTest);
#include "RaceCatalogueTest.moc"
