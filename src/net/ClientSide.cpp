#include "net/ClientSide.h"

#include "app/Settings.h"
#include "net/SessionFlags.h"
#include "net/Trace.h"
#include "net/transport/ClientSession.h"

#include <QLoggingCategory>

namespace tarvex {

namespace {

Q_LOGGING_CATEGORY(ClientLog, "tarvex.net.client")

} // namespace

ClientSide::ClientSide(ClientSession& client, Roster& roster, SessionFlags& flags,
                       const Settings& settings, const QString& my_name, QObject* parent)
    : QObject(parent)
    , m_client(client)
    , m_roster(roster)
    , m_flags(flags)
    , m_settings(settings)
    , m_my_name(my_name) {
    connect(&m_client, &ClientSession::Receive, this, &ClientSide::Receive);
    connect(&m_client, &ClientSession::TerminateSession, this, &ClientSide::TerminateSession);
}

void ClientSide::Receive(dpn::PlayerId sender, const QByteArray& bytes) {
    TraceMessage(TraceDirection::Received, sender, true, bytes);
    WireReader r(bytes);
    const std::uint8_t type = r.U8();
    // Until the welcome has seated us, the roster has nothing to apply anything else to.
    if (!m_welcomed && type != std::uint8_t(MessageType::Welcome)) {
        return;
    }
    switch (MessageType(type)) {
    case MessageType::Chat:
        OnChat(r);
        break;
    case MessageType::Welcome:
        OnWelcome(r);
        break;
    case MessageType::Quit:
        OnQuit(r);
        break;
    case MessageType::LagTable:
        OnLagTable(r);
        break;
    case MessageType::Join:
        OnJoin(r);
        break;
    case MessageType::GameStatus:
        OnGameStatus(r);
        break;
    case MessageType::GameData:
        if (const std::optional<GameDataMsg> msg =
                Checked(GameDataMsg::decode(r), GameDataMsg::Type)) {
            emit GameDataReceived(*msg);
        }
        break;
    case MessageType::CarChoice:
        OnCarChoice(r);
        break;
    case MessageType::CarState:
        OnCarState(r);
        break;
    case MessageType::RaceState:
        if (const std::optional<RaceStateMsg> msg =
                Checked(RaceStateMsg::decode(r), RaceStateMsg::Type)) {
            emit RaceStateReceived(msg->state);
        }
        break;
    case MessageType::Progress:
        OnProgress(r);
        break;
    case MessageType::StartRace:
        if (Checked(StartRaceMsg::decode(r), StartRaceMsg::Type)) {
            m_flags.StartGiven = 1;
            emit StartSignal();
        }
        break;
    case MessageType::Split1:
    case MessageType::Split2:
    case MessageType::Finish:
        OnTime(r, MessageType(type));
        break;
    case MessageType::FalseStart:
        OnFalseStart(r);
        break;
    case MessageType::Restart:
        if (Checked(DoRestartMsg::decode(r), DoRestartMsg::Type)) {
            emit RestartCalled();
        }
        break;
    case MessageType::Sync:
        OnSync(r);
        break;
    default:
        Broken(type);
        break;
    }
}

void ClientSide::OnChat(WireReader& r) {
    if (const std::optional<ChatMsg> msg = Checked(ChatMsg::decode(r), ChatMsg::Type)) {
        emit ChatLine(msg->text, m_roster[msg->slot].Name);
    }
}

void ClientSide::OnWelcome(WireReader& r) {
    const std::optional<WelcomeMsg> msg = Checked(WelcomeMsg::decode(r), WelcomeMsg::Type);
    if (!msg || m_welcomed) {
        if (m_welcomed) {
            qCWarning(ClientLog) << "a second welcome - ignored";
        }
        return;
    }
    m_roster.ApplyWelcome(*msg, m_my_name);
    m_flags.RaceLaunched = msg->race_launched;
    if (m_flags.RaceLaunched == 1) {
        m_flags.StartGiven = 0;
    }
    if (m_own_car) {
        m_roster.cars[m_roster.LocalSlot] = m_own_car();
    }
    m_welcomed = true;
    emit CountChanged();
    for (int slot = 0; slot < SlotCount; ++slot) {
        emit SlotChanged(slot);
    }
    emit Welcome();

    SendGameStatus(PlayerStatus::Idle);
    SendCarChoice(m_roster.cars[m_roster.LocalSlot]);
}

void ClientSide::OnQuit(WireReader& r) {
    const std::optional<QuitMsg> msg = Checked(QuitMsg::decode(r), QuitMsg::Type);
    if (!msg) {
        return;
    }
    m_roster.PlayerCount = msg->player_count;
    m_roster.MaxPlayerCount = msg->player_limit;
    emit CountChanged();
    if (m_settings.ShowJoinQuit == 1) {
        emit SystemLine(QStringLiteral("* Quit: (") + m_roster[msg->slot].Name + u')');
    }
    m_roster.Clear(msg->slot);
    emit SlotChanged(msg->slot);
}

void ClientSide::OnLagTable(WireReader& r) {
    const std::optional<LagTableMsg> msg =
        LagTableMsg::decode(r, int(m_roster.OccupiedRows().size()));
    if (!msg || !m_roster.ApplyLagTable(*msg)) {
        return;
    }
    for (int slot = 0; slot < RowCount; ++slot) {
        emit LagChanged(slot);
    }
}

void ClientSide::OnJoin(WireReader& r) {
    const std::optional<JoinMsg> msg = Checked(JoinMsg::decode(r), JoinMsg::Type);
    if (!msg) {
        return;
    }
    // Our own join arrives too: it is where we learn our own player id, and the name the host
    // seated us under, which everyone else shows.
    m_roster.Occupy(msg->slot, msg->player_id, msg->name);
    m_roster.PlayerCount = msg->player_count;
    m_roster.MaxPlayerCount = msg->player_limit;
    emit SlotChanged(msg->slot);
    emit CountChanged();
    if (m_settings.ShowJoinQuit == 1) {
        emit SystemLine(QStringLiteral("* Join: (") + msg->name + u')');
    }
}

void ClientSide::OnGameStatus(WireReader& r) {
    if (const std::optional<GameStatusMsg> msg =
            Checked(GameStatusMsg::decode(r), GameStatusMsg::Type)) {
        m_roster[msg->slot].Status = msg->status;
        emit StatusChanged(msg->slot);
    }
}

void ClientSide::OnCarChoice(WireReader& r) {
    if (const std::optional<CarChoiceMsg> msg =
            Checked(CarChoiceMsg::decode(r), CarChoiceMsg::Type)) {
        m_roster.cars[msg->slot] = {msg->car, msg->transmission, msg->tyre};
        emit CarChoiceChanged(msg->slot);
    }
}

void ClientSide::OnCarState(WireReader& r) {
    if (const std::optional<CarStateMsg> msg =
            Checked(CarStateMsg::decode(r, m_settings.Compression), CarStateMsg::Type)) {
        m_roster[msg->slot].Distance = msg->distance;
        emit CarStateReceived(*msg);
    }
}

void ClientSide::OnProgress(WireReader& r) {
    if (const std::optional<ProgressMsg> msg = Checked(ProgressMsg::decode(r), ProgressMsg::Type)) {
        emit ProgressReceived(msg->slot, msg->progress);
    }
}

void ClientSide::OnTime(WireReader& r, MessageType kind) {
    if (const std::optional<TimeMsg> msg = Checked(TimeMsg::decode(r, kind), kind)) {
        emit TimeReceived(*msg);
    }
}

void ClientSide::OnFalseStart(WireReader& r) {
    // Our own false start was recorded when we sent it.
    const std::optional<FalseStartMsg> msg = Checked(FalseStartMsg::decode(r), FalseStartMsg::Type);
    if (msg && msg->slot != m_roster.LocalSlot) {
        emit FalseStartReceived(msg->slot);
    }
}

void ClientSide::OnSync(WireReader& r) {
    const std::optional<SyncReplyMsg> msg = Checked(SyncReplyMsg::decode(r), SyncReplyMsg::Type);
    if (!msg) {
        return;
    }
    // The host expects an answer with no bytes at all, and ignores it.
    Send(QByteArray(), SendOption::G);
    emit HostClock(msg->host_clock);
}

void ClientSide::Broken(std::uint8_t type) {
    // A host that sends garbage by the thousand gets one line a second in the log, not one
    // per message.
    ++m_broken;
    if (m_broken_logged.isValid() && m_broken_logged.elapsed() < 1000) {
        return;
    }
    qCWarning(ClientLog) << "the host sent" << m_broken << "broken or unknown messages, the last"
                         << MessageTypeName(type, true) << "- dropped";
    m_broken = 0;
    m_broken_logged.start();
}

void ClientSide::TerminateSession(dpn::ResultCode result) {
    emit SystemLine(result == dpn::DPNERR_HOSTTERMINATEDSESSION
                        ? QStringLiteral("* Disconnected from Server")
                        : QStringLiteral("* Connection Lost"));
    m_roster.Reset();
    for (int slot = 0; slot < SlotCount; ++slot) {
        emit SlotChanged(slot);
    }
    emit SessionLost();
}

void ClientSide::SendMsg(const QString& text) {
    SendToHost(ChatMsg{m_roster.LocalSlot, ChatText(text)});
}

void ClientSide::SendGameStatus(PlayerStatus status) {
    SendToHost(GameStatusMsg{m_roster.LocalSlot, std::uint8_t(status)});
}

void ClientSide::SendCarChoice(const RowCar& car) {
    SendToHost(CarChoiceMsg{m_roster.LocalSlot, car.car, car.transmission, car.tyre});
}

void ClientSide::SendCarState(const CarStateMsg& state) {
    CarStateMsg own = state;
    own.slot = m_roster.LocalSlot;
    m_roster[own.slot].Distance = own.distance;
    SendToHost(own);
}

void ClientSide::SendTime(MessageType kind, float time) {
    SendToHost(TimeMsg{kind, m_roster.LocalSlot, time});
}

void ClientSide::SendFStart() {
    SendToHost(FalseStartMsg{m_roster.LocalSlot});
}

void ClientSide::VoteRestart() {
    SendToHost(VoteRestartMsg{m_roster.LocalSlot});
}

void ClientSide::SendSync() {
    SendToHost(SyncMsg{});
}

void ClientSide::Send(const QByteArray& bytes, SendOption option) {
    TraceMessage(TraceDirection::Sent, m_client.HostPlayerId(), false, bytes);
    m_client.Send(bytes, SendTimeoutMs(option, m_settings.DataInterval), SendFlags(option));
}

} // namespace tarvex
