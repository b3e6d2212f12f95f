#include "platform/linux/VirtualKeys.h"

#include <array>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace tarvex {

namespace {

struct KeyName {
    int virtual_key;
    std::uint32_t keysym;
};

// Keys other than letters and digits. Where a virtual key has a left and a right form, the
// generic code (16 Shift, 17 Control, 18 Menu) matches both, as the game's platform reports
// it to GetAsyncKeyState.
constexpr std::array kNamedKeys{
    KeyName{8, XKB_KEY_BackSpace},      KeyName{9, XKB_KEY_Tab},
    KeyName{9, XKB_KEY_ISO_Left_Tab},   KeyName{12, XKB_KEY_KP_Begin},
    KeyName{13, XKB_KEY_Return},        KeyName{13, XKB_KEY_KP_Enter},
    KeyName{16, XKB_KEY_Shift_L},       KeyName{16, XKB_KEY_Shift_R},
    KeyName{17, XKB_KEY_Control_L},     KeyName{17, XKB_KEY_Control_R},
    KeyName{18, XKB_KEY_Alt_L},         KeyName{18, XKB_KEY_Alt_R},
    KeyName{19, XKB_KEY_Pause},         KeyName{20, XKB_KEY_Caps_Lock},
    KeyName{27, XKB_KEY_Escape},        KeyName{32, XKB_KEY_space},
    KeyName{33, XKB_KEY_Prior},         KeyName{34, XKB_KEY_Next},
    KeyName{35, XKB_KEY_End},           KeyName{36, XKB_KEY_Home},
    KeyName{37, XKB_KEY_Left},          KeyName{38, XKB_KEY_Up},
    KeyName{39, XKB_KEY_Right},         KeyName{40, XKB_KEY_Down},
    KeyName{44, XKB_KEY_Print},         KeyName{45, XKB_KEY_Insert},
    KeyName{46, XKB_KEY_Delete},        KeyName{91, XKB_KEY_Super_L},
    KeyName{92, XKB_KEY_Super_R},       KeyName{93, XKB_KEY_Menu},
    KeyName{106, XKB_KEY_KP_Multiply},  KeyName{107, XKB_KEY_KP_Add},
    KeyName{109, XKB_KEY_KP_Subtract},  KeyName{110, XKB_KEY_KP_Decimal},
    KeyName{111, XKB_KEY_KP_Divide},    KeyName{144, XKB_KEY_Num_Lock},
    KeyName{145, XKB_KEY_Scroll_Lock},  KeyName{160, XKB_KEY_Shift_L},
    KeyName{161, XKB_KEY_Shift_R},      KeyName{162, XKB_KEY_Control_L},
    KeyName{163, XKB_KEY_Control_R},    KeyName{164, XKB_KEY_Alt_L},
    KeyName{165, XKB_KEY_Alt_R},        KeyName{186, XKB_KEY_semicolon},
    KeyName{187, XKB_KEY_equal},        KeyName{188, XKB_KEY_comma},
    KeyName{189, XKB_KEY_minus},        KeyName{190, XKB_KEY_period},
    KeyName{191, XKB_KEY_slash},        KeyName{192, XKB_KEY_grave},
    KeyName{219, XKB_KEY_bracketleft},  KeyName{220, XKB_KEY_backslash},
    KeyName{221, XKB_KEY_bracketright}, KeyName{222, XKB_KEY_apostrophe},
    KeyName{226, XKB_KEY_less},
};

} // namespace

std::vector<std::uint32_t> KeysymsForVirtualKey(int virtual_key) {
    if (virtual_key >= 'A' && virtual_key <= 'Z') {
        return {std::uint32_t(XKB_KEY_a + (virtual_key - 'A'))};
    }
    if (virtual_key >= '0' && virtual_key <= '9') {
        return {std::uint32_t(XKB_KEY_0 + (virtual_key - '0'))};
    }
    if (virtual_key >= 96 && virtual_key <= 105) { // numeric keypad 0..9
        return {std::uint32_t(XKB_KEY_KP_0 + (virtual_key - 96))};
    }
    if (virtual_key >= 112 && virtual_key <= 135) { // F1..F24
        return {std::uint32_t(XKB_KEY_F1 + (virtual_key - 112))};
    }
    std::vector<std::uint32_t> keysyms;
    for (const KeyName& key : kNamedKeys) {
        if (key.virtual_key == virtual_key) {
            keysyms.push_back(key.keysym);
        }
    }
    return keysyms;
}

int VirtualKeyForKeysym(std::uint32_t keysym) {
    if (keysym >= XKB_KEY_a && keysym <= XKB_KEY_z) {
        return 'A' + int(keysym - XKB_KEY_a);
    }
    if (keysym >= XKB_KEY_A && keysym <= XKB_KEY_Z) {
        return 'A' + int(keysym - XKB_KEY_A);
    }
    if (keysym >= XKB_KEY_0 && keysym <= XKB_KEY_9) {
        return '0' + int(keysym - XKB_KEY_0);
    }
    if (keysym >= XKB_KEY_KP_0 && keysym <= XKB_KEY_KP_9) {
        return 96 + int(keysym - XKB_KEY_KP_0);
    }
    if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F24) {
        return 112 + int(keysym - XKB_KEY_F1);
    }
    // The generic codes come first in the table, so a hooked shift key reports 16 as the game's
    // platform does for keystroke messages.
    for (const KeyName& key : kNamedKeys) {
        if (key.keysym == keysym) {
            return key.virtual_key;
        }
    }
    return 0;
}

} // namespace tarvex
