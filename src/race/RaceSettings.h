#pragma once

#include <QString>
#include <cstdint>

namespace tarvex {

// The event the host has chosen. On the host the race controls edit it; on a client it is a
// copy of the host's, refreshed by every game-data message.
struct RaceSettings {
    std::uint8_t Country = 0;
    std::uint8_t StageIndex = 0;
    std::uint8_t StageId = 0;
    std::uint8_t WeatherMode = 0;
    std::uint8_t WeatherCondition = 0;
    std::uint8_t WeatherPreset = 0;
    QString WeatherPresetName;
    std::uint8_t Humidity = 0;
    std::uint8_t TyreWear = 0;
    std::uint8_t Damage = 0;
    std::uint8_t PenaltiesDisabled = 0;
    std::uint8_t SetupsAllowed = 0;
};

// One player's own car choice.
struct CarSelection {
    std::uint8_t Car = 0;
    std::uint8_t Transmission = 0;
    std::uint8_t Tyre = 0;
};

} // namespace tarvex
