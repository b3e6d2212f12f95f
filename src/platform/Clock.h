#pragma once

#include <cstdint>

namespace tarvex {

// The millisecond clock races are timed with. Like the tick count of the platform Tarvex was
// first written for, it is 32 bits wide and wraps after about 49.7 days; callers subtract two
// readings as unsigned values, which stays correct across the wrap.
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::uint32_t NowMs() const = 0;
};

} // namespace tarvex
