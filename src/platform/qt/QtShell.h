#pragma once

#include "platform/Shell.h"

namespace tarvex {

// Links and documents go to the desktop's handler; a program is started detached in the given
// working folder, as the shell's "open" verb would start it.
class QtShell final : public Shell {
public:
    bool Open(const QString& target, const QString& working_folder) override;
};

} // namespace tarvex
