#include "race/RaceCatalogue.h"

#include <algorithm>
#include <iterator>

namespace tarvex {

namespace {

QStringList ToList(std::span<const char* const> texts) {
    QStringList list;
    list.reserve(qsizetype(texts.size()));
    for (const char* text : texts) {
        list << QString::fromLatin1(text);
    }
    return list;
}

// Stage lists, in list order per country.
const StageEntry kFinlandStages[] = {
    {"Kaihuavaara       [6100m]", 10}, {"Mustaselka        [7900m]", 11},
    {"Sikakama         [10200m]", 12}, {"Autiovaara        [6100m]", 13},
    {"Kaihuavaara II    [6100m]", 14}, {"Mustaselka II     [7700m]", 15},
};
const StageEntry kEnglandStages[] = {
    {"Harwood Forest    [6100m]", 20}, {"Falstone          [6600m]", 21},
    {"Chirdonhead       [7000m]", 22}, {"Shepherds Shield  [4800m]", 23},
    {"Harwood Forest II [5900m]", 24}, {"Chirdonhead II    [6900m]", 25},
    {"Rally School      [2200m]", 71},
};
const StageEntry kAustraliaStages[] = {
    {"New Bobs         [10100m]", 31}, {"Greenhills        [6000m]", 32},
    {"Mineshaft         [8200m]", 33}, {"East-West         [9500m]", 34},
    {"NewBobs II       [10000m]", 35}, {"East-West II      [9600m]", 36},
};
const StageEntry kFranceStages[] = {
    {"Cote D'Arbroz     [4500m]", 41}, {"Joux Verte        [7900m]", 42},
    {"Bisanne           [5600m]", 43}, {"Joux Plane       [11100m]", 44},
    {"Joux Verte II     [7800m]", 45}, {"Cote D'Arbroz II  [4300m]", 46},
};
const StageEntry kJapanStages[] = {
    {"Noiker           [13800m]", 51}, {"Sipirkakim        [8700m]", 52},
    {"Pirka Menoko      [6700m]", 53}, {"Tanner            [3900m]", 54},
    {"Noiker II        [13700m]", 55}, {"Tanner II         [4000m]", 56},
};
const StageEntry kUSAStages[] = {
    {"Fraizer Wells     [5000m]", 61}, {"Prospect Ridge    [7800m]", 62},
    {"Diamond Creek     [7100m]", 63}, {"Hualapai Nation   [8600m]", 64},
    {"Prospect Ridge II [7900m]", 65}, {"Diamond Creek II  [6800m]", 66},
};
const StageEntry kSpecialStages[] = {
    {"Rally HQ", 4},          {"Rally Yard", 72},       {"Rally Yard II", 73},
    {"Rally Yard III", 78},   {"Rally Yard IV", 83},    {"Rally Yard V", 84},
    {"Rally Yard VI", 85},    {"Rally Yard VII", 86},   {"Rally Yard VIII", 88},
    {"Rally Yard IX", 89},    {"Rally School", 71},     {"Rally School II", 74},
    {"Rally School III", 75}, {"Rally School IV", 76},  {"Rally School V", 77},
    {"Rally School VI", 79},  {"Rally School VII", 80}, {"Rally School VIII", 82},
    {"Rally School IX", 87},
};

const char* const kPresets04[] = {
    "04E_crisp_clear",
    "04E_crisp_partcloud",
    "04E_hazy_clear",
    "04E_hazy_partcloud",
    "04M_crisp_clear",
    "04M_crisp_partcloud",
    "04M_hazy_clear",
    "04M_hazy_lightcloud",
    "04M_hazy_partcloud",
    "04N_crisp_clear",
    "04N_crisp_partcloud",
    "04N_hazy_clear",
    "04N_hazy_partcloud",
    "04O_E_hazy_partcloud",
    "04O_E_heavyfog_heavycloud",
    "04O_E_heavyrain_heavycloud",
    "04O_E_heavysnow_heavycloud",
    "04O_E_lightfog_heavycloud",
    "04O_E_lightrain_heavycloud",
    "04O_E_lightsnow_heavycloud",
    "04O_E_norain_lightcloud",
    "04O_E_nosnow_heavycloud",
    "04O_E_nosnow_lightcloud",
    "04O_M_hazy_partcloud",
    "04O_M_heavyfog_heavycloud",
    "04O_M_heavyrain_heavycloud",
    "04O_M_heavysnow_heavycloud",
    "04O_M_lightfog_heavycloud",
    "04O_M_lightrain_heavycloud",
    "04O_M_lightsnow_heavycloud",
    "04O_M_norain_lightcloud",
    "04O_M_nosnow_heavycloud",
    "04O_M_nosnow_lightcloud",
    "04O_N_hazy_partcloud",
    "04O_N_heavyfog_heavycloud",
    "04O_N_heavyrain_heavycloud",
    "04O_N_heavysnow_heavycloud",
    "04O_N_lightfog_heavycloud",
    "04O_N_lightrain_heavycloud",
    "04O_N_lightsnow_heavycloud",
    "04O_N_norain_lightcloud",
    "04O_N_nosnow_heavycloud",
    "04O_N_nosnow_lightcloud",
};
const char* const kPresets10[] = {
    "10O_N_hazy_partcloud",    "10O_N_heavysnow_heavycloud", "10O_N_lightsnow_heavycloud",
    "10O_N_nosnow_heavycloud", "10O_N_nosnow_lightcloud",
};
const char* const kPresets11[] = {
    "11O_N_hazy_partcloud",    "11O_N_heavysnow_heavycloud", "11O_N_lightsnow_heavycloud",
    "11O_N_nosnow_heavycloud", "11O_N_nosnow_lightcloud",
};
const char* const kPresets12[] = {
    "12O_E_hazy_partcloud",    "12O_E_heavysnow_heavycloud", "12O_E_lightsnow_heavycloud",
    "12O_E_nosnow_heavycloud", "12O_E_nosnow_lightcloud",
};
const char* const kPresets13[] = {
    "13O_E_hazy_partcloud",    "13O_E_heavysnow_heavycloud", "13O_E_lightsnow_heavycloud",
    "13O_E_nosnow_heavycloud", "13O_E_nosnow_lightcloud",
};
const char* const kPresets14[] = {
    "14O_M_hazy_partcloud",    "14O_M_heavysnow_heavycloud", "14O_M_lightsnow_heavycloud",
    "14O_M_nosnow_heavycloud", "14O_M_nosnow_lightcloud",
};
const char* const kPresets15[] = {
    "15O_M_hazy_partcloud",    "15O_M_heavysnow_heavycloud", "15O_M_lightsnow_heavycloud",
    "15O_M_nosnow_heavycloud", "15O_M_nosnow_lightcloud",
};
const char* const kPresets20[] = {
    "20N_crisp_clear",
    "20N_crisp_partcloud",
    "20N_hazy_clear",
    "20O_N_heavyfog_heavycloud",
    "20O_N_heavyrain_heavycloud",
    "20O_N_lightfog_heavycloud",
    "20O_N_lightrain_heavycloud",
    "20O_N_norain_lightcloud",
};
const char* const kPresets21[] = {
    "21O_E_heavyfog_heavycloud",  "21O_E_heavyrain_heavycloud", "21O_E_lightfog_heavycloud",
    "21O_E_lightrain_heavycloud", "21O_E_norain_lightcloud",    "21O_M_heavyfog_heavycloud",
    "21O_M_heavyrain_heavycloud", "21O_M_lightfog_heavycloud",  "21O_M_lightrain_heavycloud",
    "21O_M_norain_lightcloud",    "21O_N_heavyfog_heavycloud",  "21O_N_heavyrain_heavycloud",
    "21O_N_lightfog_heavycloud",  "21O_N_lightrain_heavycloud", "21O_N_norain_lightcloud",
};
const char* const kPresets22[] = {
    "22N_crisp_clear",
    "22N_crisp_partcloud",
    "22N_hazy_clear",
    "22O_N_heavyfog_heavycloud",
    "22O_N_heavyrain_heavycloud",
    "22O_N_lightfog_heavycloud",
    "22O_N_lightrain_heavycloud",
    "22O_N_norain_lightcloud",
};
const char* const kPresets23[] = {
    "23E_crisp_clear",
    "23E_crisp_partcloud",
    "23E_hazy_clear",
    "23O_E_heavyfog_heavycloud",
    "23O_E_heavyrain_heavycloud",
    "23O_E_lightfog_heavycloud",
    "23O_E_lightrain_heavycloud",
    "23O_E_norain_lightcloud",
};
const char* const kPresets24[] = {
    "24O_M_heavyfog_heavycloud",  "24O_M_heavyrain_heavycloud", "24O_M_lightfog_heavycloud",
    "24O_M_lightrain_heavycloud", "24O_M_norain_lightcloud",
};
const char* const kPresets25[] = {
    "25O_M_heavyfog_heavycloud",  "25O_M_heavyrain_heavycloud", "25O_M_lightfog_heavycloud",
    "25O_M_lightrain_heavycloud", "25O_M_norain_lightcloud",
};
const char* const kPresets31[] = {
    "31E_crisp_clear",
    "31E_crisp_partcloud",
    "31E_hazy_clear",
    "31E_hazy_partcloud",
};
const char* const kPresets32[] = {
    "32M_crisp_clear", "32M_crisp_partcloud", "32M_hazy_clear", "32M_hazy_partcloud",
    "32N_crisp_clear", "32N_crisp_partcloud", "32N_hazy_clear", "32N_hazy_partcloud",
};
const char* const kPresets33[] = {
    "33N_crisp_clear",
    "33N_crisp_partcloud",
    "33N_hazy_clear",
    "33N_hazy_partcloud",
};
const char* const kPresets34[] = {
    "34E_crisp_clear",
    "34E_crisp_partcloud",
    "34E_hazy_clear",
    "34E_hazy_partcloud",
};
const char* const kPresets35[] = {
    "35N_crisp_clear",
    "35N_crisp_partcloud",
    "35N_hazy_clear",
    "35N_hazy_partcloud",
};
const char* const kPresets36[] = {
    "36M_crisp_clear",
    "36M_crisp_partcloud",
    "36M_hazy_clear",
    "36M_hazy_partcloud",
};
const char* const kPresets41[] = {
    "41M_crisp_clear",
    "41M_crisp_partcloud",
    "41M_hazy_clear",
    "41O_M_heavyrain_heavycloud",
    "41O_M_lightfog_heavycloud",
    "41O_M_lightrain_heavycloud",
    "41O_M_norain_lightcloud",
};
const char* const kPresets42[] = {
    "42M_crisp_clear",
    "42M_crisp_partcloud",
    "42M_hazy_clear",
    "42O_M_heavyrain_heavycloud",
    "42O_M_lightfog_heavycloud",
    "42O_M_lightrain_heavycloud",
    "42O_M_norain_lightcloud",
};
const char* const kPresets43[] = {
    "43N_crisp_clear",
    "43N_crisp_partcloud",
    "43N_hazy_clear",
    "43O_N_heavyrain_heavycloud",
    "43O_N_lightfog_heavycloud",
    "43O_N_lightrain_heavycloud",
    "43O_N_norain_lightcloud",
};
const char* const kPresets44[] = {
    "44E_crisp_clear",
    "44E_crisp_partcloud",
    "44E_hazy_clear",
    "44O_E_heavyrain_heavycloud",
    "44O_E_lightfog_heavycloud",
    "44O_E_lightrain_heavycloud",
    "44O_E_norain_lightcloud",
};
const char* const kPresets45[] = {
    "45N_crisp_clear",
    "45N_crisp_partcloud",
    "45N_hazy_clear",
    "45O_N_heavyrain_heavycloud",
    "45O_N_lightfog_heavycloud",
    "45O_N_lightrain_heavycloud",
    "45O_N_norain_lightcloud",
};
const char* const kPresets46[] = {
    "46E_crisp_clear",
    "46E_crisp_partcloud",
    "46E_hazy_clear",
    "46O_E_heavyrain_heavycloud",
    "46O_E_lightfog_heavycloud",
    "46O_E_lightrain_heavycloud",
    "46O_E_norain_lightcloud",
};
const char* const kPresets51[] = {
    "51N_crisp_clear",
    "51N_crisp_partcloud",
    "51N_hazy_clear",
    "51O_N_heavyrain_heavycloud",
    "51O_N_lightfog_heavycloud",
    "51O_N_lightrain_heavycloud",
    "51O_N_norain_lightcloud",
};
const char* const kPresets52[] = {
    "52M_crisp_clear",
    "52M_crisp_partcloud",
    "52M_hazy_clear",
    "52O_M_heavyrain_heavycloud",
    "52O_M_lightfog_heavycloud",
    "52O_M_lightrain_heavycloud",
    "52O_M_norain_lightcloud",
};
const char* const kPresets53[] = {
    "53N_crisp_clear",
    "53N_crisp_partcloud",
    "53N_hazy_clear",
    "53O_N_heavyrain_heavycloud",
    "53O_N_lightfog_heavycloud",
    "53O_N_lightrain_heavycloud",
    "53O_N_norain_lightcloud",
};
const char* const kPresets54[] = {
    "54E_crisp_clear",
    "54E_crisp_partcloud",
    "54E_hazy_clear",
    "54M_crisp_clear",
    "54O_E_heavyrain_heavycloud",
    "54O_E_lightfog_heavycloud",
    "54O_E_lightrain_heavycloud",
    "54O_E_norain_lightcloud",
};
const char* const kPresets55[] = {
    "55O_M_heavyrain_heavycloud",
    "55O_M_lightfog_heavycloud",
    "55O_M_lightrain_heavycloud",
    "55O_M_norain_lightcloud",
};
const char* const kPresets56[] = {
    "56M_crisp_clear",
    "56M_crisp_partcloud",
    "56M_hazy_clear",
    "56O_M_heavyrain_heavycloud",
    "56O_M_lightfog_heavycloud",
    "56O_M_lightrain_heavycloud",
    "56O_M_norain_lightcloud",
};
const char* const kPresets61[] = {
    "61M_crisp_clear",
    "61M_crisp_partcloud",
    "61M_hazy_clear",
    "61M_hazy_partcloud",
    "61O_M_heavyrain_heavycloud",
    "61O_M_lightfog_heavycloud",
    "61O_M_lightrain_heavycloud",
    "61O_M_norain_lightcloud",
};
const char* const kPresets62[] = {
    "62M_crisp_clear",
    "62M_crisp_partcloud",
    "62M_hazy_clear",
    "62M_hazy_partcloud",
    "62O_M_heavyrain_heavycloud",
    "62O_M_lightfog_heavycloud",
    "62O_M_lightrain_heavycloud",
    "62O_M_norain_lightcloud",
};
const char* const kPresets63[] = {
    "63N_crisp_clear",         "63N_crisp_partcloud",        "63N_hazy_clear",
    "63N_hazy_partcloud",      "63O_N_heavyrain_heavycloud", "63O_N_lightrain_heavycloud",
    "63O_N_norain_lightcloud",
};
const char* const kPresets64[] = {
    "64E_crisp_clear",
    "64E_crisp_partcloud",
    "64E_hazy_clear",
    "64E_hazy_partcloud",
    "64O_E_heavyrain_heavycloud",
    "64O_E_lightfog_heavycloud",
    "64O_E_lightrain_heavycloud",
    "64O_E_norain_lightcloud",
};
const char* const kPresets65[] = {
    "65N_crisp_clear",         "65N_crisp_partcloud",        "65N_hazy_clear",
    "65N_hazy_partcloud",      "65O_N_heavyrain_heavycloud", "65O_N_lightrain_heavycloud",
    "65O_N_norain_lightcloud",
};
const char* const kPresets66[] = {
    "66E_crisp_clear",
    "66E_crisp_partcloud",
    "66E_hazy_clear",
    "66E_hazy_partcloud",
    "66O_E_heavyrain_heavycloud",
    "66O_E_lightfog_heavycloud",
    "66O_E_lightrain_heavycloud",
    "66O_E_norain_lightcloud",
};

struct PresetList {
    int stage_id;
    std::span<const char* const> names;
};

const PresetList kPresetLists[] = {
    {4, kPresets04},  {10, kPresets10}, {11, kPresets11}, {12, kPresets12}, {13, kPresets13},
    {14, kPresets14}, {15, kPresets15}, {20, kPresets20}, {21, kPresets21}, {22, kPresets22},
    {23, kPresets23}, {24, kPresets24}, {25, kPresets25}, {31, kPresets31}, {32, kPresets32},
    {33, kPresets33}, {34, kPresets34}, {35, kPresets35}, {36, kPresets36}, {41, kPresets41},
    {42, kPresets42}, {43, kPresets43}, {44, kPresets44}, {45, kPresets45}, {46, kPresets46},
    {51, kPresets51}, {52, kPresets52}, {53, kPresets53}, {54, kPresets54}, {55, kPresets55},
    {56, kPresets56}, {61, kPresets61}, {62, kPresets62}, {63, kPresets63}, {64, kPresets64},
    {65, kPresets65}, {66, kPresets66},
};

const std::span<const StageEntry> kCountryStages[kCountryCount] = {
    kFinlandStages, kEnglandStages, kAustraliaStages, kFranceStages,
    kJapanStages,   kUSAStages,     kSpecialStages,
};

} // namespace

QStringList CountryNames() {
    static const char* const names[] = {"Finland", "England", "Australia", "France",
                                        "Japan",   "USA",     "Special"};
    return ToList(names);
}

QStringList WeatherModeNames() {
    static const char* const names[] = {"Good Conditions", "Random Weather", "Bad Conditions"};
    return ToList(names);
}

QStringList DamageNames() {
    static const char* const names[] = {"Off", "Safe", "Reduced", "Realistic"};
    return ToList(names);
}

QStringList TyreWearNames() {
    static const char* const names[] = {"New", "Normal", "Worn"};
    return ToList(names);
}

QStringList CarNames() {
    static const char* const names[] = {
        "Citroen Xsara", "Hyundai Accent",      "MG ZR Super 1600", "Mitsubishi Lancer Evo VII",
        "Peugeot 206",   "Subaru Impreza 2003", "Toyota Corolla",   "Subaru Impreza 2000"};
    return ToList(names);
}

QStringList TransmissionNames() {
    static const char* const names[] = {"Auto", "Manual"};
    return ToList(names);
}

QStringList TyreNames() {
    static const char* const names[] = {"Tarmac Dry",  "Tarmac Int.", "Tarmac Wet", "Gravel Dry",
                                        "Gravel Int.", "Gravel Wet",  "Snow"};
    return ToList(names);
}

std::span<const StageEntry> CountryStages(int country) {
    if (country < 0 || country >= kCountryCount) {
        return {};
    }
    return kCountryStages[country];
}

QStringList WeatherPresets(int stage_id) {
    const auto found =
        std::find_if(std::begin(kPresetLists), std::end(kPresetLists),
                     [&](const PresetList& list) { return list.stage_id == stage_id; });
    return found == std::end(kPresetLists) ? QStringList() : ToList(found->names);
}

QStringList HumidityEntries(int stage_id) {
    // Finland is snow, Australia never gets wet, and the school and yard stages (68 up) have
    // one surface state only.
    if (stage_id >= 10 && stage_id <= 15) {
        return {QStringLiteral("Dry")};
    }
    if (stage_id >= 31 && stage_id <= 36) {
        return {QStringLiteral("Dry"), QStringLiteral("Damp")};
    }
    if (stage_id >= 68) {
        return {QStringLiteral("Dry")};
    }
    return {QStringLiteral("Dry"), QStringLiteral("Damp"), QStringLiteral("Wet")};
}

QString StageName(int stage_id) {
    for (const auto& stages : kCountryStages) {
        for (const StageEntry& entry : stages) {
            if (entry.stage_id != stage_id) {
                continue;
            }
            QString text = QString::fromLatin1(entry.text);
            const qsizetype bracket = text.indexOf(QLatin1Char('['));
            if (bracket >= 0) {
                text.truncate(bracket);
            }
            return text.trimmed();
        }
    }
    return {};
}

TyreProposal ProposeTyre(const RaceSettings& race) {
    const int mode = race.WeatherMode;
    const int index = race.StageIndex;
    const bool known_humidity = race.Humidity <= 2;
    const int gravel = known_humidity ? GravelDry + race.Humidity : -1;
    const int tarmac = known_humidity ? TarmacDry + race.Humidity : -1;
    // Pictures: 0 sunny, 1 cloudy, 2 rain, 3 snow, 4 unknown.
    auto by_mode = [mode](int good, int random, int bad) {
        switch (mode) {
        case 0:
            return good;
        case 1:
            return random;
        case 2:
            return bad;
        default:
            return -1;
        }
    };
    auto any_of = [index](std::initializer_list<int> indexes) {
        return std::find(indexes.begin(), indexes.end(), index) != indexes.end();
    };

    switch (race.Country) {
    case 0:
        return {Snow, by_mode(1, 4, 3), true};
    case 1:
        return {gravel, by_mode(any_of({1, 3, 4, 5}) ? 1 : 0, 4, index == 6 ? 1 : 2), false};
    case 2:
        return {GravelDry, by_mode(0, 4, 1), true};
    case 3:
        return {tarmac, by_mode(index == 2 ? 1 : 0, 4, 2), false};
    case 4:
        return {gravel, by_mode(any_of({1, 4}) ? 1 : 0, 4, 2), false};
    case 5:
        return {gravel, by_mode(any_of({1, 4, 5}) ? 1 : 0, 4, index == 3 ? 1 : 2), false};
    case 6:
        return {GravelDry, by_mode(4, 4, 4), false};
    default:
        return {};
    }
}

} // namespace tarvex
