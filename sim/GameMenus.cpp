#include "Game.h"
#include "GameInternal.h"
#include "Patches.h"

#include <algorithm>

namespace sim {

using namespace internal;

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
    // Leaving the profile menu takes the second transition time, every other change the first.
    const float delay = CurrentMenu() == MenuProfile ? m_memory.F32(m_map.menu_value_b)
                                                     : m_memory.F32(m_map.menu_value_a);
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
            StartStage();
        }
        break;
    default:
        ShowMenu(MenuMain);
        break;
    }
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

} // namespace sim
