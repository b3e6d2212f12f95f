#include "race/ClientRace.h"

#include "net/ClientSide.h"
#include "net/SessionFlags.h"
#include "race/GameData.h"

#include <QDateTime>
#include <QTimer>

namespace tarvex {

ClientRace::ClientRace(RaceParts parts, ClientSide& side, QObject* parent)
    : RaceFlow(std::move(parts), parent)
    , m_side(side) {
    connect(m_restart, &QTimer::timeout, this, &ClientRace::tmrRestart_Timer);
    connect(&m_countdown, &LaunchCountdown::Go, this, &ClientRace::LaunchCountdownOver);
    chkReady.SetClickHandler([this](bool ticked) { chkReady_Click(ticked); });

    connect(&side, &ClientSide::Welcome, this, &ClientRace::OnWelcome);
    connect(&side, &ClientSide::GameDataReceived, this, &ClientRace::OnGameData);
    connect(&side, &ClientSide::RaceStateReceived, this, &ClientRace::OnRaceState);
    connect(&side, &ClientSide::StartSignal, this, &ClientRace::OnStartSignal);
    connect(&side, &ClientSide::RestartCalled, this, &ClientRace::OnRestart);
    connect(&side, &ClientSide::SessionLost, this, &ClientRace::OnSessionLost);
}

QString ClientRace::StatusText() const {
    // A restart changes nothing on show.
    const State shown = m_state == State::RestartPending ? m_resume : m_state;
    return StatusFor(shown == State::Idle, shown == State::Launching);
}

void ClientRace::Enter(State next) {
    if (next == State::RestartPending && m_state != State::RestartPending) {
        m_resume = m_state;
    }
    m_state = next;
    FollowState(next == State::Launching, next == State::RestartPending, next == State::Idle,
                m_side.Welcomed());
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
    StartGame();
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

} // namespace tarvex
