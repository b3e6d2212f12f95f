#include "race/RaceCatalogue.h"

#include "TestRegistry.h"
#include "race/Random.h"

#include <QRegularExpression>
#include <QTest>

using namespace tarvex;

class RaceCatalogueTest : public QObject {
    Q_OBJECT

private slots:
    void stages_data() {
        QTest::addColumn<int>("country");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("stage_id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("preset_count");
        QTest::addColumn<QString>("first_preset");
        QTest::addColumn<QString>("last_preset");
        QTest::addColumn<QString>("humidity");

        auto Row = [](int country, int index, const char* text, int stage_id, const char* name,
                      int preset_count, const char* first, const char* last, const char* humid) {
            QTest::addRow("%d/%d %s", country, index, name)
                << country << index << QString::fromLatin1(text) << stage_id
                << QString::fromLatin1(name) << preset_count << QString::fromLatin1(first)
                << QString::fromLatin1(last) << QString::fromLatin1(humid);
        };
        Row(0, 0, "Kaihuavaara       [6100m]", 10, "Kaihuavaara", 5, "10O_N_hazy_partcloud",
            "10O_N_nosnow_lightcloud", "Dry");
        Row(0, 1, "Mustaselka        [7900m]", 11, "Mustaselka", 5, "11O_N_hazy_partcloud",
            "11O_N_nosnow_lightcloud", "Dry");
        Row(0, 2, "Sikakama         [10200m]", 12, "Sikakama", 5, "12O_E_hazy_partcloud",
            "12O_E_nosnow_lightcloud", "Dry");
        Row(0, 3, "Autiovaara        [6100m]", 13, "Autiovaara", 5, "13O_E_hazy_partcloud",
            "13O_E_nosnow_lightcloud", "Dry");
        Row(0, 4, "Kaihuavaara II    [6100m]", 14, "Kaihuavaara II", 5, "14O_M_hazy_partcloud",
            "14O_M_nosnow_lightcloud", "Dry");
        Row(0, 5, "Mustaselka II     [7700m]", 15, "Mustaselka II", 5, "15O_M_hazy_partcloud",
            "15O_M_nosnow_lightcloud", "Dry");
        Row(1, 0, "Harwood Forest    [6100m]", 20, "Harwood Forest", 8, "20N_crisp_clear",
            "20O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 1, "Falstone          [6600m]", 21, "Falstone", 15, "21O_E_heavyfog_heavycloud",
            "21O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 2, "Chirdonhead       [7000m]", 22, "Chirdonhead", 8, "22N_crisp_clear",
            "22O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 3, "Shepherds Shield  [4800m]", 23, "Shepherds Shield", 8, "23E_crisp_clear",
            "23O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 4, "Harwood Forest II [5900m]", 24, "Harwood Forest II", 5,
            "24O_M_heavyfog_heavycloud", "24O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 5, "Chirdonhead II    [6900m]", 25, "Chirdonhead II", 5, "25O_M_heavyfog_heavycloud",
            "25O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(1, 6, "Rally School      [2200m]", 71, "Rally School", 0, "", "", "Dry");
        Row(2, 0, "New Bobs         [10100m]", 31, "New Bobs", 4, "31E_crisp_clear",
            "31E_hazy_partcloud", "Dry,Damp");
        Row(2, 1, "Greenhills        [6000m]", 32, "Greenhills", 8, "32M_crisp_clear",
            "32N_hazy_partcloud", "Dry,Damp");
        Row(2, 2, "Mineshaft         [8200m]", 33, "Mineshaft", 4, "33N_crisp_clear",
            "33N_hazy_partcloud", "Dry,Damp");
        Row(2, 3, "East-West         [9500m]", 34, "East-West", 4, "34E_crisp_clear",
            "34E_hazy_partcloud", "Dry,Damp");
        Row(2, 4, "NewBobs II       [10000m]", 35, "NewBobs II", 4, "35N_crisp_clear",
            "35N_hazy_partcloud", "Dry,Damp");
        Row(2, 5, "East-West II      [9600m]", 36, "East-West II", 4, "36M_crisp_clear",
            "36M_hazy_partcloud", "Dry,Damp");
        Row(3, 0, "Cote D'Arbroz     [4500m]", 41, "Cote D'Arbroz", 7, "41M_crisp_clear",
            "41O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(3, 1, "Joux Verte        [7900m]", 42, "Joux Verte", 7, "42M_crisp_clear",
            "42O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(3, 2, "Bisanne           [5600m]", 43, "Bisanne", 7, "43N_crisp_clear",
            "43O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(3, 3, "Joux Plane       [11100m]", 44, "Joux Plane", 7, "44E_crisp_clear",
            "44O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(3, 4, "Joux Verte II     [7800m]", 45, "Joux Verte II", 7, "45N_crisp_clear",
            "45O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(3, 5, "Cote D'Arbroz II  [4300m]", 46, "Cote D'Arbroz II", 7, "46E_crisp_clear",
            "46O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 0, "Noiker           [13800m]", 51, "Noiker", 7, "51N_crisp_clear",
            "51O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 1, "Sipirkakim        [8700m]", 52, "Sipirkakim", 7, "52M_crisp_clear",
            "52O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 2, "Pirka Menoko      [6700m]", 53, "Pirka Menoko", 7, "53N_crisp_clear",
            "53O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 3, "Tanner            [3900m]", 54, "Tanner", 8, "54E_crisp_clear",
            "54O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 4, "Noiker II        [13700m]", 55, "Noiker II", 4, "55O_M_heavyrain_heavycloud",
            "55O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(4, 5, "Tanner II         [4000m]", 56, "Tanner II", 7, "56M_crisp_clear",
            "56O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 0, "Fraizer Wells     [5000m]", 61, "Fraizer Wells", 8, "61M_crisp_clear",
            "61O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 1, "Prospect Ridge    [7800m]", 62, "Prospect Ridge", 8, "62M_crisp_clear",
            "62O_M_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 2, "Diamond Creek     [7100m]", 63, "Diamond Creek", 7, "63N_crisp_clear",
            "63O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 3, "Hualapai Nation   [8600m]", 64, "Hualapai Nation", 8, "64E_crisp_clear",
            "64O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 4, "Prospect Ridge II [7900m]", 65, "Prospect Ridge II", 7, "65N_crisp_clear",
            "65O_N_norain_lightcloud", "Dry,Damp,Wet");
        Row(5, 5, "Diamond Creek II  [6800m]", 66, "Diamond Creek II", 8, "66E_crisp_clear",
            "66O_E_norain_lightcloud", "Dry,Damp,Wet");
        Row(6, 0, "Rally HQ", 4, "Rally HQ", 43, "04E_crisp_clear", "04O_N_nosnow_lightcloud",
            "Dry,Damp,Wet");
        Row(6, 1, "Rally Yard", 72, "Rally Yard", 0, "", "", "Dry");
        Row(6, 2, "Rally Yard II", 73, "Rally Yard II", 0, "", "", "Dry");
        Row(6, 3, "Rally Yard III", 78, "Rally Yard III", 0, "", "", "Dry");
        Row(6, 4, "Rally Yard IV", 83, "Rally Yard IV", 0, "", "", "Dry");
        Row(6, 5, "Rally Yard V", 84, "Rally Yard V", 0, "", "", "Dry");
        Row(6, 6, "Rally Yard VI", 85, "Rally Yard VI", 0, "", "", "Dry");
        Row(6, 7, "Rally Yard VII", 86, "Rally Yard VII", 0, "", "", "Dry");
        Row(6, 8, "Rally Yard VIII", 88, "Rally Yard VIII", 0, "", "", "Dry");
        Row(6, 9, "Rally Yard IX", 89, "Rally Yard IX", 0, "", "", "Dry");
        Row(6, 10, "Rally School", 71, "Rally School", 0, "", "", "Dry");
        Row(6, 11, "Rally School II", 74, "Rally School II", 0, "", "", "Dry");
        Row(6, 12, "Rally School III", 75, "Rally School III", 0, "", "", "Dry");
        Row(6, 13, "Rally School IV", 76, "Rally School IV", 0, "", "", "Dry");
        Row(6, 14, "Rally School V", 77, "Rally School V", 0, "", "", "Dry");
        Row(6, 15, "Rally School VI", 79, "Rally School VI", 0, "", "", "Dry");
        Row(6, 16, "Rally School VII", 80, "Rally School VII", 0, "", "", "Dry");
        Row(6, 17, "Rally School VIII", 82, "Rally School VIII", 0, "", "", "Dry");
        Row(6, 18, "Rally School IX", 87, "Rally School IX", 0, "", "", "Dry");
    }

    void stages() {
        QFETCH(int, country);
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(int, stage_id);
        QFETCH(QString, name);
        QFETCH(int, preset_count);
        QFETCH(QString, first_preset);
        QFETCH(QString, last_preset);
        QFETCH(QString, humidity);

        const auto stages = CountryStages(country);
        QVERIFY(index < int(stages.size()));
        QCOMPARE(QString::fromLatin1(stages[index].text), text);
        QCOMPARE(int(stages[index].stage_id), stage_id);
        if (country != kSpecialCountry) {
            // Lengths line up in a column: the bracket closes at character 25.
            QCOMPARE(text.size(), 25);
        }
        QCOMPARE(StageName(stage_id), name);

        const QStringList presets = WeatherPresets(stage_id);
        QCOMPARE(presets.size(), preset_count);
        QCOMPARE(presets.value(0), first_preset);
        QCOMPARE(presets.value(presets.size() - 1), last_preset);
        QCOMPARE(HumidityEntries(stage_id).join(QLatin1Char(',')), humidity);
    }

    void stage_counts() {
        const int expected[kCountryCount] = {6, 7, 6, 6, 6, 6, 19};
        for (int country = 0; country < kCountryCount; ++country) {
            QCOMPARE(int(CountryStages(country).size()), expected[country]);
        }
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

    void random_int_data() {
        QTest::addColumn<double>("r");
        QTest::addColumn<int>("low");
        QTest::addColumn<int>("high");
        QTest::addColumn<int>("expected");
        QTest::newRow("1..2 low end") << 0.0 << 1 << 2 << 1;
        QTest::newRow("1..2 below half") << 0.4999 << 1 << 2 << 1;
        QTest::newRow("1..2 half") << 0.5 << 1 << 2 << 2;
        QTest::newRow("1..2 top") << 0.999999 << 1 << 2 << 2;
        QTest::newRow("0..5 top") << 0.999999 << 0 << 5 << 5;
        QTest::newRow("0..5 middle") << 0.5 << 0 << 5 << 3;
    }

    void random_int() {
        QFETCH(double, r);
        QFETCH(int, low);
        QFETCH(int, high);
        QTEST(RandomInt([r] { return r; }, low, high), "expected");
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
