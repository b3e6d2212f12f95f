#include "Game.h"
#include "GameInternal.h"
#include "Patches.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <type_traits>

namespace sim {

using namespace internal;

namespace {

// The length of the UTF-8 sequence that starts at `i`, or 0 when the bytes there are not one.
std::size_t Utf8Sequence(const std::string& text, std::size_t i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const std::size_t length = byte >= 0xF0 && byte <= 0xF4   ? 4
                               : byte >= 0xE0 && byte <= 0xEF ? 3
                               : byte >= 0xC2 && byte <= 0xDF ? 2
                                                              : 0;
    if (length == 0 || i + length > text.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < length; ++k) {
        if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

// The 16-bit texts arrive as UTF-8 and pass through as they are. The 8-bit ones may hold any
// byte: a byte from 0x80 up that starts no UTF-8 sequence is written as the code point of the
// same number, so that whatever the memory held, the line stays valid JSON.
std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
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
        default: {
            const auto byte = static_cast<unsigned char>(c);
            const std::size_t sequence = byte >= 0x80 ? Utf8Sequence(text, i) : 0;
            if (sequence > 0) {
                out.append(text, i, sequence);
                i += sequence - 1;
            } else if (byte < 0x20 || byte >= 0x80) {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x", byte);
                out += buffer;
            } else {
                out += c;
            }
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

// Patch rows in place: byte rows whose every run holds the patched bytes, then the rows that
// are values (operands, singles, the hook handle) holding what Tarvex writes there.
std::vector<int> RowsInPlace(const AddressSpace& mem, const BuildMap& map, std::uint32_t module) {
    std::map<int, bool> rows;
    for (const PatchRow& row : PatchRows(map.build)) {
        const bool applied = PatchApplied(mem, row, module);
        rows[row.row] = rows.count(row.row) ? rows[row.row] && applied : applied;
    }
    if (map.build == 3 || map.build == 4) {
        rows[1] = mem.U32(map.weather_operand) == map.weather_text;
        const auto operands = GhostPathOperands(map.build);
        for (std::size_t i = 0; i < operands.size(); ++i) {
            rows[10 + int(i)] = mem.U32(operands[i]) == map.ghost_path;
        }
        const std::uint32_t handle = mem.U32(HookHandleAddress(map.build));
        rows[24] = handle != 0 && handle != HookStockHandle;
        for (std::size_t i = 0; i < std::size(LayoutOperands); ++i) {
            const MenuLayoutOperand& operand = LayoutOperands[i];
            rows[41 + int(i)] =
                mem.F32(map.build == 3 ? operand.b3 : operand.b4) == operand.patched;
        }
        rows[46] = mem.U8(LayoutByteAddress(map.build)) == LayoutBytePatched;
    }
    std::vector<int> seen;
    for (const auto& [row, applied] : rows) {
        if (applied) {
            seen.push_back(row);
        }
    }
    return seen;
}

template <typename T>
std::string Json(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_arithmetic_v<T>) {
        return JsonNumber(double(value));
    } else {
        return JsonString(value);
    }
}

template <typename T>
std::string JsonArray(const T& values) {
    std::string out = "[";
    for (const auto& value : values) {
        out += (out.size() > 1 ? "," : "") + Json(double(value));
    }
    return out + "]";
}

// Builds one JSON object field by field.
class JsonObject {
public:
    template <typename T>
    JsonObject& Add(const char* name, const T& value) {
        return Raw(name, Json(value));
    }
    JsonObject& Raw(const char* name, const std::string& json) {
        m_text += (m_text.size() > 1 ? ",\"" : "\"") + std::string(name) + "\":" + json;
        return *this;
    }
    std::string Text() const { return m_text + "}"; }

private:
    std::string m_text = "{";
};

} // namespace

Status Game::GetStatus() const {
    const AddressSpace& mem = m_memory;
    const std::uint32_t rb = m_race_block;
    const bool full = m_options.build == 3 || m_options.build == 4;
    Status s;
    s.build = m_options.build;
    s.menu = m_stage_loaded ? -1 : CurrentMenu();
    s.race_menu = m_stage_loaded ? CurrentRaceMenu() : -1;
    s.loading = m_loading >= 0;
    s.in_stage = m_stage_loaded && !s.loading;
    s.menu_state = mem.I32(rb + race::MenuState);
    s.menu_flag = mem.U32(m_menu_base + MgrAutomation);
    s.profile = m_profile;
    s.refusal = m_refusal;
    s.has_setup = m_map.stage_id != 0;
    if (s.has_setup) {
        s.setup = ReadSetupBlock();
    }
    if (m_stage_loaded) {
        const SetupBlock& start = m_start_setup;
        s.stage_id = m_stage.id;
        s.stage_name = m_stage.name;
        s.stage_length = mem.I32(m_stage_data + 0x75310);
        s.car = m_chosen_car;
        s.car_name = GameCarName(m_chosen_car);
        s.setup_car = start.car;
        s.transmission = start.transmission;
        s.automatic = start.transmission == -1;
        s.tyre = m_tyre;
        s.weather = start.preset;
        s.condition = start.condition;
        s.humidity = start.humidity;
        s.wear = start.wear;
        s.damage = start.damage;
    }
    s.countdown = mem.F32(rb + race::StartCountdown);
    s.pre_start = mem.F32(rb + race::PreStartClock);
    s.race_time = mem.F32(rb + race::RaceTime);
    s.distance = mem.F32(rb + race::DistanceDriven);
    s.position = {mem.F32(m_car_body + 0x140), mem.F32(m_car_body + 0x144),
                  mem.F32(m_car_body + 0x148)};
    s.splits = mem.I32(rb + race::SplitsPassed);
    s.split1 = mem.F32(rb + race::Split1Time);
    s.split2 = mem.F32(rb + race::Split2Time);
    s.finished = mem.I32(rb + race::FinishFlag) == 1;
    s.false_starts = mem.I32(rb + race::FalseStartCount);
    s.paused = s.race_menu >= 0;
    s.penalty_seconds = m_penalty;
    const std::uint32_t module = m_map.engine ? mem.U32(m_engine + 0x14) : 0;
    s.patches = RowsInPlace(mem, m_map, module);

    auto menu_view = [&](int number, bool race) {
        const std::uint32_t menu = MenuAddress(number, race);
        MenuView view;
        view.number = number;
        view.context = mem.U32(menu + MenuContext);
        const std::uint32_t back = mem.U32(menu + MenuReturn);
        view.return_menu = back == 0 ? -1 : MenuCount;
        for (int i = 0; i < MenuCount && back != 0; ++i) {
            if (MenuAddress(i, race) == back) {
                view.return_menu = i;
                break;
            }
        }
        view.entry = mem.I32(menu + MenuHighlight);
        view.selection = mem.U32(menu + MenuSelection);
        view.selection2 = mem.U32(menu + MenuSelection2);
        view.profile_slot = mem.U32(menu + MenuProfileSlot);
        return view;
    };
    for (int number :
         {MenuMain, MenuCar, MenuQuickRally, MenuRallyOptions, MenuService, MenuProfile}) {
        s.menus.push_back(menu_view(number, false));
    }
    s.race_menus.push_back(menu_view(RaceMenuSaveData, true));
    for (std::uint32_t i = 0; i < 4; ++i) {
        s.menu_values[i] = mem.F32(m_menu_base + MgrValues + 4 * i);
        s.race_menu_values[i] = mem.F32(m_race_menu_base + MgrValues + 4 * i);
    }
    s.menu_value_a = mem.F32(m_map.menu_value_a);
    s.menu_value_b = mem.F32(m_map.menu_value_b);
    s.flags = {mem.U32(VoteFlag), mem.U32(SaveFlag), mem.U32(ExitFlag)};
    if (full) {
        for (const MenuLayoutOperand& operand : LayoutOperands) {
            s.race_menu_layout.push_back(mem.F32(s.build == 3 ? operand.b3 : operand.b4));
        }
        s.race_menu_layout.push_back(float(mem.U8(LayoutByteAddress(s.build))));
    }

    s.ghost_files = m_ghost_car.files;
    s.ghost_vertices = m_ghost_car.vertex_count;
    s.ghost_triangles = m_ghost_car.triangle_count;
    s.ghosts_loaded = m_ghost_pointed && m_ghost_car.ok && GhostsPointed();
    s.ghost_model = mem.I32(mem.U32(mem.U32(m_map.ghost_model) + 0x70) + 0x18);
    for (int k = 0; full && k < 12; ++k) {
        const std::uint32_t g = GhostObject(k);
        s.ghost_colours.push_back({mem.F32(g + 0x1A0), mem.F32(g + 0x1A4), mem.F32(g + 0x1A8)});
        // The matrix arrives with its second and third axes swapped: +0x34 is the height.
        GhostView ghost;
        ghost.index = k;
        ghost.x = mem.F32(g + 0x30);
        ghost.y = mem.F32(g + 0x38);
        ghost.z = mem.F32(g + 0x34);
        ghost.side = {mem.F32(g + 0x00), mem.F32(g + 0x08), mem.F32(g + 0x04)};
        ghost.forward = {mem.F32(g + 0x10), mem.F32(g + 0x18), mem.F32(g + 0x14)};
        ghost.up = {mem.F32(g + 0x20), mem.F32(g + 0x28), mem.F32(g + 0x24)};
        ghost.heading = std::atan2(ghost.forward.y, ghost.forward.x);
        ghost.red = s.ghost_colours.back()[0];
        ghost.green = s.ghost_colours.back()[1];
        ghost.blue = s.ghost_colours.back()[2];
        if (s.ghosts_loaded && std::uint32_t(s.ghost_model) != GhostHidden && ghost.z >= -1000.0f) {
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
    s.info_pointers = {mem.U32(rb + race::InfoTextA), mem.U32(rb + race::InfoTextB)};
    s.info_time = mem.F32(rb + race::InfoBoxTime);
    if (s.info_time > 0.0f) {
        const std::uint32_t text = s.info_pointers[1] ? s.info_pointers[1] : s.info_pointers[0];
        s.info_text = text ? mem.Text16(text, 1024) : "";
    }
    if (mem.F32(rb + race::OverlayTime) > 0.0f) {
        s.overlay_text = m_overlay;
    }
    for (std::size_t i = 0; i < 6; ++i) {
        s.box[i] = mem.F32(m_map.box[i]);
    }
    for (std::uint32_t copy : m_map.box_copy) {
        if (copy != 0) {
            s.box_copy.push_back(mem.F32(copy));
        }
    }
    for (std::size_t i = 0; i < 5; ++i) {
        s.tag_placement[i] = mem.F32(m_map.tag[i]);
    }
    s.tag_placement[5] = mem.U8(m_map.tag[5]);
    s.tag_placement[6] = mem.U8(m_map.tag[6]);
    const float a1 = s.tag_placement[3] - 1.0f;
    const float a2 = s.tag_placement[4] - 5.0f;
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
    auto tenths = [](float v) {
        return std::round(v * 10.0f) / 10.0;
    };
    JsonObject j;
    j.Add("build", s.build)
        .Add("menu", s.menu)
        .Add("race_menu", s.race_menu)
        .Add("loading", s.loading)
        .Add("in_stage", s.in_stage)
        .Add("menu_state", s.menu_state)
        .Add("menu_flag", s.menu_flag)
        .Add("profile", s.profile)
        .Add("refusal", s.refusal);
    if (s.has_setup) {
        const SetupBlock& b = s.setup;
        j.Raw("setup", JsonObject()
                           .Add("stage", b.stage)
                           .Add("preset", b.preset)
                           .Add("condition", b.condition)
                           .Add("humidity", b.humidity)
                           .Add("wear", b.wear)
                           .Add("car", b.car)
                           .Add("transmission", b.transmission)
                           .Add("tyre", b.tyre)
                           .Add("damage", b.damage)
                           .Add("constant", b.constant)
                           .Text());
    } else {
        j.Raw("setup", "null");
    }
    j.Add("stage_id", s.stage_id)
        .Add("stage_name", s.stage_name)
        .Add("stage_length", s.stage_length)
        .Add("car", s.car)
        .Add("car_name", s.car_name)
        .Add("setup_car", s.setup_car)
        .Add("transmission", s.transmission)
        .Add("gearbox", std::string(!s.in_stage   ? ""
                                    : s.automatic ? "automatic"
                                                  : "manual"))
        .Add("tyre", s.tyre)
        .Add("weather", s.weather)
        .Add("condition", s.condition)
        .Add("humidity", s.humidity)
        .Add("wear", s.wear)
        .Add("damage", s.damage)
        .Add("countdown", std::round(s.countdown * 100.0f) / 100.0)
        .Add("pre_start", s.pre_start >= 0.0f)
        .Add("race_time", std::floor(s.race_time * 10.0f) / 10.0)
        .Add("distance", std::floor(s.distance))
        .Raw("pos", JsonArray(std::array<double, 3>{tenths(s.position.x), tenths(s.position.y),
                                                    tenths(s.position.z)}))
        .Add("splits", s.splits)
        .Add("split1", s.split1)
        .Add("split2", s.split2)
        .Add("finished", s.finished)
        .Add("finish_time", s.finished ? s.race_time : 0.0)
        .Add("false_starts", s.false_starts)
        .Add("paused", s.paused)
        .Add("penalty", s.penalty_seconds)
        .Raw("patches", JsonArray(s.patches));
    auto menus = [](const std::vector<MenuView>& views) {
        std::string out = "[";
        for (const MenuView& v : views) {
            JsonObject m;
            m.Add("m", v.number)
                .Add("ctx", v.context)
                .Add("ret", v.return_menu)
                .Add("entry", v.entry)
                .Raw("sel", JsonArray(std::array<std::uint32_t, 2>{v.selection, v.selection2}));
            if (v.number == MenuProfile) {
                m.Add("slot", v.profile_slot);
            }
            out += (out.size() > 1 ? "," : "") + m.Text();
        }
        return out + "]";
    };
    j.Raw("menus", menus(s.menus))
        .Raw("race_menus", menus(s.race_menus))
        .Raw("menu_values", JsonArray(s.menu_values))
        .Raw("race_menu_values", JsonArray(s.race_menu_values))
        .Add("menu_value_a", s.menu_value_a)
        .Add("menu_value_b", s.menu_value_b)
        .Raw("flags", JsonArray(s.flags))
        .Raw("race_menu_layout", JsonArray(s.race_menu_layout));
    JsonObject files;
    for (const auto& [role, outcome] : s.ghost_files) {
        files.Add(role.c_str(), outcome);
    }
    auto rgb = [](float r, float g, float b) {
        return JsonArray(std::array<double, 3>{std::round(r * 255.0f), std::round(g * 255.0f),
                                               std::round(b * 255.0f)});
    };
    std::string colours = "[";
    for (const auto& c : s.ghost_colours) {
        colours += (colours.size() > 1 ? "," : "") + rgb(c[0], c[1], c[2]);
    }
    std::string ghosts = "[";
    for (const GhostView& g : s.ghosts) {
        // The rotation's rows (side, up, forward) in the z-up world, the swap undone.
        std::array<double, 9> rows{};
        const Vec3 axes[3] = {g.side, g.up, g.forward};
        for (std::size_t i = 0; i < 9; ++i) {
            const Vec3& axis = axes[i / 3];
            const float value = i % 3 == 0 ? axis.x : i % 3 == 1 ? axis.y : axis.z;
            rows[i] = std::round(value * 100.0f) / 100.0;
        }
        ghosts += (ghosts.size() > 1 ? "," : "") + JsonObject()
                                                       .Add("k", g.index)
                                                       .Add("x", tenths(g.x))
                                                       .Add("y", tenths(g.y))
                                                       .Add("z", tenths(g.z))
                                                       .Add("h", tenths(g.heading * 180.0f / M_PI))
                                                       .Raw("rows", JsonArray(rows))
                                                       .Raw("rgb", rgb(g.red, g.green, g.blue))
                                                       .Text();
    }
    std::string entries = "[";
    for (const MenuEntryView& entry : s.race_entries) {
        entries += (entries.size() > 1 ? "," : "") + Json(entry.caption);
    }
    j.Raw("ghost_files", files.Text())
        .Raw("ghost_mesh",
             JsonArray(std::array<std::uint32_t, 2>{s.ghost_vertices, s.ghost_triangles}))
        .Add("ghosts_loaded", s.ghosts_loaded)
        .Add("ghost_model", double(std::uint32_t(s.ghost_model)))
        .Raw("ghost_colours", colours + "]")
        .Raw("ghosts", ghosts + "]")
        .Raw("race_entries", entries + "]")
        .Raw("info_pointers", JsonArray(s.info_pointers))
        .Add("info_time", s.info_time)
        .Add("info_text", s.info_text)
        .Add("overlay_text", s.overlay_text)
        .Raw("box", JsonArray(s.box))
        .Raw("box_copy", JsonArray(s.box_copy))
        .Raw("tag_placement", JsonArray(s.tag_placement))
        .Add("tag_opacity", s.tag_opacity)
        .Add("name_tag", s.name_tag)
        .Add("attached", s.attached)
        .Add("hook_handle", s.hook_handle)
        .Add("hook_clicks", s.hook_clicks)
        .Add("reloads", s.reloads);
    return j.Text();
}

} // namespace sim
