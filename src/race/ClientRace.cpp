#include "race/ClientRace.h"

#include "net/ClientSide.h"
#include "net/SessionFlags.h"
#include "race/GameData.h"

#include <QDateTime>
#include <QTimer>
#include <cmath>

namespace tarvex {

ClientRace::ClientRace(RaceParts parts, ClientSide& side, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_side(side)
    , m_countdown(m_parts.sound)
    , m_restart(new QTimer(this)) {
    m_restart->setObjectName(QStringLiteral("tmrRestart"));
    m_restart->setInterval(RestartDelayMs);
    m_restart->setSingleShot(true);
    connect(m_restart, &QTimer::timeout, this, &ClientRace::tmrRestart_Timer);
    connect(&m_countdown, &LaunchCountdown::Counted, this, &ClientRace::Changed);
    connect(&m_countdown, &LaunchCountdown::Go, this, &ClientRace::LaunchCountdownOver);
    connect(&chkReady, &ReadyBox::Changed, this, &ClientRace::Changed);
    chkReady.SetClickHandler([this](bool ticked) { chkReady_Click(ticked); });

    connect(&side, &ClientSide::Welcome, this, &ClientRace::OnWelcome);
    connect(&side, &ClientSide::GameDataReceived, this, &ClientRace::OnGameData);
    connect(&side, &ClientSide::RaceStateReceived, this, &ClientRace::OnRaceState);
    connect(&side, &ClientSide::StartSignal, this, &ClientRace::OnStartSignal);
    connect(&side, &ClientSide::RestartCalled, this, &ClientRace::OnRestart);
    connect(&side, &ClientSide::SessionLost, this, &ClientRace::OnSessionLost);
}

QString ClientRace::StatusText() const {
    switch (m_state == State::RestartPending ? m_resume : m_state) {
    case State::Idle:
        return QStringLiteral("Status: Idle");
    case State::Launching:
        return m_countdown.Shown() > 0 ? QStringLiteral("Status: Game Launches In...") +
                                             QString::number(m_countdown.Shown())
                                       : QStringLiteral("Status: Game Launches In...");
    default:
        return QStringLiteral("Status: Race in Session");
    }
}

void ClientRace::Enter(State next) {
    if (next == State::RestartPending && m_state != State::RestartPending) {
        m_resume = m_state;
    }
    m_state = next;
    if (next != State::Launching && next != State::RestartPending) {
        m_countdown.Cancel();
    }
    if (next == State::RestartPending) {
        if (!m_restart->isActive()) {
            m_restart->start();
        }
    } else {
        m_restart->stop();
    }
    // Whatever the race does, the player changes nothing about it until it is over.
    const bool idle = next == State::Idle;
    m_parts.choices.SetRaceLocked(!idle);
    chkReady.SetEnabled(idle && m_side.Welcomed());
    emit Changed();
}

void ClientRace::OnWelcome() {
    SessionFlags& flags = m_parts.flags;
    // A race under way counts us in, but without a Ready box there is no game to run in it:
    // we watch until the next launch.
    flags.TakingPart = flags.RaceLaunched;
    m_joined_during_race = flags.RaceLaunched == 1;
    Enter(m_joined_during_race ? State::Watching : State::Idle);
}

void ClientRace::OnGameData() {
    if (m_joined_during_race) {
        m_joined_during_race = false;
        OpenRaceRecord();
    }
}

void ClientRace::OpenRaceRecord() {
    m_parts.flags.ParticipantCount =
        std::uint8_t(NewRaceResult(m_parts.results, m_parts.roster, m_parts.choices, m_parts.race,
                                   QDateTime::currentDateTime(), false));
}

void ClientRace::OnRaceState(std::uint8_t state) {
    if (state == 1) {
        Launch();
    } else {
        Stop();
    }
}

void ClientRace::Launch() {
    SessionFlags& flags = m_parts.flags;
    flags.RaceLaunched = 1;
    flags.StartGiven = 0;
    // Our status as the host knows it decides, not the box: the host counted the same.
    const bool racing =
        m_parts.roster[m_parts.roster.LocalSlot].Status == std::uint8_t(PlayerStatus::Ready);
    flags.TakingPart = racing ? 1 : 0;
    if (racing) {
        m_countdown.Begin();
    }
    Enter(racing ? State::Launching : State::Watching);
    OpenRaceRecord();
}

void ClientRace::Stop() {
    SessionFlags& flags = m_parts.flags;
    flags.StartGiven = 0;
    flags.RaceLaunched = 0;
    flags.TakingPart = 0;
    m_joined_during_race = false;
    Enter(State::Idle);
}

void ClientRace::LaunchCountdownOver() {
    if (m_parts.ClearGameClosing) {
        m_parts.ClearGameClosing();
    }
    LaunchGame(m_parts);
    if (m_state == State::Launching) {
        Enter(State::InRace);
    }
}

void ClientRace::OnStartSignal() {
    // The session has set StartGiven already: release the car now, not at the next poll.
    m_parts.reader.ReleaseStart();
    emit Changed();
}

void ClientRace::OnRestart() {
    // A spectator has no stage to reload; reporting Loading would hold the new start back.
    if (m_parts.flags.TakingPart != 1) {
        return;
    }
    Enter(State::RestartPending);
}

void ClientRace::tmrRestart_Timer() {
    ReloadGameStage(m_parts);
    SendGameStatus(PlayerStatus::Loading);
    m_parts.flags.StartGiven = 0;
    Enter(m_resume);
}

void ClientRace::OnSessionLost() {
    Stop();
    chkReady.SetEnabled(false);
}

void ClientRace::chkReady_Click(bool ticked) {
    SendGameStatus(ticked ? PlayerStatus::Ready : PlayerStatus::Idle);
}

void ClientRace::VoteRestart() {
    if (!m_parts.flags.VoteCast) {
        m_side.VoteRestart();
    }
    m_parts.flags.VoteCast = true;
}

int ClientRace::LocalSlot() const {
    return m_parts.roster.LocalSlot;
}

bool ClientRace::RaceLaunched() const {
    return m_parts.flags.RaceLaunched == 1;
}

bool ClientRace::InLaunchedRace() const {
    return m_parts.flags.TakingPart == 1;
}

void ClientRace::SendGameStatus(PlayerStatus status) {
    m_side.SendGameStatus(status);
}

void ClientRace::SendTime(MessageType kind, float seconds) {
    m_side.SendTime(kind, seconds);
}

void ClientRace::SendFalseStart() {
    m_side.SendFStart();
}

int ClientRace::RestartSecondsLeft() const {
    return m_restart->isActive() ? int(std::ceil(m_restart->remainingTime() / 1000.0)) : 0;
}

} // namespace tarvex
