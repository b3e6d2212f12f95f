#pragma once

#include "race/RaceSettings.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <span>

namespace tarvex {

// The fixed values the host chooses a race from, in list order (list index = stored value).
QStringList CountryNames();
QStringList WeatherModeNames(); // captions of the optWeather buttons
QStringList DamageNames();      // captions of the optDam buttons
QStringList TyreWearNames();
QStringList CarNames();
QStringList TransmissionNames();
QStringList TyreNames();

inline constexpr int kCountryCount = 7;
inline constexpr int kSpecialCountry = 6;

enum TyreKind : std::uint8_t {
    TarmacDry = 0,
    TarmacInt = 1,
    TarmacWet = 2,
    GravelDry = 3,
    GravelInt = 4,
    GravelWet = 5,
    Snow = 6,
};

// One entry of a country's stage list: the text the list shows and the game's stage number.
struct StageEntry {
    const char* text;
    std::uint8_t stage_id;
};

// The stages of `country` in list order; empty for a country outside the list.
std::span<const StageEntry> CountryStages(int country);

// The weather presets the game offers on a stage, in list order; empty for stages without
// presets and for numbers outside the catalogue.
QStringList WeatherPresets(int stage_id);

// The road humidities the game offers on a stage ("Dry", "Damp", "Wet" from the first).
QStringList HumidityEntries(int stage_id);

// The short stage name of result texts and messages: the list text without its padding and
// length; empty for a number outside the catalogue.
QString StageName(int stage_id);

// The weather pictures of the race controls, by index.
inline constexpr int kWeatherPictureCount = 5;

// What SelBestTyre shows for the current settings. -1 means "leave as it is".
struct TyreProposal {
    int tyre = -1;
    int picture = -1;
    // Finland and Australia select the tyre before loading the picture; the order is visible
    // because selecting the tyre fires the tyre list's handler.
    bool tyre_first = false;
};
TyreProposal ProposeTyre(const RaceSettings& race);

} // namespace tarvex
