#include "game/GameBridge.h"

#include "game/GameMap.h"
#include "game/GameText.h"
#include "game/GhostCar.h"
#include "platform/Platform.h"

#include <QScopedValueRollback>
#include <QTimer>
#include <bit>

namespace tarvex {

using namespace gamemap;

namespace {

constexpr int kEnter = 13;
constexpr int kEscape = 27;
constexpr std::uint32_t kModuleOffset = 0x14;
// How often the waits look again for what the game publishes late. The module base is needed
// early and polled briskly; the text-pointer block is looked for every two seconds.
constexpr float kModulePollMs = 100.0f;
constexpr float kTextBlockPollMs = 2000.0f;
constexpr float kKeyGapMs = 100.0f;
// How long a pressed Enter is given to take effect before it counts as lost, and how often the
// menu is looked at meanwhile.
constexpr int kEnterTakenMs = 2000;
constexpr int kEnterPollMs = 20;
// The game's path text for the ghost car's entry file, relative to its folder.
const QString kGhostPath = QStringLiteral("CARS\\GHOST\\GHOSTCAR.INI");

bool Applies(PatchWhen when, const Settings& settings) {
    switch (when) {
    case PatchWhen::Always:
        return true;
    case PatchWhen::Ghosts:
        return settings.GhostsDisabled == 0;
    case PatchWhen::Clock:
        return settings.ClockWhenPaused == 1;
    case PatchWhen::Split:
        return settings.ShowSplits == 0;
    }
    return false;
}

} // namespace

GameBridge::GameBridge(const Platform& platform, GameProcess& game, StoredSettings& stored,
                       const bool& is_host, GhostCar& ghost, QObject* parent)
    : QObject(parent)
    , m_desktop(*platform.desktop)
    , m_game(game)
    , m_stored(stored)
    , m_is_host(is_host)
    , m_ghost(ghost)
    , m_menu_timer(new QTimer(this)) {
    m_menu_timer->setObjectName(QStringLiteral("mnuTimer"));
    m_menu_timer->setInterval(100);
    connect(m_menu_timer, &QTimer::timeout, this, &GameBridge::MenuTick);
}

const CarSelection& GameBridge::LocalCar() const {
    return m_is_host ? m_stored.host_car : m_stored.client_car;
}

std::uint32_t GameBridge::WaitForPointer(const std::function<std::uint32_t()>& read,
                                         WindowHandle window, float interval_ms) {
    // No time limit: the game publishes these when it is ready, however long that takes. Only
    // the game window going away ends the wait: that game's memory will never change again,
    // and a game started anew is patched afresh.
    for (;;) {
        if (const std::uint32_t value = read()) {
            return value;
        }
        if (!m_desktop.IsWindow(window)) {
            return 0;
        }
        m_game.WaitMs(interval_ms);
    }
}

bool GameBridge::ApplyGamePatches(WindowHandle hook_button) {
    // The waits below run the event loop, and with it the game tick that called us.
    if (m_patching) {
        return false;
    }
    const QScopedValueRollback busy(m_patching, true);
    if (!m_game.IsGameRunning()) {
        return false;
    }
    const GameBuild build = m_game.GetGameBuild();
    const MenuTexts* texts = MenuTextsOf(build);
    if (!texts) {
        return true; // the other builds have nothing to patch
    }
    const std::uint32_t process = m_game.ProcessId();
    const WindowHandle window = m_game.Window();
    const Settings& settings = m_stored.settings;
    std::uint32_t module_base = 0;
    for (const PatchStep& step : PatchTable(build)) {
        if (!Applies(step.when, settings)) {
            continue;
        }
        if (step.kind == PatchKind::ModuleHex && module_base == 0) {
            // M lives in an object the game creates late, behind a pointer of its own.
            const auto read_module = [this, texts] {
                const std::uint32_t engine = m_game.ReadGamePointer(texts->engine);
                return engine ? m_game.ReadGamePointer(engine + kModuleOffset) : 0;
            };
            module_base = WaitForPointer(read_module, window, kModulePollMs);
            if (module_base == 0) {
                return false;
            }
        }
        WritePatchStep(step, module_base, hook_button);
    }

    const auto read_text_block = [this, texts] {
        return m_game.ReadGamePointer(texts->text_block);
    };
    if (WaitForPointer(read_text_block, window, kTextBlockPollMs) == 0) {
        return false;
    }
    WriteEntryTexts(*texts);
    if (settings.GhostsDisabled == 0) {
        m_game.WriteGameString(texts->ghost_path, kGhostPath);
    }
    m_patched_process = process;
    return true;
}

void GameBridge::WritePatchStep(const PatchStep& step, std::uint32_t module_base,
                                WindowHandle hook_button) {
    switch (step.kind) {
    case PatchKind::Hex:
        m_game.WriteGameBytes(step.address, step.bytes);
        break;
    case PatchKind::ModuleHex:
        m_game.WriteGameBytes(module_base + step.address, step.bytes);
        break;
    case PatchKind::Long:
        m_game.WriteGameValue(step.address, std::int32_t(step.value));
        break;
    case PatchKind::Single:
        m_game.WriteGameSingle(step.address, float(step.value));
        break;
    case PatchKind::Byte:
        m_game.WriteGameByte(step.address, std::uint8_t(step.value));
        break;
    case PatchKind::HookHandle:
        m_game.WriteGameValue(step.address, std::int32_t(hook_button));
        break;
    case PatchKind::GhostFiles:
        m_ghost.InstallGhostFiles();
        break;
    case PatchKind::GhostModel:
        m_ghost.WriteGhostModel();
        break;
    case PatchKind::MessageBox:
        SetMessageBoxPlacement(kNormalBox);
        break;
    }
}

void GameBridge::WriteEntryTexts(const MenuTexts& texts) {
    const std::uint32_t block = m_game.ReadGamePointer(texts.text_block);
    if (block == 0) {
        return;
    }
    m_game.WriteGameLong(block + textblock::kSaveData2, std::int32_t(texts.save_data));
    m_game.WriteGameLong(block + textblock::kSaveData, std::int32_t(texts.save_data));
    m_game.WriteGameLong(block + textblock::kExitToTarvex, std::int32_t(texts.exit_to_tarvex));
    m_game.WriteGameLong(block + textblock::kVoteRestart, std::int32_t(texts.vote_restart));
    WriteGameText(m_game, texts.vote_restart, QStringLiteral("Vote Restart"));
    WriteGameText(m_game, texts.save_data, QStringLiteral("Save Data"));
    WriteGameText(m_game, texts.exit_to_tarvex, QStringLiteral("Exit To Tarvex"));
}

void GameBridge::WriteRaceSetup() {
    const RaceSetupBlock* block = RaceSetupOf(m_game.GetGameBuild());
    if (!block) {
        return;
    }
    const RaceSettings& race = m_stored.race;
    const CarSelection& car = LocalCar();
    // The preset name ends in the game's own text buffer, which the humidity value follows; a
    // name longer than the buffer (from a broken or hostile game-data message) is cut there.
    const qsizetype room = qsizetype(block->humidity - block->weather_text) - 1;
    m_game.WriteGameLong(block->humidity, race.Humidity);
    m_game.WriteGameLong(block->tyre_wear, race.TyreWear);
    m_game.WriteGameString(block->weather_text, race.WeatherPresetName.left(room) + QChar(0));
    m_game.WriteGameLong(block->stage_id, race.StageId);
    m_game.WriteGameLong(block->condition, race.WeatherCondition);
    m_game.WriteGameLong(block->car, car.Car);
    m_game.WriteGameLong(block->damage, race.Damage);
    m_game.WriteGameLong(block->transmission, std::int32_t(car.Transmission) - 1);
    m_game.WriteGameLong(block->constant, 1);
    m_game.WriteGameByte(block->tyre, car.Tyre);
    m_game.WriteGameBytes(block->penalty,
                          race.PenaltiesDisabled == 1 ? block->penalty_off : block->penalty_stock);
}

void GameBridge::GotoMenu(int menu, int return_menu, int selection, int entry, float v1, float v2,
                          float v3, float v4, bool make_current) {
    const MenuSystem* menus = MenuSystemOf(m_game.GetGameBuild());
    if (menus) {
        GotoMenuOf(menus->menu_base, manager::kMenuTable, menu, return_menu, selection, entry,
                   {v1, v2, v3, v4}, make_current);
    }
}

void GameBridge::GotoRaceMenu(int menu, int return_menu, int selection, int entry, float v1,
                              float v2, float v3, float v4, bool make_current) {
    const MenuSystem* menus = MenuSystemOf(m_game.GetGameBuild());
    if (menus) {
        GotoMenuOf(menus->race_menu_base, manager::kRaceMenuTable, menu, return_menu, selection,
                   entry, {v1, v2, v3, v4}, make_current);
    }
}

void GameBridge::GotoMenuOf(std::uint32_t manager_location, std::uint32_t table, int menu,
                            int return_menu, int selection, int entry,
                            const std::array<float, 4>& values, bool make_current) {
    const std::uint32_t base = m_game.ReadGamePointer(manager_location);
    if (base == 0) {
        return;
    }
    const std::uint32_t m =
        menu != -1 ? m_game.ReadGamePointer(base + table + 4 * std::uint32_t(menu)) : 0;
    if (entry != -1 && m != 0) {
        m_game.WriteGameLong(m + menu::kHighlight, entry);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] != -1.0f) {
            m_game.WriteGameSingle(base + manager::kValue1 + 4 * std::uint32_t(i), values[i]);
        }
    }
    if (m == 0) {
        return;
    }
    if (selection != -1) {
        if (menu == kProfileMenu) {
            m_game.WriteGameLong(m + menu::kProfileSelection, selection);
        } else {
            m_game.WriteGameLong(m + menu::kSelection, selection);
            m_game.WriteGameLong(m + menu::kSelection2, selection);
        }
    }
    m_game.WriteGameLong(m + menu::kContext, m_game.ReadGameLong(base + manager::kContext));
    if (return_menu != -1) {
        const std::uint32_t back =
            m_game.ReadGamePointer(base + table + 4 * std::uint32_t(return_menu));
        m_game.WriteGameLong(m + menu::kReturn, std::int32_t(back));
    }
    if (make_current) {
        m_game.WriteGameLong(base + manager::kShown, std::int32_t(m));
    }
}

int GameBridge::CurrentMenuIndex() {
    const MenuSystem* menus = MenuSystemOf(m_game.GetGameBuild());
    return menus ? CurrentMenuIndex(*menus) : kNoMenu;
}

int GameBridge::CurrentMenuIndex(const MenuSystem& menus) {
    const std::uint32_t base = m_game.ReadGamePointer(menus.menu_base);
    if (base == 0) {
        return kNoMenu;
    }
    const std::uint32_t shown = m_game.ReadGamePointer(base + manager::kShown);
    for (int i = 0; i < manager::kTableSize; ++i) {
        const std::int32_t address = m_game.ReadGameLong(base + manager::kMenuTable + 4 * i);
        // A failed read would hand back the shown menu's own value and match by accident.
        if (m_game.LastResult() == 0) {
            return kNoMenu;
        }
        if (std::uint32_t(address) == shown) {
            return i;
        }
    }
    return kNoMenu;
}

int GameBridge::CarMenuSelection(int car) {
    static constexpr int kGameCar[8] = {7, 4, 8, 2, 5, 1, 3, 6};
    return car >= 0 && car < 8 ? kGameCar[car] + 3 : 0;
}

void GameBridge::PressEnter() {
    m_desktop.SendKey(kEnter, true);
    m_desktop.SendKey(kEnter, false);
}

void GameBridge::PressEscape() {
    m_desktop.SendKey(kEscape, true);
    m_desktop.SendKey(kEscape, false);
}

void GameBridge::PressEnterInGame() {
    // Keys go to whatever window has the focus. The driver may have switched to Tarvex during
    // one of the automation's waits, and an Enter there would press Tarvex's own buttons.
    if (m_game.IsGameForeground()) {
        PressEnter();
    }
}

void GameBridge::CloseGame() {
    m_game_closing = true;
    if (m_game.Window() != 0) {
        m_desktop.CloseWindow(m_game.Window());
    }
}

void GameBridge::SaveDataMenu() {
    GotoRaceMenu(kSaveDataMenu, -1, 4, -1, 0, 0, 0, 0, true);
    const MenuSystem* menus = MenuSystemOf(m_game.GetGameBuild());
    const std::uint32_t base = menus ? m_game.ReadGamePointer(menus->race_menu_base) : 0;
    const std::uint32_t m =
        base ? m_game.ReadGamePointer(base + manager::kRaceMenuTable + 4 * kSaveDataMenu) : 0;
    const std::uint32_t entries = m ? m_game.ReadGamePointer(m + menu::kEntries) : 0;
    if (entries == 0) {
        return;
    }
    for (std::uint32_t slot : {4u, 8u, 9u}) {
        if (const std::uint32_t entry = m_game.ReadGamePointer(entries + 4 * slot)) {
            m_game.WriteGameLong(entry + menu::kEntryDisabled, 0);
        }
    }
}

void GameBridge::MenuTick() {
    // The key gaps below run the event loop; a tick must not start inside another one.
    if (m_in_menu_tick) {
        return;
    }
    m_game.FindGame();
    if (!m_game.IsGameRunning() || !m_game.IsGameForeground()) {
        return;
    }
    const GameBuild build = m_game.GetGameBuild();
    // The stage reads its weather and tyre through patched code: driving the menus before the
    // patches are in would load it with the game's own.
    if (MenuTextsOf(build) && m_patched_process != m_game.ProcessId()) {
        return;
    }
    const MenuSystem* menus = MenuSystemOf(build);
    const std::uint32_t race_block = m_game.ReadGamePointer(RaceBlockLocation(build));
    if (!menus || race_block == 0 || m_game.ReadGameLong(race_block + kMenuState) != 1 ||
        m_game.LastResult() == 0) {
        return;
    }
    const QScopedValueRollback busy(m_in_menu_tick, true);
    const Settings& settings = m_stored.settings;
    const CarSelection& car = LocalCar();
    const std::uint32_t base = m_game.ReadGamePointer(menus->menu_base);

    if (CurrentMenuIndex(*menus) == kProfileMenu) {
        m_saved_value_b = m_game.ReadGameSingle(menus->value_b);
        m_game.WriteGameSingle(menus->value_b, 0.0f);
        if (settings.BypassProfile == 1) {
            GotoMenuOf(*menus, kProfileMenu, -1, settings.ProfileSlot + 1, -1, false);
            if (CurrentMenuIndex(*menus) == kProfileMenu) {
                m_game.WaitMs(kKeyGapMs);
                PressEnterInGame();
            }
        } else {
            // The player picks a profile by hand; the flag tells the game the menu is theirs.
            m_game.WriteGameLong(base + manager::kFlag, 1);
        }
    }
    if (CurrentMenuIndex(*menus) == kCarMenu) {
        if (!m_is_host) {
            WriteRaceSetup();
        }
        GotoMenuOf(*menus, kCarMenu, -1, CarMenuSelection(car.Car), -1, false);
        m_game.WaitMs(kKeyGapMs);
        // The car menu chooses on the key going down. The key still has to come up: an X server
        // repeats a key held through XTEST like any other, and the repeated Enters would run
        // the next menus ahead of the set-up and, in the race, close the pause menu the moment
        // it opens.
        PressEnterInGame();
    }
    if (CurrentMenuIndex(*menus) == kRallyOptions) {
        WriteRaceSetup();
        GotoMenuOf(*menus, kService, kService, 3, 6, true);
        if (m_stored.race.SetupsAllowed == 1) {
            // With setups allowed the player finishes the service screen by hand.
            m_game.WriteGameLong(base + manager::kFlag, 1);
            m_game.WriteGameSingle(menus->value_a, m_saved_value_a);
            m_game.WriteGameSingle(menus->value_b, m_saved_value_b);
            return;
        }
        for (int i = 0; i < 9; ++i) {
            m_game.WaitMs(kKeyGapMs);
            PressEnterInGame();
        }
        WriteRaceSetup();
        m_game.WriteGameSingle(menus->value_a, m_saved_value_a);
        m_game.WriteGameSingle(menus->value_b, m_saved_value_b);
    }
    if (CurrentMenuIndex(*menus) == kMainMenu) {
        m_game.WriteGameLong(base + manager::kFlag, 1);
        emit LoadingReached();
        m_saved_value_a = m_game.ReadGameSingle(menus->value_a);
        m_game.WriteGameSingle(menus->value_a, 0.0f);
        m_stored.settings.GhostModel = 5;
        WriteRaceSetup();
        GotoMenuOf(*menus, kCarMenu, -1, CarMenuSelection(car.Car), -1, false);
        // A client's quick-rally menu starts on its first entry.
        GotoMenuOf(*menus, kQuickRally, kProfileMenu, 4, m_is_host ? -1 : 0, true);
        for (int i = 0; i < 5 && CurrentMenuIndex(*menus) == kQuickRally; ++i) {
            m_game.WaitMs(kKeyGapMs);
            PressEnterInGame();
            // A busy game takes the key frames later. Another Enter sent before it has would
            // choose in the menus after this one (profile, car, rally options) ahead of the
            // automation, and leave the game in the service menu on its first entry.
            for (int waited = 0; waited < kEnterTakenMs && CurrentMenuIndex(*menus) == kQuickRally;
                 waited += kEnterPollMs) {
                m_game.WaitMs(float(kEnterPollMs));
            }
        }
    }
}

void GameBridge::GotoMenuOf(const MenuSystem& menus, int menu, int return_menu, int selection,
                            int entry, bool make_current) {
    // Every step of the automation also sets the manager's four values to 0.
    GotoMenuOf(menus.menu_base, manager::kMenuTable, menu, return_menu, selection, entry,
               {0.0f, 0.0f, 0.0f, 0.0f}, make_current);
}

void GameBridge::PollMenuFlags() {
    const GameBuild build = m_game.GetGameBuild();
    // Only the patched builds have the entries; elsewhere these addresses hold the game's own
    // bytes, which must not be taken for a choice.
    if (MenuTextsOf(build)) {
        if (m_game.ReadGameLong(kVoteRestartFlag) == 1 && m_game.LastResult() != 0) {
            emit VoteRestartChosen();
            PressEscape();
            m_game.WriteGameLong(kVoteRestartFlag, 0);
        }
        if (m_game.ReadGameLong(kSaveDataFlag) == 1 && m_game.LastResult() != 0) {
            SaveDataMenu();
            m_game.WriteGameLong(kSaveDataFlag, 0);
        }
        if (m_game.ReadGameLong(kExitToTarvexFlag) == 1 && m_game.LastResult() != 0) {
            // The flag stays set: the game is closing.
            CloseGame();
        }
    }
    if (const MenuSystem* menus = MenuSystemOf(build)) {
        m_game.WriteGameLong(menus->keep_value, 2);
    }
    m_ghost.WriteGhostModel();
}

void GameBridge::SetMessageBoxPlacement(const std::array<float, 6>& values) {
    const MessageBoxOperands* box = MessageBoxOf(m_game.GetGameBuild());
    if (!box) {
        return;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::int32_t bits = std::bit_cast<std::int32_t>(values[i]);
        m_game.WriteGameValue(box->value[i], bits);
        if (i < box->copy.size() && box->copy[i] != 0) {
            m_game.WriteGameValue(box->copy[i], bits);
        }
    }
}

} // namespace tarvex
