#include "net/transport/EnetPump.h"

#include "platform/Dialogs.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QPointer>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <mutex>

Q_LOGGING_CATEGORY(lcTransport, "tarvex.net.transport")

namespace tarvex {

namespace {
// Often enough for ENet's retransmits (its shortest wait is tens of milliseconds) and pings;
// the socket notifier, not this timer, carries the received traffic.
constexpr int RetransmitIntervalMs = 20;
// A peer that floods the socket must not keep timers and input waiting: after this many events
// the rest is served on the event loop's next turn.
constexpr int MaximumEventsPerService = 256;
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
    , m_retransmit_timer(new QTimer(this)) {
    m_retransmit_timer->setInterval(RetransmitIntervalMs);
    connect(m_retransmit_timer, &QTimer::timeout, this, [this] {
        Service();
        if (m_host) {
            Tick();
        }
    });
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
    m_retransmit_timer->start();
}

void EnetPump::Detach(quint32 reason) {
    if (!m_host) {
        return;
    }
    delete m_notifier;
    m_notifier = nullptr;
    m_retransmit_timer->stop();

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
    return true;
}

bool EnetPump::SendMessage(ENetPeer* peer, const QByteArray& bytes, quint32 flags) {
    const bool reliable = (flags & dpn::DPNSEND_GUARANTEED) != 0;
    const quint8 channel = !reliable                                   ? UnreliableChannel
                           : (flags & dpn::DPNSEND_PRIORITY_HIGH) != 0 ? UrgentChannel
                                                                       : ReliableChannel;
    return SendPacket(peer, bytes, channel, reliable);
}

void EnetPump::Flush() {
    if (m_host) {
        enet_host_flush(m_host.get());
    }
}

void EnetPump::ConfigurePeer(ENetPeer* peer, quint32 silence_ms) {
    enet_peer_throttle_configure(peer, ENET_PEER_PACKET_THROTTLE_INTERVAL,
                                 ENET_PEER_PACKET_THROTTLE_SCALE, 0);
    enet_peer_timeout(peer, ENET_PEER_TIMEOUT_LIMIT, std::min<quint32>(silence_ms, 5000),
                      silence_ms);
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
    while (m_host && events < MaximumEventsPerService &&
           (got = enet_host_service(m_host.get(), &event, 0)) > 0) {
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
    Dispatch();
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
}

} // namespace tarvex
