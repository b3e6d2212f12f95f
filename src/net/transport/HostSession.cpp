#include "net/transport/HostSession.h"

#include "net/transport/Handshake.h"
#include "platform/Dialogs.h"

#include <QLoggingCategory>
#include <QRandomGenerator>

Q_DECLARE_LOGGING_CATEGORY(lcTransport)

namespace tarvex {

namespace {

// Room for a full session plus joiners that are still to be refused: a client that finds no
// free peer slot gets no answer at all, and it should hear "Session Full" instead.
constexpr size_t PeerSlots = 32;
constexpr dpn::PlayerId IdMask = 0x7FFFFFFF;

} // namespace

HostSession::HostSession(std::shared_ptr<Dialogs> dialogs, QObject* parent)
    : EnetPump(parent)
    , m_dialogs(std::move(dialogs)) {}

HostSession::~HostSession() {
    CloseServer();
}

bool HostSession::InitServer(const QString& session_name, int player_limit, quint16 port,
                             const QString& password) {
    auto fail = [this](dpn::ResultCode code, const QString& description) {
        ReportStartFailure(m_dialogs.get(), QStringLiteral("InitServer"), code, description);
        return false;
    };

    CloseServer();
    if (!EnsureEnetInitialised()) {
        return fail(dpn::DPNERR_GENERIC, QStringLiteral("The network layer could not start."));
    }
    ENetAddress address;
    address.host = ENET_HOST_ANY;
    address.port = port;
    EnetHostPtr host(enet_host_create(&address, PeerSlots, ChannelCount, 0, 0));
    if (!host) {
        return fail(dpn::DPNERR_GENERIC,
                    QStringLiteral("UDP port %1 could not be opened; it may be in use by "
                                   "another program.")
                        .arg(port));
    }

    m_session_name = session_name;
    m_password = password;
    m_player_limit = player_limit;
    m_next_id = QRandomGenerator::global()->generate() & IdMask;
    m_host_player = NewPlayerId();
    m_clock.start();
    Attach(std::move(host));

    // The host's own player joins like any other, through the event queue, so that whoever
    // handles the events sees it first and after InitServer has returned.
    EnetEvent own;
    own.type = ENET_EVENT_TYPE_NONE;
    own.data = m_host_player;
    Post(own);
    return true;
}

void HostSession::SendTo(dpn::PlayerId to, const QByteArray& bytes, quint32 timeout_ms,
                         quint32 flags) {
    Q_UNUSED(timeout_ms);
    if (!IsHosting()) {
        return;
    }
    if (to == dpn::DPNID_ALL_PLAYERS_GROUP) {
        for (const auto& [id, unused] : m_players) {
            if (ENetPeer* peer = PeerOf(id)) {
                SendMessage(peer, bytes, flags);
            }
        }
    } else if (ENetPeer* peer = PeerOf(to)) {
        SendMessage(peer, bytes, flags);
    }
    Flush();
}

QString HostSession::GetClientInfo(dpn::PlayerId id) const {
    // Still known while its DestroyPlayer is pending, so the quit can be told by name.
    auto found = m_players.find(id);
    return found == m_players.end() ? QString() : m_peers.at(found->second).name;
}

std::optional<quint32> HostSession::GetConnectionInfo(dpn::PlayerId id) const {
    ENetPeer* peer = PeerOf(id);
    if (!peer) {
        return std::nullopt;
    }
    return peer->roundTripTime;
}

void HostSession::DestroyClient(dpn::PlayerId id) {
    if (ENetPeer* peer = PeerOf(id)) {
        enet_peer_disconnect(peer, dpn::DPNERR_HOSTTERMINATEDSESSION);
        Flush();
    }
}

void HostSession::CloseServer() {
    if (!IsHosting()) {
        return;
    }
    Detach(dpn::DPNERR_HOSTTERMINATEDSESSION);
    m_peers.clear();
    m_players.clear();
    m_host_player = 0;
    m_player_limit = 0;
}

int HostSession::PlayerCount() const {
    return IsHosting() ? 1 + int(m_players.size()) : 0;
}

quint16 HostSession::Port() const {
    return IsHosting() ? Host()->address.port : 0;
}

void HostSession::Handle(const EnetEvent& event) {
    switch (event.type) {
    case ENET_EVENT_TYPE_NONE:
        // The host's own player, posted by InitServer.
        emit CreatePlayer(event.data);
        break;
    case ENET_EVENT_TYPE_CONNECT:
        OnConnect(event.peer, event.connect_id);
        break;
    case ENET_EVENT_TYPE_DISCONNECT:
        OnDisconnect(event.peer);
        break;
    case ENET_EVENT_TYPE_RECEIVE: {
        auto found = m_peers.find(event.peer);
        if (found == m_peers.end()) {
            break;
        }
        if (found->second.id == 0) {
            OnHandshake(event.peer, found->second, event.bytes);
        } else {
            emit Receive(found->second.id, event.bytes);
        }
        break;
    }
    }
}

void HostSession::Tick() {
    // Joiners that connect and then say nothing would hold a peer slot for ever.
    const qint64 now = m_clock.elapsed();
    for (auto& [peer, state] : m_peers) {
        if (state.id == 0 && IsSameConnection(peer, state) &&
            now - state.connected_at_ms >= qint64(Timeouts().handshake_ms)) {
            qCInfo(lcTransport) << "dropping a joiner whose handshake did not arrive";
            enet_peer_disconnect(peer, dpn::DPNERR_NORESPONSE);
        }
    }
    Flush();
}

void HostSession::OnConnect(ENetPeer* peer, quint32 connect_id) {
    ConfigurePeer(peer, Timeouts().silence_ms);
    Peer state;
    state.connect_id = connect_id;
    state.nonce = handshake::NewNonce();
    state.connected_at_ms = m_clock.elapsed();
    const QByteArray challenge = handshake::BuildChallenge(state.nonce);
    m_peers[peer] = std::move(state);
    SendPacket(peer, challenge, ReliableChannel, true);
    Flush();
}

void HostSession::OnHandshake(ENetPeer* peer, Peer& state, const QByteArray& bytes) {
    if (!IsSameConnection(peer, state)) {
        return;
    }
    const auto hello = handshake::ParseHello(bytes);
    if (!hello) {
        qCWarning(lcTransport) << "malformed handshake from a joiner; dropping it";
        Refuse(peer, dpn::DPNERR_INVALIDAPPLICATION);
        return;
    }
    const dpn::ResultCode verdict =
        handshake::Admit(*hello, {state.nonce, m_password, PlayerCount(), m_player_limit});
    if (verdict != dpn::DPN_OK) {
        Refuse(peer, verdict);
        return;
    }
    state.id = NewPlayerId();
    state.name = hello->nickname;
    state.nonce.clear();
    m_players[state.id] = peer;

    handshake::Accept accept;
    accept.player_id = state.id;
    accept.host_player_id = m_host_player;
    accept.session_name = m_session_name;
    accept.player_limit = static_cast<quint8>(m_player_limit);
    // The accept goes out before anything the CreatePlayer handler sends on the same channel.
    SendPacket(peer, handshake::BuildAccept(accept), ReliableChannel, true);
    Flush();
    emit CreatePlayer(state.id);
}

void HostSession::OnDisconnect(ENetPeer* peer) {
    auto found = m_peers.find(peer);
    if (found == m_peers.end()) {
        return;
    }
    const dpn::PlayerId id = found->second.id;
    m_peers.erase(found);
    if (id != 0) {
        m_players.erase(id);
        emit DestroyPlayer(id);
    }
}

void HostSession::Refuse(ENetPeer* peer, dpn::ResultCode code) {
    enet_peer_disconnect(peer, code);
    Flush();
}

dpn::PlayerId HostSession::NewPlayerId() {
    for (;;) {
        const dpn::PlayerId id = ++m_next_id & IdMask;
        if (id != 0 && id != m_host_player && !m_players.contains(id)) {
            return id;
        }
    }
}

ENetPeer* HostSession::PeerOf(dpn::PlayerId id) const {
    auto found = m_players.find(id);
    if (found == m_players.end() || !IsSameConnection(found->second, m_peers.at(found->second))) {
        return nullptr;
    }
    return found->second;
}

bool HostSession::IsSameConnection(const ENetPeer* peer, const Peer& state) {
    return peer->state == ENET_PEER_STATE_CONNECTED && peer->connectID == state.connect_id;
}

} // namespace tarvex
