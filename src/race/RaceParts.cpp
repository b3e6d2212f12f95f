#include "race/RaceParts.h"

#include "app/Settings.h"
#include "chat/Handover.h"
#include "game/GameMap.h"
#include "game/GameProcess.h"
#include "game/RaceBlock.h"

namespace tarvex {

namespace {

// Two words beside the in-race menu flags that the patched game keeps its own state in; they
// must start from 0 on the reloaded stage.
constexpr std::uint32_t kPatchWordA = 0x4000F0;
constexpr std::uint32_t kPatchWordB = 0x4000F8;

} // namespace

void LaunchGame(const RaceParts& parts) {
    ShellOpen(parts.shell, parts.settings.GamePath, parts.settings.GamePath);
}

void ReloadGameStage(const RaceParts& parts) {
    GameProcess& game = parts.game;
    game.FindGame();
    const GameBuild build = CurrentBuild(game);
    if (const std::uint32_t block = GetRaceBlock(game, build)) {
        game.WriteGameLong(block + gamemap::kMenuState, 1);
    }
    game.WriteGameLong(kPatchWordA, 0);
    game.WriteGameLong(kPatchWordB, 0);
    ReloadStage(game, build);
}

} // namespace tarvex
