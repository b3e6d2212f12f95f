#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// The game's memory map: the fixed locations of the four builds, the regions the executable
// maps, and where its pointer-reached objects live. This is the game's own copy of these
// numbers; it is deliberately not shared with Tarvex, so a wrong address on one side shows up
// as a failing test instead of being mirrored on both.
namespace sim {

// Regions. The static image sits where the real executable's image sits; the module whose base
// the engine publishes ("M") and the arena for everything reached through a pointer sit below
// 4 GiB, since every pointer Tarvex follows is a 32-bit value.
constexpr std::uint32_t ImageBase = 0x400000;
constexpr std::uint32_t ImageCodeEnd = 0x7A0000; // [ImageBase, ImageCodeEnd) is code: read+execute
constexpr std::uint32_t ImageEnd = 0x1670000;
constexpr std::uint32_t ModuleBase = 0x10000000;
constexpr std::uint32_t ModuleSize = 0x90000;
constexpr std::uint32_t ArenaBase = 0x20000000;
constexpr std::uint32_t ArenaSize = 0x01000000;

constexpr std::uint32_t BuildByteAddress = 0x4860F5;
std::uint8_t BuildByte(int build);

// Locations of one build. 0 means the build has no such location.
struct BuildMap {
    int build = 0;
    std::uint32_t race_block = 0; // holds the race block's address
    std::uint32_t stage_data = 0; // holds the stage data's address; length at +0x75310
    std::uint32_t menu_base = 0;  // holds the front-end menu manager's address
    std::uint32_t race_menu_base = 0;
    std::uint32_t menu_value_a = 0;
    std::uint32_t menu_value_b = 0;
    std::uint32_t keep_value = 0;
    std::uint32_t car_body = 0;    // holds the car body's address
    std::uint32_t ghost_model = 0; // L: [[L]+0x70]+0x18 is the ghost model slot
    std::uint32_t reload = 0;      // [reload]+0x728 = 12 reloads the stage
    std::uint32_t engine = 0;      // R: [R]+0x14 is M; the ghost object chain starts here
    std::uint32_t text_block = 0;  // holds the in-race menu text-pointer block's address
    std::uint32_t info_buffer = 0;
    std::uint32_t overlay_buffer = 0;
    std::uint32_t name_buffer = 0;
    std::uint32_t ghost_path = 0;      // "CARS\GHOST\GHOSTCAR.INI"
    std::uint32_t weather_text = 0;    // the set-up block's preset name
    std::uint32_t weather_operand = 0; // code operand holding the preset name's address
    std::uint32_t humidity = 0, tyre_wear = 0, stage_id = 0, condition = 0, car = 0, damage = 0,
                  transmission = 0, setup_const = 0, tyre = 0;
    std::uint32_t penalty = 0;                 // respawn-penalty instruction
    std::string penalty_stock;                 // its unpatched bytes
    std::array<std::uint32_t, 3> entry_text{}; // Vote Restart, Save Data, Exit To Tarvex buffers
    // Message-box placement operands n1..n6; n1 and n2 have a second copy in some builds.
    std::array<std::uint32_t, 6> box{};
    std::array<std::uint32_t, 2> box_copy{};
    // Name-tag placement operands: a4, -1.0, -1.0, a1+1.0, a2+5.0, a5 (byte), 18 (byte).
    std::array<std::uint32_t, 7> tag{};
};

const BuildMap& MapOf(int build);

// Fields of the race block.
namespace race {
constexpr std::uint32_t InfoTextA = 0x054, InfoTextB = 0x060, NameTagText = 0xB4,
                        OverlayText = 0x12C, OverlayReady = 0x138, DistanceDriven = 0x13C,
                        RaceTime = 0x140, MenuState = 0x144, NameTagOpacity = 0x168,
                        PreStartClock = 0x1F4, InfoBoxTime = 0x238, StartCountdown = 0x244,
                        FalseStartCount = 0x248, SplitsPassed = 0x254, Split1Time = 0x258,
                        Split2Time = 0x25C, FinishFlag = 0x2C4, OverlayTime = 0x2D0, Camera = 0x758,
                        Size = 0x800;
}

// Flags set by the three in-race routines that Tarvex's patches put in place.
constexpr std::uint32_t VoteFlag = 0x400A00, SaveFlag = 0x400A04, ExitFlag = 0x400A08;
// Offsets in the text-pointer block: Exit To Tarvex, Save Data (two), Vote Restart.
constexpr std::uint32_t TextExit = 0x1324, TextSave1 = 0x126C, TextSave2 = 0x24FC,
                        TextVote = 0x24DC, TextBlockSize = 0x2600;

} // namespace sim
