#pragma once

#include <QDateTime>
#include <QString>
#include <array>
#include <cstdint>

namespace tarvex {

inline constexpr int kResultSlots = 12;

// A split or finish time that has not been reported.
inline constexpr float NoTime = 10000.0f;

// One race of the session: who drove what, their times and the conditions. Per-driver columns
// are indexed by roster slot; a slot with an empty name did not race.
struct RaceResult {
    std::array<QString, kResultSlots> DriverName;
    std::array<QString, kResultSlots> CarName;
    std::array<QString, kResultSlots> TransmissionName;
    std::array<QString, kResultSlots> TyreName;
    std::array<float, kResultSlots> Split1{};
    std::array<float, kResultSlots> Split2{};
    std::array<float, kResultSlots> Finish{};
    std::array<std::uint8_t, kResultSlots> Percent{};
    std::array<bool, kResultSlots> StartOk{};
    QString StageName;
    QString WeatherName;
    QString DamageName;
    QString PenaltiesText;
    QString SetupsText;
    QDateTime StartTime;
};

// The conditions of a race as the results show them (texts of the race settings).
struct RaceHeader {
    QString StageName;
    QString WeatherName;
    QString DamageName;
    bool PenaltiesDisabled = false;
    bool SetupsAllowed = false;
};

// A roster slot as a new race record sees it: whether it is taken, the player's status and
// the texts of the slot row's name and car lists.
struct ResultSlot {
    bool InUse = false;
    std::uint8_t Status = 0;
    QString Name;
    QString Car;
    QString Transmission;
    QString Tyre;
};

} // namespace tarvex
