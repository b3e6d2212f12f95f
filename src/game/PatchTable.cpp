#include "game/PatchTable.h"

namespace tarvex {

namespace {

using W = PatchWhen;
using K = PatchKind;

constexpr PatchStep Hex(int row, std::uint32_t address, const char* hex, W when = W::Always) {
    return {row, when, K::Hex, address, hex, 0};
}
constexpr PatchStep Module(int row, std::uint32_t offset, const char* hex) {
    return {row, W::Ghosts, K::ModuleHex, offset, hex, 0};
}
constexpr PatchStep Long(int row, std::uint32_t address, double value, W when = W::Always) {
    return {row, when, K::Long, address, nullptr, value};
}
constexpr PatchStep Single(int row, std::uint32_t address, double value) {
    return {row, W::Always, K::Single, address, nullptr, value};
}
constexpr PatchStep Byte(int row, std::uint32_t address, double value) {
    return {row, W::Always, K::Byte, address, nullptr, value};
}
constexpr PatchStep Action(int row, K kind, W when = W::Always, std::uint32_t address = 0) {
    return {row, when, kind, address, nullptr, 0};
}

// The in-race entry routines: each sets its flag (0x400A00, 0x400A04, 0x400A08) to 1.
constexpr const char* kSetVoteFlag = "C705000A400001000000C20800";
constexpr const char* kSetSaveFlag = "C705040A400001000000C20800";
constexpr const char* kSetExitFlag = "C705080A400001000000C20800";
constexpr const char* kTextReady = "C7813801000001000000";

constexpr PatchStep kBuild3[] = {
    Long(1, 0x4AA236, 0x893888),
    Module(2, 0x6726E, "909090909090"),
    Module(3, 0x7F0AB, "8B"),
    Module(4, 0x7F0BB, "8B"),
    Module(5, 0x7F0CE, "8B"),
    Action(6, K::GhostFiles, W::Ghosts), // rows 6 to 9: one file each
    Long(10, 0x466968, 0x7FA140, W::Ghosts),
    Long(11, 0x4669C1, 0x7FA140, W::Ghosts),
    Long(12, 0x466A11, 0x7FA140, W::Ghosts),
    Long(13, 0x466A61, 0x7FA140, W::Ghosts),
    Long(14, 0x466AB1, 0x7FA140, W::Ghosts),
    Hex(15, 0x482AF2, "0f8581feffff", W::Clock),
    Hex(16, 0x482AFF, "e975feffff", W::Clock),
    Hex(17, 0x5430CB, "9090"),
    Hex(18, 0x492C0F, "3BD2"),
    Hex(19, 0x4819DC, "9090"),
    Hex(20, 0x492D3E, "909090909090"),
    Hex(21, 0x47DF15, "9090909090"),
    Action(22, K::GhostModel),
    Hex(23, 0x493976, "6A006A0068F500000068FC084000FF15e4967200", W::Ghosts),
    Action(24, K::HookHandle, W::Ghosts, 0x493980),
    Hex(25, 0x49399A, "9090909090"),
    Hex(26, 0x493663, "909090909090"),
    Hex(27, 0x57A162, "EB16"),
    Hex(28, 0x5B2034, "E9C7E1E4FF9090"),
    Hex(29, 0x400200,
        "8BBC24B8010000893DFC0140008B3DD835890081C77C1B00008B3F3B3DFC014000740C8BBC24B8010000E90C"
        "1E1B00BF40A77F00E9021E1B00"),
    Hex(30, 0x5735D8, kTextReady),
    Hex(31, 0x5735E5, kTextReady),
    Hex(32, 0x5735F2, kTextReady),
    Hex(33, 0x5735FF, kTextReady),
    Hex(34, 0x57360C, kTextReady),
    Hex(35, 0x5735B9, "90909090909090909090909090909090"),
    Hex(36, 0x47871E, "90"),
    Hex(36, 0x4787D6, "90"),
    Hex(36, 0x4787E9, "9090909090"),
    Hex(36, 0x478C10, "90"),
    Hex(36, 0x478C1D, "9090909090"),
    Hex(36, 0x56EA14, "90"),
    Hex(36, 0x56EA29, "9090909090"),
    Hex(36, 0x56EA7F, "90"),
    Hex(36, 0x56EAA8, "9090909090"),
    Hex(36, 0x57A3A5, "9090909090"),
    Hex(36, 0x57A394, "90"),
    Hex(36, 0x5793EB, "9090"),
    Action(37, K::MessageBox),
    Hex(38, 0x572E3F, "9090909090909090", W::Split),
    Hex(38, 0x572E4E, "9090909090909090", W::Split),
    Hex(39, 0x57A068, "9090909090909090"),
    Hex(40, 0x57A0F8, "EB19"),
    Single(41, 0x573FD2, 80.0),
    Single(42, 0x573FD7, 250.0),
    Single(43, 0x573FDD, 440.0),
    Single(44, 0x574050, 250.0),
    Single(45, 0x57405B, 450.0),
    Byte(46, 0x573FCF, 18),
    Hex(47, 0x5662A6, "B1009090"),
    Long(48, 0x400A00, 0),
    Hex(49, 0x58BD80, kSetVoteFlag),
    Long(50, 0x400A04, 0),
    Hex(51, 0x58D940, kSetSaveFlag),
    Long(52, 0x400A08, 0),
    Hex(53, 0x58BEE0, kSetExitFlag),
};

constexpr PatchStep kBuild4[] = {
    Long(1, 0x4AA5B6, 0x8859C8),
    Module(2, 0x664E8, "909090909090"),
    Module(3, 0x7DB6C, "93"),
    Module(4, 0x7DB76, "93"),
    Module(5, 0x7DB7C, "8b"),
    Action(6, K::GhostFiles, W::Ghosts),
    Long(10, 0x468518, 0x7EB140, W::Ghosts),
    Long(11, 0x468571, 0x7EB140, W::Ghosts),
    Long(12, 0x4685C1, 0x7EB140, W::Ghosts),
    Long(13, 0x468610, 0x7EB140, W::Ghosts),
    Long(14, 0x468661, 0x7EB140, W::Ghosts),
    Hex(15, 0x48454F, "0f8581feffff", W::Clock),
    Hex(16, 0x48455C, "e975feffff", W::Clock),
    Hex(17, 0x539EFB, "9090"),
    Hex(18, 0x4934FF, "3BD2"),
    Hex(19, 0x483405, "9090"),
    Hex(20, 0x49362C, "909090909090"),
    Hex(21, 0x47F9A5, "9090909090"),
    Action(22, K::GhostModel),
    Hex(23, 0x494374, "6A006A0068F500000068FC084000FF15b4c67100", W::Ghosts),
    Action(24, K::HookHandle, W::Ghosts, 0x49437E),
    Hex(25, 0x494398, "9090909090"),
    Hex(26, 0x49401B, "909090909090"),
    Hex(27, 0x5702B7, "EB10"),
    Hex(28, 0x5A7574, "E9878CE5FF9090"),
    Hex(29, 0x400200,
        "8BBC24B8010000893DFC0140008B3D2857880081C77C1B00008B3F3B3DFC014000740C8BBC24B8010000E94C"
        "731A00BF40b77E00E942731A00"),
    Hex(30, 0x569982, kTextReady),
    Hex(31, 0x56998F, kTextReady),
    Hex(32, 0x56999C, kTextReady),
    Hex(33, 0x5699A9, kTextReady),
    Hex(34, 0x5699B6, kTextReady),
    Hex(35, 0x569969, "90909090909090909090"),
    Hex(36, 0x47A4C3, "90"),
    Hex(36, 0x47A4C8, "9090909090"),
    Hex(36, 0x47A8B5, "90"),
    Hex(36, 0x47A8D0, "9090909090"),
    Hex(36, 0x56501A, "90"),
    Hex(36, 0x56503D, "9090909090"),
    Hex(36, 0x565089, "90"),
    Hex(36, 0x5650AC, "9090909090"),
    Hex(36, 0x57053F, "9090909090"),
    Hex(36, 0x570526, "90"),
    Hex(36, 0x5704BC, "90"),
    Hex(36, 0x5704CB, "9090909090"),
    Hex(36, 0x56F508, "9090"),
    Action(37, K::MessageBox),
    Hex(38, 0x569265, "90909090909090909090", W::Split),
    Hex(39, 0x570197, "909090909090"),
    Hex(40, 0x570243, "EB23"),
    Single(41, 0x56A35F, 80.0),
    Single(42, 0x56A364, 250.0),
    Single(43, 0x56A36A, 440.0),
    Single(44, 0x56A3D5, 250.0),
    Single(45, 0x56A3DE, 450.0),
    Byte(46, 0x56A35C, 18),
    Hex(47, 0x55C926, "B1009090"),
    Long(48, 0x400A00, 0),
    Hex(49, 0x581950, kSetVoteFlag),
    Long(50, 0x400A04, 0),
    Hex(51, 0x583500, kSetSaveFlag),
    Long(52, 0x400A08, 0),
    Hex(53, 0x581AB0, kSetExitFlag),
};

} // namespace

std::span<const PatchStep> PatchTable(GameBuild build) {
    switch (build) {
    case 3:
        return kBuild3;
    case 4:
        return kBuild4;
    default:
        return {};
    }
}

} // namespace tarvex
