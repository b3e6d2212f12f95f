#include "results/RaceTable.h"

#include "results/Ranking.h"
#include "results/TimeText.h"

namespace tarvex {

QStringList DriverCells(const RaceResult& race, int slot) {
    return {race.DriverName[slot],
            race.CarName[slot],
            race.TransmissionName[slot],
            race.TyreName[slot],
            FormatRaceTime(race.Split1[slot]),
            FormatRaceTime(race.Split2[slot]),
            FormatRaceTime(race.Finish[slot]),
            BoolText(race.StartOk[slot]),
            QString::number(race.Percent[slot])};
}

std::optional<RaceDisplay> DisplayRace(const Results& results, int number) {
    if (results.UpperBound() < 1) {
        return std::nullopt;
    }
    const RaceResult& race = results.Race(number);
    RaceDisplay display;
    for (const int slot : RankSlots(race)) {
        if (!race.DriverName[slot].isEmpty()) {
            display.rows << DriverCells(race, slot).join(QLatin1Char('\t'));
        }
    }
    display.stage = race.StageName;
    display.weather = race.WeatherName;
    display.damage = race.DamageName;
    display.penalties = race.PenaltiesText;
    display.setups = race.SetupsText;
    display.time = StartTimeText(race.StartTime);
    display.number = QStringLiteral("Race Number: %1").arg(number);
    return display;
}

} // namespace tarvex
