#pragma once

#include "game/GameProcess.h"

#include <array>
#include <cstdint>
#include <span>

// Where things are in the game's memory, one table per kind of location, one row per build.
// The game's builds move most of their data and code around, so nothing outside these tables
// names a game address.
namespace tarvex::gamemap {

// The race-state block: its address is the value stored at the per-build location.
std::uint32_t RaceBlockLocation(GameBuild build);
// Fields of the race block Tarvex reads or writes.
constexpr std::uint32_t kMenuState = 0x144;
namespace raceblock {
constexpr std::uint32_t kInfoTextA = 0x054, kInfoTextB = 0x060, kDistanceDriven = 0x13C,
                        kRaceTime = 0x140, kPreStartClock = 0x1F4, kInfoBoxTime = 0x238,
                        kStartCountdown = 0x244, kFalseStartCount = 0x248, kSplitsPassed = 0x254,
                        kSplit1Time = 0x258, kSplit2Time = 0x25C, kFinishFlag = 0x2C4;
// The message box: the address of its text, the text-ready byte, its display time in seconds.
constexpr std::uint32_t kMessageBoxText = 0x12C, kMessageBoxReady = 0x138, kMessageBoxTime = 0x2D0;
} // namespace raceblock

// The stage data: its address is the value stored at the per-build location; the stage's
// length is at +0x75310.
std::uint32_t StageDataLocation(GameBuild build);
constexpr std::uint32_t kStageLength = 0x75310;
// The buffer the information text is written to; builds 1 and 2 have none (0).
std::uint32_t InfoTextBuffer(GameBuild build);
// The buffer the message box's text is written to; every build has one.
std::uint32_t MessageBoxBuffer(GameBuild build);
// The location whose value + 0x728 takes the stage-reload request (the value 12).
std::uint32_t ReloadLocation(GameBuild build);
constexpr std::uint32_t kReloadRequest = 0x728;

// The menu system: two menu managers (the front end's and the in-race one), two menu transition
// times and the keep-alive value. All four builds have it.
struct MenuSystem {
    std::uint32_t menu_base;      // holds the front-end manager's address
    std::uint32_t race_menu_base; // holds the in-race manager's address
    std::uint32_t value_a;        // single
    std::uint32_t value_b;        // single
    std::uint32_t keep_value;     // 32-bit, set to 2 on every polling tick
};
const MenuSystem* MenuSystemOf(GameBuild build);

// A menu manager's fields; the in-race manager's menu table starts at +0x80 instead of +0x78.
namespace manager {
constexpr std::uint32_t kContext = 0x04, kShown = 0x08, kValue1 = 0x48, kFlag = 0x70,
                        kMenuTable = 0x78, kRaceMenuTable = 0x80;
constexpr int kTableSize = 89;
} // namespace manager

// A menu's fields.
namespace menu {
constexpr std::uint32_t kContext = 0x04, kReturn = 0x08, kEntries = 0x0C, kHighlight = 0x14,
                        kSelection = 0x18, kSelection2 = 0x1C, kProfileSelection = 0x124,
                        kEntryDisabled = 0x08;
} // namespace menu

// The race set-up block, builds 3 and 4 only.
struct RaceSetupBlock {
    std::uint32_t humidity, tyre_wear, weather_text, stage_id, condition, car, damage, transmission,
        constant, tyre;
    // The respawn-penalty instruction: NOPs while penalties are off, else the stock bytes.
    std::uint32_t penalty;
    std::span<const std::uint8_t> penalty_off;
    std::span<const std::uint8_t> penalty_stock;
};
const RaceSetupBlock* RaceSetupOf(GameBuild build);

// The texts of the three in-race menu entries the patches add, builds 3 and 4 only. The game
// finds them through its text-pointer block, whose address becomes non-zero some time after the
// game has started.
struct MenuTexts {
    std::uint32_t text_block;                              // holds the text-pointer block's address
    std::uint32_t vote_restart, save_data, exit_to_tarvex; // the entry text buffers
    std::uint32_t ghost_path;                              // the ghost car's entry file path
    std::uint32_t engine; // (value here) + 0x14 is the module base M of the ghost patches
};
const MenuTexts* MenuTextsOf(GameBuild build);
// Offsets in the text-pointer block.
namespace textblock {
constexpr std::uint32_t kExitToTarvex = 0x1324, kSaveData = 0x126C, kSaveData2 = 0x24FC,
                        kVoteRestart = 0x24DC;
}

// Flags the patched in-race entries set to 1 when chosen.
constexpr std::uint32_t kVoteRestartFlag = 0x400A00, kSaveDataFlag = 0x400A04,
                        kExitToTarvexFlag = 0x400A08;

// The six code operands that place the game's message box (n1..n6); n1 and n2 have a second
// copy in builds 1 and 4 (0 where there is none).
struct MessageBoxOperands {
    std::array<std::uint32_t, 6> value;
    std::array<std::uint32_t, 2> copy;
};
const MessageBoxOperands* MessageBoxOf(GameBuild build);

} // namespace tarvex::gamemap
