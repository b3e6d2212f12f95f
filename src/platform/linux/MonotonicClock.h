#pragma once

#include "platform/Clock.h"

namespace tarvex {

// Milliseconds of CLOCK_MONOTONIC, cut to 32 bits: unaffected by changes of the wall clock.
class MonotonicClock final : public Clock {
public:
    std::uint32_t NowMs() const override;
};

} // namespace tarvex
