#pragma once

#include "platform/Platform.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeDialogs.h"
#include "platform/fake/FakeKeyboardHook.h"
#include "platform/fake/FakeProcessMemory.h"
#include "platform/fake/FakeRegistry.h"
#include "platform/fake/FakeShell.h"
#include "platform/fake/FakeSound.h"

namespace tarvex {

// A whole platform made of fakes, with typed access to each for the test that drives it.
struct FakePlatform {
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
    std::shared_ptr<FakeRegistry> registry = std::make_shared<FakeRegistry>();
    std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>();
    std::shared_ptr<FakeProcessMemory> memory = std::make_shared<FakeProcessMemory>();
    std::shared_ptr<FakeKeyboardHook> keyboard = std::make_shared<FakeKeyboardHook>();
    std::shared_ptr<FakeShell> shell = std::make_shared<FakeShell>();
    std::shared_ptr<FakeSound> sound = std::make_shared<FakeSound>();
    std::shared_ptr<FakeDialogs> dialogs = std::make_shared<FakeDialogs>();

    Platform AsPlatform() const {
        return {clock, registry, desktop, memory, keyboard, shell, sound, dialogs};
    }
};

} // namespace tarvex
