#pragma once

#include "net/transport/ResultCodes.h"

#include <QByteArray>
#include <QObject>
#include <deque>
#include <enet/enet.h>
#include <memory>
#include <span>

class QSocketNotifier;
class QTimer;

namespace tarvex {

class Dialogs;

struct EnetHostDeleter {
    void operator()(ENetHost* host) const { enet_host_destroy(host); }
};
using EnetHostPtr = std::unique_ptr<ENetHost, EnetHostDeleter>;

// How long the session layer waits for things that may never come. The defaults are the
// program's; tests shorten them so that a vanished peer is noticed in a second or two.
struct TransportTimeouts {
    // A connected peer that has answered nothing for this long is gone.
    quint32 silence_ms = 15000;
    // A joiner that has not answered the host's challenge by then is dropped: a real client
    // answers within one round trip, and every joiner holds one of the host's few places for
    // joins in progress.
    quint32 handshake_ms = 3000;
    // A connect whose acknowledgement never comes is forgotten by the host after this long,
    // instead of the half a minute ENet would keep trying.
    quint32 connect_ack_ms = 3000;
    // A client gives up an attempt after this long. Longer than the connect dialog's own
    // 31-second countdown, so the dialog speaks first when a host never answers.
    quint32 connect_ms = 35000;
    // On close, how long to keep serving the socket so that peers hear the goodbye.
    quint32 close_linger_ms = 300;
};

// The session's three lanes. Handshake packets travel on the reliable one.
enum EnetChannel : quint8 { ReliableChannel = 0, UrgentChannel = 1, UnreliableChannel = 2 };
inline constexpr int ChannelCount = 3;

// One ENet event copied out of ENet, so that the packet can be destroyed at once and the
// event handled later, in order, on the event loop's thread.
struct EnetEvent {
    ENetEventType type = ENET_EVENT_TYPE_NONE;
    ENetPeer* peer = nullptr;
    // ENet reuses a peer slot for the next connection as soon as one ends; this tells the
    // connections of one slot apart (0 once the slot is free).
    quint32 connect_id = 0;
    quint8 channel = 0;
    quint32 data = 0;
    QByteArray bytes;
};

// Runs an ENet host inside the Qt event loop: the socket notifier services it as soon as a
// datagram arrives, and one timer wakes it only for what ENet has pending (a retransmit, a
// ping, a peer's time-out) or for a deadline of the session's own, so that a quiet session
// sleeps. Events are handed to Handle() one at a time. Handlers may send, close, or spin the
// event loop; events that arrive meanwhile wait in the queue, so no handler ever runs inside
// another. Sends are queued and go out together once per turn of the event loop, or at once
// with Flush().
class EnetPump : public QObject {
    Q_OBJECT

public:
    explicit EnetPump(QObject* parent = nullptr);
    ~EnetPump() override;

    void SetTimeouts(const TransportTimeouts& timeouts) { m_timeouts = timeouts; }
    const TransportTimeouts& Timeouts() const { return m_timeouts; }

    // Puts everything sent so far on the wire now, instead of at the end of this turn of the
    // event loop: for a host that relays before it does slower work.
    void Flush();

    // While one of these lives, sends queue no flush for later: it flushes as it ends. For a
    // host relaying what just came in, the queued flush would cost a wake-up of the event loop
    // ahead of the relay. Nothing that spins the event loop may run inside one.
    class FlushAtEnd {
    public:
        explicit FlushAtEnd(EnetPump& pump)
            : m_pump(pump) {
            ++m_pump.m_flush_at_end;
        }
        ~FlushAtEnd() {
            if (--m_pump.m_flush_at_end == 0) {
                m_pump.Flush();
            }
        }
        FlushAtEnd(const FlushAtEnd&) = delete;
        FlushAtEnd& operator=(const FlushAtEnd&) = delete;

    private:
        EnetPump& m_pump;
    };

protected:
    // Takes ownership of a freshly created host and starts serving it. ENet refuses, before
    // buffering a byte of them, packets longer than `largest_incoming`; the session's own sends
    // may be up to `largest_outgoing` long.
    void Attach(EnetHostPtr host, std::size_t largest_incoming, std::size_t largest_outgoing);
    // Disconnects every peer with `reason`, serves the socket for a short while so that they
    // hear it, then destroys the host. Queued events are dropped: after a close nothing is
    // reported any more.
    void Detach(quint32 reason);
    ENetHost* Host() const { return m_host.get(); }

    // Queues a packet on one peer.
    bool SendPacket(ENetPeer* peer, const QByteArray& bytes, quint8 channel, bool reliable);
    // Sends a session message with the caller's send flags (see dpn::SendReliable and kin) to
    // every connected peer of `peers`, all of them sharing one packet.
    void SendMessage(std::span<ENetPeer* const> peers, const QByteArray& bytes, quint32 flags);
    // Something other than a send was queued in ENet (a connect, a disconnect): it goes out
    // with this turn's sends.
    void FlushSoon();
    // Makes ENet keep every unreliable packet on a clean link (its default throttle falls on
    // the first jitter and then discards car states at random), end the link after `silence_ms`
    // without an answer, and ping it when quiet: at the host's pace, or a client's.
    static void ConfigurePeer(ENetPeer* peer, quint32 silence_ms, bool host);

    virtual void Handle(const EnetEvent& event) = 0;
    // Deadlines of the session's own: Tick runs when the wake timer fires, and NextDeadlineMs
    // says how many milliseconds from now the next one falls due (none: negative).
    virtual void Tick() {}
    virtual qint64 NextDeadlineMs() const { return -1; }
    // Sets the wake timer for the earliest thing ENet or the session is waiting for; done after
    // every service, dispatch and flush, and by a session whose deadlines changed otherwise.
    void Arm();
    // Called after every service of the socket, before the events it brought are handled:
    // where the host looks at what ENet did without telling (connects in progress).
    virtual void Serviced() {}

    // Queues a session event that did not come from ENet (the host's own player), to be
    // delivered from the event loop like any other.
    void Post(EnetEvent event);

private:
    void Service();
    void Dispatch();
    void Wake();

    EnetHostPtr m_host;
    QSocketNotifier* m_notifier = nullptr;
    QTimer* m_wake_timer = nullptr;
    // When the wake timer fires, on ENet's clock; meaningful while it runs.
    enet_uint32 m_wake_at = 0;
    std::deque<EnetEvent> m_queue;
    bool m_dispatching = false;
    bool m_service_queued = false;
    bool m_flush_queued = false;
    int m_flush_at_end = 0;
    std::size_t m_largest_incoming = 0;
    std::size_t m_largest_outgoing = 0;
    TransportTimeouts m_timeouts;
};

// ENet needs a one-time start per process; every session calls this before creating a host.
bool EnsureEnetInitialised();

// A session that could not start says so in the critical box "Error 0x<code>: <description>"
// titled with the operation that failed (and in the log, which is all there is without
// `dialogs`).
void ReportStartFailure(Dialogs* dialogs, const QString& title, dpn::ResultCode code,
                        const QString& description);

} // namespace tarvex
