#include "Game.h"
#include "GameInternal.h"
#include "Patches.h"

namespace sim {

using namespace internal;

namespace internal {

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

} // namespace internal

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
        for (std::uint32_t i = 0; i < 4; ++i) {
            mem.SetF32(manager + MgrValues + 4 * i, StockMenuValues[i]);
        }
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
    // The message box as shipped: no value equals a placement Tarvex writes.
    const float box_stock[6] = {300.0f, 40.0f, 600.0f, 20.0f, 560.0f, 50.0f};
    for (int i = 0; i < 6; ++i) {
        mem.SetF32(map.box[std::size_t(i)], box_stock[i]);
    }
    for (int i = 0; i < 2; ++i) {
        if (map.box_copy[std::size_t(i)] != 0) {
            mem.SetF32(map.box_copy[std::size_t(i)], box_stock[i]);
        }
    }
    for (std::size_t i = 0; i < 5; ++i) {
        mem.SetF32(map.tag[i], StockTagSingles[i]);
    }
    mem.SetU8(map.tag[5], StockTagBytes[0]);
    mem.SetU8(map.tag[6], StockTagBytes[1]);
    mem.SetU32(VoteFlag, StockFlag);
    mem.SetU32(SaveFlag, StockFlag);
    mem.SetU32(ExitFlag, StockFlag);

    if (build == 3 || build == 4) {
        InstallStockCode(mem, build);
        mem.SetU32(map.weather_operand, StockWeatherText(build));
        mem.SetText8(StockWeatherText(build), StockPreset, true);
        mem.SetText8(map.weather_text, StockBlockPreset, true);
        mem.SetText8(StockCarPath(build), "CARS\\XSARA\\XSARA.INI", true);
        for (std::uint32_t operand : GhostPathOperands(build)) {
            mem.SetU32(operand, StockCarPath(build));
        }
        for (const MenuLayoutOperand& operand : LayoutOperands) {
            mem.SetF32(build == 3 ? operand.b3 : operand.b4, operand.stock);
        }
        mem.SetU8(LayoutByteAddress(build), LayoutByteStock);
        mem.SetU32(map.humidity, std::uint32_t(StockHumidity));
        mem.SetU32(map.tyre_wear, std::uint32_t(StockWear));
        mem.SetU32(map.stage_id, std::uint32_t(StockStage));
        mem.SetU32(map.condition, std::uint32_t(StockCondition));
        mem.SetU32(map.car, std::uint32_t(StockCar));
        mem.SetU32(map.damage, std::uint32_t(StockDamage));
        mem.SetU32(map.transmission, std::uint32_t(StockTransmission));
        mem.SetU32(map.setup_const, std::uint32_t(StockConstant));
        mem.SetHex(map.penalty, map.penalty_stock);
    }

    mem.SetU32(m_race_block + race::MenuState, 1);
    mem.SetF32(m_race_block + race::StartCountdown, 7.0f);
    mem.SetF32(m_race_block + race::PreStartClock, 0.0f);
    m_road.Build(StockStage, FindStage(StockStage).length);
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

} // namespace sim
