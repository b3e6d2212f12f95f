#include "platform/linux/XcbConnection.h"

#include <QSocketNotifier>
#include <QTimer>
#include <cstdlib>
#include <cstring>

namespace tarvex {

XcbConnection::XcbConnection(const QString& display) {
    const QByteArray name = display.toLocal8Bit();
    int screen_number = 0;
    xcb_connection_t* connection =
        xcb_connect(name.isEmpty() ? nullptr : name.constData(), &screen_number);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen_number && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        xcb_disconnect(connection);
        return;
    }
    m_connection = connection;
    m_root = screens.data->root;
}

XcbConnection::~XcbConnection() {
    m_notifier.reset();
    for (xcb_generic_event_t* event : m_held) {
        std::free(event);
    }
    if (m_connection) {
        xcb_disconnect(m_connection);
    }
}

xcb_atom_t XcbConnection::Atom(const char* name) {
    if (!m_connection) {
        return XCB_NONE;
    }
    const QByteArray key(name);
    auto it = m_atoms.constFind(key);
    if (it != m_atoms.cend()) {
        return *it;
    }
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_NONE);
    std::free(reply);
    if (atom != XCB_NONE) {
        m_atoms.insert(key, atom);
    }
    return atom;
}

void XcbConnection::SetEventHandler(EventHandler handler) {
    m_handler = std::move(handler);
    if (!m_connection || !m_handler || m_notifier) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { Dispatch(true); });
    DispatchQueuedSoon();
}

void XcbConnection::DispatchQueuedSoon() {
    if (!m_connection || m_dispatch_queued) {
        return;
    }
    if (!m_handler) {
        // Nobody listens: drop what has piled up (errors of requests that were allowed to fail)
        // instead of letting it grow for as long as Tarvex runs.
        while (xcb_generic_event_t* event = xcb_poll_for_queued_event(m_connection)) {
            std::free(event);
        }
        for (xcb_generic_event_t* event : m_held) {
            std::free(event);
        }
        m_held.clear();
        return;
    }
    m_dispatch_queued = true;
    QTimer::singleShot(0, this, [this] {
        m_dispatch_queued = false;
        Dispatch(false);
    });
}

void XcbConnection::Sync() {
    if (!m_connection || xcb_connection_has_error(m_connection)) {
        return;
    }
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    Dispatch(false);
}

void XcbConnection::Dispatch(bool read_socket) {
    if (xcb_connection_has_error(m_connection)) {
        // The server went away: nothing will ever arrive again, and a notifier on a dead
        // socket would fire in a loop.
        if (m_notifier) {
            m_notifier->setEnabled(false);
        }
        return;
    }
    // What ReadPending held back came first.
    while (!m_held.empty()) {
        xcb_generic_event_t* event = m_held.front();
        m_held.pop_front();
        Deliver(event);
    }
    for (;;) {
        xcb_generic_event_t* event = read_socket ? xcb_poll_for_event(m_connection)
                                                 : xcb_poll_for_queued_event(m_connection);
        if (!event) {
            break;
        }
        Deliver(event);
    }
}

void XcbConnection::Deliver(xcb_generic_event_t* event) {
    if (m_handler) {
        // A handler may replace itself (an unhook inside a callback); keep it alive.
        const EventHandler handler = m_handler;
        handler(*event);
    }
    std::free(event);
}

void XcbConnection::ReadPending(const EventHandler& look) {
    if (!m_connection || xcb_connection_has_error(m_connection)) {
        return;
    }
    const std::size_t held = m_held.size();
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        look(*event);
        m_held.push_back(event);
    }
    if (m_held.size() > held) {
        DispatchQueuedSoon();
    }
}

} // namespace tarvex
