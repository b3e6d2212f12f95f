#include "platform/linux/MonotonicClock.h"

#include <time.h>

namespace tarvex {

std::uint32_t MonotonicClock::NowMs() const {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto ms = static_cast<std::uint64_t>(now.tv_sec) * 1000u +
                    static_cast<std::uint64_t>(now.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ms);
}

} // namespace tarvex
