#include "game/ProbeGame.h"

#include "game/GameProcess.h"
#include "platform/Platform.h"

#include <QTextStream>

namespace tarvex {

int ProbeGame(QTextStream& out, const Platform& platform) {
    GameProcess game(platform);
    const GameBuild build = game.GetGameBuild();
    if (game.Window() == 0) {
        out << "game: none\n";
    } else {
        // A window whose memory cannot be read (another user's process) shows build 0 rather
        // than the build an unread zero byte would name.
        out << "game: pid=" << game.ProcessId() << " build=" << (game.LastResult() ? build : 0)
            << " folder=" << game.GetGameExePath()
            << " foreground=" << (game.IsGameForeground() ? "yes" : "no") << '\n';
    }
    out.flush();
    return 0;
}

} // namespace tarvex
