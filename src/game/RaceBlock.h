#pragma once

#include "game/GameProcess.h"

#include <array>
#include <cstdint>

namespace tarvex {

// The game's race-state block: where each build keeps its address, and the fields of it that
// Tarvex reads and writes.
namespace race_block {
constexpr std::uint32_t InfoTextA = 0x054;
constexpr std::uint32_t InfoTextB = 0x060;
constexpr std::uint32_t DistanceDriven = 0x13C;
constexpr std::uint32_t RaceTime = 0x140;
constexpr std::uint32_t MenuState = 0x144;
constexpr std::uint32_t PreStartClock = 0x1F4;
constexpr std::uint32_t InfoBoxTime = 0x238;
constexpr std::uint32_t StartCountdown = 0x244;
constexpr std::uint32_t FalseStartCount = 0x248;
constexpr std::uint32_t SplitsPassed = 0x254;
constexpr std::uint32_t Split1Time = 0x258;
constexpr std::uint32_t Split2Time = 0x25C;
constexpr std::uint32_t FinishFlag = 0x2C4;
} // namespace race_block

// A new stage starts with its countdown at exactly this value; the countdown runs down from it.
constexpr float CountdownNotStarted = 7.0f;
// Where Tarvex holds the countdown while the others are still loading: just below the start,
// so the game stays at the line with its lights on.
constexpr float CountdownHeld = 6.99f;

// Locations that hold the addresses of the race block and of the stage data; 0 for build 0.
std::uint32_t RaceBlockLocation(GameBuild build);
std::uint32_t StageDataLocation(GameBuild build);
// Where the information text is written; builds 1 and 2 have no such buffer (0).
std::uint32_t InfoTextBuffer(GameBuild build);
// The location whose value + 0x728 takes the stage-reload request.
std::uint32_t ReloadLocation(GameBuild build);

// The build of the game found by the last FindGame, without looking the window up again.
GameBuild CurrentBuild(GameProcess& game);

// The race block's address; 0 for an unrecognised build.
std::uint32_t GetRaceBlock(GameProcess& game, GameBuild build);
// The stage's length in the unit of DistanceDriven.
std::int32_t GetStageLength(GameProcess& game, GameBuild build);

// Makes the game reload the stage it is on: the car goes back to the start line and the
// countdown to 7.0. Nothing is written for an unrecognised build.
void ReloadStage(GameProcess& game, GameBuild build);

// The six values that place the game's message box.
using BoxPlacement = std::array<float, 6>;
// Where the chat overlay normally sits, and where the standings board needs it.
constexpr BoxPlacement NormalPlacement{370.0f, 87.0f, 640.0f, 10.0f, 600.0f, 60.0f};
constexpr BoxPlacement BoardPlacement{104.0f, 353.0f, 640.0f, 10.0f, 600.0f, 60.0f};
void SetMessageBoxPlacement(GameProcess& game, GameBuild build, const BoxPlacement& placement);

} // namespace tarvex
