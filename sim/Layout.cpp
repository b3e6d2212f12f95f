#include "Layout.h"

namespace sim {

std::uint8_t BuildByte(int build) {
    switch (build) {
    case 1:
        return 0x10;
    case 2:
        return 0x8B;
    case 3:
        return 0xE8;
    default:
        return 0x00;
    }
}

namespace {

BuildMap Build1() {
    BuildMap m;
    m.build = 1;
    m.race_block = 0x163F2C0;
    m.stage_data = 0x16387E4;
    m.menu_base = 0x163F0A8;
    m.race_menu_base = 0x163F2A0;
    m.menu_value_a = 0x1640460;
    m.menu_value_b = 0x1640464;
    m.keep_value = 0x87254C;
    m.car_body = 0x8CECC0;
    m.ghost_model = 0x7C9CD8;
    m.reload = 0x7CA2A0;
    m.overlay_buffer = 0x7D2800;
    m.name_buffer = 0x7D1100;
    m.box = {0x561B21, 0x561B29, 0x561B4B, 0x561B89, 0x561BB0, 0x561BB6};
    m.box_copy = {0x561B33, 0x561B3B};
    m.tag = {0x5634D3, 0x5634D9, 0x5634DE, 0x563507, 0x56350C, 0x5634ED, 0x5634C8};
    return m;
}

BuildMap Build2() {
    BuildMap m;
    m.build = 2;
    m.race_block = 0x165A520;
    m.stage_data = 0x1653A44;
    m.menu_base = 0x165A308;
    m.race_menu_base = 0x165A500;
    m.menu_value_a = 0x165B6C0;
    m.menu_value_b = 0x165B6C4;
    m.keep_value = 0x88D7AC;
    m.car_body = 0x8E9F20;
    m.ghost_model = 0x7E4F38;
    m.reload = 0x7E5508;
    m.overlay_buffer = 0x7F5000;
    m.name_buffer = 0x7F3900;
    m.box = {0x742190, 0x74218C, 0x571020, 0x57105E, 0x571085, 0x57108B};
    m.tag = {0x572AFC, 0x572B02, 0x572B07, 0x572B30, 0x572B35, 0x572B16, 0x572AF1};
    return m;
}

BuildMap Build3() {
    BuildMap m;
    m.build = 3;
    m.race_block = 0x165FC68;
    m.stage_data = 0x1659184;
    m.menu_base = 0x165FA48;
    m.race_menu_base = 0x165FC48;
    m.menu_value_a = 0x1660E10;
    m.menu_value_b = 0x1660E14;
    m.keep_value = 0x892EEC;
    m.car_body = 0x8EF660;
    m.ghost_model = 0x7EA678;
    m.reload = 0x7EAC48;
    m.engine = 0x7EA6A8;
    m.text_block = 0x8935D8;
    m.info_buffer = 0x7F9140;
    m.overlay_buffer = 0x7FA740;
    m.name_buffer = 0x7F9040;
    m.ghost_path = 0x7FA140;
    m.weather_text = 0x893888;
    m.weather_operand = 0x4AA236;
    m.humidity = 0x89390C;
    m.tyre_wear = 0x893910;
    m.stage_id = 0x1660804;
    m.condition = 0x1660848;
    m.car = 0x1660808;
    m.damage = 0x1660850;
    m.transmission = 0x1660814;
    m.setup_const = 0x1660854;
    m.tyre = 0x5662A7;
    m.penalty = 0x576819;
    m.penalty_stock = "F30F118640010000";
    m.entry_text = {0x7FA076, 0x7FA05E, 0x7FA040};
    m.box = {0x746884, 0x746880, 0x573870, 0x5738AE, 0x5738D5, 0x5738DB};
    m.tag = {0x5753FC, 0x575402, 0x575407, 0x575430, 0x575435, 0x575416, 0x5753F1};
    return m;
}

BuildMap Build4() {
    BuildMap m;
    m.build = 4;
    m.race_block = 0x1651C68;
    m.stage_data = 0x164B184;
    m.menu_base = 0x1651A48;
    m.race_menu_base = 0x1651C48;
    m.menu_value_a = 0x1652E10;
    m.menu_value_b = 0x1652E14;
    m.keep_value = 0x88502C;
    m.car_body = 0x8E1658;
    m.ghost_model = 0x7EC7B8;
    m.reload = 0x7ECD88;
    m.engine = 0x7EC7E8;
    m.text_block = 0x885728;
    m.info_buffer = 0x7EA140;
    m.overlay_buffer = 0x7EB740;
    m.name_buffer = 0x7EA040;
    m.ghost_path = 0x7EB140;
    m.weather_text = 0x8859C8;
    m.weather_operand = 0x4AA5B6;
    m.humidity = 0x885A4C;
    m.tyre_wear = 0x885A50;
    m.stage_id = 0x1652804;
    m.condition = 0x1652848;
    m.car = 0x1652808;
    m.damage = 0x1652850;
    m.transmission = 0x1652814;
    m.setup_const = 0x1652854;
    m.tyre = 0x55C927;
    m.penalty = 0x56CA51;
    m.penalty_stock = "d99e40010000";
    m.entry_text = {0x7EB076, 0x7EB05E, 0x7EB040};
    m.box = {0x569C01, 0x569C09, 0x569C2B, 0x569C69, 0x569C90, 0x569C96};
    m.box_copy = {0x569C13, 0x569C1B};
    m.tag = {0x56B683, 0x56B689, 0x56B68E, 0x56B6B7, 0x56B6BC, 0x56B678, 0x56B69D};
    return m;
}

} // namespace

const BuildMap& MapOf(int build) {
    static const BuildMap maps[5] = {BuildMap{}, Build1(), Build2(), Build3(), Build4()};
    return maps[(build >= 1 && build <= 4) ? build : 0];
}

} // namespace sim
