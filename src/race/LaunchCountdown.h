#pragma once

#include <QObject>

class QTimer;

namespace tarvex {

class Sound;

// The three seconds before the game starts, the same on the host and on every client: a "TEST"
// cue on each count of 3, 2, 1, then "GO" as the game is started. The launch message reaches
// everyone within the message delay, so every game starts at nearly the same moment.
class LaunchCountdown : public QObject {
    Q_OBJECT

public:
    static constexpr int IntervalMs = 1000;
    static constexpr int Counts = 3;

    explicit LaunchCountdown(Sound& sound, QObject* parent = nullptr);

    QTimer& Launch() { return *m_launch; }
    void Begin();
    void Cancel();
    bool Running() const;

    int LaunchCount() const { return m_launch_count; }
    // The number on show: 3, 2, 1 as counted, 0 before the first count.
    int Shown() const { return m_shown; }

    void Launch_Timer();

signals:
    void Counted(int shown);
    // The countdown is over: the game must start now.
    void Go();

private:
    Sound& m_sound;
    QTimer* m_launch;
    int m_launch_count = 0;
    int m_shown = 0;
};

} // namespace tarvex
