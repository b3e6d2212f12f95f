#include "platform/Platform.h"

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/WineRegistry.h"
#include "platform/qt/QtShell.h"

namespace tarvex {

Platform Platform::Native() {
    Platform platform;
    platform.clock = std::make_shared<MonotonicClock>();
    platform.registry = std::make_shared<WineRegistry>();
    platform.shell = std::make_shared<QtShell>();
    return platform;
}

} // namespace tarvex
