#pragma once

#include "game/GameProcess.h"
#include "net/Messages.h"
#include "net/Roster.h"

#include <QObject>
#include <functional>

class QTimer;

namespace tarvex {

class Results;
struct SessionFlags;
struct Settings;

// The local player's side of the race as the game tick needs it. The host and a client answer
// differently: the host is in a launched race while its race is launched and sends its events
// to everyone with slot 0; a client is in it while it takes part, and tells the host.
class RaceSeat {
public:
    virtual ~RaceSeat() = default;
    virtual int LocalSlot() const = 0;
    virtual bool ReadyTicked() const = 0;
    // Unticking runs the Ready box's own handler, which reports Idle.
    virtual void UntickReady() = 0;
    virtual bool RaceLaunched() const = 0;
    virtual bool InLaunchedRace() const = 0;
    virtual void SendGameStatus(PlayerStatus status) = 0;
    virtual void SendTime(MessageType kind, float seconds) = 0;
    virtual void SendFalseStart() = 0;
    // Seconds until an announced restart reloads the stage; 0 when none is due.
    virtual int RestartSecondsLeft() const = 0;
};

// The pieces of the race loop that live elsewhere (car states and ghosts, the fair-play check,
// patches and the in-race menu). Any left empty is skipped.
struct GameTickSteps {
    std::function<void()> SendCarState;
    std::function<void()> GhostTick;
    // The ghost objects must be located again in the next game run.
    std::function<void()> ClearGhostsReady;
    std::function<void()> CheckPhysicsArchive;
    std::function<void()> ApplyGamePatches;
    std::function<void()> CloseGame;
    // The in-race menu's entries, the keep-alive value and the ghost model.
    std::function<void()> PollMenuFlags;
    // The keys the driver presses for in-game chat.
    std::function<void()> PollGameKeys;
};

// Watches the local game for the race: finds it, prepares each new game run, turns what the
// game's memory says into race events (on the line, splits, finish, false start), holds the car
// at the line until the start signal, and writes the driver's information text into the game.
class GameStateReader : public QObject {
    Q_OBJECT

public:
    static constexpr int InfoIntervalMs = 100;

    GameStateReader(GameProcess& game, Desktop& desktop, const Settings& settings, Roster& roster,
                    SessionFlags& flags, Results& results, QObject* parent = nullptr);

    void SetSeat(RaceSeat* seat) { m_seat = seat; }
    GameTickSteps& Steps() { return m_steps; }

    // The game-polling timer (the data interval) and the information-text timer (100 ms).
    QTimer& sndTimer() { return *m_snd_timer; }
    QTimer& pTimer() { return *m_p_timer; }
    void Start();
    void Stop();

    void GameTick();
    void ShowInfoText();
    // Run for each click the patched game sends to the hook button.
    void cmdHook_Click();

    // The start signal has just been given or received. A car held at the line is released
    // now, from the same held value everywhere, instead of at the next polling tick.
    void ReleaseStart();
    // Off only to measure what releasing at the next polling tick costs.
    void SetReleaseOnSignal(bool on) { m_release_on_signal = on; }

    GameBuild Build() const { return m_build; }
    std::uint32_t GetRaceBlock();
    std::int32_t GetStageLength();
    // The distance driven; the whole stage once the finish has been reported.
    float GetStageDistance();
    // Percent of the stage driven, 0..100; the last good value when it cannot be worked out.
    std::uint8_t GetProgressPercent();

    bool InStage() const { return m_in_stage == 1; }
    bool FinishSent() const { return m_finish_sent; }
    // A false start has been reported on this stage.
    bool FalseStartSent() const { return m_false_start_sent; }
    bool PatchesApplied() const { return m_patches_applied; }
    const QString& InfoText() const { return m_info_text; }

signals:
    // A line for the chat console.
    void SystemLine(const QString& text);
    // A tick found neither the game nor its intro video, and has done what their absence asks.
    void NothingToWatch();

private:
    void Refuse();
    void PrepareGameRun();
    void DeriveRaceEvents();
    void ReportTime(MessageType kind, float seconds);
    static void Run(const std::function<void()>& step);

    GameProcess& m_game;
    Desktop& m_desktop;
    const Settings& m_settings;
    Roster& m_roster;
    SessionFlags& m_flags;
    Results& m_results;
    RaceSeat* m_seat = nullptr;
    GameTickSteps m_steps;
    QTimer* m_snd_timer;
    QTimer* m_p_timer;

    bool m_in_tick = false;
    bool m_release_on_signal = true;
    std::uint32_t m_build_pid = 0;
    GameBuild m_build = 0;

    bool m_game_seen = false;
    bool m_patches_applied = false;
    std::uint8_t m_in_stage = 0;
    bool m_split1_sent = false;
    bool m_split2_sent = false;
    bool m_finish_sent = false;
    bool m_false_start_sent = false;

    std::uint8_t m_percent = 0;
    QString m_position_text = QStringLiteral("1/1");
    QString m_info_text;
};

} // namespace tarvex
