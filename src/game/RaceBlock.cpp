#include "game/RaceBlock.h"

#include <bit>

namespace tarvex {

namespace {

// One value per build 1..4; build 0 (not recognised) has none.
std::uint32_t PerBuild(GameBuild build, const std::array<std::uint32_t, 4>& values) {
    return build >= 1 && build <= 4 ? values[std::size_t(build - 1)] : 0;
}

// The code operands the message box's six values are written to. Two builds keep n1 and n2 in
// two places each; the second copy is 0 where there is none.
struct PlacementOperands {
    std::array<std::uint32_t, 6> first;
    std::array<std::uint32_t, 2> second;
};

const PlacementOperands* PlacementOf(GameBuild build) {
    static const PlacementOperands kBuilds[4] = {
        {{0x561B21, 0x561B29, 0x561B4B, 0x561B89, 0x561BB0, 0x561BB6}, {0x561B33, 0x561B3B}},
        {{0x742190, 0x74218C, 0x571020, 0x57105E, 0x571085, 0x57108B}, {0, 0}},
        {{0x746884, 0x746880, 0x573870, 0x5738AE, 0x5738D5, 0x5738DB}, {0, 0}},
        {{0x569C01, 0x569C09, 0x569C2B, 0x569C69, 0x569C90, 0x569C96}, {0x569C13, 0x569C1B}},
    };
    return build >= 1 && build <= 4 ? &kBuilds[build - 1] : nullptr;
}

} // namespace

std::uint32_t RaceBlockLocation(GameBuild build) {
    return PerBuild(build, {0x163F2C0, 0x165A520, 0x165FC68, 0x1651C68});
}

std::uint32_t StageDataLocation(GameBuild build) {
    return PerBuild(build, {0x16387E4, 0x1653A44, 0x1659184, 0x164B184});
}

std::uint32_t InfoTextBuffer(GameBuild build) {
    return PerBuild(build, {0, 0, 0x7F9140, 0x7EA140});
}

std::uint32_t ReloadLocation(GameBuild build) {
    return PerBuild(build, {0x7CA2A0, 0x7E5508, 0x7EAC48, 0x7ECD88});
}

GameBuild CurrentBuild(GameProcess& game) {
    return GameProcess::BuildFromByte(game.ReadGameByte(GameProcess::kBuildByteAddress));
}

std::uint32_t GetRaceBlock(GameProcess& game, GameBuild build) {
    const std::uint32_t location = RaceBlockLocation(build);
    return location == 0 ? 0 : std::uint32_t(game.ReadGameLong(location));
}

std::int32_t GetStageLength(GameProcess& game, GameBuild build) {
    const std::uint32_t location = StageDataLocation(build);
    if (location == 0) {
        return 0;
    }
    return game.ReadGameLong(std::uint32_t(game.ReadGameLong(location)) + 0x75310);
}

void ReloadStage(GameProcess& game, GameBuild build) {
    const std::uint32_t location = ReloadLocation(build);
    if (location != 0) {
        game.WriteGameLong(std::uint32_t(game.ReadGameLong(location)) + 0x728, 12);
    }
}

void SetMessageBoxPlacement(GameProcess& game, GameBuild build, const BoxPlacement& placement) {
    const PlacementOperands* operands = PlacementOf(build);
    if (!operands) {
        return;
    }
    for (std::size_t i = 0; i < 6; ++i) {
        const std::int32_t bits = std::bit_cast<std::int32_t>(placement[i]);
        game.WriteGameValue(operands->first[i], bits);
        if (i < 2 && operands->second[i] != 0) {
            game.WriteGameValue(operands->second[i], bits);
        }
    }
}

} // namespace tarvex
