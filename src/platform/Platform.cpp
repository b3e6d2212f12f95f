#include "platform/Platform.h"

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/NoDisplay.h"
#include "platform/linux/ProcfsProcessMemory.h"
#include "platform/linux/WineRegistry.h"
#include "platform/linux/XInputKeyboardHook.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDesktop.h"
#include "platform/qt/QtShell.h"
#include "platform/qt/QtSound.h"

namespace tarvex {

Platform Platform::Native() {
    Platform platform;
    platform.clock = std::make_shared<MonotonicClock>();
    platform.registry = std::make_shared<WineRegistry>();
    platform.memory = std::make_shared<ProcfsProcessMemory>();
    platform.shell = std::make_shared<QtShell>();
    platform.sound = std::make_shared<QtSound>();
    // The desktop and the key hook each get a connection of their own, so the hook's stream of
    // key events never queues behind the desktop's window lookups.
    auto desktop_connection = std::make_shared<XcbConnection>();
    if (desktop_connection->IsOpen()) {
        platform.desktop = std::make_shared<XcbDesktop>(desktop_connection);
        platform.keyboard = std::make_shared<XInputKeyboardHook>(std::make_shared<XcbConnection>());
    } else {
        platform.desktop = std::make_shared<NoDisplayDesktop>();
        platform.keyboard = std::make_shared<NoDisplayKeyboardHook>();
    }
    return platform;
}

} // namespace tarvex
