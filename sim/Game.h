#pragma once

#include "AddressSpace.h"
#include "Layout.h"
#include "Stage.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// The stand-in game's logic: the memory layout it keeps at the real game's addresses, its
// menus, the stage, the start sequence, and its reactions to what another program writes into
// that memory. It runs on any AddressSpace, so tests drive it in-process on plain memory and
// the DuneholtRally executable drives it on its fixed-address mapping.
//
// Typical in-process use:
//   auto memory = sim::NewMemorySpace();
//   sim::Game game(*memory, {.build = 3});
//   game.Tick(0.1);                     // one frame of 100 ms
//   game.KeyDown(13); game.KeyUp(13);   // Enter, as Windows virtual-key codes
//   sim::Status s = game.GetStatus();   // what the game shows
namespace sim {

// Virtual-key codes the game reacts to.
namespace vk {
constexpr int Enter = 13, Escape = 27, Left = 37, Up = 38, Right = 39, Down = 40;
}

enum class AfterFinish { Nothing, VoteRestart, ExitToTarvex };

struct Options {
    int build = 3;
    bool autopilot = false;
    double pace = 1.0;        // autopilot speed factor
    std::uint32_t seed = 1;   // autopilot variation; same seed, same run
    bool false_start = false; // autopilot jumps the start once
    AfterFinish after_finish = AfterFinish::Nothing;
    std::string game_folder; // where CARS\GHOST\ is looked for; empty: not checked
};

struct GhostView {
    int index = 0;
    float x = 0, y = 0, z = 0; // z-up world
    float heading = 0;
    float red = 0, green = 0, blue = 0;
};

struct MenuEntryView {
    std::string caption;
    bool enabled = true;
};

// Everything the game shows, read from its memory in one go.
struct Status {
    int build = 0;
    int menu = -1;      // front-end menu number shown, -1 when none
    int race_menu = -1; // in-race menu number shown, -1 when none
    bool loading = false;
    bool in_stage = false;
    int menu_state = 0;
    std::uint32_t menu_flag = 0; // the front-end manager's +0x70, as last written
    int profile = 0;             // profile chosen in this run, 0 = none
    int stage_id = 0;
    std::string stage_name;
    int stage_length = 0;
    int car = 0; // the car driven, in the game's car-menu order
    std::string car_name;
    int setup_car = -1;   // the set-up block's car value, as read at the stage load
    int transmission = 0; // 1 auto, 2 manual
    int tyre = 0;
    std::string weather;
    int condition = 0, humidity = 0, wear = 0, damage = 0;
    float countdown = 0, pre_start = 0, race_time = 0, distance = 0;
    int splits = 0;
    float split1 = 0, split2 = 0;
    bool finished = false;
    int false_starts = 0;
    bool paused = false;
    float penalty_seconds = 0; // respawn penalties added this stage
    std::vector<int> patches;  // patch rows whose bytes the game sees in place
    bool ghosts_loaded = false;
    int ghost_model = 0;
    std::vector<GhostView> ghosts;
    std::vector<MenuEntryView> race_entries; // entries of the pause menu
    std::vector<MenuEntryView> save_slots;   // entries of the save-data menu
    int race_highlight = 0;                  // highlighted entry of the in-race menu shown
    std::string info_text;
    std::string overlay_text; // shown while the message box is up
    std::array<float, 6> box{};
    std::string name_tag;
    float tag_x = 0, tag_y = 0, tag_opacity = 0;
    bool attached = false; // Tarvex refreshes the keep-alive value
    std::uint32_t hook_handle = 0;
    int hook_clicks = 0;
    int reloads = 0;
};

// Heap address space with the regions the game uses already declared.
std::unique_ptr<MemoryAddressSpace> NewMemorySpace();

class Game {
public:
    // Lays the game's image and objects out in `memory` (stock bytes, build byte, objects).
    Game(AddressSpace& memory, Options options);
    ~Game();

    // Runs one frame of `seconds`: reads back what others wrote, advances the game, writes its
    // state, and sends a hook click when the hook patch is in place. Frames may be of any
    // length; runs with the same frame lengths, options and writes are identical.
    //
    // What the game takes back on its own: it consumes the keep-alive value (a 2 written there
    // is reset to 0 once seen, which is how it knows the writer is still there), the text-ready
    // byte of the message box, the reload request and the message box's display time (counted
    // down); every other location it only reads, or writes as its own state (race block,
    // car body, camera, menus).
    void Tick(double seconds);
    // Key presses as Windows virtual-key codes: 13 Enter and 27 Escape act on the menu shown,
    // 37..40 arrows drive (38 throttle, 40 brake) or move the highlight in menus; other keys
    // pass without effect. Every key-down counts, also without a key-up in between.
    void KeyDown(int virtual_key);
    void KeyUp(int virtual_key);

    // Called once per frame, while the hook patch and its window handle operand are in place,
    // with that 32-bit handle (the executable turns it into an X11 ClientMessage).
    void SetHookClickHandler(std::function<void(std::uint32_t)> handler);

    Status GetStatus() const;
    // One JSON object (no line break) of the status fields.
    std::string StatusJson() const;

    const Options& options() const { return m_options; }
    const BuildMap& map() const { return m_map; }
    const Road& road() const { return m_road; }
    double Clock() const { return m_clock; }
    // Address of a front-end (race = false) or in-race menu by number.
    std::uint32_t MenuAddress(int number, bool race = false) const;
    // Entry captions of the front-end menu now shown, for drawing.
    std::vector<MenuEntryView> MenuEntries() const;
    std::string MenuTitle() const;
    // Address of the race block, the car body and the camera's rows.
    std::uint32_t RaceBlock() const { return m_race_block; }
    std::uint32_t CarBodyAddress() const { return m_car_body; }
    std::uint32_t CameraRows() const { return m_camera_rows; }
    std::uint32_t GhostObject(int k) const;

private:
    void Install();
    void Publish(); // delayed creation of the text-pointer block and M
    void FrontEndKey(int key);
    void RaceMenuKey(int key);
    void ShowMenu(int number);
    int CurrentMenu() const;
    int CurrentRaceMenu() const;
    void StartLoading();
    void LoadStage();
    void StageTick(double dt);
    void WritePose();
    void Autopilot(double dt);
    std::vector<std::pair<int, MenuEntryView>> RaceEntries() const; // (kind, view)
    bool GhostsLoaded() const;
    void ReadTexts(double dt);
    void SendHookClick();

    AddressSpace& m_memory;
    Options m_options;
    const BuildMap& m_map;
    Road m_road;
    StageInfo m_stage;
    std::function<void(std::uint32_t)> m_hook_handler;

    std::uint32_t m_race_block = 0, m_stage_data = 0, m_menu_base = 0, m_race_menu_base = 0,
                  m_car_body = 0, m_camera = 0, m_camera_rows = 0, m_engine = 0, m_ghost_table = 0,
                  m_model_slot = 0, m_reload = 0, m_text_block = 0;
    std::array<std::uint32_t, 13> m_ghosts{};
    bool m_published = false;
    double m_clock = 0;

    // Front end.
    int m_profile = 0;
    int m_chosen_car = 1;
    int m_pending_menu = -1;
    double m_pending_delay = 0;
    double m_loading = -1; // seconds left while loading, -1 when not loading
    double m_menu_shown_for = 0;
    int m_last_menu = -2;

    // Stage.
    bool m_stage_loaded = false;
    bool m_running = false; // the clock has started
    bool m_false_start_counted = false;
    double m_speed = 0;
    bool m_throttle = false, m_brake = false;
    int m_steer = 0;
    float m_lateral = 0;
    int m_setup_car = -1, m_transmission = 1, m_tyre = 3, m_condition = 0, m_humidity = 0,
        m_wear = 0, m_damage = 0;
    std::string m_weather;
    float m_penalty = 0;
    double m_since_finish = 0;

    // Texts and Tarvex's keep-alive.
    std::string m_overlay;
    double m_keep_seen = -100;
    int m_hook_clicks = 0;
    int m_reloads = 0;
    std::string m_save_message;

    // Autopilot.
    std::uint32_t m_rng = 1;
    double m_auto_wait = 0;
    bool m_auto_jump = false;
    int m_auto_step = 0;
    float m_speed_factor = 1;
};

} // namespace sim
