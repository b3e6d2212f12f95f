#pragma once

#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Dialogs.h"
#include "platform/KeyboardHook.h"
#include "platform/ProcessMemory.h"
#include "platform/Registry.h"
#include "platform/Shell.h"
#include "platform/Sound.h"

#include <memory>

namespace tarvex {

// Everything of the operating system one Tarvex instance touches. Production code gets the
// native set; tests build one from the fakes so several instances can share a process.
struct Platform {
    std::shared_ptr<Clock> clock;
    std::shared_ptr<Registry> registry;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<ProcessMemory> memory;
    std::shared_ptr<KeyboardHook> keyboard;
    std::shared_ptr<Shell> shell;
    std::shared_ptr<Sound> sound;
    std::shared_ptr<Dialogs> dialogs;

    // The real operating system. Dialogs are left empty: they need the widget layer, which
    // sets them (see app/QtDialogs).
    static Platform Native();
};

} // namespace tarvex
