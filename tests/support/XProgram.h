#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>
#include <QThread>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>
#include <xcb/xcb.h>

namespace tarvex::test {

// Another X client in the test, standing for a program whose windows Tarvex looks at: it makes
// windows with a class, a pid and close protocols, and reads back what the desktop sends it.
class XProgram {
public:
    explicit XProgram(const QString& display = {}) {
        const QByteArray name = display.toLatin1();
        m_xcb = xcb_connect(name.isEmpty() ? nullptr : name.constData(), nullptr);
        if (!xcb_connection_has_error(m_xcb)) {
            m_root = xcb_setup_roots_iterator(xcb_get_setup(m_xcb)).data->root;
        }
    }
    ~XProgram() { xcb_disconnect(m_xcb); }

    bool IsOpen() const { return m_root != XCB_NONE; }
    bool IsBroken() const { return xcb_connection_has_error(m_xcb) != 0; }
    xcb_connection_t* Get() const { return m_xcb; }
    xcb_window_t Root() const { return m_root; }

    xcb_atom_t Atom(const char* name) {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            m_xcb, xcb_intern_atom(m_xcb, 0, uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_NONE);
        std::free(reply);
        return atom;
    }

    // A window with WM_CLASS "<class>" (instance name "prog"); pid 0 leaves _NET_WM_PID unset.
    xcb_window_t CreateWindow(const QByteArray& window_class, std::uint32_t pid = 0,
                              xcb_window_t parent = XCB_NONE, bool closable = true) {
        const xcb_window_t window = xcb_generate_id(m_xcb);
        const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
        xcb_create_window(m_xcb, XCB_COPY_FROM_PARENT, window, parent ? parent : m_root, 0, 0, 200,
                          100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_EVENT_MASK, &events);
        if (!window_class.isEmpty()) {
            const QByteArray value = QByteArray("prog") + '\0' + window_class + '\0';
            xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                                XCB_ATOM_STRING, 8, uint32_t(value.size()), value.constData());
        }
        if (pid != 0) {
            xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, window, Atom("_NET_WM_PID"),
                                XCB_ATOM_CARDINAL, 32, 1, &pid);
        }
        if (closable) {
            const xcb_atom_t protocols[] = {Atom("WM_TAKE_FOCUS"), Atom("WM_DELETE_WINDOW")};
            xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, window, Atom("WM_PROTOCOLS"),
                                XCB_ATOM_ATOM, 32, 2, protocols);
        }
        Sync();
        return window;
    }
    void Map(xcb_window_t window) {
        xcb_map_window(m_xcb, window);
        Sync();
    }
    void Focus(xcb_window_t window) {
        xcb_set_input_focus(m_xcb, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        Sync();
    }
    void Destroy(xcb_window_t window) {
        xcb_destroy_window(m_xcb, window);
        Sync();
    }
    void SetWindowProperty(xcb_window_t window, const char* property, xcb_window_t value) {
        xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, window, Atom(property), XCB_ATOM_WINDOW,
                            32, 1, &value);
        Sync();
    }
    void DeleteProperty(xcb_window_t window, const char* property) {
        xcb_delete_property(m_xcb, window, Atom(property));
        Sync();
    }
    // What the patched game does: a ClientMessage with no event mask, which the server hands to
    // the client that created the window.
    void SendClick(xcb_window_t window) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = Atom("TARVEX_TEST_CLICK");
        xcb_send_event(m_xcb, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        Sync();
    }
    std::vector<xcb_window_t> Children(xcb_window_t parent) {
        std::vector<xcb_window_t> children;
        xcb_query_tree_reply_t* tree =
            xcb_query_tree_reply(m_xcb, xcb_query_tree(m_xcb, parent), nullptr);
        if (tree) {
            const xcb_window_t* list = xcb_query_tree_children(tree);
            children.assign(list, list + xcb_query_tree_children_length(tree));
            std::free(tree);
        }
        return children;
    }

    // The next event of the given type (response type without the sent flag), waiting up to
    // five seconds; other events are dropped.
    std::optional<std::vector<std::uint8_t>> WaitForEvent(std::uint8_t type) {
        const QDeadlineTimer deadline(5000);
        while (!deadline.hasExpired()) {
            xcb_generic_event_t* event = xcb_poll_for_event(m_xcb);
            if (!event) {
                if (IsBroken()) {
                    return std::nullopt;
                }
                QThread::msleep(2);
                continue;
            }
            const bool match = (event->response_type & 0x7F) == type;
            std::vector<std::uint8_t> bytes;
            if (match) {
                const auto* raw = reinterpret_cast<const std::uint8_t*>(event);
                bytes.assign(raw, raw + 32);
            }
            std::free(event);
            if (match) {
                return bytes;
            }
        }
        return std::nullopt;
    }

    // The first keysym of a keycode in the server's core keyboard mapping.
    std::uint32_t KeysymOf(xcb_keycode_t keycode) {
        xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(
            m_xcb, xcb_get_keyboard_mapping(m_xcb, keycode, 1), nullptr);
        std::uint32_t keysym = 0;
        if (mapping && xcb_get_keyboard_mapping_keysyms_length(mapping) > 0) {
            keysym = xcb_get_keyboard_mapping_keysyms(mapping)[0];
        }
        std::free(mapping);
        return keysym;
    }

    // The whole core keymap row of a keycode, and a way to put one back: tests that remap a key
    // restore it so later tests find the usual layout.
    std::vector<std::uint32_t> KeysymsOf(xcb_keycode_t keycode) {
        std::vector<std::uint32_t> keysyms;
        xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(
            m_xcb, xcb_get_keyboard_mapping(m_xcb, keycode, 1), nullptr);
        if (mapping) {
            const xcb_keysym_t* list = xcb_get_keyboard_mapping_keysyms(mapping);
            keysyms.assign(list, list + xcb_get_keyboard_mapping_keysyms_length(mapping));
            std::free(mapping);
        }
        return keysyms;
    }
    void SetKeysyms(xcb_keycode_t keycode, const std::vector<std::uint32_t>& keysyms) {
        xcb_change_keyboard_mapping(m_xcb, 1, keycode, std::uint8_t(keysyms.size()),
                                    keysyms.data());
        Sync();
    }
    xcb_keycode_t KeycodeOf(std::uint32_t keysym) {
        for (int code = 8; code < 256; ++code) {
            if (KeysymOf(xcb_keycode_t(code)) == keysym) {
                return xcb_keycode_t(code);
            }
        }
        return 0;
    }

    void Sync() {
        std::free(xcb_get_input_focus_reply(m_xcb, xcb_get_input_focus(m_xcb), nullptr));
    }

private:
    xcb_connection_t* m_xcb = nullptr;
    xcb_window_t m_root = XCB_NONE;
};

} // namespace tarvex::test
