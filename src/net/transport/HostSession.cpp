#include "net/transport/HostSession.h"

#include "net/Messages.h"
#include "net/transport/Handshake.h"
#include "platform/Dialogs.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <array>
#include <limits>
#include <utility>

Q_DECLARE_LOGGING_CATEGORY(lcTransport)

namespace tarvex {

namespace {

// Room for a full session plus joiners that are still to be refused: a client that finds no
// free peer slot gets no answer at all, and it should hear "Session Full" instead. Many more
// than a session has players, so that hostile joiners never take the last one.
constexpr size_t PeerSlots = 64;
// Handshakes one address may have under way at a time; a real player has one. Further joiners
// from it (a full session's players behind one router, all joining at once) wait their turn.
constexpr int HandshakesPerAddress = 4;
// ENet's own cap on connections from one address: a full session's clients behind one router,
// and the joins in progress. It is also all that connects from one address that are not yet
// acknowledged can hold, each for a few seconds at most.
constexpr size_t PeersPerAddress = 11 + HandshakesPerAddress;
// A joiner's link is given up after this long without an acknowledgement, so that one that is
// refused and never acknowledges it gives back its place soon.
constexpr quint32 JoinerTimeoutMs = 3000;
// Wrong passwords an address may try before its verdicts are held back; then every further
// verdict waits, twice as long each time up to the longest wait. An address that has not
// guessed wrong for a minute starts afresh.
constexpr int FreeGuesses = 3;
constexpr qint64 FirstWaitMs = 500;
constexpr qint64 LongestWaitMs = 8000;
constexpr qint64 ForgetGuessesMs = 60000;
constexpr dpn::PlayerId IdMask = 0x7FFFFFFF;

static_assert(1 + 8 + 2 + MaxUtf8Bytes(MaxSessionNameChars) + 1 <= MaxHostMessageBytes,
              "the accept must fit the host's longest message");

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
    host->duplicatePeers = PeersPerAddress;

    m_session_name = Capped(OneLine(session_name), MaxSessionNameChars);
    m_password = password;
    m_player_limit = player_limit;
    m_next_id = QRandomGenerator::global()->generate() & IdMask;
    m_host_player = NewPlayerId();
    m_clock.start();
    m_unacknowledged.clear();
    m_guesses.clear();
    Attach(std::move(host), MaxClientMessageBytes, MaxHostMessageBytes);

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
    if (to != dpn::DPNID_ALL_PLAYERS_GROUP) {
        SendTo(std::span(&to, 1), bytes, timeout_ms, flags);
        return;
    }
    std::array<ENetPeer*, PeerSlots> peers;
    std::size_t count = 0;
    for (const auto& [id, unused] : m_players) {
        if (ENetPeer* peer = PeerOf(id)) {
            peers[count++] = peer;
        }
    }
    SendMessage(std::span(peers.data(), count), bytes, flags);
}

void HostSession::SendTo(std::span<const dpn::PlayerId> to, const QByteArray& bytes,
                         quint32 timeout_ms, quint32 flags) {
    Q_UNUSED(timeout_ms);
    std::array<ENetPeer*, PeerSlots> peers;
    std::size_t count = 0;
    for (const dpn::PlayerId id : to) {
        ENetPeer* peer = PeerOf(id);
        if (peer && count < peers.size()) {
            peers[count++] = peer;
        }
    }
    SendMessage(std::span(peers.data(), count), bytes, flags);
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
        // A client that is sent away and does not acknowledge it keeps its place no longer
        // than a joiner would.
        enet_peer_timeout(peer, ENET_PEER_TIMEOUT_LIMIT, JoinerTimeoutMs, JoinerTimeoutMs);
        enet_peer_disconnect(peer, dpn::DPNERR_HOSTTERMINATEDSESSION);
        FlushSoon();
    }
}

void HostSession::CloseServer() {
    if (!IsHosting()) {
        return;
    }
    Detach(dpn::DPNERR_HOSTTERMINATEDSESSION);
    m_peers.clear();
    m_players.clear();
    m_unacknowledged.clear();
    m_guesses.clear();
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
        if (event.peer == nullptr) {
            // The host's own player, posted by InitServer.
            emit CreatePlayer(event.data);
        } else if (auto found = m_peers.find(event.peer);
                   found != m_peers.end() && found->second.held_hello &&
                   found->second.connect_id == event.connect_id &&
                   IsSameConnection(event.peer, found->second)) {
            // A held hello whose wait is over (Tick); but another verdict for the address, due
            // at the same moment, may have come first and started a new wait.
            Peer& state = found->second;
            const qint64 next = m_guesses[state.address].next_verdict_ms;
            if (m_clock.elapsed() < next) {
                state.verdict_at_ms = next;
                break;
            }
            const QByteArray hello = *std::exchange(state.held_hello, std::nullopt);
            Decide(event.peer, state, hello);
            ChallengeWaiting();
        }
        break;
    case ENET_EVENT_TYPE_CONNECT:
        OnConnect(event.peer, event.connect_id);
        break;
    case ENET_EVENT_TYPE_DISCONNECT:
        OnDisconnect(event.peer);
        ChallengeWaiting();
        break;
    case ENET_EVENT_TYPE_RECEIVE: {
        auto found = m_peers.find(event.peer);
        if (found == m_peers.end()) {
            break;
        }
        if (found->second.id == 0) {
            OnHandshake(event.peer, found->second, event.bytes);
            ChallengeWaiting();
        } else {
            emit Receive(found->second.id, event.bytes);
        }
        break;
    }
    }
}

void HostSession::Tick() {
    const qint64 now = m_clock.elapsed();
    for (auto& [peer, state] : m_peers) {
        if (state.id != 0 || state.refused || !IsSameConnection(peer, state)) {
            continue;
        }
        if (state.held_hello) {
            if (now < state.verdict_at_ms) {
                continue;
            }
            // Another verdict for the address may have come first and moved its wait on.
            const qint64 next = m_guesses[state.address].next_verdict_ms;
            if (now < next) {
                state.verdict_at_ms = next;
                continue;
            }
            // The verdict may admit a player, and that is an event like any other: it waits its
            // turn behind the others.
            state.verdict_at_ms = std::numeric_limits<qint64>::max();
            EnetEvent due;
            due.type = ENET_EVENT_TYPE_NONE;
            due.peer = peer;
            due.connect_id = state.connect_id;
            Post(std::move(due));
        } else if (state.challenged_at_ms >= 0 &&
                   now - state.challenged_at_ms >= qint64(Timeouts().handshake_ms)) {
            // Joiners that connect and then say nothing would hold a place for ever.
            qCDebug(lcTransport) << "dropping a joiner whose handshake did not arrive";
            Refuse(peer, state, dpn::DPNERR_NORESPONSE);
        }
    }
    ChallengeWaiting();

    for (auto it = m_unacknowledged.begin(); it != m_unacknowledged.end();) {
        ENetPeer* peer = it->first;
        const bool waiting = peer->state == ENET_PEER_STATE_ACKNOWLEDGING_CONNECT &&
                             peer->connectID == it->second.connect_id;
        if (waiting && now - it->second.seen_at_ms >= qint64(Timeouts().connect_ack_ms)) {
            enet_peer_reset(peer);
        }
        if (!waiting || peer->state == ENET_PEER_STATE_DISCONNECTED) {
            it = m_unacknowledged.erase(it);
        } else {
            ++it;
        }
    }

    std::erase_if(m_guesses, [now](const auto& entry) {
        return now - entry.second.last_wrong_ms >= ForgetGuessesMs &&
               now >= entry.second.next_verdict_ms;
    });
}

qint64 HostSession::NextDeadlineMs() const {
    // Joiners' verdicts and handshakes, and connects never acknowledged (see Tick). Addresses
    // that guessed wrong are forgotten whenever the timer next fires: nothing waits on that.
    const qint64 now = m_clock.elapsed();
    qint64 next = -1;
    const auto at = [&](qint64 due) {
        const qint64 wait = std::max<qint64>(due - now, 0);
        next = next < 0 ? wait : std::min(next, wait);
    };
    for (const auto& [peer, state] : m_peers) {
        if (state.id != 0 || state.refused || !IsSameConnection(peer, state)) {
            continue;
        }
        if (state.held_hello) {
            if (state.verdict_at_ms != std::numeric_limits<qint64>::max()) {
                at(state.verdict_at_ms);
            }
        } else if (state.challenged_at_ms >= 0) {
            at(state.challenged_at_ms + qint64(Timeouts().handshake_ms));
        }
    }
    for (const auto& [peer, waiting] : m_unacknowledged) {
        at(waiting.seen_at_ms + qint64(Timeouts().connect_ack_ms));
    }
    return next;
}

void HostSession::Serviced() {
    // ENet answers a connect at once and only reports it when the answer is acknowledged; a
    // joiner that never acknowledges would keep its place for half a minute, unseen.
    ENetHost* host = Host();
    const qint64 now = m_clock.elapsed();
    for (size_t i = 0; i < host->peerCount; ++i) {
        ENetPeer* peer = &host->peers[i];
        if (peer->state != ENET_PEER_STATE_ACKNOWLEDGING_CONNECT) {
            continue;
        }
        auto known = m_unacknowledged.find(peer);
        if (known != m_unacknowledged.end() && known->second.connect_id == peer->connectID) {
            continue;
        }
        // ENet's cap on connections from one address bounds how many places these can take.
        m_unacknowledged[peer] = {peer->connectID, peer->address.host, now};
    }
}

void HostSession::OnConnect(ENetPeer* peer, quint32 connect_id) {
    m_unacknowledged.erase(peer);
    ConfigurePeer(peer, std::min(Timeouts().silence_ms, JoinerTimeoutMs), true);
    Peer& state = m_peers[peer] = Peer{};
    state.connect_id = connect_id;
    state.address = peer->address.host;
    state.connected_at_ms = m_clock.elapsed();
    if (HandshakesFrom(state.address) < HandshakesPerAddress) {
        Challenge(peer, state);
    } else {
        qCDebug(lcTransport) << "a joiner waits for the handshakes from its address";
    }
}

void HostSession::Challenge(ENetPeer* peer, Peer& state) {
    state.nonce = handshake::NewNonce();
    state.challenged_at_ms = m_clock.elapsed();
    SendPacket(peer, handshake::BuildChallenge(state.nonce), ReliableChannel, true);
}

void HostSession::ChallengeWaiting() {
    for (;;) {
        // The longest-waiting joiner whose address has room, one at a time: each challenge
        // takes a place.
        std::pair<ENetPeer* const, Peer>* next = nullptr;
        for (auto& entry : m_peers) {
            const Peer& state = entry.second;
            if (state.id == 0 && !state.refused && state.challenged_at_ms < 0 &&
                IsSameConnection(entry.first, state) &&
                (next == nullptr || state.connected_at_ms < next->second.connected_at_ms) &&
                HandshakesFrom(state.address) < HandshakesPerAddress) {
                next = &entry;
            }
        }
        if (next == nullptr) {
            return;
        }
        Challenge(next->first, next->second);
    }
}

void HostSession::OnHandshake(ENetPeer* peer, Peer& state, const QByteArray& bytes) {
    // One hello per challenged joiner; whatever follows it before the verdict, or comes
    // before the challenge, is not for us.
    if (!IsSameConnection(peer, state) || state.challenged_at_ms < 0 || state.refused ||
        state.held_hello || state.hello_seen) {
        return;
    }
    state.hello_seen = true;
    const qint64 next =
        m_guesses.contains(state.address) ? m_guesses[state.address].next_verdict_ms : 0;
    if (m_clock.elapsed() < next) {
        state.held_hello = bytes;
        state.verdict_at_ms = next;
        return;
    }
    Decide(peer, state, bytes);
}

void HostSession::Decide(ENetPeer* peer, Peer& state, const QByteArray& hello_bytes) {
    const auto hello = handshake::ParseHello(hello_bytes);
    if (!hello) {
        qCDebug(lcTransport) << "malformed handshake from a joiner; dropping it";
        Refuse(peer, state, dpn::DPNERR_INVALIDAPPLICATION);
        return;
    }
    const dpn::ResultCode verdict =
        handshake::Admit(*hello, {state.nonce, m_password, PlayerCount(), m_player_limit});
    if (verdict == dpn::DPNERR_INVALIDPASSWORD) {
        const qint64 now = m_clock.elapsed();
        Guesses& guesses = m_guesses[state.address];
        guesses.wrong = now - guesses.last_wrong_ms < ForgetGuessesMs ? guesses.wrong + 1 : 1;
        guesses.last_wrong_ms = now;
        if (guesses.wrong > FreeGuesses) {
            const int doublings = std::min(guesses.wrong - FreeGuesses - 1, 8);
            guesses.next_verdict_ms = now + std::min(FirstWaitMs << doublings, LongestWaitMs);
        }
    }
    if (verdict != dpn::DPN_OK) {
        Refuse(peer, state, verdict);
        return;
    }
    m_guesses.erase(state.address);
    ConfigurePeer(peer, Timeouts().silence_ms, true);
    state.id = NewPlayerId();
    state.name = SeatedName(hello->nickname);
    state.nonce.clear();
    m_players[state.id] = peer;

    handshake::Accept accept;
    accept.player_id = state.id;
    accept.host_player_id = m_host_player;
    accept.session_name = m_session_name;
    accept.player_limit = static_cast<quint8>(m_player_limit);
    // The accept is queued before anything the CreatePlayer handler sends on the same channel,
    // so it arrives first.
    SendPacket(peer, handshake::BuildAccept(accept), ReliableChannel, true);
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

void HostSession::Refuse(ENetPeer* peer, Peer& state, dpn::ResultCode code) {
    state.refused = true;
    enet_peer_disconnect(peer, code);
    FlushSoon();
}

int HostSession::HandshakesFrom(quint32 address) const {
    int under_way = 0;
    for (const auto& [peer, state] : m_peers) {
        under_way += state.id == 0 && !state.refused && state.challenged_at_ms >= 0 &&
                     state.address == address;
    }
    return under_way;
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
