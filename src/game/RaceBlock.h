#pragma once

#include "game/GameProcess.h"

#include <cstdint>

namespace tarvex {

// A new stage starts with its countdown at exactly this value; the countdown runs down from it.
constexpr float CountdownNotStarted = 7.0f;
// Where Tarvex holds the countdown while the others are still loading: just below the start,
// so the game stays at the line with its lights on.
constexpr float CountdownHeld = 6.99f;

// The build of the game found by the last FindGame, without looking the window up again.
GameBuild CurrentBuild(GameProcess& game);

// The race block's address; 0 for an unrecognised build.
std::uint32_t GetRaceBlock(GameProcess& game, GameBuild build);
// The stage's length in the unit of the distance driven.
std::int32_t GetStageLength(GameProcess& game, GameBuild build);

// Makes the game reload the stage it is on: the car goes back to the start line and the
// countdown to 7.0. Nothing is written for an unrecognised build.
void ReloadStage(GameProcess& game, GameBuild build);

} // namespace tarvex
