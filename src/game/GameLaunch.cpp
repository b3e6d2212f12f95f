#include "game/GameLaunch.h"

#include "platform/Shell.h"

#include <QFileInfo>

namespace tarvex {

bool OpenGameExecutable(Shell& shell, const QString& game_path) {
    if (game_path.isEmpty()) {
        return false;
    }
    return shell.Open(game_path, QFileInfo(game_path).absolutePath());
}

} // namespace tarvex
