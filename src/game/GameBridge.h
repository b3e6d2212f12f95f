#pragma once

#include "app/Settings.h"
#include "game/GameMap.h"
#include "game/GameProcess.h"
#include "game/PatchTable.h"

#include <QObject>
#include <QTimer>
#include <array>
#include <cstdint>
#include <functional>

namespace tarvex {

class Desktop;
class GhostCar;
struct Platform;

// What Tarvex writes into one player's game to make it race the session's stage: the race
// set-up, the code patches with the in-race menu entries, and the automation that drives the
// game's menus onto the start line. One per copy of Tarvex; it reads the copy's settings live.
//
// Who calls what:
// - the race window's game tick: ApplyGamePatches once per game run (after the physics archive
//   check), PollMenuFlags on every tick while the game is in front;
// - mnuTimer (100 ms, created stopped; the race window starts it while it is open): MenuTick;
// - race control: ResetGameClosing when it launches the game again, GameClosing in the position
//   sender, VoteRestartChosen and LoadingReached to act on;
// - the overlay timer: SetMessageBoxPlacement.
class GameBridge : public QObject {
    Q_OBJECT

public:
    // The normal and the standings-board placement of the game's message box (n1..n6).
    static constexpr std::array<float, 6> kNormalBox{370.0f, 87.0f, 640.0f, 10.0f, 600.0f, 60.0f};
    static constexpr std::array<float, 6> kBoardBox{104.0f, 353.0f, 640.0f, 10.0f, 600.0f, 60.0f};
    // Menu numbers the automation acts on.
    static constexpr int kMainMenu = 0, kCarMenu = 2, kQuickRally = 10, kRallyOptions = 11,
                         kService = 12, kSaveDataMenu = 17, kProfileMenu = 82, kNoMenu = 89;

    // `is_host` chooses whose car the set-up uses: the host's (CAR, TRANS, TYRE) or the
    // client's (CCAR, CTRANS, CTYRE).
    GameBridge(const Platform& platform, GameProcess& game, StoredSettings& stored,
               const bool& is_host, GhostCar& ghost, QObject* parent = nullptr);

    QTimer& mnuTimer() { return *m_menu_timer; }

    // Writes the patch table for the running build (3 or 4; others get nothing), installing the
    // ghost car on the way, then the in-race entry texts. Waits, with the event loop running,
    // for the game to publish the two objects the patches need. `hook_button` is the handle the
    // patched game posts its clicks to. False when the game went away before everything was
    // written (the next game run patches afresh); a call while one is running returns false.
    bool ApplyGamePatches(WindowHandle hook_button);

    // The session's stage, weather and the local car into the game's set-up block (builds 3, 4).
    void WriteRaceSetup();

    // Sets a front-end menu up: its highlighted entry, the manager's four values, the menu's
    // selection, context and return menu, and with `make_current` shows it. -1 leaves an item
    // unchanged.
    void GotoMenu(int menu, int return_menu, int selection, int entry, float v1, float v2, float v3,
                  float v4, bool make_current);
    // The same on the in-race menus.
    void GotoRaceMenu(int menu, int return_menu, int selection, int entry, float v1, float v2,
                      float v3, float v4, bool make_current);
    // Number of the front-end menu shown, kNoMenu when none can be told.
    int CurrentMenuIndex();
    // The car menu's selection for a set-up car number (0..7): the game lists its cars in an
    // order of its own. 0 for a car number it does not know.
    static int CarMenuSelection(int car);

    void PressEnter();
    void PressEscape();
    // Asks the game to close, and remembers that Tarvex did so.
    void CloseGame();
    bool GameClosing() const { return m_game_closing; }
    void ResetGameClosing() { m_game_closing = false; }
    // Opens the in-race save-data menu with its slots usable.
    void SaveDataMenu();

    // One step of the menu automation (mnuTimer). In builds 3 and 4 it waits until
    // ApplyGamePatches has completed for the running game.
    void MenuTick();
    // Acts on the in-race entries the driver chose and refreshes the keep-alive value.
    void PollMenuFlags();

    // Places the message box (n1..n6) in builds 1..4.
    void SetMessageBoxPlacement(const std::array<float, 6>& values);

signals:
    // The automation passed the main menu: the player is loading the stage (status 3).
    void LoadingReached();
    // The driver chose "Vote Restart" in the in-race menu (once per choice).
    void VoteRestartChosen();

private:
    void GotoMenuOf(std::uint32_t manager_location, std::uint32_t table, int menu, int return_menu,
                    int selection, int entry, const std::array<float, 4>& values,
                    bool make_current);
    // Reads until the value is non-zero, the event loop running in between; 0 when the game
    // window went away first.
    std::uint32_t WaitForPointer(const std::function<std::uint32_t()>& read, WindowHandle window,
                                 float interval_ms);
    void WritePatchStep(const PatchStep& step, std::uint32_t module_base, WindowHandle hook_button);
    void WriteEntryTexts(const gamemap::MenuTexts& texts);
    int CurrentMenuIndex(const gamemap::MenuSystem& menus);
    // GotoMenu on the front end with the four values 0, as the automation uses it.
    void GotoMenuOf(const gamemap::MenuSystem& menus, int menu, int return_menu, int selection,
                    int entry, bool make_current);
    void PressEnterInGame();
    const CarSelection& LocalCar() const;

    Desktop& m_desktop;
    GameProcess& m_game;
    StoredSettings& m_stored;
    const bool& m_is_host;
    GhostCar& m_ghost;
    QTimer* m_menu_timer;

    // The game process the patches were last completed for; the menu automation waits for it.
    std::uint32_t m_patched_process = 0;
    bool m_game_closing = false;
    bool m_patching = false;
    bool m_in_menu_tick = false;
    // The menu transition times, kept while the automation runs the menus with none.
    float m_saved_value_a = 0.0f;
    float m_saved_value_b = 0.0f;
};

} // namespace tarvex
