#include "TarvexPart.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTest>
#include <cstring>
#include <vector>

namespace simtest {

namespace {

// clang-format off
const Addresses Build1 = {
    .build = 1, .race_block = 0x163F2C0, .stage_data = 0x16387E4, .menu_base = 0x163F0A8,
    .race_menu_base = 0x163F2A0, .value_a = 0x1640460, .value_b = 0x1640464, .keep = 0x87254C,
    .car_body = 0x8CECC0, .model = 0x7C9CD8, .reload = 0x7CA2A0, .overlay = 0x7D2800,
    .name = 0x7D1100, .box = {0x561B21, 0x561B29, 0x561B4B, 0x561B89, 0x561BB0, 0x561BB6},
    .box_copy = {0x561B33, 0x561B3B},
    .tag = {0x5634D3, 0x5634D9, 0x5634DE, 0x563507, 0x56350C, 0x5634ED, 0x5634C8},
};
const Addresses Build2 = {
    .build = 2, .race_block = 0x165A520, .stage_data = 0x1653A44, .menu_base = 0x165A308,
    .race_menu_base = 0x165A500, .value_a = 0x165B6C0, .value_b = 0x165B6C4, .keep = 0x88D7AC,
    .car_body = 0x8E9F20, .model = 0x7E4F38, .reload = 0x7E5508, .overlay = 0x7F5000,
    .name = 0x7F3900, .box = {0x742190, 0x74218C, 0x571020, 0x57105E, 0x571085, 0x57108B},
    .box_copy = {0, 0},
    .tag = {0x572AFC, 0x572B02, 0x572B07, 0x572B30, 0x572B35, 0x572B16, 0x572AF1},
};
const Addresses Build3 = {
    .build = 3, .race_block = 0x165FC68, .stage_data = 0x1659184, .menu_base = 0x165FA48,
    .race_menu_base = 0x165FC48, .value_a = 0x1660E10, .value_b = 0x1660E14, .keep = 0x892EEC,
    .car_body = 0x8EF660, .model = 0x7EA678, .reload = 0x7EAC48, .overlay = 0x7FA740,
    .name = 0x7F9040, .box = {0x746884, 0x746880, 0x573870, 0x5738AE, 0x5738D5, 0x5738DB},
    .box_copy = {0, 0},
    .tag = {0x5753FC, 0x575402, 0x575407, 0x575430, 0x575435, 0x575416, 0x5753F1},
    .engine = 0x7EA6A8, .text_block = 0x8935D8, .info = 0x7F9140, .ghost_path = 0x7FA140,
    .weather_operand = 0x4AA236, .humidity = 0x89390C, .wear = 0x893910, .weather = 0x893888,
    .stage = 0x1660804, .condition = 0x1660848, .car = 0x1660808, .damage = 0x1660850,
    .trans = 0x1660814, .constant = 0x1660854, .tyre = 0x5662A7, .penalty = 0x576819,
    .hook_handle = 0x493980, .penalty_stock = "F30F118640010000",
    .penalty_nops = "9090909090909090", .entry_text = {0x7FA076, 0x7FA05E, 0x7FA040},
    .ghost_operands = {0x466968, 0x4669C1, 0x466A11, 0x466A61, 0x466AB1},
    .layout = {0x573FD2, 0x573FD7, 0x573FDD, 0x574050, 0x57405B, 0x573FCF},
};
const Addresses Build4 = {
    .build = 4, .race_block = 0x1651C68, .stage_data = 0x164B184, .menu_base = 0x1651A48,
    .race_menu_base = 0x1651C48, .value_a = 0x1652E10, .value_b = 0x1652E14, .keep = 0x88502C,
    .car_body = 0x8E1658, .model = 0x7EC7B8, .reload = 0x7ECD88, .overlay = 0x7EB740,
    .name = 0x7EA040, .box = {0x569C01, 0x569C09, 0x569C2B, 0x569C69, 0x569C90, 0x569C96},
    .box_copy = {0x569C13, 0x569C1B},
    .tag = {0x56B683, 0x56B689, 0x56B68E, 0x56B6B7, 0x56B6BC, 0x56B678, 0x56B69D},
    .engine = 0x7EC7E8, .text_block = 0x885728, .info = 0x7EA140, .ghost_path = 0x7EB140,
    .weather_operand = 0x4AA5B6, .humidity = 0x885A4C, .wear = 0x885A50, .weather = 0x8859C8,
    .stage = 0x1652804, .condition = 0x1652848, .car = 0x1652808, .damage = 0x1652850,
    .trans = 0x1652814, .constant = 0x1652854, .tyre = 0x55C927, .penalty = 0x56CA51,
    .hook_handle = 0x49437E, .penalty_stock = "d99e40010000", .penalty_nops = "909090909090",
    .entry_text = {0x7EB076, 0x7EB05E, 0x7EB040},
    .ghost_operands = {0x468518, 0x468571, 0x4685C1, 0x468610, 0x468661},
    .layout = {0x56A35F, 0x56A364, 0x56A36A, 0x56A3D5, 0x56A3DE, 0x56A35C},
};

// clang-format on

// Code patches as Tarvex writes them: (row, address, bytes); rows 2..5 are relative to M.
struct Run {
    int row;
    std::uint32_t address;
    const char* hex;
};
// clang-format off
const std::vector<Run> Runs3 = {
    {2, 0x6726E, "909090909090"}, {3, 0x7F0AB, "8B"}, {4, 0x7F0BB, "8B"}, {5, 0x7F0CE, "8B"},
    {15, 0x482AF2, "0f8581feffff"}, {16, 0x482AFF, "e975feffff"}, {17, 0x5430CB, "9090"},
    {18, 0x492C0F, "3BD2"}, {19, 0x4819DC, "9090"}, {20, 0x492D3E, "909090909090"},
    {21, 0x47DF15, "9090909090"}, {23, 0x493976, "6A006A0068F500000068FC084000FF15e4967200"},
    {25, 0x49399A, "9090909090"}, {26, 0x493663, "909090909090"}, {27, 0x57A162, "EB16"},
    {28, 0x5B2034, "E9C7E1E4FF9090"},
    {29, 0x400200,
     "8BBC24B8010000893DFC0140008B3DD835890081C77C1B00008B3F3B3DFC014000740C8BBC24B8010000E90C"
     "1E1B00BF40A77F00E9021E1B00"},
    {30, 0x5735D8, "C7813801000001000000"}, {31, 0x5735E5, "C7813801000001000000"},
    {32, 0x5735F2, "C7813801000001000000"}, {33, 0x5735FF, "C7813801000001000000"},
    {34, 0x57360C, "C7813801000001000000"}, {35, 0x5735B9, "90909090909090909090909090909090"},
    {36, 0x47871E, "90"}, {36, 0x4787D6, "90"}, {36, 0x4787E9, "9090909090"}, {36, 0x478C10, "90"},
    {36, 0x478C1D, "9090909090"}, {36, 0x56EA14, "90"}, {36, 0x56EA29, "9090909090"},
    {36, 0x56EA7F, "90"}, {36, 0x56EAA8, "9090909090"}, {36, 0x57A3A5, "9090909090"},
    {36, 0x57A394, "90"}, {36, 0x5793EB, "9090"}, {38, 0x572E3F, "9090909090909090"},
    {38, 0x572E4E, "9090909090909090"}, {39, 0x57A068, "9090909090909090"}, {40, 0x57A0F8, "EB19"},
    {47, 0x5662A6, "B1009090"}, {49, 0x58BD80, "C705000A400001000000C20800"},
    {51, 0x58D940, "C705040A400001000000C20800"}, {53, 0x58BEE0, "C705080A400001000000C20800"},
};
const std::vector<Run> Runs4 = {
    {2, 0x664E8, "909090909090"}, {3, 0x7DB6C, "93"}, {4, 0x7DB76, "93"}, {5, 0x7DB7C, "8b"},
    {15, 0x48454F, "0f8581feffff"}, {16, 0x48455C, "e975feffff"}, {17, 0x539EFB, "9090"},
    {18, 0x4934FF, "3BD2"}, {19, 0x483405, "9090"}, {20, 0x49362C, "909090909090"},
    {21, 0x47F9A5, "9090909090"}, {23, 0x494374, "6A006A0068F500000068FC084000FF15b4c67100"},
    {25, 0x494398, "9090909090"}, {26, 0x49401B, "909090909090"}, {27, 0x5702B7, "EB10"},
    {28, 0x5A7574, "E9878CE5FF9090"},
    {29, 0x400200,
     "8BBC24B8010000893DFC0140008B3D2857880081C77C1B00008B3F3B3DFC014000740C8BBC24B8010000E94C"
     "731A00BF40b77E00E942731A00"},
    {30, 0x569982, "C7813801000001000000"}, {31, 0x56998F, "C7813801000001000000"},
    {32, 0x56999C, "C7813801000001000000"}, {33, 0x5699A9, "C7813801000001000000"},
    {34, 0x5699B6, "C7813801000001000000"}, {35, 0x569969, "90909090909090909090"},
    {36, 0x47A4C3, "90"}, {36, 0x47A4C8, "9090909090"}, {36, 0x47A8B5, "90"},
    {36, 0x47A8D0, "9090909090"}, {36, 0x56501A, "90"}, {36, 0x56503D, "9090909090"},
    {36, 0x565089, "90"}, {36, 0x5650AC, "9090909090"}, {36, 0x57053F, "9090909090"},
    {36, 0x570526, "90"}, {36, 0x5704BC, "90"}, {36, 0x5704CB, "9090909090"},
    {36, 0x56F508, "9090"}, {38, 0x569265, "90909090909090909090"}, {39, 0x570197, "909090909090"},
    {40, 0x570243, "EB23"}, {47, 0x55C926, "B1009090"},
    {49, 0x581950, "C705000A400001000000C20800"}, {51, 0x583500, "C705040A400001000000C20800"},
    {53, 0x581AB0, "C705080A400001000000C20800"},
};
// clang-format on

int MappedCar(int car) {
    static const int map[] = {7, 4, 8, 2, 5, 1, 3, 6};
    return (car >= 0 && car <= 7) ? map[car] : 1;
}

void WriteFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
    }
}

} // namespace

const Addresses& AddressesOf(int build) {
    return build == 1 ? Build1 : build == 2 ? Build2 : build == 4 ? Build4 : Build3;
}

void TarvexPart::Wait(double seconds) {
    for (double t = 0; t < seconds - 1e-9; t += 0.1) {
        game.Tick(0.1);
    }
}

void TarvexPart::PressEnter() {
    game.KeyDown(13);
    game.KeyUp(13);
}

void TarvexPart::PressEscape() {
    game.KeyDown(27);
    game.KeyUp(27);
}

std::uint32_t TarvexPart::MenuAt(int menu, bool race) const {
    const std::uint32_t b = m.U32(race ? a.race_menu_base : a.menu_base);
    return m.U32(b + (race ? 0x80 : 0x78) + 4 * std::uint32_t(menu));
}

int TarvexPart::CurrentMenuIndex() const {
    const std::uint32_t cur = m.U32(MenuBase() + 0x08);
    for (int i = 0; i <= 88; ++i) {
        if (MenuAt(i) == cur) {
            return i;
        }
    }
    return 89;
}

void TarvexPart::GotoMenu(int menu, int ret, int selection, int entry, bool make_current,
                          bool race) {
    const std::uint32_t b = m.U32(race ? a.race_menu_base : a.menu_base);
    const std::uint32_t menu_address = MenuAt(menu, race);
    if (entry != -1) {
        m.SetU32(menu_address + 0x14, std::uint32_t(entry));
    }
    for (std::uint32_t offset : {0x48u, 0x4Cu, 0x50u, 0x54u}) {
        m.SetF32(b + offset, 0.0f);
    }
    if (selection != -1) {
        if (menu == 82) {
            m.SetU32(menu_address + 0x124, std::uint32_t(selection));
        } else {
            m.SetU32(menu_address + 0x18, std::uint32_t(selection));
            m.SetU32(menu_address + 0x1C, std::uint32_t(selection));
        }
    }
    m.SetU32(menu_address + 0x04, m.U32(b + 0x04));
    if (ret != -1) {
        m.SetU32(menu_address + 0x08, MenuAt(ret, race));
    }
    if (make_current) {
        m.SetU32(b + 0x08, menu_address);
    }
}

void TarvexPart::WriteRaceSetup() {
    if (a.stage == 0) {
        return; // builds 1 and 2 have no set-up block
    }
    m.SetU32(a.humidity, std::uint32_t(setup.humidity));
    m.SetU32(a.wear, std::uint32_t(setup.wear));
    m.SetText8(a.weather, setup.weather, true);
    m.SetU32(a.stage, std::uint32_t(setup.stage));
    m.SetU32(a.condition, std::uint32_t(setup.condition));
    m.SetU32(a.car, std::uint32_t(setup.car));
    m.SetU32(a.damage, std::uint32_t(setup.damage));
    m.SetU32(a.trans, std::uint32_t(setup.trans - 1));
    m.SetU32(a.constant, 1);
    m.SetU8(a.tyre, std::uint8_t(setup.tyre));
    m.SetHex(a.penalty, setup.penalty_off ? a.penalty_nops : a.penalty_stock);
}

void TarvexPart::MenuTick() {
    if (m.I32(RaceBlock() + 0x144) != 1) {
        return;
    }
    const std::uint32_t b = MenuBase();
    if (CurrentMenuIndex() == 82) {
        saved_b = m.F32(a.value_b);
        m.SetF32(a.value_b, 0.0f);
        if (ipro) {
            GotoMenu(82, -1, proid + 1, -1, false);
            if (CurrentMenuIndex() == 82) {
                Wait(0.1);
                PressEnter();
            }
        } else {
            m.SetU32(b + 0x70, 1);
        }
    }
    if (CurrentMenuIndex() == 2) {
        GotoMenu(2, -1, MappedCar(setup.car) + 3, -1, false);
        Wait(0.1);
        game.KeyDown(13); // key-down only, as Tarvex sends it here
    }
    if (CurrentMenuIndex() == 11) {
        WriteRaceSetup();
        GotoMenu(12, 12, 3, 6, true);
        if (setups_allowed) {
            m.SetU32(b + 0x70, 1);
            m.SetF32(a.value_a, saved_a);
            m.SetF32(a.value_b, saved_b);
            return;
        }
        for (int i = 0; i < 9; ++i) {
            Wait(0.1);
            PressEnter();
        }
        WriteRaceSetup();
        m.SetF32(a.value_a, saved_a);
        m.SetF32(a.value_b, saved_b);
    }
    if (CurrentMenuIndex() == 0) {
        m.SetU32(b + 0x70, 1);
        saved_a = m.F32(a.value_a);
        m.SetF32(a.value_a, 0.0f);
        WriteRaceSetup();
        GotoMenu(2, -1, MappedCar(setup.car) + 3, -1, false);
        GotoMenu(10, 82, 4, -1, true);
        for (int i = 0; i < 5; ++i) {
            if (CurrentMenuIndex() == 10) {
                Wait(0.1);
                PressEnter();
            }
        }
    }
}

bool TarvexPart::DriveMenusToStage(double limit_seconds) {
    for (double t = 0; t < limit_seconds; t += 0.1) {
        game.Tick(0.1);
        MenuTick();
        const std::uint32_t rb = RaceBlock();
        if (m.I32(rb + 0x144) == 0 && m.F32(rb + 0x244) == 7.0f) {
            return true;
        }
    }
    return false;
}

void TarvexPart::ApplyGamePatches(std::uint32_t hook_handle, bool ghosts, bool clock, bool split) {
    if (a.engine == 0) {
        return;
    }
    m.SetU32(a.weather_operand, a.weather);
    while (m.U32(m.U32(a.engine) + 0x14) == 0) {
        Wait(0.1);
    }
    const std::uint32_t module = m.U32(m.U32(a.engine) + 0x14);
    for (const Run& run : a.build == 3 ? Runs3 : Runs4) {
        const bool skip = (!ghosts && (run.row <= 5 || run.row == 23)) ||
                          (!clock && (run.row == 15 || run.row == 16)) || (!split && run.row == 38);
        if (!skip) {
            m.SetHex(run.row <= 5 ? module + run.address : run.address, run.hex);
        }
    }
    if (ghosts) {
        for (std::uint32_t operand : a.ghost_operands) {
            m.SetU32(operand, a.ghost_path);
        }
        m.SetU32(a.hook_handle, hook_handle);
    }
    SetMessageBoxPlacement({370, 87, 640, 10, 600, 60});
    const float layout[] = {80, 250, 440, 250, 450};
    for (int i = 0; i < 5; ++i) {
        m.SetF32(a.layout[std::size_t(i)], layout[i]);
    }
    m.SetU8(a.layout[5], 18);
    for (std::uint32_t flag : {0x400A00u, 0x400A04u, 0x400A08u}) {
        m.SetU32(flag, 0);
    }

    while (m.U32(a.text_block) == 0) {
        Wait(0.1);
    }
    const std::uint32_t block = m.U32(a.text_block);
    m.SetU32(block + 0x24FC, a.entry_text[1]);
    m.SetU32(block + 0x126C, a.entry_text[1]);
    m.SetU32(block + 0x1324, a.entry_text[2]);
    m.SetU32(block + 0x24DC, a.entry_text[0]);
    m.SetText16(a.entry_text[0], "Vote Restart");
    m.SetText16(a.entry_text[1], "Save Data");
    m.SetText16(a.entry_text[2], "Exit To Tarvex");
    if (ghosts) {
        m.SetText8(a.ghost_path, "CARS\\GHOST\\GHOSTCAR.INI", false);
    }
}

QMap<QString, QByteArray> TarvexPart::GhostFiles() {
    QMap<QString, QByteArray> files;
    files["ghostcar.ini"] = "[DHRAsset]\r\nKind=GhostCar\r\nVersion=1\r\nModel=ghost.sgc\r\n"
                            "Description=ghost.ini\r\nShaders=ghost_shaders.ini\r\n";
    files["ghost.ini"] =
        "[DHRAsset]\r\nKind=GhostDescription\r\nVersion=1\r\n[Body]\r\nLength=4.2\r\n";
    files["ghost_shaders.ini"] =
        "[DHRAsset]\r\nKind=GhostShaders\r\nVersion=1\r\n[Shading]\r\nAlpha=0.8\r\n";
    // A box of a car: 1.8 m wide, 1.3 m high, 4.2 m long.
    QByteArray mesh("DHRSGC\0\x01", 8);
    const std::uint32_t counts[2] = {8, 12};
    mesh.append(reinterpret_cast<const char*>(counts), 8);
    for (int i = 0; i < 8; ++i) {
        const float v[3] = {i & 1 ? 0.9f : -0.9f, i & 2 ? 1.3f : 0.0f, i & 4 ? 2.1f : -2.1f};
        mesh.append(reinterpret_cast<const char*>(v), 12);
    }
    const std::uint16_t faces[12][3] = {{0, 1, 3}, {0, 3, 2}, {4, 6, 7}, {4, 7, 5},
                                        {0, 4, 5}, {0, 5, 1}, {2, 3, 7}, {2, 7, 6},
                                        {0, 2, 6}, {0, 6, 4}, {1, 5, 7}, {1, 7, 3}};
    mesh.append(reinterpret_cast<const char*>(faces), sizeof faces);
    files["ghost.sgc"] = mesh;
    return files;
}

void TarvexPart::WriteGhostFiles(const std::string& game_folder) {
    const QString folder = QString::fromStdString(game_folder) + "/CARS/GHOST/";
    QDir().mkpath(folder);
    const QMap<QString, QByteArray> files = GhostFiles();
    for (auto file = files.begin(); file != files.end(); ++file) {
        WriteFile(folder + file.key(), file.value());
    }
}

std::uint32_t TarvexPart::GhostObject(int k) const {
    const std::uint32_t r = m.U32(a.engine);
    return m.U32(m.U32(m.U32(m.U32(r + 0x18) + 0x258) + 0x98) + 4 * std::uint32_t(k)) + 0x40;
}

void TarvexPart::InitGhostSlots() {
    static const int colours[12][3] = {{234, 49, 52},   {35, 51, 234},   {234, 234, 35},
                                       {37, 234, 37},   {248, 192, 228}, {242, 163, 60},
                                       {45, 237, 233},  {209, 209, 209}, {181, 126, 9},
                                       {190, 110, 221}, {0, 0, 0},       {168, 237, 171}};
    for (int k = 0; k < 13; ++k) {
        const std::uint32_t g = GhostObject(k);
        m.SetF32(g + 0x34, -10000.0f);
        for (int c = 0; c < 3 && k < 12; ++c) {
            m.SetF32(g + 0x1A0 + 4 * std::uint32_t(c), float(colours[k][c]) / 255.0f);
        }
    }
}

void TarvexPart::WriteGhost(int k, const float matrix[16]) {
    const std::uint32_t g = GhostObject(k);
    for (int i = 0; i < 16; ++i) {
        if (i % 4 != 3) {
            m.SetF32(g + 4 * std::uint32_t(i), matrix[i]);
        }
    }
}

void TarvexPart::WriteGhostModel(std::uint32_t model) {
    m.SetU32(m.U32(m.U32(a.model) + 0x70) + 0x18, model);
}

void TarvexPart::SetMessageBoxPlacement(const std::array<float, 6>& n) {
    for (std::size_t i = 0; i < 6; ++i) {
        m.SetF32(a.box[i], n[i]);
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (a.box_copy[i] != 0) {
            m.SetF32(a.box_copy[i], n[i]);
        }
    }
}

void TarvexPart::WriteNameTag(const std::string& name, float a1, float a2, float a4, int a5,
                              float a6) {
    m.SetText16(a.name, name);
    m.SetU32(RaceBlock() + 0xB4, a.name);
    m.SetF32(a.tag[0], a4);
    m.SetF32(a.tag[1], -1.0f);
    m.SetF32(a.tag[2], -1.0f);
    m.SetF32(a.tag[3], a1 + 1.0f);
    m.SetF32(a.tag[4], a2 + 5.0f);
    m.SetU8(a.tag[5], std::uint8_t(a5));
    m.SetU8(a.tag[6], 18);
    m.SetF32(RaceBlock() + 0x168, a6);
}

void TarvexPart::SaveDataMenu() {
    GotoMenu(17, -1, 4, -1, true, true);
    const std::uint32_t menu = MenuAt(17, true);
    for (int entry : {4, 8, 9}) {
        m.SetU32(m.U32(m.U32(menu + 0x0C) + 4 * std::uint32_t(entry)) + 0x08, 0);
    }
}

void BuildRows(std::initializer_list<int> builds) {
    QTest::addColumn<int>("build");
    for (int build : builds) {
        QTest::addRow("build %d", build) << build;
    }
}

QJsonObject StatusOf(const sim::Game& game) {
    return QJsonDocument::fromJson(QByteArray::fromStdString(game.StatusJson())).object();
}

Machine::Machine(int build, sim::Options options)
    : memory(sim::NewMemorySpace())
    , game(*memory, Prepared(build, std::move(options)))
    , tarvex(*memory, game) {}

sim::Options Machine::Prepared(int build, sim::Options options) const {
    options.build = build;
    options.game_folder = folder.path().toStdString();
    return options;
}

} // namespace simtest
