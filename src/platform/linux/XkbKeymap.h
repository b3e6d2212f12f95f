#pragma once

#include <QHash>
#include <cstdint>
#include <vector>
#include <xcb/xcb.h>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;

namespace tarvex {

// The X server's core keyboard map, read through xkbcommon, turned into the translation
// between X keycodes and virtual keys.
class XkbKeymap {
public:
    explicit XkbKeymap(xcb_connection_t* connection);
    ~XkbKeymap();
    XkbKeymap(const XkbKeymap&) = delete;
    XkbKeymap& operator=(const XkbKeymap&) = delete;

    bool IsValid() const { return m_keymap != nullptr; }
    // Every keycode whose unshifted keysym is one of the virtual key's, in keycode order.
    const std::vector<xcb_keycode_t>& Keycodes(int virtual_key);
    int VirtualKey(xcb_keycode_t keycode) const;
    // A fresh state for following a key stream from now on, the caller owns it: the keys held
    // right now are down in it (so their later releases count), and locks and layout are the
    // server's.
    xkb_state* NewState() const;
    xkb_keymap* Get() const { return m_keymap; }

    // Asks the server to tell this connection when the keyboard map is replaced or edited (a
    // layout switch in the desktop's settings); IsChange recognises those events.
    bool WatchChanges();
    bool IsChange(const xcb_generic_event_t& event) const;

private:
    xcb_connection_t* m_connection;
    xkb_context* m_context = nullptr;
    xkb_keymap* m_keymap = nullptr;
    std::int32_t m_device = -1;
    std::uint8_t m_event_base = 0;
    QHash<int, std::vector<xcb_keycode_t>> m_keycodes;
};

} // namespace tarvex
