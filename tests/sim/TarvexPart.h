#pragma once

#include "AddressSpace.h"
#include "Game.h"

#include <cstdint>
#include <string>

// Plays Tarvex's side against an in-process game: menu automation, set-up and patch writes,
// with its own literal addresses for build 3 (never the game library's tables, so a wrong
// address on the game's side fails here).
namespace simtest {

struct Setup {
    int stage = 10;
    std::string weather = "10O_N_nosnow_lightcloud";
    int condition = 0, humidity = 0, wear = 0, damage = 0;
    int car = 0;   // Tarvex's car number 0..7
    int trans = 1; // written as trans - 1
    int tyre = 6;
    bool penalty_off = false;
};

class TarvexPart {
public:
    TarvexPart(sim::AddressSpace& memory, sim::Game& game)
        : m(memory)
        , game(game) {}

    void Wait(double seconds);
    void PressEnter();
    void PressEscape();
    std::uint32_t MenuBase() const { return m.U32(0x165FA48); }
    std::uint32_t RaceMenuBase() const { return m.U32(0x165FC48); }
    std::uint32_t RaceBlock() const { return m.U32(0x165FC68); }
    int CurrentMenuIndex() const;
    void GotoMenu(int menu, int ret, int selection, int entry, bool make_current,
                  bool race = false);
    void WriteRaceSetup();
    void MenuTick();
    // Runs the automation every 100 ms until the car stands at the start line or the time
    // runs out; true when the stage was reached.
    bool DriveMenusToStage(double limit_seconds = 30);
    // The patch table of build 3 and the in-race entry texts.
    void ApplyGamePatches(std::uint32_t hook_handle, bool ghosts = true, bool clock = true,
                          bool split = true);
    void WriteGhost(int k, const float matrix[16]);

    sim::AddressSpace& m;
    sim::Game& game;
    Setup setup;
    bool ipro = true;
    int proid = 1;
    bool setups_allowed = false;
    float saved_a = 0, saved_b = 0;
};

} // namespace simtest
