#pragma once

#include "AddressSpace.h"
#include "GhostAsset.h"
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
    int vote_stage = 0; // when set, the restart vote is cast only in the first run of this stage
    std::string game_folder; // where the ghost car's path is looked up; empty: the working folder
};

// The race set-up block (builds 3 and 4) as it stands in memory, raw: nothing is mapped or
// corrected, so a value Tarvex wrote wrongly or not at all shows as it is.
struct SetupBlock {
    int stage = 0;
    std::string preset; // the text the preset operand points at
    int condition = 0, humidity = 0, wear = 0, car = 0, damage = 0;
    int transmission = 0; // -1 automatic, 0 manual
    int constant = 0;
    int tyre = 0; // the byte inside the tyre instruction
};

// A menu's fields that Tarvex's menu jumps write.
struct MenuView {
    int number = 0;
    std::uint32_t context = 0;
    int return_menu = -1; // the menu whose address is at +0x08; -1 none, 89 not a menu
    int entry = 0;        // highlighted entry, +0x14
    std::uint32_t selection = 0, selection2 = 0; // +0x18, +0x1C
    std::uint32_t profile_slot = 0;              // +0x124, menu 82 only
};

struct GhostView {
    int index = 0;
    float x = 0, y = 0, z = 0; // z-up world
    float heading = 0;         // radians, direction of travel in the x-y plane
    float red = 0, green = 0, blue = 0;
    Vec3 side, up, forward; // the rows of its rotation, in the z-up world
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
    std::string refusal;         // why the last "Start stage" loaded nothing, empty when it did
    // The set-up block now (builds 3 and 4); has_setup is false for builds without one.
    bool has_setup = false;
    SetupBlock setup;
    // The stage being driven and the set-up it was started with (raw, as read at the start).
    int stage_id = 0;
    std::string stage_name;
    int stage_length = 0;
    int car = 0; // the car driven, in the game's car-menu order
    std::string car_name;
    int setup_car = -1;
    int transmission = 0; // raw: -1 drives automatic, anything else manual
    bool automatic = false;
    int tyre = 0;
    std::string weather;
    int condition = 0, humidity = 0, wear = 0, damage = 0;
    float countdown = 0, pre_start = 0, race_time = 0, distance = 0;
    Vec3 position{}; // the car body's, z up: where the others' ghosts of this car belong
    int splits = 0;
    float split1 = 0, split2 = 0;
    bool finished = false;
    int false_starts = 0;
    bool paused = false;
    float penalty_seconds = 0; // respawn penalties added this stage
    std::vector<int> patches;  // patch rows whose bytes or values the game sees in place
    // Menus Tarvex jumps to, the managers' four GotoMenu values and the transition times.
    std::vector<MenuView> menus, race_menus;
    std::array<float, 4> menu_values{}, race_menu_values{};
    float menu_value_a = 0, menu_value_b = 0;
    std::array<std::uint32_t, 3> flags{}; // Vote Restart, Save Data, Exit To Tarvex, raw
    std::vector<float> race_menu_layout;  // rows 41..45 and the byte of row 46 (builds 3, 4)
    GhostCar::Files ghost_files;          // empty until the game tried to load the ghost car
    std::uint32_t ghost_vertices = 0, ghost_triangles = 0;
    bool ghosts_loaded = false;
    int ghost_model = 0;
    std::vector<GhostView> ghosts;                   // the ghosts drawn
    std::vector<std::array<float, 3>> ghost_colours; // objects 0..11 (builds 3, 4)
    std::vector<MenuEntryView> race_entries;         // entries of the pause menu
    std::vector<MenuEntryView> save_slots;           // entries of the save-data menu
    int race_highlight = 0;                          // highlighted entry of the in-race menu shown
    std::array<std::uint32_t, 2> info_pointers{};    // race block +0x054, +0x060
    float info_time = 0;
    std::string info_text;
    std::string overlay_text; // shown while the message box is up
    std::array<float, 6> box{};
    std::vector<float> box_copy; // the second copies of n1 and n2, in builds that have them
    std::string name_tag;
    // a4, -1.0, -1.0, a1+1.0, a2+5.0 and the bytes a5 and 18, as they stand.
    std::array<float, 7> tag_placement{};
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
    // The ghost car as last loaded (empty until the game was pointed at one).
    const GhostCar& GhostCarModel() const { return m_ghost_car; }

private:
    void Install();
    void Publish(); // delayed creation of the text-pointer block and M
    void FrontEndKey(int key);
    void RaceMenuKey(int key);
    void ShowMenu(int number);
    int CurrentMenu() const;
    int CurrentRaceMenu() const;
    SetupBlock ReadSetupBlock() const;
    void StartStage(); // "Start stage" in the service area
    void LoadStage();
    void StageTick(double dt);
    void WritePose();
    void Autopilot(double dt);
    std::vector<std::pair<int, MenuEntryView>> RaceEntries() const; // (kind, view)
    bool GhostsPointed() const;
    void LoadGhostCarWhenPointed();
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
    SetupBlock m_start_setup; // the set-up the current stage was started with
    std::string m_refusal;
    int m_tyre = 3;
    float m_penalty = 0;
    double m_since_finish = 0;

    // Texts and Tarvex's keep-alive.
    std::string m_overlay;
    double m_keep_seen = -100;
    int m_hook_clicks = 0;
    int m_reloads = 0;
    std::string m_save_message;

    // The ghost car, loaded when the game is first pointed at it.
    bool m_ghost_pointed = false;
    std::string m_ghost_path;
    GhostCar m_ghost_car;

    // Autopilot.
    std::uint32_t m_rng = 1;
    double m_auto_wait = 0;
    bool m_auto_jump = false;
    int m_auto_step = 0;
    float m_speed_factor = 1;
};

} // namespace sim
