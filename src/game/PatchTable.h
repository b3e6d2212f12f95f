#pragma once

#include "game/GameProcess.h"

#include <cstdint>
#include <span>

namespace tarvex {

// When a row of the patch table is written, from the session's settings.
enum class PatchWhen : std::uint8_t {
    Always,
    Ghosts, // ghost cars are allowed (GHOSTS 0)
    Clock,  // the clock runs on while the game is paused (CLOCK 1)
    Split,  // split times are hidden in the game (SPLIT 0)
};

// What one step of a row writes. Rows with several locations have one step per location, in
// the order they are written.
enum class PatchKind : std::uint8_t {
    Hex,        // `hex` at `address`
    ModuleHex,  // `hex` at M + `address`; M is published by the game some time after its start
    Long,       // `value` as a 32-bit integer
    Single,     // `value` as a 32-bit float
    Byte,       // `value` as one byte
    HookHandle, // the 32-bit handle of the race window's hook button
    GhostFiles, // the four ghost car files go into the game folder
    GhostModel, // the ghost car model slot
    MessageBox, // the message box's normal placement
};

struct PatchStep {
    int row;
    PatchWhen when;
    PatchKind kind;
    std::uint32_t address;
    const char* hex;
    double value;
};

// The code patches of one build, rows 1..53 in the order they are written; empty for builds
// other than 3 and 4.
std::span<const PatchStep> PatchTable(GameBuild build);

} // namespace tarvex
