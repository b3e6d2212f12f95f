#pragma once

#include "net/Roster.h"

#include <QString>

namespace tarvex {

// "No car" for the car ahead or behind.
constexpr int NoCar = 12;

// The local player's place on the road: 1 plus the number of players further along. Players
// level with us do not push us back, so everyone waiting at the line reads first.
int RacePosition(const Roster& roster, int local_slot);
// "2/4": the place, never above the number of participants; "1/1" when racing alone.
QString PositionText(int position, int participants);

// The nearest car in front of and behind the local one, among the players loading, driving or
// finished who have left the line; NoCar when there is none.
int CarAhead(const Roster& roster, int local_slot);
int CarBehind(const Roster& roster, int local_slot);

struct InfoTextInput {
    QString position_text;
    // Seconds left of an announced countdown (a restart); shown while 1 or more.
    int eta_seconds = 0;
    std::uint8_t percent = 0;
    int ahead = NoCar;
    int behind = NoCar;
};

// The four lines the game shows the driver: position (and countdown), own progress, the car
// ahead and the car behind with the road between us, joined with line feeds.
QString BuildInfoText(const Roster& roster, int local_slot, const InfoTextInput& input);

} // namespace tarvex
