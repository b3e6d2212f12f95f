#pragma once

#include "results/Results.h"

#include <QStringList>
#include <optional>

namespace tarvex {

// The nine values of a driver's row: name, car, transmission, tyre, the three times, the
// start ("True"/"False") and the progress percent.
QStringList DriverCells(const RaceResult& race, int slot);

// What the results window shows for one race.
struct RaceDisplay {
    QStringList rows; // drivers in ranking order, cells joined by TAB
    QString stage;
    QString weather;
    QString damage;
    QString penalties;
    QString setups;
    QString time;
    QString number;
};

// Race `number` for display; nothing while no race has been recorded.
std::optional<RaceDisplay> DisplayRace(const Results& results, int number);

} // namespace tarvex
