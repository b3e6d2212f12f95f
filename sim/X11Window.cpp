#include "X11Window.h"

#include <QImage>
#include <cstring>
#include <unistd.h>

namespace sim {

X11Window::~X11Window() {
    if (m_conn) {
        xcb_disconnect(m_conn);
    }
}

std::uint32_t X11Window::Atom(const char* name) {
    auto cookie = xcb_intern_atom(m_conn, 0, std::uint16_t(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(m_conn, cookie, nullptr);
    const std::uint32_t atom = reply ? reply->atom : 0;
    free(reply);
    return atom;
}

bool X11Window::Open(const std::string& instance, const std::string& window_class,
                     const std::string& title, int width, int height) {
    m_conn = xcb_connect(nullptr, nullptr);
    if (!m_conn || xcb_connection_has_error(m_conn)) {
        return false;
    }
    m_width = width;
    m_height = height;
    // Atoms first: their round trips would otherwise flush a half-described window, and a
    // program looking for it could find its class before its process id.
    const std::uint32_t net_wm_name = Atom("_NET_WM_NAME");
    const std::uint32_t utf8 = Atom("UTF8_STRING");
    const std::uint32_t net_wm_pid = Atom("_NET_WM_PID");
    m_protocols = Atom("WM_PROTOCOLS");
    m_delete = Atom("WM_DELETE_WINDOW");
    m_click = Atom("BM_CLICK");
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_conn)).data;
    m_window = xcb_generate_id(m_conn);
    const std::uint32_t values[] = {
        screen->black_pixel, XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS |
                                 XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                 XCB_EVENT_MASK_FOCUS_CHANGE};
    xcb_create_window(m_conn, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0,
                      std::uint16_t(width), std::uint16_t(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    m_gc = xcb_generate_id(m_conn);
    xcb_create_gc(m_conn, m_gc, m_window, 0, nullptr);

    std::string wm_class = instance;
    wm_class.push_back('\0');
    wm_class += window_class;
    wm_class.push_back('\0');
    const std::uint32_t pid = std::uint32_t(getpid());
    xcb_change_property(m_conn, XCB_PROP_MODE_REPLACE, m_window, net_wm_pid, XCB_ATOM_CARDINAL, 32,
                        1, &pid);
    xcb_change_property(m_conn, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, std::uint32_t(title.size()), title.data());
    xcb_change_property(m_conn, XCB_PROP_MODE_REPLACE, m_window, net_wm_name, utf8, 8,
                        std::uint32_t(title.size()), title.data());
    xcb_change_property(m_conn, XCB_PROP_MODE_REPLACE, m_window, m_protocols, XCB_ATOM_ATOM, 32, 1,
                        &m_delete);
    // The class last: whoever finds the window by class finds it fully described.
    xcb_change_property(m_conn, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                        8, std::uint32_t(wm_class.size()), wm_class.data());

    const xcb_setup_t* setup = xcb_get_setup(m_conn);
    m_min_keycode = setup->min_keycode;
    auto mapping = xcb_get_keyboard_mapping_reply(
        m_conn,
        xcb_get_keyboard_mapping(m_conn, setup->min_keycode,
                                 std::uint8_t(setup->max_keycode - setup->min_keycode + 1)),
        nullptr);
    if (mapping) {
        m_syms_per_code = mapping->keysyms_per_keycode;
        const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(mapping);
        m_keysyms.assign(syms, syms + xcb_get_keyboard_mapping_keysyms_length(mapping));
        free(mapping);
    }
    xcb_map_window(m_conn, m_window);
    xcb_flush(m_conn);
    return true;
}

int X11Window::Fd() const {
    return m_conn ? xcb_get_file_descriptor(m_conn) : -1;
}

int X11Window::KeyToVirtualKey(std::uint8_t keycode) const {
    const std::size_t index = std::size_t(keycode - m_min_keycode) * std::size_t(m_syms_per_code);
    if (m_syms_per_code == 0 || index >= m_keysyms.size()) {
        return 0;
    }
    const std::uint32_t sym = m_keysyms[index];
    switch (sym) {
    case 0xff0d: // Return
    case 0xff8d: // KP_Enter
        return 13;
    case 0xff1b:
        return 27;
    case 0xff09:
        return 9;
    case 0xff08:
        return 8;
    case 0xff51:
        return 37;
    case 0xff52:
        return 38;
    case 0xff53:
        return 39;
    case 0xff54:
        return 40;
    default:
        break;
    }
    if (sym >= 0xffbe && sym <= 0xffc9) { // F1..F12
        return 112 + int(sym - 0xffbe);
    }
    if (sym >= 'a' && sym <= 'z') {
        return int(sym - 'a' + 'A');
    }
    if ((sym >= 'A' && sym <= 'Z') || (sym >= '0' && sym <= '9') || sym == ' ') {
        return int(sym);
    }
    return 0;
}

bool X11Window::ProcessEvents(const std::function<void(int key, bool down)>& on_key) {
    if (!m_conn || xcb_connection_has_error(m_conn)) {
        return false;
    }
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_conn)) {
        switch (event->response_type & 0x7f) {
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE: {
            auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
            const int vk = KeyToVirtualKey(key->detail);
            if (vk != 0 && on_key) {
                on_key(vk, (event->response_type & 0x7f) == XCB_KEY_PRESS);
            }
            break;
        }
        case XCB_MAP_NOTIFY:
            // Like a full-screen game, take the keyboard as soon as the window is up.
            xcb_set_input_focus(m_conn, XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
            xcb_flush(m_conn);
            break;
        case XCB_CLIENT_MESSAGE: {
            auto* message = reinterpret_cast<xcb_client_message_event_t*>(event);
            if (message->type == m_protocols && message->data.data32[0] == m_delete) {
                m_closing = true;
            }
            break;
        }
        default:
            break; // errors from clicks to windows that are gone, exposures: redrawn anyway
        }
        free(event);
    }
    return !m_closing && !xcb_connection_has_error(m_conn);
}

void X11Window::Show(const QImage& source) {
    if (!m_conn) {
        return;
    }
    const QImage image = source.convertToFormat(QImage::Format_RGB32);
    // Strips small enough for any server's request limit.
    const int rows = 32;
    for (int y = 0; y < image.height(); y += rows) {
        const int h = std::min(rows, image.height() - y);
        xcb_put_image(m_conn, XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, m_gc,
                      std::uint16_t(image.width()), std::uint16_t(h), 0, std::int16_t(y), 0, 24,
                      std::uint32_t(image.bytesPerLine() * h), image.constScanLine(y));
    }
    xcb_flush(m_conn);
}

void X11Window::FillProgress(double fraction) {
    if (!m_conn) {
        return;
    }
    const std::uint32_t colour[] = {0x303848};
    xcb_change_gc(m_conn, m_gc, XCB_GC_FOREGROUND, colour);
    const xcb_rectangle_t back = {40, std::int16_t(m_height / 2 - 10), std::uint16_t(m_width - 80),
                                  20};
    xcb_poly_fill_rectangle(m_conn, m_window, m_gc, 1, &back);
    const std::uint32_t bar[] = {0xF0C850};
    xcb_change_gc(m_conn, m_gc, XCB_GC_FOREGROUND, bar);
    const xcb_rectangle_t done = {40, std::int16_t(m_height / 2 - 10),
                                  std::uint16_t(double(m_width - 80) * fraction), 20};
    xcb_poly_fill_rectangle(m_conn, m_window, m_gc, 1, &done);
    xcb_flush(m_conn);
}

void X11Window::SendClick(std::uint32_t window) {
    if (!m_conn) {
        return;
    }
    xcb_client_message_event_t message;
    std::memset(&message, 0, sizeof message);
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_click;
    message.data.data32[0] = 0xF5; // BM_CLICK, the message the patched game posts
    xcb_send_event(m_conn, 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(m_conn);
}

} // namespace sim
