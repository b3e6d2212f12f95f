#pragma once

#include <cstdint>

namespace tarvex {

// Race flags the session messages carry and several parts of the program read.
struct SessionFlags {
    // 1 from the launch of a race until it is stopped; the welcome tells a newcomer.
    std::uint8_t RaceLaunched = 0;
    // 1 once the start signal has been given; the cars are held at the line before.
    std::uint8_t StartGiven = 0;
};

} // namespace tarvex
