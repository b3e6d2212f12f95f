#include "Game.h"

#include "GameInternal.h"
#include "Patches.h"
#include "Pose.h"

#include <algorithm>
#include <cmath>

namespace sim {

using namespace internal;

namespace {

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

} // namespace

SetupBlock Game::ReadSetupBlock() const {
    const AddressSpace& mem = m_memory;
    SetupBlock block;
    block.stage = mem.I32(m_map.stage_id);
    block.preset = mem.Text8(mem.U32(m_map.weather_operand), 64);
    block.condition = mem.I32(m_map.condition);
    block.humidity = mem.I32(m_map.humidity);
    block.wear = mem.I32(m_map.tyre_wear);
    block.car = mem.I32(m_map.car);
    block.damage = mem.I32(m_map.damage);
    block.transmission = mem.I32(m_map.transmission);
    block.constant = mem.I32(m_map.setup_const);
    block.tyre = mem.U8(m_map.tyre);
    return block;
}

void Game::StartStage() {
    SetupBlock setup;
    if (m_map.stage_id != 0) {
        setup = ReadSetupBlock();
    } else {
        // Builds without a set-up block drive the game's own quick-rally choice.
        setup = {StockStage, StockPreset, 0, 0, 1, -1, 1, -1, 0, 0};
    }
    // The game has no fallback: a stage or weather it does not know loads nothing.
    if (!IsKnownStage(setup.stage)) {
        m_refusal = "unknown stage id " + std::to_string(setup.stage);
        return;
    }
    const bool preset_known =
        setup.preset.empty() ? !StageHasPresets(setup.stage) : IsKnownPreset(setup.preset);
    if (!preset_known) {
        m_refusal = "unknown weather preset \"" + setup.preset + "\"";
        return;
    }
    m_refusal.clear();
    m_start_setup = setup;
    m_stage = FindStage(setup.stage);
    // Unpatched, the game fits the tyre it thinks best for the surface.
    const PatchRow* tyre_row = FindRow(m_options.build, 47);
    if (tyre_row && PatchApplied(m_memory, *tyre_row, ModuleBase)) {
        m_tyre = setup.tyre;
    } else {
        m_tyre = m_stage.surface == Surface::Tarmac ? 0 : m_stage.surface == Surface::Snow ? 6 : 3;
    }
    m_loading = LoadSeconds;
}

void Game::LoadStage() {
    AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    m_loading = -1;
    if (!m_stage_loaded) {
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
    LoadGhostCarWhenPointed();
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
        if ((m_throttle || m_auto_jump) && !paused && !m_false_start_counted) {
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
            const SetupBlock& setup = m_start_setup;
            const double top = 40.0 * CarFactor(m_chosen_car) *
                               TyreFactor(m_tyre, m_stage.surface, setup.humidity) *
                               (setup.condition == 2 ? 0.93 : 1.0) *
                               (1.0 - 0.02 * std::clamp(setup.wear, 0, 5)) *
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
    // The optional false start: the driver jumps just before the green light.
    m_auto_jump = m_options.false_start && !m_false_start_counted && pre < 0.0f && !m_running &&
                  countdown < 1.0f;
    // A driver who asked for a restart of one stage drives the restarted run to its end.
    const bool other_stage =
        m_options.vote_stage != 0 && (m_stage.id != m_options.vote_stage || m_reloads > 0);
    if (m_since_finish < 2.0 || m_options.after_finish == AfterFinish::Nothing ||
        m_auto_step >= 100 || other_stage) {
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

bool Game::GhostsPointed() const {
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
    return !m_memory.Text8(m_map.ghost_path, 260).empty();
}

// The game loads the ghost car once, when its code is first pointed at it (and again only
// when pointed at another path), as it loads any car: files that arrive later are not seen.
void Game::LoadGhostCarWhenPointed() {
    const bool pointed = GhostsPointed();
    const std::string path = pointed ? m_memory.Text8(m_map.ghost_path, 260) : std::string();
    if (pointed && (!m_ghost_pointed || path != m_ghost_path)) {
        m_ghost_car = LoadGhostCar(m_options.game_folder, path);
        m_ghost_path = path;
    }
    m_ghost_pointed = pointed;
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

} // namespace sim
