#pragma once

#include "race/RaceFlow.h"
#include "race/RestartVote.h"

#include <QString>

class QTimer;

namespace tarvex {

class ServerSide;

// The host's control of the race: it launches the race everywhere, counts down and starts its
// own game when it races itself, gives the one start signal once every participant's car waits
// at the line, stops the race, and restarts the stage when the drivers vote for it.
class HostRace : public RaceFlow {
    Q_OBJECT

public:
    enum class State {
        Idle,           // no race
        Launching,      // the host races: its countdown runs
        Launched,       // waiting for every car to reach the line
        Racing,         // the start signal has been given
        RestartPending, // a restart has been voted; the stage reloads in five seconds
        Reloading,      // the stage reloaded; waiting for every car to reach the line again
    };
    static constexpr int SyncIntervalMs = 1000;
    static constexpr int StartPauseMs = 2000;

    HostRace(RaceParts parts, ServerSide& side, QObject* parent = nullptr);

    State state() const { return m_state; }
    // What the window shows: the status line and the caption of the start button.
    QString StatusText() const;
    QString StartCaption() const;

    bool AllLoaded() const { return m_all_loaded; }
    int RestartVotes() const { return m_votes.Votes(); }
    QTimer& SyncStartTimer() { return *m_sync; }

    // "Start" launches the race, "Stop" ends it.
    void cmdStart_Click();
    void SyncStartTimer_Timer();
    // The start signal, two seconds from now. Also forced with "/fstart".
    void StartRace();
    bool StartPending() const;
    void tmrRestart_Timer();
    void chkReady_Click(bool ticked);

    // The local driver chose "Vote Restart" in the game's menu.
    void VoteRestart();
    // A restart vote from the driver in `slot` (0 for the host's own).
    void DoVote(int slot);
    // Orders every player to reload the stage five seconds from now.
    void DoRestart();

    // The game tick's view of the host's own player.
    int LocalSlot() const override { return 0; }
    bool RaceLaunched() const override;
    bool InLaunchedRace() const override { return RaceLaunched(); }
    void SendGameStatus(PlayerStatus status) override;
    void SendTime(MessageType kind, float seconds) override;
    void SendFalseStart() override;

private:
    void Enter(State next);
    void Launch();
    void Stop();
    void LaunchCountdownOver();
    void GiveStartSignal();

    ServerSide& m_side;
    RestartVote m_votes;
    QTimer* m_sync;
    QTimer* m_start_pause;
    State m_state = State::Idle;
    bool m_all_loaded = false;
};

} // namespace tarvex
