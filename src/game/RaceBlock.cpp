#include "game/RaceBlock.h"

#include "game/GameMap.h"

namespace tarvex {

GameBuild CurrentBuild(GameProcess& game) {
    return GameProcess::BuildFromByte(game.ReadGameByte(GameProcess::kBuildByteAddress));
}

std::uint32_t GetRaceBlock(GameProcess& game, GameBuild build) {
    const std::uint32_t location = gamemap::RaceBlockLocation(build);
    return location == 0 ? 0 : game.ReadGamePointer(location);
}

std::int32_t GetStageLength(GameProcess& game, GameBuild build) {
    const std::uint32_t location = gamemap::StageDataLocation(build);
    if (location == 0) {
        return 0;
    }
    return game.ReadGameLong(game.ReadGamePointer(location) + gamemap::kStageLength);
}

void ReloadStage(GameProcess& game, GameBuild build) {
    const std::uint32_t location = gamemap::ReloadLocation(build);
    if (location != 0) {
        game.WriteGameLong(game.ReadGamePointer(location) + gamemap::kReloadRequest, 12);
    }
}

} // namespace tarvex
