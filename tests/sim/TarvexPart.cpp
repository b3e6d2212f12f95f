#include "TarvexPart.h"

namespace simtest {

namespace {

int MappedCar(int car) {
    static const int map[] = {7, 4, 8, 2, 5, 1, 3, 6};
    return (car >= 0 && car <= 7) ? map[car] : 1;
}

} // namespace

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

int TarvexPart::CurrentMenuIndex() const {
    const std::uint32_t b = MenuBase();
    const std::uint32_t cur = m.U32(b + 0x08);
    for (int i = 0; i <= 88; ++i) {
        if (m.U32(b + 0x78 + 4 * i) == cur) {
            return i;
        }
    }
    return 89;
}

void TarvexPart::GotoMenu(int menu, int ret, int selection, int entry, bool make_current,
                          bool race) {
    const std::uint32_t b = race ? RaceMenuBase() : MenuBase();
    const std::uint32_t table = b + (race ? 0x80 : 0x78);
    const std::uint32_t menu_address = m.U32(table + 4 * menu);
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
        m.SetU32(menu_address + 0x08, m.U32(table + 4 * ret));
    }
    if (make_current) {
        m.SetU32(b + 0x08, menu_address);
    }
}

void TarvexPart::WriteRaceSetup() {
    m.SetU32(0x89390C, std::uint32_t(setup.humidity));
    m.SetU32(0x893910, std::uint32_t(setup.wear));
    m.SetText8(0x893888, setup.weather, true);
    m.SetU32(0x1660804, std::uint32_t(setup.stage));
    m.SetU32(0x1660848, std::uint32_t(setup.condition));
    m.SetU32(0x1660808, std::uint32_t(setup.car));
    m.SetU32(0x1660850, std::uint32_t(setup.damage));
    m.SetU32(0x1660814, std::uint32_t(setup.trans - 1));
    m.SetU32(0x1660854, 1);
    m.SetU8(0x5662A7, std::uint8_t(setup.tyre));
    m.SetHex(0x576819, setup.penalty_off ? "9090909090909090" : "F30F118640010000");
}

void TarvexPart::MenuTick() {
    if (m.I32(RaceBlock() + 0x144) != 1) {
        return;
    }
    const std::uint32_t b = MenuBase();
    if (CurrentMenuIndex() == 82) {
        saved_b = m.F32(0x1660E14);
        m.SetF32(0x1660E14, 0.0f);
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
            m.SetF32(0x1660E10, saved_a);
            m.SetF32(0x1660E14, saved_b);
            return;
        }
        for (int i = 0; i < 9; ++i) {
            Wait(0.1);
            PressEnter();
        }
        WriteRaceSetup();
        m.SetF32(0x1660E10, saved_a);
        m.SetF32(0x1660E14, saved_b);
    }
    if (CurrentMenuIndex() == 0) {
        m.SetU32(b + 0x70, 1);
        saved_a = m.F32(0x1660E10);
        m.SetF32(0x1660E10, 0.0f);
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
    m.SetU32(0x4AA236, 0x893888);
    while (m.U32(m.U32(0x7EA6A8) + 0x14) == 0) {
        Wait(0.1);
    }
    const std::uint32_t module = m.U32(m.U32(0x7EA6A8) + 0x14);
    if (ghosts) {
        m.SetHex(module + 0x6726E, "909090909090");
        m.SetHex(module + 0x7F0AB, "8B");
        m.SetHex(module + 0x7F0BB, "8B");
        m.SetHex(module + 0x7F0CE, "8B");
        for (std::uint32_t operand : {0x466968u, 0x4669C1u, 0x466A11u, 0x466A61u, 0x466AB1u}) {
            m.SetU32(operand, 0x7FA140);
        }
    }
    if (clock) {
        m.SetHex(0x482AF2, "0f8581feffff");
        m.SetHex(0x482AFF, "e975feffff");
    }
    m.SetHex(0x5430CB, "9090");
    m.SetHex(0x492C0F, "3BD2");
    m.SetHex(0x4819DC, "9090");
    m.SetHex(0x492D3E, "909090909090");
    m.SetHex(0x47DF15, "9090909090");
    if (ghosts) {
        m.SetHex(0x493976, "6A006A0068F500000068FC084000FF15e4967200");
        m.SetU32(0x493980, hook_handle);
    }
    m.SetHex(0x49399A, "9090909090");
    m.SetHex(0x493663, "909090909090");
    m.SetHex(0x57A162, "EB16");
    m.SetHex(0x5B2034, "E9C7E1E4FF9090");
    m.SetHex(0x400200, "8BBC24B8010000893DFC0140008B3DD835890081C77C1B00008B3F3B3DFC014000740C8BBC"
                       "24B8010000E90C1E1B00BF40A77F00E9021E1B00");
    for (std::uint32_t a : {0x5735D8u, 0x5735E5u, 0x5735F2u, 0x5735FFu, 0x57360Cu}) {
        m.SetHex(a, "C7813801000001000000");
    }
    m.SetHex(0x5735B9, "90909090909090909090909090909090");
    const std::pair<std::uint32_t, const char*> nops[] = {
        {0x47871E, "90"},         {0x4787D6, "90"},         {0x4787E9, "9090909090"},
        {0x478C10, "90"},         {0x478C1D, "9090909090"}, {0x56EA14, "90"},
        {0x56EA29, "9090909090"}, {0x56EA7F, "90"},         {0x56EAA8, "9090909090"},
        {0x57A3A5, "9090909090"}, {0x57A394, "90"},         {0x5793EB, "9090"}};
    for (const auto& [address, hex] : nops) {
        m.SetHex(address, hex);
    }
    const float box[] = {370.0f, 87.0f, 640.0f, 10.0f, 600.0f, 60.0f};
    const std::uint32_t box_at[] = {0x746884, 0x746880, 0x573870, 0x5738AE, 0x5738D5, 0x5738DB};
    for (int i = 0; i < 6; ++i) {
        m.SetF32(box_at[i], box[i]);
    }
    if (split) {
        m.SetHex(0x572E3F, "9090909090909090");
        m.SetHex(0x572E4E, "9090909090909090");
    }
    m.SetHex(0x57A068, "9090909090909090");
    m.SetHex(0x57A0F8, "EB19");
    const std::pair<std::uint32_t, float> singles[] = {{0x573FD2, 80.0f},
                                                       {0x573FD7, 250.0f},
                                                       {0x573FDD, 440.0f},
                                                       {0x574050, 250.0f},
                                                       {0x57405B, 450.0f}};
    for (const auto& [address, value] : singles) {
        m.SetF32(address, value);
    }
    m.SetU8(0x573FCF, 18);
    m.SetHex(0x5662A6, "B1009090");
    m.SetU32(0x400A00, 0);
    m.SetHex(0x58BD80, "C705000A400001000000C20800");
    m.SetU32(0x400A04, 0);
    m.SetHex(0x58D940, "C705040A400001000000C20800");
    m.SetU32(0x400A08, 0);
    m.SetHex(0x58BEE0, "C705080A400001000000C20800");

    while (m.U32(0x8935D8) == 0) {
        Wait(0.1);
    }
    const std::uint32_t block = m.U32(0x8935D8);
    m.SetU32(block + 0x24FC, 0x7FA05E);
    m.SetU32(block + 0x126C, 0x7FA05E);
    m.SetU32(block + 0x1324, 0x7FA040);
    m.SetU32(block + 0x24DC, 0x7FA076);
    m.SetText16(0x7FA076, "Vote Restart");
    m.SetText16(0x7FA05E, "Save Data");
    m.SetText16(0x7FA040, "Exit To Tarvex");
    if (ghosts) {
        m.SetText8(0x7FA140, "CARS\\GHOST\\GHOSTCAR.INI", false);
    }
}

void TarvexPart::WriteGhost(int k, const float matrix[16]) {
    const std::uint32_t r = m.U32(0x7EA6A8);
    const std::uint32_t g =
        m.U32(m.U32(m.U32(m.U32(r + 0x18) + 0x258) + 0x98) + 4 * std::uint32_t(k)) + 0x40;
    for (int i = 0; i < 16; ++i) {
        if (i % 4 != 3) {
            m.SetF32(g + 4 * std::uint32_t(i), matrix[i]);
        }
    }
}

} // namespace simtest
