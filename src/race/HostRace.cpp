#include "race/HostRace.h"

#include "net/ServerSide.h"
#include "net/SessionFlags.h"
#include "race/GameData.h"

#include <QDateTime>
#include <QTimer>

namespace tarvex {

namespace {

void Run(const std::function<void()>& step) {
    if (step) {
        step();
    }
}

} // namespace

HostRace::HostRace(RaceParts parts, ServerSide& side, QObject* parent)
    : RaceFlow(std::move(parts), parent)
    , m_side(side)
    , m_votes(side, m_parts.roster, m_parts.flags, m_parts.settings)
    , m_sync(new QTimer(this))
    , m_start_pause(new QTimer(this)) {
    m_sync->setObjectName(QStringLiteral("SyncStartTimer"));
    m_sync->setInterval(SyncIntervalMs);
    // The pause before the start signal keeps the window and the session running, so it is a
    // timer rather than a wait.
    m_start_pause->setSingleShot(true);
    m_start_pause->setInterval(StartPauseMs);
    connect(m_sync, &QTimer::timeout, this, &HostRace::SyncStartTimer_Timer);
    connect(m_restart, &QTimer::timeout, this, &HostRace::tmrRestart_Timer);
    connect(m_start_pause, &QTimer::timeout, this, &HostRace::GiveStartSignal);
    connect(&m_countdown, &LaunchCountdown::Go, this, &HostRace::LaunchCountdownOver);
    chkReady.SetClickHandler([this](bool ticked) { chkReady_Click(ticked); });
}

QString HostRace::StatusText() const {
    return StatusFor(m_state == State::Idle, m_state == State::Launching);
}

QString HostRace::StartCaption() const {
    return m_state == State::Idle ? QStringLiteral("Start") : QStringLiteral("Stop");
}

void HostRace::Enter(State next) {
    m_state = next;
    switch (next) {
    case State::Idle:
        // A stop leaves the synchronisation alone: if it still waits, it still gives the start
        // signal once everybody is at the line.
        break;
    case State::Launching:
    case State::Launched:
    case State::Reloading:
        if (m_parts.flags.StartGiven == 0) {
            m_sync->start();
        } else {
            m_sync->stop();
        }
        break;
    case State::Racing:
    case State::RestartPending:
        m_sync->stop();
        break;
    }
    FollowState(next == State::Launching, next == State::RestartPending, next == State::Idle, true);
    emit Changed();
}

bool HostRace::RaceLaunched() const {
    return m_parts.flags.RaceLaunched == 1;
}

void HostRace::cmdStart_Click() {
    if (m_state == State::Idle) {
        Launch();
    } else {
        Stop();
    }
}

void HostRace::Launch() {
    SessionFlags& flags = m_parts.flags;
    flags.StartGiven = 0;
    flags.RaceLaunched = 1;
    m_votes.Reset();
    const bool racing = m_parts.roster[0].Status == std::uint8_t(PlayerStatus::Ready);
    flags.TakingPart = racing ? 1 : 0;
    flags.ParticipantCount =
        std::uint8_t(NewRaceResult(m_parts.results, m_parts.roster, m_parts.choices, m_parts.race,
                                   QDateTime::currentDateTime(), true));
    if (racing) {
        m_countdown.Begin();
    }
    Enter(racing ? State::Launching : State::Launched);
    m_side.SendRaceState(1);
}

void HostRace::Stop() {
    SessionFlags& flags = m_parts.flags;
    flags.StartGiven = 0;
    flags.RaceLaunched = 0;
    flags.TakingPart = 0;
    Enter(State::Idle);
    m_side.SendRaceState(0);
}

void HostRace::LaunchCountdownOver() {
    StartGame();
    if (m_state == State::Launching) {
        Enter(m_parts.flags.StartGiven == 1 ? State::Racing : State::Launched);
    }
}

void HostRace::SyncStartTimer_Timer() {
    // Everyone who was Ready at the launch, or has got further since, must be at the line
    // (waiting or already finished). Players who dropped back to Idle no longer count.
    bool someone_loading = false;
    for (int slot = 0; slot < RowCount; ++slot) {
        const std::uint8_t status = m_parts.roster[slot].Status;
        if (status < std::uint8_t(PlayerStatus::Ready)) {
            continue;
        }
        if (status >= std::uint8_t(PlayerStatus::Driving) && !someone_loading) {
            m_all_loaded = true;
        } else {
            m_all_loaded = false;
            someone_loading = true;
        }
    }
    if (m_all_loaded) {
        StartRace();
    }
}

void HostRace::StartRace() {
    // The signal is already on its way.
    if (m_start_pause->isActive()) {
        return;
    }
    m_start_pause->start();
}

bool HostRace::StartPending() const {
    return m_start_pause->isActive();
}

void HostRace::GiveStartSignal() {
    m_side.StartRace();
    m_parts.flags.StartGiven = 1;
    m_parts.reader.ReleaseStart();
    m_sync->stop();
    if (m_state == State::Launched || m_state == State::Reloading) {
        Enter(State::Racing);
    } else {
        emit Changed();
    }
}

void HostRace::tmrRestart_Timer() {
    SessionFlags& flags = m_parts.flags;
    // A host who watches the race has no game to reload, and must not hold the new start back
    // by reporting one.
    if (flags.TakingPart == 1) {
        ReloadGameStage(m_parts);
    }
    flags.StartGiven = 0;
    Run(m_parts.ClearGhostsReady);
    if (flags.TakingPart == 1) {
        SendGameStatus(PlayerStatus::Loading);
    }
    m_votes.Reset();
    Enter(State::Reloading);
}

void HostRace::chkReady_Click(bool ticked) {
    SendGameStatus(ticked ? PlayerStatus::Ready : PlayerStatus::Idle);
}

void HostRace::VoteRestart() {
    if (!m_parts.flags.VoteCast) {
        DoVote(0);
    }
    m_parts.flags.VoteCast = true;
}

void HostRace::DoVote(int slot) {
    // With no race there is nothing to restart.
    if (m_state == State::Idle) {
        return;
    }
    if (m_votes.DoVote(slot)) {
        DoRestart();
        m_votes.AnnounceRestart(slot);
    }
}

void HostRace::DoRestart() {
    m_side.DoRestart();
    Enter(State::RestartPending);
}

void HostRace::SendGameStatus(PlayerStatus status) {
    m_side.SendGameStatus(status);
}

void HostRace::SendTime(MessageType kind, float seconds) {
    m_side.SendTime(kind, seconds);
}

void HostRace::SendFalseStart() {
    m_side.SendMsg(QStringLiteral("/me False Started."));
    m_side.SendFStart();
}

} // namespace tarvex
