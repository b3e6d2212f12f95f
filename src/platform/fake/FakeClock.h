#pragma once

#include "platform/Clock.h"

namespace tarvex {

// A clock that moves only when a test moves it.
class FakeClock final : public Clock {
public:
    std::uint32_t NowMs() const override { return m_now; }
    void Set(std::uint32_t now) { m_now = now; }
    void Advance(std::uint32_t ms) { m_now += ms; }

private:
    std::uint32_t m_now = 0;
};

} // namespace tarvex
