#include "game/GameMap.h"

#include "game/HexBytes.h"

namespace tarvex::gamemap {

namespace {

// Rows for builds 1..4; a build without the location has no row.
template <typename Row, std::size_t N>
const Row* RowOf(const std::array<Row, N>& rows, GameBuild build, GameBuild first) {
    const int index = build - first;
    return index >= 0 && index < int(N) ? &rows[std::size_t(index)] : nullptr;
}

} // namespace

std::uint32_t RaceBlockLocation(GameBuild build) {
    static constexpr std::array<std::uint32_t, 4> kLocations{0x163F2C0, 0x165A520, 0x165FC68,
                                                             0x1651C68};
    const std::uint32_t* location = RowOf(kLocations, build, 1);
    return location ? *location : 0;
}

std::uint32_t StageDataLocation(GameBuild build) {
    static constexpr std::array<std::uint32_t, 4> kLocations{0x16387E4, 0x1653A44, 0x1659184,
                                                             0x164B184};
    const std::uint32_t* location = RowOf(kLocations, build, 1);
    return location ? *location : 0;
}

std::uint32_t InfoTextBuffer(GameBuild build) {
    static constexpr std::array<std::uint32_t, 2> kBuffers{0x7F9140, 0x7EA140};
    const std::uint32_t* buffer = RowOf(kBuffers, build, 3);
    return buffer ? *buffer : 0;
}

std::uint32_t MessageBoxBuffer(GameBuild build) {
    static constexpr std::array<std::uint32_t, 4> kBuffers{0x7D2800, 0x7F5000, 0x7FA740, 0x7EB740};
    const std::uint32_t* buffer = RowOf(kBuffers, build, 1);
    return buffer ? *buffer : 0;
}

std::uint32_t ReloadLocation(GameBuild build) {
    static constexpr std::array<std::uint32_t, 4> kLocations{0x7CA2A0, 0x7E5508, 0x7EAC48,
                                                             0x7ECD88};
    const std::uint32_t* location = RowOf(kLocations, build, 1);
    return location ? *location : 0;
}

const MenuSystem* MenuSystemOf(GameBuild build) {
    static constexpr std::array<MenuSystem, 4> kRows{{
        {0x163F0A8, 0x163F2A0, 0x1640460, 0x1640464, 0x87254C},
        {0x165A308, 0x165A500, 0x165B6C0, 0x165B6C4, 0x88D7AC},
        {0x165FA48, 0x165FC48, 0x1660E10, 0x1660E14, 0x892EEC},
        {0x1651A48, 0x1651C48, 0x1652E10, 0x1652E14, 0x88502C},
    }};
    return RowOf(kRows, build, 1);
}

const RaceSetupBlock* RaceSetupOf(GameBuild build) {
    static constexpr std::array<RaceSetupBlock, 2> kRows{{
        {0x89390C, 0x893910, 0x893888, 0x1660804, 0x1660848, 0x1660808, 0x1660850, 0x1660814,
         0x1660854, 0x5662A7, 0x576819, "9090909090909090"_hex, "F30F118640010000"_hex},
        {0x885A4C, 0x885A50, 0x8859C8, 0x1652804, 0x1652848, 0x1652808, 0x1652850, 0x1652814,
         0x1652854, 0x55C927, 0x56CA51, "909090909090"_hex, "d99e40010000"_hex},
    }};
    return RowOf(kRows, build, 3);
}

const MenuTexts* MenuTextsOf(GameBuild build) {
    static constexpr std::array<MenuTexts, 2> kRows{{
        {0x8935D8, 0x7FA076, 0x7FA05E, 0x7FA040, 0x7FA140, 0x7EA6A8},
        {0x885728, 0x7EB076, 0x7EB05E, 0x7EB040, 0x7EB140, 0x7EC7E8},
    }};
    return RowOf(kRows, build, 3);
}

const MessageBoxOperands* MessageBoxOf(GameBuild build) {
    static constexpr std::array<MessageBoxOperands, 4> kRows{{
        {{0x561B21, 0x561B29, 0x561B4B, 0x561B89, 0x561BB0, 0x561BB6}, {0x561B33, 0x561B3B}},
        {{0x742190, 0x74218C, 0x571020, 0x57105E, 0x571085, 0x57108B}, {0, 0}},
        {{0x746884, 0x746880, 0x573870, 0x5738AE, 0x5738D5, 0x5738DB}, {0, 0}},
        {{0x569C01, 0x569C09, 0x569C2B, 0x569C69, 0x569C90, 0x569C96}, {0x569C13, 0x569C1B}},
    }};
    return RowOf(kRows, build, 1);
}

} // namespace tarvex::gamemap
