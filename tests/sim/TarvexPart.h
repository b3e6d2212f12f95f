#pragma once

#include "AddressSpace.h"
#include "Game.h"

#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

// Plays Tarvex's side against an in-process game: menu automation, set-up, patch, ghost, text
// and placement writes, with its own literal addresses for each build (never the game
// library's tables, so a wrong address on the game's side fails here).
namespace simtest {

// Where Tarvex writes in one build; 0 where the build has no such location.
struct Addresses {
    int build = 0;
    std::uint32_t race_block = 0, stage_data = 0, menu_base = 0, race_menu_base = 0, value_a = 0,
                  value_b = 0, keep = 0, car_body = 0, model = 0, reload = 0, overlay = 0, name = 0;
    std::array<std::uint32_t, 6> box{};
    std::array<std::uint32_t, 2> box_copy{};
    std::array<std::uint32_t, 7> tag{};
    // Builds 3 and 4 only.
    std::uint32_t engine = 0, text_block = 0, info = 0, ghost_path = 0, weather_operand = 0;
    std::uint32_t humidity = 0, wear = 0, weather = 0, stage = 0, condition = 0, car = 0,
                  damage = 0, trans = 0, constant = 0, tyre = 0, penalty = 0, hook_handle = 0;
    const char* penalty_stock = nullptr;
    const char* penalty_nops = nullptr;
    std::array<std::uint32_t, 3> entry_text{}; // Vote Restart, Save Data, Exit To Tarvex
    std::array<std::uint32_t, 5> ghost_operands{};
    std::array<std::uint32_t, 6> layout{}; // rows 41..45 and the byte of row 46
};
const Addresses& AddressesOf(int build);

struct Setup {
    int stage = 10;
    std::string weather = "10O_N_hazy_partcloud";
    int condition = 0, humidity = 0, wear = 0, damage = 0;
    int car = 0;   // Tarvex's car number 0..7
    int trans = 0; // Tarvex's list index, 0 Auto, 1 Manual; written as trans - 1
    int tyre = 6;
    bool penalty_off = false;
};

class TarvexPart {
public:
    TarvexPart(sim::AddressSpace& memory, sim::Game& game)
        : m(memory)
        , game(game)
        , a(AddressesOf(game.options().build)) {}

    void Wait(double seconds);
    void PressEnter();
    void PressEscape();
    std::uint32_t MenuBase() const { return m.U32(a.menu_base); }
    std::uint32_t RaceBlock() const { return m.U32(a.race_block); }
    std::uint32_t MenuAt(int menu, bool race = false) const;
    int CurrentMenuIndex() const;
    void GotoMenu(int menu, int ret, int selection, int entry, bool make_current,
                  bool race = false);
    void WriteRaceSetup();
    void MenuTick();
    // Runs the automation every 100 ms until the car stands at the start line or the time
    // runs out; true when the stage was reached.
    bool DriveMenusToStage(double limit_seconds = 30);
    // The patch table and the in-race entry texts (builds 3 and 4; nothing for 1 and 2).
    void ApplyGamePatches(std::uint32_t hook_handle, bool ghosts = true, bool clock = true,
                          bool split = true);
    // Four ghost car files in Tarvex's asset format (a box of a car): name and bytes, and
    // written into the game folder's CARS/GHOST.
    static QMap<QString, QByteArray> GhostFiles();
    static void WriteGhostFiles(const std::string& game_folder);
    std::uint32_t GhostObject(int k) const;
    void InitGhostSlots(); // park all thirteen, colour 0..11
    void WriteGhost(int k, const float matrix[16]);
    void WriteGhostModel(std::uint32_t model);
    void SetMessageBoxPlacement(const std::array<float, 6>& n);
    // The name tag's placement (a1, a2, a4, a5, opacity a6) and its text.
    void WriteNameTag(const std::string& name, float a1, float a2, float a4, int a5, float a6);
    void SaveDataMenu();

    sim::AddressSpace& m;
    sim::Game& game;
    const Addresses& a;
    Setup setup;
    bool ipro = true;
    int proid = 1;
    bool setups_allowed = false;
    float saved_a = 0, saved_b = 0;
};

// Data rows "build N" of a column "build", one a build.
void BuildRows(std::initializer_list<int> builds);

// The game's --status line, parsed.
QJsonObject StatusOf(const sim::Game& game);

// One player's machine: a game of the given build on memory of its own, in a game folder of its
// own, with Tarvex's part beside it.
struct Machine {
    explicit Machine(int build, sim::Options options = {});
    QTemporaryDir folder;
    std::unique_ptr<sim::MemoryAddressSpace> memory;
    sim::Game game;
    TarvexPart tarvex;

private:
    sim::Options Prepared(int build, sim::Options options) const;
};

} // namespace simtest
