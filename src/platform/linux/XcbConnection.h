#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <deque>
#include <functional>
#include <memory>
#include <xcb/xcb.h>

class QSocketNotifier;

namespace tarvex {

// One client connection to an X server, with its events delivered on the Qt main thread. Tarvex
// keeps its own connections beside the one Qt draws with, so the game bridge works whatever Qt
// platform plugin runs (tests run Qt offscreen against a real X server).
class XcbConnection final : public QObject {
public:
    using EventHandler = std::function<void(const xcb_generic_event_t& event)>;

    // An empty display name means $DISPLAY. IsOpen() tells whether a server answered.
    explicit XcbConnection(const QString& display = {});
    ~XcbConnection() override;

    bool IsOpen() const { return m_connection != nullptr; }
    xcb_connection_t* Get() const { return m_connection; }
    xcb_window_t Root() const { return m_root; }
    xcb_atom_t Atom(const char* name);

    // Starts watching the socket; the handler sees every event and error of this connection.
    void SetEventHandler(EventHandler handler);
    // A request that waits for its reply may take events off the socket into xcb's queue, where
    // the socket notifier would not see them until the next packet arrives. Calls that wait for
    // replies ask for such events to be handed out on the next pass of the event loop (or, with
    // no handler, to be dropped).
    void DispatchQueuedSoon();
    // Takes what the server has sent so far off the socket without waiting and shows each event
    // to `look` at once; the handler still gets them, in order, on the next pass of the event
    // loop. For a caller that must know of an event now but may not run the handler here.
    void ReadPending(const EventHandler& look);
    // A round trip, then every event that came before its reply handed to the handler now: what
    // the server sent this connection before it answered is no longer left in the socket.
    void Sync();

private:
    void Dispatch(bool read_socket);
    void Deliver(xcb_generic_event_t* event);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    QHash<QByteArray, xcb_atom_t> m_atoms;
    EventHandler m_handler;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_dispatch_queued = false;
    // Events ReadPending took off the socket, oldest first, for the handler.
    std::deque<xcb_generic_event_t*> m_held;
};

} // namespace tarvex
