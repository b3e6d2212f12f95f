#include "platform/linux/XcbDesktop.h"

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XkbKeymap.h"

#include <cstdlib>
#include <cstring>
#include <vector>
#include <xcb/xtest.h>

namespace tarvex {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

// Waits for a reply. A request about a window that has just gone fails; its error is taken here
// rather than left in the event queue.
template <typename T, typename Cookie>
Reply<T> Await(xcb_connection_t* xcb,
               T* (*reply_function)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
               Cookie cookie) {
    xcb_generic_error_t* error = nullptr;
    Reply<T> reply(reply_function(xcb, cookie, &error));
    std::free(error);
    return reply;
}

// Deep enough for a window manager's frames inside virtual roots; the walk stops descending at
// the first window that names its class, so it never wanders into a program's own children.
constexpr int kMaxTreeDepth = 8;

// Reads a 32-bit window-valued property (_NET_ACTIVE_WINDOW, _NET_SUPPORTING_WM_CHECK).
bool WindowProperty(xcb_connection_t* xcb, xcb_window_t window, xcb_atom_t property,
                    xcb_window_t* value) {
    const Reply<xcb_get_property_reply_t> reply =
        Await(xcb, xcb_get_property_reply,
              xcb_get_property(xcb, 0, window, property, XCB_ATOM_WINDOW, 0, 1));
    if (!reply || reply->type != XCB_ATOM_WINDOW || reply->format != 32 ||
        xcb_get_property_value_length(reply.get()) < 4) {
        return false;
    }
    std::memcpy(value, xcb_get_property_value(reply.get()), 4);
    return true;
}

// WM_CLASS holds the instance name and the class name, each ending in a NUL.
QByteArray ClassName(const xcb_get_property_reply_t& reply) {
    const char* value = static_cast<const char*>(xcb_get_property_value(&reply));
    const int length = xcb_get_property_value_length(&reply);
    const void* end_of_instance = std::memchr(value, '\0', size_t(length));
    if (!end_of_instance) {
        return {};
    }
    const char* name = static_cast<const char*>(end_of_instance) + 1;
    const char* end = value + length;
    const void* nul = std::memchr(name, '\0', size_t(end - name));
    return QByteArray(name, int((nul ? static_cast<const char*>(nul) : end) - name));
}

} // namespace

XcbDesktop::XcbDesktop(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection))
    , m_xcb(m_connection->Get()) {}

XcbDesktop::~XcbDesktop() {
    for (auto it = m_buttons.cbegin(); it != m_buttons.cend(); ++it) {
        xcb_destroy_window(m_xcb, it.key());
    }
    if (m_xcb) {
        xcb_flush(m_xcb);
    }
    m_connection->SetEventHandler(nullptr);
}

WindowHandle XcbDesktop::FindWindowByClass(const QString& window_class) {
    if (!m_xcb) {
        return 0;
    }
    const QByteArray wanted = window_class.toLatin1();
    const QByteArray key = wanted.toLower();
    // While no game runs it is looked for several times a second. A class the last walk found
    // nowhere stays absent until a window appears on the root (created, mapped or framed by a
    // window manager), which the server reports: an idle copy then asks the server nothing.
    WatchTree();
    m_connection->ReadPending([this](const xcb_generic_event_t& event) { NoteTreeChange(event); });
    if (m_absent.contains(key)) {
        return 0;
    }
    // The game is looked up several times per timer tick; while the window found last time
    // still exists with that class, one round trip confirms it instead of a walk of the tree.
    const auto last = m_last_found.constFind(key);
    if (last != m_last_found.cend()) {
        const Reply<xcb_get_property_reply_t> reply =
            Await(m_xcb, xcb_get_property_reply,
                  xcb_get_property(m_xcb, 0, *last, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64));
        if (reply && reply->type == XCB_ATOM_STRING && reply->format == 8 &&
            ClassName(*reply).compare(wanted, Qt::CaseInsensitive) == 0) {
            m_connection->DispatchQueuedSoon();
            return *last;
        }
    }
    std::vector<xcb_window_t> level{m_connection->Root()};
    WindowHandle found = 0;
    // Level by level, with every request of a level sent before the first reply is awaited:
    // a desktop with a few hundred windows then costs a handful of round trips.
    for (int depth = 0; depth < kMaxTreeDepth && !level.empty() && found == 0; ++depth) {
        std::vector<xcb_query_tree_cookie_t> tree_cookies;
        for (xcb_window_t window : level) {
            tree_cookies.push_back(xcb_query_tree(m_xcb, window));
        }
        std::vector<xcb_window_t> children;
        for (xcb_query_tree_cookie_t cookie : tree_cookies) {
            const Reply<xcb_query_tree_reply_t> tree = Await(m_xcb, xcb_query_tree_reply, cookie);
            if (!tree) {
                continue; // destroyed since its parent was listed
            }
            const xcb_window_t* list = xcb_query_tree_children(tree.get());
            // Children come bottom to top; the topmost match wins, as on the game's platform.
            for (int i = xcb_query_tree_children_length(tree.get()) - 1; i >= 0; --i) {
                children.push_back(list[i]);
            }
        }
        std::vector<xcb_get_property_cookie_t> class_cookies;
        for (xcb_window_t child : children) {
            class_cookies.push_back(
                xcb_get_property(m_xcb, 0, child, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64));
        }
        std::vector<xcb_window_t> next;
        for (size_t i = 0; i < children.size(); ++i) {
            const Reply<xcb_get_property_reply_t> reply =
                Await(m_xcb, xcb_get_property_reply, class_cookies[i]);
            if (!reply || reply->type != XCB_ATOM_STRING || reply->format != 8) {
                next.push_back(children[i]);
            } else if (found == 0 && ClassName(*reply).compare(wanted, Qt::CaseInsensitive) == 0) {
                found = children[i];
            }
        }
        level = std::move(next);
    }
    if (found != 0) {
        m_last_found.insert(key, found);
    } else {
        m_last_found.remove(key);
        m_absent.insert(key);
    }
    m_connection->DispatchQueuedSoon();
    return found;
}

std::uint32_t XcbDesktop::WindowProcessId(WindowHandle window) {
    if (!m_xcb || window == 0) {
        return 0;
    }
    const Reply<xcb_get_property_reply_t> reply =
        Await(m_xcb, xcb_get_property_reply,
              xcb_get_property(m_xcb, 0, window, m_connection->Atom("_NET_WM_PID"),
                               XCB_ATOM_CARDINAL, 0, 1));
    m_connection->DispatchQueuedSoon();
    std::uint32_t pid = 0;
    if (reply && reply->type == XCB_ATOM_CARDINAL && reply->format == 32 &&
        xcb_get_property_value_length(reply.get()) >= 4) {
        std::memcpy(&pid, xcb_get_property_value(reply.get()), 4);
    }
    return pid;
}

bool XcbDesktop::IsWindow(WindowHandle window) {
    if (!m_xcb || window == 0) {
        return false;
    }
    const Reply<xcb_get_window_attributes_reply_t> reply =
        Await(m_xcb, xcb_get_window_attributes_reply, xcb_get_window_attributes(m_xcb, window));
    m_connection->DispatchQueuedSoon();
    return reply != nullptr;
}

xcb_window_t XcbDesktop::WindowManagerCheck() {
    const xcb_atom_t check = m_connection->Atom("_NET_SUPPORTING_WM_CHECK");
    xcb_window_t window = XCB_NONE;
    xcb_window_t self = XCB_NONE;
    // A window manager that has gone leaves the property on the root; its check window then no
    // longer points at itself.
    if (!WindowProperty(m_xcb, m_connection->Root(), check, &window) || window == XCB_NONE ||
        !WindowProperty(m_xcb, window, check, &self) || self != window) {
        return XCB_NONE;
    }
    return window;
}

bool XcbDesktop::HasClass(xcb_window_t window) {
    const Reply<xcb_get_property_reply_t> reply =
        Await(m_xcb, xcb_get_property_reply,
              xcb_get_property(m_xcb, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 0));
    return reply && reply->type == XCB_ATOM_STRING;
}

WindowHandle XcbDesktop::ForegroundWindow() {
    if (!m_xcb) {
        return 0;
    }
    WindowHandle result = 0;
    xcb_window_t active = XCB_NONE;
    if (WindowManagerCheck() != XCB_NONE &&
        WindowProperty(m_xcb, m_connection->Root(), m_connection->Atom("_NET_ACTIVE_WINDOW"),
                       &active)) {
        result = active;
    } else {
        // No window manager: the focus window stands for the foreground, mapped up to the
        // program's top-level window. PointerRoot (focus follows the pointer) names no window.
        const Reply<xcb_get_input_focus_reply_t> focus =
            Await(m_xcb, xcb_get_input_focus_reply, xcb_get_input_focus(m_xcb));
        xcb_window_t window = focus ? focus->focus : xcb_window_t(XCB_NONE);
        if (window == XCB_NONE || window == XCB_INPUT_FOCUS_POINTER_ROOT ||
            window == m_connection->Root()) {
            window = XCB_NONE;
        }
        for (int depth = 0; window != XCB_NONE && depth < 32; ++depth) {
            if (HasClass(window)) {
                break;
            }
            const Reply<xcb_query_tree_reply_t> tree =
                Await(m_xcb, xcb_query_tree_reply, xcb_query_tree(m_xcb, window));
            if (!tree) {
                window = XCB_NONE;
            } else if (tree->parent == m_connection->Root() || tree->parent == XCB_NONE) {
                break;
            } else {
                window = tree->parent;
            }
        }
        result = window;
    }
    m_connection->DispatchQueuedSoon();
    return result;
}

bool XcbDesktop::Supports(xcb_window_t window, xcb_atom_t protocols, xcb_atom_t protocol) {
    const Reply<xcb_get_property_reply_t> reply =
        Await(m_xcb, xcb_get_property_reply,
              xcb_get_property(m_xcb, 0, window, protocols, XCB_ATOM_ATOM, 0, 64));
    if (!reply || reply->type != XCB_ATOM_ATOM || reply->format != 32) {
        return false;
    }
    const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    const int count = xcb_get_property_value_length(reply.get()) / 4;
    for (int i = 0; i < count; ++i) {
        if (atoms[i] == protocol) {
            return true;
        }
    }
    return false;
}

void XcbDesktop::CloseWindow(WindowHandle window) {
    if (!m_xcb || window == 0) {
        return;
    }
    const xcb_atom_t protocols = m_connection->Atom("WM_PROTOCOLS");
    const xcb_atom_t delete_window = m_connection->Atom("WM_DELETE_WINDOW");
    if (Supports(window, protocols, delete_window)) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = protocols;
        message.data.data32[0] = delete_window;
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(m_xcb, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
    } else {
        // A window that cannot be asked to close is ended the way the default close handling
        // of the game's platform would end it: it goes away with its owner's connection.
        xcb_kill_client(m_xcb, window);
    }
    xcb_flush(m_xcb);
    m_connection->DispatchQueuedSoon();
}

void XcbDesktop::RaiseWindow(WindowHandle window) {
    if (!m_xcb || window == 0) {
        return;
    }
    if (WindowManagerCheck() != XCB_NONE) {
        // Window managers refuse focus stealing from programs but honour pagers (source 2).
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = m_connection->Atom("_NET_ACTIVE_WINDOW");
        message.data.data32[0] = 2;
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(m_xcb, 0, m_connection->Root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&message));
    } else {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(m_xcb, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        // Fails harmlessly (an error event nobody waits for) when the window is not shown.
        xcb_set_input_focus(m_xcb, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    }
    xcb_flush(m_xcb);
    m_connection->DispatchQueuedSoon();
}

XkbKeymap& XcbDesktop::Keymap() {
    if (!m_keymap) {
        m_keymap = std::make_unique<XkbKeymap>(m_xcb);
        m_connection->DispatchQueuedSoon();
    }
    return *m_keymap;
}

void XcbDesktop::SendKey(int virtual_key, bool down) {
    if (!m_xcb) {
        return;
    }
    const std::vector<xcb_keycode_t>& keycodes = Keymap().Keycodes(virtual_key);
    if (keycodes.empty()) {
        return;
    }
    xcb_test_fake_input(m_xcb, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycodes.front(),
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(m_xcb);
}

bool XcbDesktop::IsKeyDown(int virtual_key) {
    if (!m_xcb) {
        return false;
    }
    const std::vector<xcb_keycode_t>& keycodes = Keymap().Keycodes(virtual_key);
    if (keycodes.empty()) {
        return false;
    }
    const Reply<xcb_query_keymap_reply_t> keymap =
        Await(m_xcb, xcb_query_keymap_reply, xcb_query_keymap(m_xcb));
    m_connection->DispatchQueuedSoon();
    if (!keymap) {
        return false;
    }
    for (xcb_keycode_t code : keycodes) {
        if (keymap->keys[code / 8] & (1u << (code % 8))) {
            return true;
        }
    }
    return false;
}

WindowHandle XcbDesktop::CreateHookButton(std::function<void()> on_click) {
    if (!m_xcb) {
        return 0;
    }
    if (m_buttons.isEmpty()) {
        m_connection->SetEventHandler([this](const xcb_generic_event_t& event) { OnEvent(event); });
    }
    // Never mapped and never drawn: it exists only as an address for the game's clicks, which
    // a ClientMessage sent with no event mask delivers to this connection, its creator.
    const xcb_window_t button = xcb_generate_id(m_xcb);
    const std::uint32_t override_redirect = 1;
    xcb_create_window(m_xcb, 0, button, m_connection->Root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                      &override_redirect);
    static const char kName[] = "Tarvex hook";
    xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, button, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        sizeof kName - 1, kName);
    // Wait for the server so the handle is valid before anyone writes it into the game.
    const Reply<xcb_get_input_focus_reply_t> sync =
        Await(m_xcb, xcb_get_input_focus_reply, xcb_get_input_focus(m_xcb));
    m_buttons.insert(button, std::move(on_click));
    m_connection->DispatchQueuedSoon();
    return button;
}

void XcbDesktop::DestroyHookButton(WindowHandle button) {
    if (!m_xcb || !m_buttons.remove(button)) {
        return;
    }
    xcb_destroy_window(m_xcb, button);
    xcb_flush(m_xcb);
}

void XcbDesktop::WatchTree() {
    if (m_watching_tree) {
        return;
    }
    m_watching_tree = true;
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_xcb, m_connection->Root(), XCB_CW_EVENT_MASK, &mask);
    m_connection->SetEventHandler([this](const xcb_generic_event_t& event) { OnEvent(event); });
}

bool XcbDesktop::WatchNewWindows(std::function<void()> on_new_window) {
    if (!m_xcb) {
        return false;
    }
    m_on_new_window.push_back(std::move(on_new_window));
    WatchTree();
    xcb_flush(m_xcb);
    return true;
}

void XcbDesktop::NoteTreeChange(const xcb_generic_event_t& event) {
    // A program sets a window's class before it maps it; a window manager that frames the
    // window takes it off the root, which is reported too.
    switch (event.response_type & 0x7F) {
    case XCB_CREATE_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        m_absent.clear();
        for (const std::function<void()>& watcher : m_on_new_window) {
            watcher();
        }
        break;
    default:
        break;
    }
}

void XcbDesktop::OnEvent(const xcb_generic_event_t& event) {
    NoteTreeChange(event);
    if ((event.response_type & 0x7F) != XCB_CLIENT_MESSAGE) {
        return;
    }
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    auto it = m_buttons.constFind(message.window);
    if (it == m_buttons.cend()) {
        return;
    }
    // The click handler may destroy its own button.
    const std::function<void()> on_click = *it;
    if (on_click) {
        on_click();
    }
}

} // namespace tarvex
