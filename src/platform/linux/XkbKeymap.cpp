#include "platform/linux/XkbKeymap.h"

#include "platform/linux/VirtualKeys.h"

#include <algorithm>
#include <cstdlib>

// The XKB protocol header names a field "explicit", a C++ keyword.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit

#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace tarvex {

namespace {

std::uint32_t UnshiftedKeysym(xkb_keymap* keymap, xkb_keycode_t keycode) {
    const xkb_keysym_t* syms = nullptr;
    const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, 0, 0, &syms);
    return count > 0 ? syms[0] : 0;
}

} // namespace

XkbKeymap::XkbKeymap(xcb_connection_t* connection)
    : m_connection(connection) {
    if (!connection || !xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                                    XKB_X11_MIN_MINOR_XKB_VERSION,
                                                    XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr,
                                                    nullptr, &m_event_base, nullptr)) {
        return;
    }
    m_device = xkb_x11_get_core_keyboard_device_id(connection);
    m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (m_device < 0 || !m_context) {
        return;
    }
    m_keymap = xkb_x11_keymap_new_from_device(m_context, connection, m_device,
                                              XKB_KEYMAP_COMPILE_NO_FLAGS);
}

XkbKeymap::~XkbKeymap() {
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

const std::vector<xcb_keycode_t>& XkbKeymap::Keycodes(int virtual_key) {
    auto it = m_keycodes.find(virtual_key);
    if (it != m_keycodes.end()) {
        return *it;
    }
    std::vector<xcb_keycode_t> keycodes;
    if (m_keymap) {
        const std::vector<std::uint32_t> keysyms = KeysymsForVirtualKey(virtual_key);
        // The first keysym listed is the one to type, so its keycodes come first.
        for (std::uint32_t keysym : keysyms) {
            const xkb_keycode_t last =
                std::min<xkb_keycode_t>(xkb_keymap_max_keycode(m_keymap), 255);
            for (xkb_keycode_t code = xkb_keymap_min_keycode(m_keymap); code <= last; ++code) {
                if (UnshiftedKeysym(m_keymap, code) == keysym) {
                    keycodes.push_back(xcb_keycode_t(code));
                }
            }
        }
    }
    return *m_keycodes.insert(virtual_key, std::move(keycodes));
}

int XkbKeymap::VirtualKey(xcb_keycode_t keycode) const {
    return m_keymap ? VirtualKeyForKeysym(UnshiftedKeysym(m_keymap, keycode)) : 0;
}

bool XkbKeymap::WatchChanges() {
    if (!m_keymap) {
        return false;
    }
    const std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    const std::uint16_t parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_KEY_ACTIONS;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    xcb_generic_error_t* error = xcb_request_check(
        m_connection,
        xcb_xkb_select_events_aux_checked(m_connection, xcb_xkb_device_spec_t(m_device), events, 0,
                                          0, parts, parts, &details));
    std::free(error);
    return error == nullptr;
}

bool XkbKeymap::IsChange(const xcb_generic_event_t& event) const {
    if (m_event_base == 0 || (event.response_type & 0x7F) != m_event_base) {
        return false;
    }
    // Every XKB event carries its kind in the byte after the event code.
    const std::uint8_t kind = reinterpret_cast<const std::uint8_t*>(&event)[1];
    return kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY;
}

xkb_state* XkbKeymap::NewState() const {
    if (!m_keymap) {
        return nullptr;
    }
    xkb_state* state = xkb_state_new(m_keymap);
    if (!state) {
        return nullptr;
    }
    // Taking the server's modifiers as they are would leave a held shift set for ever: its
    // release would come for a key the state never saw go down. So the held keys are pressed
    // into the state, and only the locks and the layout are copied.
    xcb_query_keymap_reply_t* held =
        xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr);
    if (held) {
        for (int code = 8; code < 256; ++code) {
            if (held->keys[code / 8] & (1u << (code % 8))) {
                xkb_state_update_key(state, xkb_keycode_t(code), XKB_KEY_DOWN);
            }
        }
        std::free(held);
    }
    xkb_state* server = xkb_x11_state_new_from_device(m_keymap, m_connection, m_device);
    if (server) {
        xkb_state_update_mask(state, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
                              xkb_state_serialize_mods(server, XKB_STATE_MODS_LATCHED),
                              xkb_state_serialize_mods(server, XKB_STATE_MODS_LOCKED),
                              xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_DEPRESSED),
                              xkb_state_serialize_layout(server, XKB_STATE_LAYOUT_LATCHED),
                              xkb_state_serialize_layout(server, XKB_STATE_LAYOUT_LOCKED));
        xkb_state_unref(server);
    }
    return state;
}

} // namespace tarvex
