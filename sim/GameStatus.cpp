#include "Game.h"
#include "GameInternal.h"
#include "Patches.h"

#include <cmath>
#include <cstdio>

namespace sim {

using namespace internal;

namespace {

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
    s.menu_flag = mem.U32(m_menu_base + MgrAutomation);
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
    const std::uint32_t save_menu = MenuAddress(RaceMenuSaveData, true);
    const std::uint32_t save_list = mem.U32(save_menu + MenuEntryList);
    for (int i = 0; i < 10; ++i) {
        const std::uint32_t entry = mem.U32(save_list + 4 * std::uint32_t(i));
        s.save_slots.push_back(
            {"Slot " + std::to_string(i + 1), mem.U32(entry + EntryDisabled) == 0});
    }
    if (s.race_menu >= 0) {
        s.race_highlight = mem.I32(MenuAddress(s.race_menu, true) + MenuHighlight);
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
    field("menu_flag", num(s.menu_flag));
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
