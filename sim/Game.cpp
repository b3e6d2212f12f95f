#include "Game.h"

#include "Patches.h"
#include "Pose.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

namespace sim {

namespace {

// Menu numbers of the front end and of the in-race menu system.
constexpr int MenuMain = 0, MenuCar = 2, MenuQuickRally = 10, MenuRallyOptions = 11,
              MenuService = 12, MenuProfile = 82, RaceMenuPause = 1, RaceMenuSaveData = 17;
constexpr int MenuCount = 89;
constexpr int EntriesPerMenu = 12;
constexpr int ServiceStartEntry = 6;

// Manager and menu fields.
constexpr std::uint32_t MgrContext = 0x04, MgrShown = 0x08, MgrAutomation = 0x70, MgrTable = 0x78,
                        RaceMgrTable = 0x80;
constexpr std::uint32_t MenuContext = 0x04, MenuReturn = 0x08, MenuEntryList = 0x0C,
                        MenuHighlight = 0x14, MenuSelection = 0x18, MenuSelection2 = 0x1C,
                        MenuProfileSlot = 0x124, MenuSize = 0x130;
constexpr std::uint32_t EntryDisabled = 0x08, EntrySize = 0x10;

constexpr std::uint32_t GhostHidden = 0x19999999;
constexpr float LoadSeconds = 1.5f;
constexpr float CameraSweepSeconds = 2.0f;
constexpr float PublishSeconds = 1.5f;
constexpr float RespawnPenalty = 5.0f;
constexpr const char* GhostPathText = "CARS\\GHOST\\GHOSTCAR.INI";

enum EntryKind { Continue, Respawn, Vote, Save, Exit };

std::array<std::uint32_t, 5> GhostPathOperands(int build) {
    if (build == 3) {
        return {0x466968, 0x4669C1, 0x466A11, 0x466A61, 0x466AB1};
    }
    if (build == 4) {
        return {0x468518, 0x468571, 0x4685C1, 0x468610, 0x468661};
    }
    return {};
}

std::uint32_t StockCarPath(int build) {
    return build == 3 ? 0x7FA1C0 : 0x7EB1C0;
}
std::uint32_t StockWeatherText(int build) {
    return build == 3 ? 0x893840 : 0x885980;
}

// Rows 41..46: singles and a byte that lay out the in-race menu.
struct MenuLayoutOperand {
    std::uint32_t b3, b4;
    float stock;
};
constexpr MenuLayoutOperand LayoutOperands[] = {{0x573FD2, 0x56A35F, 64.0f},
                                                {0x573FD7, 0x56A364, 200.0f},
                                                {0x573FDD, 0x56A36A, 400.0f},
                                                {0x574050, 0x56A3D5, 200.0f},
                                                {0x57405B, 0x56A3DE, 400.0f}};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

// The game runs on a case-insensitive file system at home; here it looks names up by hand.
bool FileExistsNoCase(const std::string& folder, const std::vector<std::string>& parts) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path current(folder);
    for (const std::string& part : parts) {
        bool found = false;
        for (const auto& entry : fs::directory_iterator(current, error)) {
            if (Lower(entry.path().filename().string()) == Lower(part)) {
                current = entry.path();
                found = true;
                break;
            }
        }
        if (!found) {
            return false;
        }
    }
    return fs::is_regular_file(current, error);
}

double CarFactor(int car) {
    static const double factors[] = {1.00, 1.00, 0.97, 0.92, 0.96, 0.98, 0.97, 0.90};
    return (car >= 1 && car <= 8) ? factors[car - 1] : 0.9;
}

double TyreFactor(int tyre, Surface surface, int humidity) {
    const int family = tyre == 6 ? 2 : tyre >= 3 ? 1 : 0;
    const int wanted = surface == Surface::Snow ? 2 : surface == Surface::Gravel ? 1 : 0;
    if (family != wanted) {
        return 0.85;
    }
    if (family == 2) {
        return 1.0;
    }
    return (tyre % 3) == humidity ? 1.0 : 0.97;
}

std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
                out += buffer;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string JsonNumber(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.3f", value);
    std::string text = buffer;
    while (text.size() > 1 && text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

} // namespace

std::unique_ptr<MemoryAddressSpace> NewMemorySpace() {
    auto memory = std::make_unique<MemoryAddressSpace>();
    memory->Map(ImageBase, ImageEnd - ImageBase);
    memory->Map(ModuleBase, ModuleSize);
    memory->Map(ArenaBase, ArenaSize);
    return memory;
}

Game::Game(AddressSpace& memory, Options options)
    : m_memory(memory)
    , m_options(std::move(options))
    , m_map(MapOf(m_options.build)) {
    m_rng = m_options.seed * 2654435761u + 12345u;
    m_rng ^= m_rng >> 13;
    const double jitter = double(m_rng % 1000) / 1000.0 - 0.5; // -0.5 .. 0.5
    m_speed_factor = float(m_options.pace * (1.0 + 0.04 * jitter));
    Install();
}

Game::~Game() = default;

void Game::SetHookClickHandler(std::function<void(std::uint32_t)> handler) {
    m_hook_handler = std::move(handler);
}

std::uint32_t Game::MenuAddress(int number, bool race) const {
    if (number < 0 || number >= MenuCount) {
        return 0;
    }
    const std::uint32_t manager = race ? m_race_menu_base : m_menu_base;
    return m_memory.U32(manager + (race ? RaceMgrTable : MgrTable) + 4 * std::uint32_t(number));
}

std::uint32_t Game::GhostObject(int k) const {
    if (m_map.engine == 0) {
        return 0;
    }
    const std::uint32_t engine = m_memory.U32(m_map.engine);
    const std::uint32_t a = m_memory.U32(engine + 0x18);
    const std::uint32_t b = m_memory.U32(a + 0x258);
    const std::uint32_t table = m_memory.U32(b + 0x98);
    return m_memory.U32(table + 4 * std::uint32_t(k)) + 0x40;
}

void Game::Install() {
    AddressSpace& mem = m_memory;
    const int build = m_options.build;
    mem.SetU8(BuildByteAddress, BuildByte(build));

    std::uint32_t next = ArenaBase + 0x1000;
    auto alloc = [&next](std::uint32_t size) {
        const std::uint32_t address = next;
        next += (size + 0xF) & ~0xFu;
        return address;
    };

    m_race_block = alloc(race::Size);
    m_stage_data = alloc(0x75400);
    m_menu_base = alloc(0x200);
    m_race_menu_base = alloc(0x200);
    for (int system = 0; system < 2; ++system) {
        const std::uint32_t manager = system == 0 ? m_menu_base : m_race_menu_base;
        const std::uint32_t table = manager + (system == 0 ? MgrTable : RaceMgrTable);
        mem.SetU32(manager + MgrContext, system == 0 ? 0x00001F40 : 0x00001F41);
        for (int number = 0; number < MenuCount; ++number) {
            const std::uint32_t menu = alloc(MenuSize);
            const std::uint32_t list = alloc(4 * EntriesPerMenu);
            mem.SetU32(table + 4 * std::uint32_t(number), menu);
            mem.SetU32(menu + MenuEntryList, list);
            for (int e = 0; e < EntriesPerMenu; ++e) {
                const std::uint32_t entry = alloc(EntrySize);
                mem.SetU32(list + 4 * std::uint32_t(e), entry);
                // The save-data menu starts with every slot locked.
                const bool locked = system == 1 && number == RaceMenuSaveData;
                mem.SetU32(entry + EntryDisabled, locked ? 1 : 0);
            }
        }
    }
    mem.SetU32(m_menu_base + MgrShown, MenuAddress(MenuMain));
    const std::uint32_t car_menu = MenuAddress(MenuCar);
    mem.SetU32(car_menu + MenuSelection, 4);
    mem.SetU32(car_menu + MenuSelection2, 4);
    mem.SetU32(MenuAddress(MenuProfile) + MenuProfileSlot, 1);

    m_car_body = alloc(0x200);
    m_camera = alloc(0x40);
    m_camera_rows = alloc(0x100);
    mem.SetU32(m_camera + 0x10, m_camera_rows);
    mem.SetU32(m_race_block + race::Camera, m_camera);

    m_engine = alloc(0x40);
    const std::uint32_t scene = alloc(0x300);
    const std::uint32_t world = alloc(0x100);
    m_ghost_table = alloc(4 * 13);
    mem.SetU32(m_engine + 0x18, scene);
    mem.SetU32(scene + 0x258, world);
    mem.SetU32(world + 0x98, m_ghost_table);
    for (int k = 0; k < 13; ++k) {
        const std::uint32_t object = alloc(0x200);
        m_ghosts[std::size_t(k)] = object + 0x40;
        mem.SetU32(m_ghost_table + 4 * std::uint32_t(k), object);
        const std::uint32_t g = object + 0x40;
        // Parked far below the stage until something moves them.
        mem.SetF32(g + 0x00, 1.0f);
        mem.SetF32(g + 0x14, 1.0f);
        mem.SetF32(g + 0x28, 1.0f);
        mem.SetF32(g + 0x34, -20000.0f);
        mem.SetF32(g + 0x3C, 1.0f);
        mem.SetF32(g + 0x1A0, 1.0f);
        mem.SetF32(g + 0x1A4, 1.0f);
        mem.SetF32(g + 0x1A8, 1.0f);
    }
    const std::uint32_t model_a = alloc(0x80);
    const std::uint32_t model_b = alloc(0x40);
    mem.SetU32(model_a + 0x70, model_b);
    m_model_slot = model_b + 0x18;
    m_reload = alloc(0x800);
    m_text_block = alloc(TextBlockSize);

    // Static locations of this build.
    const BuildMap& map = m_map;
    mem.SetU32(map.race_block, m_race_block);
    mem.SetU32(map.stage_data, m_stage_data);
    mem.SetU32(map.menu_base, m_menu_base);
    mem.SetU32(map.race_menu_base, m_race_menu_base);
    mem.SetF32(map.menu_value_a, 0.4f);
    mem.SetF32(map.menu_value_b, 0.3f);
    mem.SetU32(map.car_body, m_car_body);
    mem.SetU32(map.ghost_model, model_a);
    mem.SetU32(map.reload, m_reload);
    if (map.engine != 0) {
        mem.SetU32(map.engine, m_engine);
    }
    const float box_stock[6] = {300.0f, 40.0f, 640.0f, 10.0f, 600.0f, 60.0f};
    for (int i = 0; i < 6; ++i) {
        mem.SetF32(map.box[std::size_t(i)], box_stock[i]);
    }
    for (int i = 0; i < 2; ++i) {
        if (map.box_copy[std::size_t(i)] != 0) {
            mem.SetF32(map.box_copy[std::size_t(i)], box_stock[i]);
        }
    }
    mem.SetF32(map.tag[0], 18.0f);
    mem.SetF32(map.tag[1], -1.0f);
    mem.SetF32(map.tag[2], -1.0f);
    mem.SetF32(map.tag[3], -479.0f);
    mem.SetF32(map.tag[4], -635.0f);
    mem.SetU8(map.tag[5], 0);
    mem.SetU8(map.tag[6], 18);

    if (build == 3 || build == 4) {
        InstallStockCode(mem, build);
        mem.SetU32(map.weather_operand, StockWeatherText(build));
        mem.SetText8(StockWeatherText(build), "10O_N_nosnow_lightcloud", true);
        mem.SetText8(StockCarPath(build), "CARS\\XSARA\\XSARA.INI", true);
        for (std::uint32_t operand : GhostPathOperands(build)) {
            mem.SetU32(operand, StockCarPath(build));
        }
        for (const MenuLayoutOperand& operand : LayoutOperands) {
            mem.SetF32(build == 3 ? operand.b3 : operand.b4, operand.stock);
        }
        mem.SetU8(build == 3 ? 0x573FCF : 0x56A35C, 14);
        mem.SetU32(VoteFlag, 0xCCCCCCCC);
        mem.SetU32(SaveFlag, 0xCCCCCCCC);
        mem.SetU32(ExitFlag, 0xCCCCCCCC);
        // The set-up block as a fresh install leaves it.
        mem.SetU32(map.humidity, 0);
        mem.SetU32(map.tyre_wear, 1);
        mem.SetU32(map.stage_id, 10);
        mem.SetU32(map.condition, 0);
        mem.SetU32(map.car, 0);
        mem.SetU32(map.damage, 1);
        mem.SetU32(map.transmission, 1);
        mem.SetU32(map.setup_const, 0);
        mem.SetHex(map.penalty, map.penalty_stock);
    }

    mem.SetU32(m_race_block + race::MenuState, 1);
    mem.SetF32(m_race_block + race::StartCountdown, 7.0f);
    mem.SetF32(m_race_block + race::PreStartClock, 0.0f);
    m_road.Build(10, FindStage(10).length);
}

void Game::Publish() {
    m_published = true;
    if (m_map.engine != 0) {
        m_memory.SetU32(m_engine + 0x14, ModuleBase);
    }
    if (m_map.text_block != 0) {
        m_memory.SetU32(m_map.text_block, m_text_block);
    }
}

int Game::CurrentMenu() const {
    const std::uint32_t shown = m_memory.U32(m_menu_base + MgrShown);
    for (int i = 0; i < MenuCount; ++i) {
        if (shown != 0 && MenuAddress(i) == shown) {
            return i;
        }
    }
    return -1;
}

int Game::CurrentRaceMenu() const {
    const std::uint32_t shown = m_memory.U32(m_race_menu_base + MgrShown);
    for (int i = 0; i < MenuCount; ++i) {
        if (shown != 0 && MenuAddress(i, true) == shown) {
            return i;
        }
    }
    return -1;
}

void Game::ShowMenu(int number) {
    const float delay = std::max(0.0f, m_memory.F32(m_map.menu_value_a)) +
                        std::max(0.0f, m_memory.F32(m_map.menu_value_b));
    if (delay > 0.0f && delay < 10.0f) {
        m_pending_menu = number;
        m_pending_delay = delay;
        return;
    }
    m_memory.SetU32(m_menu_base + MgrShown, MenuAddress(number));
}

void Game::KeyDown(int key) {
    if (key == vk::Up) {
        m_throttle = true;
    } else if (key == vk::Down) {
        m_brake = true;
    } else if (key == vk::Left) {
        m_steer = -1;
    } else if (key == vk::Right) {
        m_steer = 1;
    }
    if (m_loading >= 0 || m_pending_menu >= 0) {
        return; // keys that arrive while loading or during a transition do nothing
    }
    if (m_stage_loaded) {
        RaceMenuKey(key);
    } else {
        FrontEndKey(key);
    }
}

void Game::KeyUp(int key) {
    if (key == vk::Up) {
        m_throttle = false;
    } else if (key == vk::Down) {
        m_brake = false;
    } else if ((key == vk::Left && m_steer < 0) || (key == vk::Right && m_steer > 0)) {
        m_steer = 0;
    }
}

void Game::FrontEndKey(int key) {
    const int current = CurrentMenu();
    const std::uint32_t menu = MenuAddress(current);
    if (current < 0) {
        return;
    }
    if (key == vk::Up || key == vk::Down) {
        const int step = key == vk::Down ? 1 : -1;
        if (current == MenuProfile) {
            const int slot = std::clamp(m_memory.I32(menu + MenuProfileSlot) + step, 1, 10);
            m_memory.SetU32(menu + MenuProfileSlot, std::uint32_t(slot));
        } else if (current == MenuCar) {
            const int selection = std::clamp(m_memory.I32(menu + MenuSelection) + step, 4, 11);
            m_memory.SetU32(menu + MenuSelection, std::uint32_t(selection));
            m_memory.SetU32(menu + MenuSelection2, std::uint32_t(selection));
        } else if (current == MenuService) {
            const int entry = std::clamp(m_memory.I32(menu + MenuHighlight) + step, 0, 6);
            m_memory.SetU32(menu + MenuHighlight, std::uint32_t(entry));
        }
        return;
    }
    if (key == vk::Escape) {
        const std::uint32_t back = m_memory.U32(menu + MenuReturn);
        for (int i = 0; i < MenuCount; ++i) {
            if (back != 0 && MenuAddress(i) == back) {
                ShowMenu(i);
                return;
            }
        }
        if (current != MenuMain) {
            ShowMenu(MenuMain);
        }
        return;
    }
    if (key != vk::Enter) {
        return;
    }
    switch (current) {
    case MenuMain:
        ShowMenu(MenuQuickRally);
        break;
    case MenuQuickRally:
        ShowMenu(m_profile == 0 ? MenuProfile : MenuCar);
        break;
    case MenuProfile:
        m_profile = std::clamp(m_memory.I32(menu + MenuProfileSlot), 1, 10);
        ShowMenu(MenuCar);
        break;
    case MenuCar: {
        const int car = m_memory.I32(menu + MenuSelection) - 3;
        if (car >= 1 && car <= 8) {
            m_chosen_car = car;
            ShowMenu(MenuRallyOptions);
        }
        break;
    }
    case MenuRallyOptions:
        ShowMenu(MenuService);
        break;
    case MenuService:
        if (m_memory.I32(menu + MenuHighlight) == ServiceStartEntry) {
            StartLoading();
        }
        break;
    default:
        ShowMenu(MenuMain);
        break;
    }
}

void Game::StartLoading() {
    m_loading = LoadSeconds;
}

void Game::LoadStage() {
    AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    m_loading = -1;
    if (!m_stage_loaded) {
        // A new stage from the service area reads the set-up block; a reload keeps it.
        const bool full = m_map.stage_id != 0;
        int stage_id = full ? mem.I32(m_map.stage_id) : 10;
        m_stage = FindStage(stage_id);
        if (IsKnownStage(stage_id)) {
            m_stage.id = stage_id;
        }
        m_setup_car = full ? mem.I32(m_map.car) : -1;
        m_weather = full ? mem.Text8(mem.U32(m_map.weather_operand), 64) : "";
        m_condition = full ? mem.I32(m_map.condition) : 0;
        m_humidity = full ? mem.I32(m_map.humidity) : 0;
        m_wear = full ? mem.I32(m_map.tyre_wear) : 1;
        m_damage = full ? mem.I32(m_map.damage) : 1;
        m_transmission = full ? mem.I32(m_map.transmission) + 1 : 1;
        const PatchRow* tyre_row = FindRow(m_options.build, 47);
        if (tyre_row && PatchApplied(mem, *tyre_row, ModuleBase)) {
            m_tyre = mem.U8(m_map.tyre);
        } else {
            m_tyre = m_stage.surface == Surface::Tarmac ? 0
                     : m_stage.surface == Surface::Snow ? 6
                                                        : 3;
        }
        mem.SetU32(m_stage_data + 0x75310, std::uint32_t(m_stage.length));
        m_road.Build(m_stage.id, m_stage.length);
    }
    m_stage_loaded = true;
    m_running = false;
    m_false_start_counted = false;
    m_speed = 0;
    m_penalty = 0;
    m_since_finish = 0;
    m_auto_step = 0;
    mem.SetU32(m_race_menu_base + MgrShown, 0);
    mem.SetF32(rb + race::DistanceDriven, 0.0f);
    mem.SetF32(rb + race::RaceTime, 0.0f);
    mem.SetF32(rb + race::PreStartClock, CameraSweepSeconds);
    mem.SetF32(rb + race::StartCountdown, 7.0f);
    mem.SetU32(rb + race::FalseStartCount, 0);
    mem.SetU32(rb + race::SplitsPassed, 0);
    mem.SetF32(rb + race::Split1Time, 0.0f);
    mem.SetF32(rb + race::Split2Time, 0.0f);
    mem.SetU32(rb + race::FinishFlag, 0);
    mem.SetU32(rb + race::MenuState, 0);
    WritePose();
}

std::vector<std::pair<int, MenuEntryView>> Game::RaceEntries() const {
    std::vector<std::pair<int, MenuEntryView>> entries = {{Continue, {"Continue", true}},
                                                          {Respawn, {"Respawn", true}}};
    const int build = m_options.build;
    const std::uint32_t block = m_map.text_block ? m_memory.U32(m_map.text_block) : 0;
    if ((build != 3 && build != 4) || block == 0) {
        return entries;
    }
    // An entry exists when its routine is patched in and its text pointer leads to a caption.
    auto add = [&](int kind, int row, std::initializer_list<std::uint32_t> offsets) {
        const PatchRow* patch = FindRow(build, row);
        if (!patch || !PatchApplied(m_memory, *patch, ModuleBase)) {
            return;
        }
        for (std::uint32_t offset : offsets) {
            const std::uint32_t text = m_memory.U32(block + offset);
            const std::string caption = text ? m_memory.Text16(text, 64) : "";
            if (!caption.empty()) {
                entries.push_back({kind, {caption, true}});
                return;
            }
        }
    };
    add(Vote, 49, {TextVote});
    add(Save, 51, {TextSave1, TextSave2});
    add(Exit, 53, {TextExit});
    return entries;
}

void Game::RaceMenuKey(int key) {
    const int current = CurrentRaceMenu();
    if (current < 0) {
        if (key == vk::Escape) {
            const std::uint32_t pause = MenuAddress(RaceMenuPause, true);
            m_memory.SetU32(pause + MenuHighlight, 0);
            m_memory.SetU32(m_race_menu_base + MgrShown, pause);
        }
        return;
    }
    const std::uint32_t menu = MenuAddress(current, true);
    if (key == vk::Escape) {
        m_memory.SetU32(m_race_menu_base + MgrShown, 0);
        return;
    }
    const int count = current == RaceMenuPause ? int(RaceEntries().size()) : 10;
    if (key == vk::Up || key == vk::Down) {
        const int highlight = std::clamp(
            m_memory.I32(menu + MenuHighlight) + (key == vk::Down ? 1 : -1), 0, count - 1);
        m_memory.SetU32(menu + MenuHighlight, std::uint32_t(highlight));
        return;
    }
    if (key != vk::Enter) {
        return;
    }
    const int highlight = std::clamp(m_memory.I32(menu + MenuHighlight), 0, count - 1);
    if (current == RaceMenuSaveData) {
        const std::uint32_t list = m_memory.U32(menu + MenuEntryList);
        const std::uint32_t entry = m_memory.U32(list + 4 * std::uint32_t(highlight));
        if (m_memory.U32(entry + EntryDisabled) == 0) {
            m_save_message = "Saved to slot " + std::to_string(highlight + 1);
            m_memory.SetU32(m_race_menu_base + MgrShown, 0);
        }
        return;
    }
    if (current != RaceMenuPause) {
        m_memory.SetU32(m_race_menu_base + MgrShown, 0);
        return;
    }
    switch (RaceEntries()[std::size_t(highlight)].first) {
    case Continue:
        m_memory.SetU32(m_race_menu_base + MgrShown, 0);
        break;
    case Respawn: {
        // The penalty instruction adds to the clock unless it has been replaced by NOPs.
        bool nops = false;
        if (m_map.penalty != 0) {
            const auto bytes = m_memory.Bytes(m_map.penalty, m_map.penalty_stock.size() / 2);
            nops = !bytes.empty() &&
                   std::all_of(bytes.begin(), bytes.end(), [](auto b) { return b == 0x90; });
        }
        if (!nops && m_running && m_memory.I32(m_race_block + race::FinishFlag) != 1) {
            m_penalty += RespawnPenalty;
            m_memory.SetF32(m_race_block + race::RaceTime,
                            m_memory.F32(m_race_block + race::RaceTime) + RespawnPenalty);
        }
        m_speed = 0;
        m_lateral = 0;
        m_memory.SetU32(m_race_menu_base + MgrShown, 0);
        break;
    }
    case Vote:
        m_memory.SetU32(VoteFlag, 1);
        break;
    case Save:
        m_memory.SetU32(SaveFlag, 1);
        break;
    case Exit:
        m_memory.SetU32(ExitFlag, 1);
        break;
    }
}

void Game::Tick(double dt) {
    AddressSpace& mem = m_memory;
    m_clock += dt;
    if (!m_published && m_clock >= PublishSeconds) {
        Publish();
    }
    if (mem.I32(m_map.keep_value) == 2) {
        m_keep_seen = m_clock;
        mem.SetU32(m_map.keep_value, 0);
    }
    if (mem.I32(m_reload + 0x728) == 12) {
        mem.SetU32(m_reload + 0x728, 0);
        ++m_reloads;
        if (m_stage_loaded) {
            mem.SetU32(m_race_menu_base + MgrShown, 0);
            m_loading = 1.0;
        }
    }
    if (m_options.autopilot) {
        Autopilot(dt);
    }
    if (m_pending_menu >= 0) {
        m_pending_delay -= dt;
        if (m_pending_delay <= 0) {
            mem.SetU32(m_menu_base + MgrShown, MenuAddress(m_pending_menu));
            m_pending_menu = -1;
        }
    }
    const int menu = CurrentMenu();
    if (menu != m_last_menu) {
        m_last_menu = menu;
        m_menu_shown_for = 0;
    } else {
        m_menu_shown_for += dt;
    }
    if (m_loading >= 0) {
        m_loading -= dt;
        if (m_loading < 0) {
            LoadStage();
        }
    } else if (m_stage_loaded) {
        StageTick(dt);
    }
    ReadTexts(dt);
    SendHookClick();
}

void Game::StageTick(double dt) {
    AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    const bool paused = CurrentRaceMenu() >= 0;
    const PatchRow* clock15 = FindRow(m_options.build, 15);
    const PatchRow* clock16 = FindRow(m_options.build, 16);
    const bool clock_patch = clock15 && clock16 && PatchApplied(mem, *clock15, ModuleBase) &&
                             PatchApplied(mem, *clock16, ModuleBase);
    const bool throttle = m_throttle || m_options.autopilot;
    float pre = mem.F32(rb + race::PreStartClock);
    float countdown = mem.F32(rb + race::StartCountdown);
    if (pre >= 0.0f) {
        pre -= float(dt);
        mem.SetF32(rb + race::PreStartClock, pre < 0.0f ? -1.0f : pre);
    } else if (!m_running) {
        if (m_throttle && !paused && !m_false_start_counted) {
            m_false_start_counted = true;
            mem.SetU32(rb + race::FalseStartCount, mem.U32(rb + race::FalseStartCount) + 1);
        }
        if (!paused) {
            countdown -= float(dt);
            if (countdown <= 0.0f) {
                countdown = 0.0f;
                m_running = true;
            }
            mem.SetF32(rb + race::StartCountdown, countdown);
        }
    } else {
        const bool finished = mem.I32(rb + race::FinishFlag) == 1;
        float time = mem.F32(rb + race::RaceTime);
        float distance = mem.F32(rb + race::DistanceDriven);
        if (!finished && (!paused || clock_patch)) {
            time += float(dt);
        }
        if (!paused) {
            const RoadPoint ahead = m_road.At(distance + float(m_speed) * 1.5f + 10.0f);
            const double top = 40.0 * CarFactor(m_chosen_car) *
                               TyreFactor(m_tyre, m_stage.surface, m_humidity) *
                               (m_condition == 2 ? 0.93 : 1.0) * (1.0 - 0.02 * m_wear) *
                               (m_options.autopilot ? m_speed_factor : 1.0);
            const double curve = std::sqrt(10.0 / std::max(1e-4f, std::fabs(ahead.curvature)));
            const double target = finished ? 0.0 : std::min(top, curve);
            if (throttle && !finished && !m_brake) {
                m_speed = m_speed < target ? std::min(target, m_speed + 6.0 * dt)
                                           : std::max(target, m_speed - 9.0 * dt);
            } else {
                m_speed = std::max(0.0, m_speed - (m_brake || finished ? 9.0 : 1.5) * dt);
            }
            m_lateral = std::clamp(m_lateral + float(m_steer) * 2.0f * float(dt), -3.0f, 3.0f);
            distance = std::min(m_road.Length(), distance + float(m_speed * dt));
        }
        const float length = float(m_stage.length);
        int splits = mem.I32(rb + race::SplitsPassed);
        if (!finished) {
            if (splits == 0 && distance >= length / 3.0f) {
                mem.SetU32(rb + race::SplitsPassed, 1);
                mem.SetF32(rb + race::Split1Time, time);
            } else if (splits == 1 && distance >= 2.0f * length / 3.0f) {
                mem.SetU32(rb + race::SplitsPassed, 2);
                mem.SetF32(rb + race::Split2Time, time);
            }
            if (distance >= length) {
                distance = length;
                mem.SetU32(rb + race::FinishFlag, 1);
            }
        } else {
            m_since_finish += dt;
        }
        mem.SetF32(rb + race::RaceTime, time);
        mem.SetF32(rb + race::DistanceDriven, distance);
    }
    WritePose();
}

void Game::WritePose() {
    AddressSpace& mem = m_memory;
    const float distance = mem.F32(m_race_block + race::DistanceDriven);
    const RoadPoint p = m_road.At(distance);
    const auto rows = CarRows(p.heading);
    const Vec3 side = rows[0];
    const Vec3 position = Vec3{p.x, p.y, p.z + 0.5f} + side * m_lateral;
    const Quat q = QuatFromRows(rows[0], rows[1], rows[2]);
    mem.SetF32(m_car_body + 0x100, q.x);
    mem.SetF32(m_car_body + 0x104, q.y);
    mem.SetF32(m_car_body + 0x108, q.z);
    mem.SetF32(m_car_body + 0x10C, q.w);
    mem.SetF32(m_car_body + 0x140, position.x);
    mem.SetF32(m_car_body + 0x144, position.y);
    mem.SetF32(m_car_body + 0x148, position.z);
    // Chase camera: behind and above the car, looking at a point just ahead of it.
    const Vec3 forward = rows[2];
    const Vec3 eye = position - forward * 7.0f + Vec3{0, 0, 2.6f};
    const Vec3 view = Normalize(position + forward * 4.0f + Vec3{0, 0, 0.6f} - eye);
    const Vec3 right = Normalize(Cross(Vec3{0, 0, 1}, view));
    const Vec3 up = Cross(view, right);
    const Vec3 camera[4] = {right, view, up, eye};
    for (int r = 0; r < 4; ++r) {
        const std::uint32_t row = m_camera_rows + 0xCC + 12 * std::uint32_t(r);
        mem.SetF32(row, camera[r].x);
        mem.SetF32(row + 4, camera[r].y);
        mem.SetF32(row + 8, camera[r].z);
    }
}

void Game::Autopilot(double dt) {
    m_auto_wait += dt;
    if (!m_stage_loaded) {
        const int menu = CurrentMenu();
        if (m_loading >= 0 || m_pending_menu >= 0) {
            return;
        }
        // With the profile bypass off, the driver picks the profile shown.
        if (menu == MenuProfile && m_menu_shown_for >= 0.6) {
            m_menu_shown_for = 0;
            KeyDown(vk::Enter);
            KeyUp(vk::Enter);
        }
        // With setups allowed Tarvex stops at the service area; the driver starts by hand.
        if (menu == MenuService && m_menu_shown_for >= 3.0) {
            m_menu_shown_for = 0;
            const std::uint32_t service = MenuAddress(MenuService);
            while (m_memory.I32(service + MenuHighlight) < ServiceStartEntry) {
                KeyDown(vk::Down);
                KeyUp(vk::Down);
            }
            KeyDown(vk::Enter);
            KeyUp(vk::Enter);
        }
        return;
    }
    const std::uint32_t rb = m_race_block;
    const float pre = m_memory.F32(rb + race::PreStartClock);
    const float countdown = m_memory.F32(rb + race::StartCountdown);
    if (m_options.false_start && !m_false_start_counted && pre < 0.0f && !m_running &&
        countdown < 1.0f && CurrentRaceMenu() < 0) {
        KeyDown(vk::Up);
        KeyUp(vk::Up);
        m_throttle = true;
        StageTick(0.0);
        m_throttle = false;
    }
    if (m_since_finish < 2.0 || m_options.after_finish == AfterFinish::Nothing ||
        m_auto_step >= 100) {
        return;
    }
    if (m_auto_step == 0) {
        m_auto_step = 1;
        m_auto_wait = 0;
        KeyDown(vk::Escape);
        KeyUp(vk::Escape);
        return;
    }
    if (m_auto_wait < 0.5) {
        return;
    }
    const int wanted = m_options.after_finish == AfterFinish::VoteRestart ? Vote : Exit;
    const auto entries = RaceEntries();
    m_auto_step = 100;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].first == wanted) {
            m_memory.SetU32(MenuAddress(RaceMenuPause, true) + MenuHighlight, std::uint32_t(i));
            KeyDown(vk::Enter);
            KeyUp(vk::Enter);
            return;
        }
    }
    KeyDown(vk::Escape);
    KeyUp(vk::Escape);
}

bool Game::GhostsLoaded() const {
    const int build = m_options.build;
    if (build != 3 && build != 4) {
        return false;
    }
    for (int row : {2, 3, 4, 5}) {
        const PatchRow* patch = FindRow(build, row);
        if (!patch || !PatchApplied(m_memory, *patch, m_memory.U32(m_engine + 0x14))) {
            return false;
        }
    }
    for (std::uint32_t operand : GhostPathOperands(build)) {
        if (m_memory.U32(operand) != m_map.ghost_path) {
            return false;
        }
    }
    if (Lower(m_memory.Text8(m_map.ghost_path, 23)) != Lower(GhostPathText)) {
        return false;
    }
    return m_options.game_folder.empty() ||
           FileExistsNoCase(m_options.game_folder, {"CARS", "GHOST", "GHOSTCAR.INI"});
}

void Game::ReadTexts(double dt) {
    AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    if (mem.U8(rb + race::OverlayReady) == 1) {
        const std::uint32_t buffer = mem.U32(rb + race::OverlayText);
        m_overlay = buffer ? mem.Text16(buffer, 2048) : "";
        mem.SetU8(rb + race::OverlayReady, 0);
    }
    const float shown = mem.F32(rb + race::OverlayTime);
    if (shown > 0.0f) {
        mem.SetF32(rb + race::OverlayTime, std::max(0.0f, shown - float(dt)));
    }
}

void Game::SendHookClick() {
    const PatchRow* hook = FindRow(m_options.build, 23);
    if (!hook || !PatchApplied(m_memory, *hook, ModuleBase)) {
        return;
    }
    const std::uint32_t handle = m_memory.U32(HookHandleAddress(m_options.build));
    if (handle == 0 || handle == HookStockHandle) {
        return;
    }
    ++m_hook_clicks;
    if (m_hook_handler) {
        m_hook_handler(handle);
    }
}

std::string Game::MenuTitle() const {
    switch (CurrentMenu()) {
    case MenuMain:
        return "Main Menu";
    case MenuQuickRally:
        return "Quick Rally";
    case MenuProfile:
        return "Choose Profile";
    case MenuCar:
        return "Choose Car";
    case MenuRallyOptions:
        return "Rally Options";
    case MenuService:
        return "Service Area";
    default:
        return "Menu " + std::to_string(CurrentMenu());
    }
}

std::vector<MenuEntryView> Game::MenuEntries() const {
    std::vector<MenuEntryView> entries;
    const int current = CurrentMenu();
    const std::uint32_t menu = MenuAddress(current);
    switch (current) {
    case MenuMain:
        return {{"Quick Rally", true}, {"Championship", false}, {"Options", false}};
    case MenuQuickRally:
        return {{"Start Quick Rally", true}};
    case MenuProfile: {
        const int slot = m_memory.I32(menu + MenuProfileSlot);
        for (int i = 1; i <= 10; ++i) {
            entries.push_back(
                {(i == slot ? "> Profile " : "  Profile ") + std::to_string(i), true});
        }
        return entries;
    }
    case MenuCar: {
        const int selection = m_memory.I32(menu + MenuSelection);
        for (int car = 1; car <= 8; ++car) {
            entries.push_back({(car + 3 == selection ? "> " : "  ") + GameCarName(car), true});
        }
        return entries;
    }
    case MenuRallyOptions:
        return {{"Continue to service", true}};
    case MenuService: {
        static const char* const pages[] = {"Tyres",    "Suspension",    "Gearbox",    "Brakes",
                                            "Steering", "Differentials", "Start stage"};
        const int highlight = m_memory.I32(menu + MenuHighlight);
        for (int i = 0; i < 7; ++i) {
            entries.push_back({(i == highlight ? "> " : "  ") + std::string(pages[i]), true});
        }
        return entries;
    }
    default:
        return entries;
    }
}

Status Game::GetStatus() const {
    const AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    Status s;
    s.build = m_options.build;
    s.menu = m_stage_loaded ? -1 : CurrentMenu();
    s.race_menu = m_stage_loaded ? CurrentRaceMenu() : -1;
    s.loading = m_loading >= 0;
    s.in_stage = m_stage_loaded && !s.loading;
    s.menu_state = mem.I32(rb + race::MenuState);
    s.profile = m_profile;
    if (m_stage_loaded) {
        s.stage_id = m_stage.id;
        s.stage_name = m_stage.name;
        s.stage_length = mem.I32(m_stage_data + 0x75310);
        s.car = m_chosen_car;
        s.car_name = GameCarName(m_chosen_car);
        s.setup_car = m_setup_car;
        s.transmission = m_transmission;
        s.tyre = m_tyre;
        s.weather = m_weather;
        s.condition = m_condition;
        s.humidity = m_humidity;
        s.wear = m_wear;
        s.damage = m_damage;
    }
    s.countdown = mem.F32(rb + race::StartCountdown);
    s.pre_start = mem.F32(rb + race::PreStartClock);
    s.race_time = mem.F32(rb + race::RaceTime);
    s.distance = mem.F32(rb + race::DistanceDriven);
    s.splits = mem.I32(rb + race::SplitsPassed);
    s.split1 = mem.F32(rb + race::Split1Time);
    s.split2 = mem.F32(rb + race::Split2Time);
    s.finished = mem.I32(rb + race::FinishFlag) == 1;
    s.false_starts = mem.I32(rb + race::FalseStartCount);
    s.paused = s.race_menu >= 0;
    s.penalty_seconds = m_penalty;
    const std::uint32_t module = m_engine && m_map.engine ? mem.U32(m_engine + 0x14) : 0;
    for (const PatchRow& row : PatchRows(m_options.build)) {
        if (PatchApplied(mem, row, module) && (s.patches.empty() || s.patches.back() != row.row)) {
            s.patches.push_back(row.row);
        }
    }
    s.ghosts_loaded = GhostsLoaded();
    s.ghost_model = mem.I32(mem.U32(mem.U32(m_map.ghost_model) + 0x70) + 0x18);
    if (s.ghosts_loaded && std::uint32_t(s.ghost_model) != GhostHidden) {
        for (int k = 0; k < 12; ++k) {
            const std::uint32_t g = GhostObject(k);
            GhostView ghost;
            ghost.index = k;
            ghost.x = mem.F32(g + 0x30);
            ghost.y = mem.F32(g + 0x38);
            ghost.z = mem.F32(g + 0x34);
            if (ghost.z < -1000.0f) {
                continue;
            }
            ghost.heading = std::atan2(mem.F32(g + 0x18), mem.F32(g + 0x10));
            ghost.red = mem.F32(g + 0x1A0);
            ghost.green = mem.F32(g + 0x1A4);
            ghost.blue = mem.F32(g + 0x1A8);
            s.ghosts.push_back(ghost);
        }
    }
    for (const auto& entry : RaceEntries()) {
        s.race_entries.push_back(entry.second);
    }
    if (mem.F32(rb + race::InfoBoxTime) > 0.0f) {
        std::uint32_t text = mem.U32(rb + race::InfoTextB);
        if (text == 0) {
            text = mem.U32(rb + race::InfoTextA);
        }
        s.info_text = text ? mem.Text16(text, 1024) : "";
    }
    if (mem.F32(rb + race::OverlayTime) > 0.0f) {
        s.overlay_text = m_overlay;
    }
    for (int i = 0; i < 6; ++i) {
        s.box[std::size_t(i)] = mem.F32(m_map.box[std::size_t(i)]);
    }
    const float a1 = mem.F32(m_map.tag[3]) - 1.0f;
    const float a2 = mem.F32(m_map.tag[4]) - 5.0f;
    s.tag_opacity = mem.F32(rb + race::NameTagOpacity);
    const std::uint32_t name = mem.U32(rb + race::NameTagText);
    if (name != 0 && a1 > -480.0f && s.tag_opacity > 0.0f) {
        s.name_tag = mem.Text16(name, 64);
        s.tag_y = a1;
        s.tag_x = 640.0f - a2 - 10.0f * float(s.name_tag.size());
    }
    s.attached = m_clock - m_keep_seen < 2.0;
    const std::uint32_t handle_at = HookHandleAddress(m_options.build);
    s.hook_handle = handle_at ? mem.U32(handle_at) : 0;
    s.hook_clicks = m_hook_clicks;
    s.reloads = m_reloads;
    return s;
}

std::string Game::StatusJson() const {
    const Status s = GetStatus();
    std::string j = "{";
    auto field = [&j](const char* name, const std::string& value) {
        if (j.size() > 1) {
            j += ",";
        }
        j += "\"";
        j += name;
        j += "\":";
        j += value;
    };
    auto num = [](double v) {
        return JsonNumber(v);
    };
    auto boolean = [](bool v) {
        return std::string(v ? "true" : "false");
    };
    field("build", num(s.build));
    field("menu", num(s.menu));
    field("race_menu", num(s.race_menu));
    field("loading", boolean(s.loading));
    field("in_stage", boolean(s.in_stage));
    field("menu_state", num(s.menu_state));
    field("profile", num(s.profile));
    field("stage_id", num(s.stage_id));
    field("stage_name", JsonString(s.stage_name));
    field("stage_length", num(s.stage_length));
    field("car", num(s.car));
    field("car_name", JsonString(s.car_name));
    field("setup_car", num(s.setup_car));
    field("transmission", num(s.transmission));
    field("tyre", num(s.tyre));
    field("weather", JsonString(s.weather));
    field("condition", num(s.condition));
    field("humidity", num(s.humidity));
    field("wear", num(s.wear));
    field("damage", num(s.damage));
    field("countdown", num(std::round(s.countdown * 10.0f) / 10.0));
    field("pre_start", boolean(s.pre_start >= 0.0f));
    field("race_time", num(std::floor(s.race_time * 10.0f) / 10.0));
    field("distance", num(std::floor(s.distance)));
    field("splits", num(s.splits));
    field("split1", num(s.split1));
    field("split2", num(s.split2));
    field("finished", boolean(s.finished));
    field("finish_time", num(s.finished ? s.race_time : 0.0));
    field("false_starts", num(s.false_starts));
    field("paused", boolean(s.paused));
    field("penalty", num(s.penalty_seconds));
    std::string patches = "[";
    for (std::size_t i = 0; i < s.patches.size(); ++i) {
        patches += (i ? "," : "") + num(s.patches[i]);
    }
    field("patches", patches + "]");
    field("ghosts_loaded", boolean(s.ghosts_loaded));
    field("ghost_model", num(double(std::uint32_t(s.ghost_model))));
    std::string ghosts = "[";
    for (std::size_t i = 0; i < s.ghosts.size(); ++i) {
        const GhostView& g = s.ghosts[i];
        ghosts += std::string(i ? "," : "") + "{\"k\":" + num(g.index) +
                  ",\"x\":" + num(std::round(g.x * 10) / 10) +
                  ",\"y\":" + num(std::round(g.y * 10) / 10) +
                  ",\"z\":" + num(std::round(g.z * 10) / 10) + "}";
    }
    field("ghosts", ghosts + "]");
    std::string entries = "[";
    for (std::size_t i = 0; i < s.race_entries.size(); ++i) {
        entries += (i ? "," : "") + JsonString(s.race_entries[i].caption);
    }
    field("race_entries", entries + "]");
    field("info_text", JsonString(s.info_text));
    field("overlay_text", JsonString(s.overlay_text));
    field("name_tag", JsonString(s.name_tag));
    field("attached", boolean(s.attached));
    field("hook_handle", num(s.hook_handle));
    field("hook_clicks", num(s.hook_clicks));
    field("reloads", num(s.reloads));
    field("flags", "[" + num(m_memory.U32(VoteFlag) == 1) + "," + num(m_memory.U32(SaveFlag) == 1) +
                       "," + num(m_memory.U32(ExitFlag) == 1) + "]");
    return j + "}";
}

} // namespace sim
