#pragma once

#include "platform/Desktop.h"
#include "platform/KeyboardHook.h"

namespace tarvex {

// The desktop when no X server can be reached (a console login, a broken $DISPLAY): there is
// no game window to find, so the game bridge reports the game as not running and the session
// itself runs on.
class NoDisplayDesktop final : public Desktop {
public:
    WindowHandle FindWindowByClass(const QString&) override { return 0; }
    std::uint32_t WindowProcessId(WindowHandle) override { return 0; }
    bool IsWindow(WindowHandle) override { return false; }
    WindowHandle ForegroundWindow() override { return 0; }
    void CloseWindow(WindowHandle) override {}
    void RaiseWindow(WindowHandle) override {}
    void SendKey(int, bool) override {}
    bool IsKeyDown(int) override { return false; }
    WindowHandle CreateHookButton(std::function<void()>) override { return 0; }
    void DestroyHookButton(WindowHandle) override {}
};

// Without a display there are no key events to watch.
class NoDisplayKeyboardHook final : public KeyboardHook {
public:
    bool Hook(Callback) override { return false; }
    void Unhook() override {}
    bool Hooked() const override { return false; }
    void Drain() override {}
    QString ToAscii(int, std::uint32_t) override { return {}; }
};

} // namespace tarvex
