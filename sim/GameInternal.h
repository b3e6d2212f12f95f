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
inline constexpr std::uint32_t MgrContext = 0x04, MgrShown = 0x08, MgrAutomation = 0x70,
                               MgrTable = 0x78, RaceMgrTable = 0x80;
inline constexpr std::uint32_t MenuContext = 0x04, MenuReturn = 0x08, MenuEntryList = 0x0C,
                               MenuHighlight = 0x14, MenuSelection = 0x18, MenuSelection2 = 0x1C,
                               MenuProfileSlot = 0x124, MenuSize = 0x130;
inline constexpr std::uint32_t EntryDisabled = 0x08, EntrySize = 0x10;

inline constexpr std::uint32_t GhostHidden = 0x19999999;
inline constexpr float LoadSeconds = 1.5f;
inline constexpr float CameraSweepSeconds = 2.0f;
inline constexpr float PublishSeconds = 1.5f;
inline constexpr float RespawnPenalty = 5.0f;
inline constexpr const char* GhostPathText = "CARS\\GHOST\\GHOSTCAR.INI";

enum EntryKind { Continue, Respawn, Vote, Save, Exit };

std::array<std::uint32_t, 5> GhostPathOperands(int build);
std::uint32_t StockCarPath(int build);
std::uint32_t StockWeatherText(int build);

// Rows 41..46: singles and a byte that lay out the in-race menu.
struct MenuLayoutOperand {
    std::uint32_t b3, b4;
    float stock;
};
inline constexpr MenuLayoutOperand LayoutOperands[] = {{0x573FD2, 0x56A35F, 64.0f},
                                                       {0x573FD7, 0x56A364, 200.0f},
                                                       {0x573FDD, 0x56A36A, 400.0f},
                                                       {0x574050, 0x56A3D5, 200.0f},
                                                       {0x57405B, 0x56A3DE, 400.0f}};

std::string Lower(std::string text);
// The game runs on a case-insensitive file system at home; here it looks names up by hand.
bool FileExistsNoCase(const std::string& folder, const std::vector<std::string>& parts);

} // namespace sim::internal
