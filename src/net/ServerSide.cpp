#include "net/ServerSide.h"

#include "app/Settings.h"
#include "net/SessionFlags.h"
#include "net/Trace.h"
#include "net/transport/HostSession.h"
#include "platform/Clock.h"

#include <QLoggingCategory>
#include <QTimer>
#include <array>

namespace tarvex {

namespace {

Q_LOGGING_CATEGORY(HostLog, "tarvex.net.host")

} // namespace

ServerSide::ServerSide(HostSession& server, Roster& roster, SessionFlags& flags,
                       const Settings& settings, const QString& my_name, Clock& clock,
                       QObject* parent)
    : QObject(parent)
    , m_server(server)
    , m_roster(roster)
    , m_flags(flags)
    , m_settings(settings)
    , m_my_name(my_name)
    , m_clock(clock)
    , m_ping_timer(new QTimer(this))
    , m_review_timer(new QTimer(this)) {
    m_ping_timer->setInterval(PingIntervalMs);
    connect(m_ping_timer, &QTimer::timeout, this, &ServerSide::pingTimer_Timer);
    m_review_timer->setInterval(1000);
    connect(m_review_timer, &QTimer::timeout, this, &ServerSide::ReviewInput);
    m_uptime.start();
    connect(&m_server, &HostSession::CreatePlayer, this, &ServerSide::CreatePlayer);
    connect(&m_server, &HostSession::DestroyPlayer, this, &ServerSide::DestroyPlayer);
    connect(&m_server, &HostSession::Receive, this, &ServerSide::Receive);
}

void ServerSide::CreatePlayer(dpn::PlayerId id) {
    ++m_roster.PlayerCount;
    emit CountChanged();

    // The session's first player is the host's own.
    if (m_roster[0].PlayerId == 0) {
        m_roster.Occupy(0, std::int32_t(id), SeatedName(m_my_name));
        m_roster.HostPlayerId = std::int32_t(id);
        m_ping_timer->start();
        emit SlotChanged(0);
        return;
    }

    const int slot = m_roster.FreeSlot();
    const QString name = m_server.GetClientInfo(id);
    m_roster.Occupy(slot, std::int32_t(id), name);
    m_guard.Reset(slot);
    emit SlotChanged(slot);

    Send(id, Encode(m_roster.Welcome(slot, m_flags.RaceLaunched)), WelcomeMsg::Option);
    SendToAll(JoinMsg{std::uint8_t(slot), m_roster.PlayerCount, m_roster.MaxPlayerCount,
                      std::int32_t(id), name});
    emit GameDataNeeded();
    if (m_settings.ShowJoinQuit == 1) {
        emit SystemLine(QStringLiteral("* Join: (") + name + u')');
    }
}

void ServerSide::DestroyPlayer(dpn::PlayerId id) {
    // A player the limit should have kept out leaves without a trace in the rows.
    if (m_roster.PlayerCount > m_roster.MaxPlayerCount) {
        --m_roster.PlayerCount;
        return;
    }
    --m_roster.PlayerCount;
    emit CountChanged();

    const int slot = m_roster.QuitSlot(std::int32_t(id));
    if (m_settings.ShowJoinQuit == 1) {
        emit SystemLine(QStringLiteral("* Quit: (") + m_roster[slot].Name + u')');
    }
    m_roster.Clear(slot);
    m_guard.Reset(slot);
    emit SlotChanged(slot);
    SendToAll(QuitMsg{std::uint8_t(slot), m_roster.PlayerCount, m_roster.MaxPlayerCount});
}

void ServerSide::Receive(dpn::PlayerId sender_id, const QByteArray& bytes) {
    TraceMessage(TraceDirection::Received, sender_id, false, bytes);
    const std::optional<int> found = m_roster.SlotOf(std::int32_t(sender_id));
    if (!found || *found == 0 || m_guard.Removed(*found)) {
        return;
    }
    const int sender = *found;
    // The budget comes first: a flood must cost no more than this per message.
    const std::uint8_t type = bytes.isEmpty() ? 0 : std::uint8_t(bytes[0]);
    if (!m_guard.Admit(sender, InputGuard::KindOf(type), m_uptime.elapsed(),
                       m_settings.DataInterval)) {
        Review();
        return;
    }
    // The client's answer to our clock carries nothing at all.
    if (bytes.isEmpty()) {
        return;
    }
    WireReader r(bytes);
    r.U8();
    switch (MessageType(type)) {
    case MessageType::Chat:
        OnChat(r, sender, bytes);
        break;
    case MessageType::GameStatus:
        OnGameStatus(r, sender, bytes);
        break;
    case MessageType::CarChoice:
        OnCarChoice(r, sender, bytes);
        break;
    case MessageType::CarState:
        OnCarState(r, sender, bytes);
        break;
    case MessageType::Split1:
    case MessageType::Split2:
    case MessageType::Finish:
        OnTime(r, MessageType(type), sender, bytes);
        break;
    case MessageType::FalseStart:
        OnFalseStart(r, sender, bytes);
        break;
    case MessageType::Restart:
        OnVote(r, sender, bytes);
        break;
    case MessageType::Sync:
        if (Readable(SyncMsg::decode(r).has_value(), sender, bytes)) {
            OnSync(sender_id);
        }
        break;
    default:
        // Host-only types and types nobody knows: a client of ours sends neither.
        Readable(false, sender, bytes);
        break;
    }
}

bool ServerSide::Readable(bool decoded, int sender, const QByteArray& bytes) {
    if (decoded) {
        return true;
    }
    qCDebug(HostLog).noquote() << "slot" << sender << "sent a broken"
                               << MessageTypeName(std::uint8_t(bytes[0]), false) << "of"
                               << bytes.size() << "bytes - dropped";
    m_guard.CountBroken(sender);
    Review();
    return false;
}

bool ServerSide::Speaks(int sender, std::uint8_t slot, const char* what) {
    if (slot == sender) {
        return true;
    }
    qCDebug(HostLog) << "slot" << sender << "sent" << what << "for slot" << slot << "- dropped";
    m_guard.CountBroken(sender);
    Review();
    return false;
}

void ServerSide::Review() {
    if (!m_review_timer->isActive()) {
        m_review_timer->start();
    }
}

void ServerSide::ReviewInput() {
    // One line per client and second, however much it sent: the log must not become the
    // flood's next victim.
    for (const InputGuard::Report& report : m_guard.CloseSecond()) {
        const PlayerRecord& record = m_roster[report.slot];
        qCWarning(HostLog).noquote() << "slot" << report.slot << "(" + record.Name + ")"
                                     << "messages dropped in the last second:" << report.over_budget
                                     << "over budget," << report.broken << "broken";
        if (report.remove) {
            m_guard.MarkRemoved(report.slot);
            emit SystemLine((report.over_budget >= report.broken
                                 ? QStringLiteral("* Removed for flooding: (")
                                 : QStringLiteral("* Removed for broken messages: (")) +
                            record.Name + u')');
            Kick(report.slot);
        }
    }
    if (!m_guard.Watching()) {
        m_review_timer->stop();
    }
}

void ServerSide::OnChat(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<ChatMsg> msg = ChatMsg::decode(r);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a chat line")) {
        return;
    }
    Relay(dpn::DPNID_ALL_PLAYERS_GROUP, bytes, ChatMsg::Option);
    emit ChatLine(msg->text, m_roster[msg->slot].Name);
}

void ServerSide::OnGameStatus(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<GameStatusMsg> msg = GameStatusMsg::decode(r);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a status")) {
        return;
    }
    m_roster[msg->slot].Status = msg->status;
    Relay(dpn::DPNID_ALL_PLAYERS_GROUP, bytes, GameStatusMsg::Option);
    emit StatusChanged(msg->slot);
}

void ServerSide::OnCarChoice(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<CarChoiceMsg> msg = CarChoiceMsg::decode(r);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a car choice")) {
        return;
    }
    m_roster.cars[msg->slot] = {msg->car, msg->transmission, msg->tyre};
    Relay(dpn::DPNID_ALL_PLAYERS_GROUP, bytes, CarChoiceMsg::Option);
    emit CarChoiceChanged(msg->slot);
}

void ServerSide::OnCarState(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<CarStateMsg> msg = CarStateMsg::decode(r, m_settings.Compression);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a car state")) {
        return;
    }
    m_roster[msg->slot].Distance = msg->distance;
    {
        const EnetPump::FlushAtEnd now(m_server);
        ForwardCarState(msg->slot, msg->progress, bytes);
    }
    emit CarStateReceived(*msg);
}

void ServerSide::OnTime(WireReader& r, MessageType kind, int sender, const QByteArray& bytes) {
    const std::optional<TimeMsg> msg = TimeMsg::decode(r, kind);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a time")) {
        return;
    }
    Relay(dpn::DPNID_ALL_PLAYERS_GROUP, bytes, TimeMsg::Option);
    emit TimeReceived(*msg);
}

void ServerSide::OnFalseStart(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<FalseStartMsg> msg = FalseStartMsg::decode(r);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a false start")) {
        return;
    }
    Relay(dpn::DPNID_ALL_PLAYERS_GROUP, bytes, FalseStartMsg::Option);
    emit FalseStartReceived(msg->slot);
}

void ServerSide::OnVote(WireReader& r, int sender, const QByteArray& bytes) {
    const std::optional<VoteRestartMsg> msg = VoteRestartMsg::decode(r);
    if (!Readable(msg.has_value(), sender, bytes) || !Speaks(sender, msg->slot, "a restart vote")) {
        return;
    }
    emit VoteReceived(msg->slot);
}

void ServerSide::OnSync(dpn::PlayerId sender) {
    Send(sender, Encode(SyncReplyMsg{std::int32_t(m_clock.NowMs())}), SyncReplyMsg::Option);
}

void ServerSide::ForwardCarState(int from_slot, std::uint8_t progress, const QByteArray& bytes) {
    // Only players on the stage draw ghosts; the others just want to know how far it got.
    std::array<dpn::PlayerId, 11> driving;
    std::array<dpn::PlayerId, 11> waiting;
    std::size_t drivers = 0;
    std::size_t waiters = 0;
    for (int slot = 1; slot <= 11; ++slot) {
        const PlayerRecord& record = m_roster[slot];
        if (slot == from_slot || !record.Occupied()) {
            continue;
        }
        (OnStage(record.Status) ? driving[drivers++] : waiting[waiters++]) =
            dpn::PlayerId(record.PlayerId);
    }
    Send(std::span(driving.data(), drivers), bytes, CarStateMsg::Option);
    if (waiters > 0) {
        Send(std::span(waiting.data(), waiters),
             Encode(ProgressMsg{std::uint8_t(from_slot), progress}), ProgressMsg::Option);
    }
}

void ServerSide::SendMsg(const QString& text) {
    const QString line = ChatText(text);
    {
        const EnetPump::FlushAtEnd now(m_server);
        SendToAll(ChatMsg{0, line});
    }
    emit ChatLine(line, m_roster[0].Name);
}

void ServerSide::SendChatLine(std::uint8_t slot, const QString& text) {
    {
        const EnetPump::FlushAtEnd now(m_server);
        SendToAll(ChatMsg{slot, text});
    }
    emit ChatLine(text, m_roster[slot].Name);
}

void ServerSide::SendChatTo(int to_slot, std::uint8_t slot, const QString& text) {
    if (to_slot < 1 || to_slot > 11 || !m_roster[to_slot].Occupied()) {
        return;
    }
    Send(dpn::PlayerId(m_roster[to_slot].PlayerId), Encode(ChatMsg{slot, text}), ChatMsg::Option);
}

void ServerSide::SendGameStatus(PlayerStatus status) {
    m_roster[0].Status = std::uint8_t(status);
    emit StatusChanged(0);
    SendToAll(GameStatusMsg{0, std::uint8_t(status)});
}

void ServerSide::SendGameData(const GameDataMsg& data) {
    SendToAll(data);
}

void ServerSide::SendRaceState(std::uint8_t state) {
    SendToAll(RaceStateMsg{state});
}

void ServerSide::StartRace() {
    SendToAll(StartRaceMsg{});
}

void ServerSide::SendTime(MessageType kind, float time) {
    SendToAll(TimeMsg{kind, 0, time});
}

void ServerSide::SendFStart() {
    SendToAll(FalseStartMsg{0});
}

void ServerSide::DoRestart() {
    SendToAll(DoRestartMsg{});
}

void ServerSide::SendCarState(const CarStateMsg& state) {
    CarStateMsg own = state;
    own.slot = 0;
    m_roster[0].Distance = own.distance;
    ForwardCarState(0, own.progress, Encode(own));
}

void ServerSide::pingTimer_Timer() {
    for (int slot = 0; slot < RowCount; ++slot) {
        PlayerRecord& record = m_roster[slot];
        if (record.Occupied()) {
            // The host's own player has no link to measure: it counts as no lag.
            const std::optional<quint32> round_trip =
                m_server.GetConnectionInfo(dpn::PlayerId(record.PlayerId));
            record.Lag = LagByte(round_trip.value_or(0));
        }
        emit LagChanged(slot);
    }
    SendToAll(m_roster.LagTable());
}

void ServerSide::Kick(int slot) {
    if (slot < 1 || slot > 11 || !m_roster[slot].Occupied()) {
        return;
    }
    m_server.DestroyClient(dpn::PlayerId(m_roster[slot].PlayerId));
}

void ServerSide::Send(dpn::PlayerId to, const QByteArray& bytes, SendOption option) {
    TraceMessage(TraceDirection::Sent, to, true, bytes);
    m_server.SendTo(to, bytes, SendTimeoutMs(option, m_settings.DataInterval), SendFlags(option));
}

void ServerSide::Send(std::span<const dpn::PlayerId> to, const QByteArray& bytes,
                      SendOption option) {
    for (const dpn::PlayerId id : to) {
        TraceMessage(TraceDirection::Sent, id, true, bytes);
    }
    m_server.SendTo(to, bytes, SendTimeoutMs(option, m_settings.DataInterval), SendFlags(option));
}

void ServerSide::Relay(dpn::PlayerId to, const QByteArray& bytes, SendOption option) {
    const EnetPump::FlushAtEnd now(m_server);
    Send(to, bytes, option);
}

} // namespace tarvex
