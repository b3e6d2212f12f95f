#pragma once

#include "game/GameStateReader.h"
#include "race/LaunchCountdown.h"
#include "race/RaceParts.h"
#include "race/ReadyBox.h"

#include <QObject>
#include <QString>

class QTimer;

namespace tarvex {

// What the host's race control and a client's race flow have alike: the Ready box, the launch
// countdown that starts the game, the delayed restart, and what the game tick asks of them.
class RaceFlow : public QObject, public RaceSeat {
    Q_OBJECT

public:
    static constexpr int RestartDelayMs = 5000;

    ReadyBox chkReady;
    LaunchCountdown& Countdown() { return m_countdown; }
    QTimer& tmrRestart() { return *m_restart; }

    bool ReadyTicked() const override { return chkReady.Ticked(); }
    void UntickReady() override { chkReady.SetTicked(false); }
    int RestartSecondsLeft() const override;

signals:
    // The state, the status line or the Ready box changed.
    void Changed();

protected:
    RaceFlow(RaceParts parts, QObject* parent);

    // The timers and locks of a state: the countdown runs on only while launching (and through
    // a restart ordered in the middle of it), the restart timer only while one is pending, and
    // nothing the race runs with may change until it is stopped.
    void FollowState(bool launching, bool restart_pending, bool idle, bool ready_allowed);
    // "Status: Idle", the countdown, or "Status: Race in Session".
    QString StatusFor(bool idle, bool launching) const;
    // The countdown is over: our game starts.
    void StartGame();

    RaceParts m_parts;
    LaunchCountdown m_countdown;
    QTimer* m_restart;
};

} // namespace tarvex
