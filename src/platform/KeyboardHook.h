#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace tarvex {

// A read-only, system-wide view of the keyboard, used to type chat while the game has the
// focus. Each key event arrives as (virtual key, keystroke flags); bit 31 of the flags is set
// on release, as in the keystroke messages of the game's home platform.
class KeyboardHook {
public:
    using Callback = std::function<void(int virtual_key, std::uint32_t flags)>;

    virtual ~KeyboardHook() = default;
    virtual bool Hook(Callback callback) = 0;
    virtual void Unhook() = 0;
    virtual bool Hooked() const = 0;
    // Hands every key event the system has sent so far to the callback before returning. A key
    // seen down by a poll must not overtake the keys typed before it.
    virtual void Drain() = 0;
    // The text the key produces under the current keyboard layout and modifier state, empty for
    // keys that produce none.
    virtual QString ToAscii(int virtual_key, std::uint32_t flags) = 0;
};

} // namespace tarvex
