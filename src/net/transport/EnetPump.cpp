#include "net/transport/EnetPump.h"

#include "platform/Dialogs.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QPointer>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <limits>
#include <mutex>

Q_LOGGING_CATEGORY(lcTransport, "tarvex.net.transport")

namespace tarvex {

namespace {
// A peer that floods the socket must not keep timers and input waiting: after this many events
// the rest is served on the event loop's next turn.
constexpr int MaximumEventsPerService = 256;
// A quiet link is pinged once a second, as often as an ENet program that waits a second at a
// time for its socket does it: twice that, ENet's own rate, only wakes every copy twice as
// often. The host pings; a client, whose interval is longer, only answers, so that each ping
// round is one datagram each way instead of two. Silence is told by the time-outs, not by
// this.
constexpr enet_uint32 HostPingIntervalMs = 1000;
constexpr enet_uint32 ClientPingIntervalMs = 1500;
} // namespace

bool EnsureEnetInitialised() {
    static std::once_flag once;
    static bool ok = false;
    std::call_once(once, [] { ok = enet_initialize() == 0; });
    return ok;
}

void ReportStartFailure(Dialogs* dialogs, const QString& title, dpn::ResultCode code,
                        const QString& description) {
    const QString text =
        QStringLiteral("Error 0x") + dpn::HexCode(code) + QStringLiteral(": ") + description;
    qCWarning(lcTransport).noquote() << title << text;
    if (dialogs) {
        dialogs->MessageBox(title, text, Dialogs::Icon::Critical);
    }
}

EnetPump::EnetPump(QObject* parent)
    : QObject(parent)
    , m_wake_timer(new QTimer(this)) {
    m_wake_timer->setSingleShot(true);
    // A retransmit is due within a millisecond or two of its time, not within Qt's leeway for
    // coarse timers.
    m_wake_timer->setTimerType(Qt::PreciseTimer);
    connect(m_wake_timer, &QTimer::timeout, this, &EnetPump::Wake);
}

EnetPump::~EnetPump() {
    delete m_notifier;
    m_notifier = nullptr;
    m_host.reset();
}

void EnetPump::Attach(EnetHostPtr host, std::size_t largest_incoming,
                      std::size_t largest_outgoing) {
    m_host = std::move(host);
    m_largest_incoming = largest_incoming;
    m_largest_outgoing = largest_outgoing;
    // Session messages are small; a peer that announces more than the longest one there is, is
    // not one of ours, and ENet drops what it sends as it reads it, fragments and all.
    m_host->maximumPacketSize = largest_incoming;
    // ENet lets each peer park 32 MB of fragments and out-of-order packets; a host with a few
    // dozen joiners would give a hostile one a gigabyte to fill. A window's worth of messages
    // is plenty.
    m_host->maximumWaitingData = 128 * largest_incoming;
    m_queue.clear();
    m_notifier = new QSocketNotifier(m_host->socket, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { Service(); });
    Arm();
}

void EnetPump::Detach(quint32 reason) {
    if (!m_host) {
        return;
    }
    delete m_notifier;
    m_notifier = nullptr;
    m_wake_timer->stop();

    ENetHost* host = m_host.get();
    bool any_connected = false;
    for (size_t i = 0; i < host->peerCount; ++i) {
        ENetPeer* peer = &host->peers[i];
        if (peer->state != ENET_PEER_STATE_DISCONNECTED && peer->state != ENET_PEER_STATE_ZOMBIE) {
            enet_peer_disconnect(peer, reason);
            any_connected = true;
        }
    }
    enet_host_flush(host);
    // Serve only this socket until every peer has acknowledged or the linger ends; events
    // seen here belong to a session that is over and are dropped.
    QDeadlineTimer deadline(m_timeouts.close_linger_ms);
    ENetEvent event;
    while (any_connected && !deadline.hasExpired()) {
        const int got = enet_host_service(host, &event, 5);
        if (got < 0) {
            break;
        }
        if (got > 0 && event.type == ENET_EVENT_TYPE_RECEIVE) {
            enet_packet_destroy(event.packet);
        }
        any_connected = false;
        for (size_t i = 0; i < host->peerCount; ++i) {
            const auto state = host->peers[i].state;
            any_connected |=
                state != ENET_PEER_STATE_DISCONNECTED && state != ENET_PEER_STATE_ZOMBIE;
        }
    }
    m_host.reset();
    m_queue.clear();
}

bool EnetPump::SendPacket(ENetPeer* peer, const QByteArray& bytes, quint8 channel, bool reliable) {
    if (!m_host || peer == nullptr || peer->state != ENET_PEER_STATE_CONNECTED) {
        return false;
    }
    ENetPacket* packet = enet_packet_create(bytes.constData(), size_t(bytes.size()),
                                            reliable ? ENET_PACKET_FLAG_RELIABLE : 0);
    if (packet == nullptr) {
        return false;
    }
    // ENet has one limit for both directions and checks it for sends only here, in
    // enet_peer_send; the host's welcome is longer than anything a client may send it.
    ENetHost* host = m_host.get();
    host->maximumPacketSize = m_largest_outgoing;
    const int sent = enet_peer_send(peer, channel, packet);
    host->maximumPacketSize = m_largest_incoming;
    if (sent != 0) {
        enet_packet_destroy(packet);
        return false;
    }
    FlushSoon();
    return true;
}

void EnetPump::SendMessage(std::span<ENetPeer* const> peers, const QByteArray& bytes,
                           quint32 flags) {
    if (!m_host || peers.empty()) {
        return;
    }
    const bool reliable = (flags & dpn::DPNSEND_GUARANTEED) != 0;
    const quint8 channel = !reliable                                   ? UnreliableChannel
                           : (flags & dpn::DPNSEND_PRIORITY_HIGH) != 0 ? UrgentChannel
                                                                       : ReliableChannel;
    ENetPacket* packet = enet_packet_create(bytes.constData(), size_t(bytes.size()),
                                            reliable ? ENET_PACKET_FLAG_RELIABLE : 0);
    if (packet == nullptr) {
        return;
    }
    // Each peer that takes the packet holds a reference; the last one to be done with it frees
    // it. One that none took is ours to free.
    ENetHost* host = m_host.get();
    host->maximumPacketSize = m_largest_outgoing;
    for (ENetPeer* peer : peers) {
        if (peer != nullptr && peer->state == ENET_PEER_STATE_CONNECTED) {
            enet_peer_send(peer, channel, packet);
        }
    }
    host->maximumPacketSize = m_largest_incoming;
    if (packet->referenceCount == 0) {
        enet_packet_destroy(packet);
        return;
    }
    FlushSoon();
}

void EnetPump::Flush() {
    if (m_host) {
        enet_host_flush(m_host.get());
        Arm();
    }
}

void EnetPump::FlushSoon() {
    if (m_flush_queued || m_flush_at_end > 0) {
        return;
    }
    m_flush_queued = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_flush_queued = false;
            Flush();
        },
        Qt::QueuedConnection);
}

void EnetPump::ConfigurePeer(ENetPeer* peer, quint32 silence_ms, bool host) {
    enet_peer_throttle_configure(peer, ENET_PEER_PACKET_THROTTLE_INTERVAL,
                                 ENET_PEER_PACKET_THROTTLE_SCALE, 0);
    enet_peer_timeout(peer, ENET_PEER_TIMEOUT_LIMIT, std::min<quint32>(silence_ms, 5000),
                      silence_ms);
    enet_peer_ping_interval(peer, host ? HostPingIntervalMs : ClientPingIntervalMs);
}

void EnetPump::Post(EnetEvent event) {
    m_queue.push_back(std::move(event));
    QMetaObject::invokeMethod(this, &EnetPump::Dispatch, Qt::QueuedConnection);
}

void EnetPump::Service() {
    if (!m_host) {
        return;
    }
    ENetEvent event;
    int got = 0;
    int events = 0;
    // One pass over the socket reads every datagram waiting and acknowledges them; the events
    // after the first are then taken from what it read, without asking the socket again.
    while (m_host && events < MaximumEventsPerService &&
           (got = events == 0 ? enet_host_service(m_host.get(), &event, 0)
                              : enet_host_check_events(m_host.get(), &event)) > 0) {
        ++events;
        EnetEvent copy;
        copy.type = event.type;
        copy.peer = event.peer;
        copy.connect_id = event.peer ? event.peer->connectID : 0;
        copy.channel = event.channelID;
        copy.data = event.data;
        if (event.type == ENET_EVENT_TYPE_RECEIVE) {
            copy.bytes = QByteArray(reinterpret_cast<const char*>(event.packet->data),
                                    qsizetype(event.packet->dataLength));
            enet_packet_destroy(event.packet);
        }
        m_queue.push_back(std::move(copy));
    }
    if (got < 0) {
        qCWarning(lcTransport) << "ENet service failed";
    }
    if (m_host) {
        Serviced();
    }
    // ENet may hold the rest already, so the socket notifier would not call again.
    if (events == MaximumEventsPerService && !m_service_queued) {
        m_service_queued = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_service_queued = false;
                Service();
            },
            Qt::QueuedConnection);
    }
    QPointer<EnetPump> alive(this);
    Dispatch();
    // A handler further up may be spinning the event loop, leaving these events for later;
    // what ENet did just now still needs its wake-up.
    if (alive) {
        Arm();
    }
}

void EnetPump::Wake() {
    QPointer<EnetPump> alive(this);
    Service();
    if (alive && m_host) {
        Tick();
        if (alive) {
            Arm();
        }
    }
}

void EnetPump::Arm() {
    if (!m_host) {
        m_wake_timer->stop();
        return;
    }
    // What ENet does on its own when serviced, and when each falls due: acknowledgements go at
    // once; a peer with reliable commands in flight is checked for a retransmit or a time-out
    // at its next time-out; an idle one is pinged once it has heard nothing for its ping
    // interval. Peers that are gone or going wait for nothing.
    const enet_uint32 now = enet_time_get();
    qint64 wait_ms = -1;
    const auto until = [&wait_ms](qint64 ms) {
        ms = std::max<qint64>(ms, 0);
        wait_ms = wait_ms < 0 ? ms : std::min(wait_ms, ms);
    };
    ENetHost* host = m_host.get();
    for (size_t i = 0; i < host->peerCount; ++i) {
        ENetPeer* peer = &host->peers[i];
        if (peer->state == ENET_PEER_STATE_DISCONNECTED || peer->state == ENET_PEER_STATE_ZOMBIE) {
            continue;
        }
        if (!enet_list_empty(&peer->acknowledgements)) {
            until(0);
        } else if (!enet_list_empty(&peer->sentReliableCommands)) {
            until(qint32(peer->nextTimeout - now));
        } else {
            // A ping may come a little late. Due times are put on a grid of the ping interval
            // on ENet's clock, which is the wall clock and so the same in every process: every
            // peer of this host, and every copy on this machine, pings at the same moments
            // instead of each waking the others at its own.
            const enet_uint32 grid = std::max<enet_uint32>(peer->pingInterval, 1);
            const enet_uint32 due = peer->lastReceiveTime + peer->pingInterval;
            until(qint32(due + (grid - due % grid) % grid - now));
        }
    }
    const qint64 own = NextDeadlineMs();
    if (own >= 0) {
        until(own);
    }
    if (wait_ms < 0) {
        m_wake_timer->stop();
        return;
    }
    // ENet counts whole milliseconds and acts only once a deadline has passed: one more
    // millisecond keeps the timer from firing just before it.
    const enet_uint32 wake_at = now + enet_uint32(wait_ms) + 1;
    if (m_wake_timer->isActive() && m_wake_at == wake_at) {
        return;
    }
    m_wake_at = wake_at;
    m_wake_timer->start(int(std::min<qint64>(wait_ms + 1, std::numeric_limits<int>::max())));
}

void EnetPump::Dispatch() {
    if (m_dispatching) {
        return;
    }
    m_dispatching = true;
    QPointer<EnetPump> alive(this);
    while (!m_queue.empty()) {
        EnetEvent event = std::move(m_queue.front());
        m_queue.pop_front();
        Handle(event);
        if (!alive) {
            return;
        }
    }
    m_dispatching = false;
    Arm();
}

} // namespace tarvex
