#pragma once

// Numbers shared by the game's own source files: menu numbers, object field offsets and the
// stock operands it ships with. Not part of the library's interface.

#include "Layout.h"
#include "Stage.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sim::internal {

// Menu numbers of the front end and of the in-race menu system.
inline constexpr int MenuMain = 0, MenuCar = 2, MenuQuickRally = 10, MenuRallyOptions = 11,
                     MenuService = 12, MenuProfile = 82, RaceMenuPause = 1, RaceMenuSaveData = 17;
inline constexpr int MenuCount = 89;
inline constexpr int EntriesPerMenu = 12;
inline constexpr int ServiceStartEntry = 6;

// Manager and menu fields.
inline constexpr std::uint32_t MgrContext = 0x04, MgrShown = 0x08, MgrValues = 0x48,
                               MgrAutomation = 0x70, MgrTable = 0x78, RaceMgrTable = 0x80;
inline constexpr std::uint32_t MenuContext = 0x04, MenuReturn = 0x08, MenuEntryList = 0x0C,
                               MenuHighlight = 0x14, MenuSelection = 0x18, MenuSelection2 = 0x1C,
                               MenuProfileSlot = 0x124, MenuSize = 0x130;
inline constexpr std::uint32_t EntryDisabled = 0x08, EntrySize = 0x10;

inline constexpr std::uint32_t GhostHidden = 0x19999999;
inline constexpr float LoadSeconds = 1.5f;
inline constexpr float CameraSweepSeconds = 2.0f;
inline constexpr float PublishSeconds = 1.5f;
inline constexpr float RespawnPenalty = 5.0f;

// The set-up block as a fresh install leaves it. Every value lies outside what Tarvex ever
// writes there, except the stage and its preset: those are real ones, so that the game still
// plays by hand. A value Tarvex failed to write therefore shows as one of these.
inline constexpr int StockStage = 12, StockCondition = 1, StockHumidity = 3, StockWear = 3,
                     StockCar = 8, StockDamage = 4, StockTransmission = 1, StockConstant = 0;
// The preset the stock operand points at, and the one left in the set-up block's own buffer.
inline constexpr const char* StockPreset = "12O_E_nosnow_heavycloud";
inline constexpr const char* StockBlockPreset = "12O_E_lightsnow_heavycloud";
// Name-tag placement operands as shipped: a4, the two -1.0 slots, a1+1, a2+5, a5, 18. None of
// them equals what Tarvex writes, and the tag stays hidden (a1 below -480).
inline constexpr float StockTagSingles[5] = {16.0f, 0.0f, 0.0f, -500.0f, -700.0f};
inline constexpr std::uint8_t StockTagBytes[2] = {1, 16};
inline constexpr float StockMenuValues[4] = {0.25f, 0.25f, 1.0f, 1.0f};
inline constexpr std::uint32_t StockFlag = 0xCCCCCCCC;

enum EntryKind { Continue, Respawn, Vote, Save, Exit };

std::array<std::uint32_t, 5> GhostPathOperands(int build);
std::uint32_t StockCarPath(int build);
std::uint32_t StockWeatherText(int build);

// Rows 41..46: five singles and a byte that lay out the in-race menu, shipped with the stock
// values and recognised when they hold the patched ones.
struct MenuLayoutOperand {
    std::uint32_t b3, b4;
    float stock, patched;
};
inline constexpr MenuLayoutOperand LayoutOperands[] = {{0x573FD2, 0x56A35F, 64.0f, 80.0f},
                                                       {0x573FD7, 0x56A364, 200.0f, 250.0f},
                                                       {0x573FDD, 0x56A36A, 400.0f, 440.0f},
                                                       {0x574050, 0x56A3D5, 200.0f, 250.0f},
                                                       {0x57405B, 0x56A3DE, 400.0f, 450.0f}};
inline constexpr std::uint8_t LayoutByteStock = 14, LayoutBytePatched = 18;
inline std::uint32_t LayoutByteAddress(int build) {
    return build == 3 ? 0x573FCF : 0x56A35C;
}

} // namespace sim::internal
