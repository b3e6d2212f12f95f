#include "platform/Platform.h"

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/WineRegistry.h"
#include "platform/qt/QtShell.h"
#include "platform/qt/QtSound.h"

namespace tarvex {

Platform Platform::Native() {
    Platform platform;
    platform.clock = std::make_shared<MonotonicClock>();
    platform.registry = std::make_shared<WineRegistry>();
    platform.shell = std::make_shared<QtShell>();
    platform.sound = std::make_shared<QtSound>();
    return platform;
}

} // namespace tarvex
