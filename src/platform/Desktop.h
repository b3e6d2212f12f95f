#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace tarvex {

// Window handles stay 32-bit values as on the game's home platform; 0 is "no window".
using WindowHandle = std::uint32_t;

// The windowing system as Tarvex needs it to find, watch and drive the game. Key codes are
// Windows virtual-key codes (13 Enter, 27 Escape, 37..40 arrows, 112.. F1..) whatever the
// backend, so the game logic reads the same on every platform.
class Desktop {
public:
    virtual ~Desktop() = default;

    // First top-level window whose class matches exactly, or 0.
    virtual WindowHandle FindWindowByClass(const QString& window_class) = 0;
    // Process id that owns the window, or 0 when it cannot be told.
    virtual std::uint32_t WindowProcessId(WindowHandle window) = 0;
    virtual bool IsWindow(WindowHandle window) = 0;
    virtual WindowHandle ForegroundWindow() = 0;
    // Asks the window to close, as a user clicking its close box would.
    virtual void CloseWindow(WindowHandle window) = 0;
    // Puts the window on top of the others and shows it.
    virtual void RaiseWindow(WindowHandle window) = 0;

    // Injects a key press or release into whatever window has the input focus.
    virtual void SendKey(int virtual_key, bool down) = 0;
    // Whether the key is held down right now, on any keyboard.
    virtual bool IsKeyDown(int virtual_key) = 0;

    // A handle the patched game can post clicks to; each click received calls on_click on the
    // Qt main thread. Returns 0 when the backend cannot receive clicks (no display).
    virtual WindowHandle CreateHookButton(std::function<void()> on_click) = 0;
    virtual void DestroyHookButton(WindowHandle button) = 0;

    // Has `on_new_window` called whenever a window may have appeared (created, shown or framed
    // by a window manager), besides any called already, and returns true. A desktop that cannot
    // tell returns false: whoever waits for a window there has to keep looking.
    virtual bool WatchNewWindows(std::function<void()> on_new_window) {
        (void)on_new_window;
        return false;
    }
};

} // namespace tarvex
