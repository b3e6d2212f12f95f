#include "platform/linux/XInputKeyboardHook.h"

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XkbKeymap.h"

#include <cstdlib>
#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon.h>

namespace tarvex {

namespace {

// Keystroke flags as the game's platform builds them: repeat count 1, the scan code in bits
// 16..23 (evdev codes are X keycodes less 8, and match the PC scan codes for the typing keys),
// bit 30 the previous key state, bit 31 set on release.
std::uint32_t KeystrokeFlags(std::uint32_t keycode, bool down, bool repeat) {
    std::uint32_t flags = 1u | (((keycode - 8u) & 0xFFu) << 16);
    if (!down) {
        flags |= 0xC0000000u;
    } else if (repeat) {
        flags |= 0x40000000u;
    }
    return flags;
}

} // namespace

XInputKeyboardHook::XInputKeyboardHook(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)) {}

XInputKeyboardHook::~XInputKeyboardHook() {
    Unhook();
    m_connection->SetEventHandler(nullptr);
    xkb_state_unref(m_state);
}

bool XInputKeyboardHook::Hook(Callback callback) {
    xcb_connection_t* xcb = m_connection->Get();
    if (!xcb) {
        return false;
    }
    if (!m_keymap) {
        m_keymap = std::make_unique<XkbKeymap>(xcb);
        m_keymap->WatchChanges();
        const xcb_query_extension_reply_t* extension = xcb_get_extension_data(xcb, &xcb_input_id);
        if (extension && extension->present) {
            std::free(xcb_input_xi_query_version_reply(xcb, xcb_input_xi_query_version(xcb, 2, 0),
                                                       nullptr));
            m_xinput_opcode = extension->major_opcode;
        }
    }
    if (!m_keymap->IsValid() || m_xinput_opcode == 0) {
        return false;
    }
    // Start from the modifiers held right now: a shift pressed before the hook was set must
    // still shift what is typed after.
    xkb_state_unref(m_state);
    m_state = m_keymap->NewState();
    m_callback = std::move(callback);
    m_connection->SetEventHandler([this](const xcb_generic_event_t& event) {
        if (m_keymap->IsChange(event)) {
            ReloadKeymap();
            return;
        }
        if (event.response_type != XCB_GE_GENERIC) {
            return;
        }
        const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        if (raw.extension != m_xinput_opcode) {
            return;
        }
        if (raw.event_type == XCB_INPUT_RAW_KEY_PRESS ||
            raw.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
            OnRawKey(raw.detail, raw.event_type == XCB_INPUT_RAW_KEY_PRESS,
                     (raw.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0);
        }
    });
    if (!SelectRawKeys(true)) {
        m_callback = nullptr;
        return false;
    }
    return true;
}

void XInputKeyboardHook::ReloadKeymap() {
    // The new map may put other keys where the old ones were; the state starts over from the
    // keys held now. A change reported in several events is read once per event, which is rare
    // and cheap enough.
    auto keymap = std::make_unique<XkbKeymap>(m_connection->Get());
    if (!keymap->IsValid()) {
        return;
    }
    m_keymap = std::move(keymap);
    xkb_state_unref(m_state);
    m_state = m_keymap->NewState();
}

void XInputKeyboardHook::Unhook() {
    if (m_callback) {
        m_callback = nullptr;
        SelectRawKeys(false);
    }
}

void XInputKeyboardHook::Drain() {
    if (m_callback) {
        m_connection->Sync();
    }
}

bool XInputKeyboardHook::Hooked() const {
    return bool(m_callback);
}

bool XInputKeyboardHook::SelectRawKeys(bool on) {
    xcb_connection_t* xcb = m_connection->Get();
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } mask{};
    // Master devices only: each key then arrives once, however many keyboards feed it (the
    // slave devices would repeat every event).
    mask.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    mask.head.mask_len = 1;
    mask.mask =
        on ? (XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE) : 0;
    xcb_generic_error_t* error = xcb_request_check(
        xcb, xcb_input_xi_select_events_checked(xcb, m_connection->Root(), 1, &mask.head));
    const bool ok = error == nullptr;
    std::free(error);
    m_connection->DispatchQueuedSoon();
    return ok;
}

void XInputKeyboardHook::OnRawKey(std::uint32_t keycode, bool down, bool repeat) {
    if (!m_callback) {
        return;
    }
    // The state follows every key, including the ones Tarvex has no code for (AltGr, Compose).
    // The modifier keys themselves are translated before they change it, as the game's
    // platform delivers a key's message before its own effect on the keyboard state.
    const int virtual_key = m_keymap->VirtualKey(xcb_keycode_t(keycode));
    if (virtual_key != 0) {
        const Callback callback = m_callback;
        callback(virtual_key, KeystrokeFlags(keycode, down, repeat));
    }
    if (m_state && !repeat) {
        xkb_state_update_key(m_state, keycode, down ? XKB_KEY_DOWN : XKB_KEY_UP);
    }
}

QString XInputKeyboardHook::ToAscii(int virtual_key, std::uint32_t flags) {
    if (!m_keymap || !m_state) {
        return {};
    }
    // The scan code in the flags names the very key that was struck; fall back to the first key
    // of the virtual key when the flags do not carry one.
    xcb_keycode_t keycode = xcb_keycode_t(((flags >> 16) & 0xFFu) + 8u);
    if (((flags >> 16) & 0xFFu) == 0 || m_keymap->VirtualKey(keycode) != virtual_key) {
        const std::vector<xcb_keycode_t>& keycodes = m_keymap->Keycodes(virtual_key);
        if (keycodes.empty()) {
            return {};
        }
        keycode = keycodes.front();
    }
    char text[16] = {};
    const int length = xkb_state_key_get_utf8(m_state, keycode, text, sizeof text);
    if (length <= 0 || length >= int(sizeof text)) {
        return {};
    }
    return QString::fromUtf8(text, length);
}

} // namespace tarvex
