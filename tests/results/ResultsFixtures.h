#pragma once

#include "results/Results.h"

#include <QDateTime>

namespace tarvex::test {

// A host's view of two races: race 1 on Falstone with three drivers (one false start, one
// not finished), race 2 on Rally Yard IV with two.
inline QDateTime At(int hour, int minute, int second) {
    return QDateTime(QDate(2026, 11, 8), QTime(hour, minute, second));
}

inline std::array<ResultSlot, kResultSlots> Roster(std::initializer_list<int> racing) {
    std::array<ResultSlot, kResultSlots> roster;
    const char* const names[] = {"Ann", "Bo",  "Cy",  "Di", "Ed",  "Flo",
                                 "Gus", "Hal", "Ivy", "Jo", "Kit", "Lu"};
    for (int slot = 0; slot < kResultSlots; ++slot) {
        roster[slot].InUse = true;
        roster[slot].Status = 1;
        roster[slot].Name = QString::fromLatin1(names[slot]);
        roster[slot].Car = QStringLiteral("Peugeot 206");
        roster[slot].Transmission = QStringLiteral("Manual");
        roster[slot].Tyre = QStringLiteral("Gravel Dry");
    }
    for (const int slot : racing) {
        roster[slot].Status = 2;
    }
    return roster;
}

inline void RecordTwoRaces(Results& results) {
    auto roster = Roster({0, 3, 5});
    roster[3].Car = QStringLiteral("Subaru Impreza 2003");
    roster[3].Transmission = QStringLiteral("Auto");
    results.NewRaceResult(roster, {"Falstone", "Good Conditions", "Realistic", true, false},
                          At(21, 5, 9), true);
    results.RecordTime(14, 0, 30.5f);
    results.RecordTime(15, 0, 61.25f);
    results.RecordTime(16, 0, 95.2f);
    results.RecordTime(14, 3, 29.0f);
    results.RecordTime(16, 3, 93.0f);
    results.RecordFalseStart(3);
    results.RecordPercent(0, 100);
    results.RecordPercent(3, 100);
    results.RecordPercent(5, 40);

    results.NewRaceResult(Roster({0, 1}), {"Rally Yard IV", "Bad Conditions", "Off", false, true},
                          At(7, 30, 0), true);
    results.RecordTime(16, 1, 62.0f);
    results.RecordPercent(0, 55);
    results.RecordPercent(1, 100);
}

} // namespace tarvex::test
