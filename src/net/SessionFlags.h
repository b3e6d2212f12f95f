#pragma once

#include <cstdint>

namespace tarvex {

// Race flags the session messages carry and several parts of the program read.
struct SessionFlags {
    // 1 from the launch of a race until it is stopped; the welcome tells a newcomer.
    std::uint8_t RaceLaunched = 0;
    // 1 once the start signal has been given; the cars are held at the line before.
    std::uint8_t StartGiven = 0;
    // 1 while this player takes part in the launched race: it was Ready at the launch (or, on a
    // client, joined while a race was under way). Only then may the game run.
    std::uint8_t TakingPart = 0;
    // Players counted into the current race record; the restart majority is reckoned from it.
    std::uint8_t ParticipantCount = 0;
    // This player has voted for a restart of the stage being driven.
    bool VoteCast = false;
};

} // namespace tarvex
