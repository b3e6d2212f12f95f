#pragma once

#include "race/RaceFlow.h"

#include <QString>

namespace tarvex {

class ClientSide;
struct GameDataMsg;

// A client's side of the race: it follows the host's launch with the same countdown and starts
// its own game when it was Ready, releases its car at the host's start signal, reloads the
// stage when the host orders a restart, and goes back to idle when the host stops the race.
class ClientRace : public RaceFlow {
    Q_OBJECT

public:
    enum class State {
        Idle,           // no race
        Launching,      // Ready at the launch: the countdown runs
        Watching,       // a race runs without us (not Ready at the launch, or joined during it)
        InRace,         // our game has been started for the race
        RestartPending, // the host ordered a restart; the stage reloads in five seconds
    };
    ClientRace(RaceParts parts, ClientSide& side, QObject* parent = nullptr);

    State state() const { return m_state; }
    QString StatusText() const;

    bool JoinedDuringRace() const { return m_joined_during_race; }

    void chkReady_Click(bool ticked);
    void tmrRestart_Timer();
    // The local driver chose "Vote Restart" in the game's menu.
    void VoteRestart();

    int LocalSlot() const override;
    bool RaceLaunched() const override;
    bool InLaunchedRace() const override;
    void SendGameStatus(PlayerStatus status) override;
    void SendTime(MessageType kind, float seconds) override;
    void SendFalseStart() override;

private:
    void Enter(State next);
    void OnWelcome();
    void OnGameData();
    void OnRaceState(std::uint8_t state);
    void OnStartSignal();
    void OnRestart();
    void OnSessionLost();
    void Launch();
    void Stop();
    void OpenRaceRecord();
    void LaunchCountdownOver();

    ClientSide& m_side;
    State m_state = State::Idle;
    // The state a restart returns to.
    State m_resume = State::Idle;
    bool m_joined_during_race = false;
};

} // namespace tarvex
