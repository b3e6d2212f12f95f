#pragma once

#include <QWidget>

class QVBoxLayout;

namespace tarvex {

class PlayerRows;
class RaceChoices;
class Tarvex;

// The race part of a race window: the race-setting controls of the role played (editable on
// the host, following the host on a client), the car lists of the player rows bound to them,
// "Game Options", which opens the settings dialog, and "Display Times", which opens the results
// window.
class RaceControlsBox : public QWidget {
    Q_OBJECT

public:
    // `host_window`: the host's window, whose controls edit the race.
    RaceControlsBox(Tarvex& tarvex, PlayerRows& rows, bool host_window, QWidget* window);

    RaceChoices& Choices() { return m_choices; }

    // Fills the lists and shows the stored race: the window's load.
    void Load();
    // Places the window's Ready box and start button beside "Display Times".
    void AddStartControls(QWidget* controls);

    QWidget* cmdGhost = nullptr;
    QWidget* cmdTimes = nullptr;

signals:
    // A window opened from here has closed: the player goes on typing in the race window.
    void subWindowClosed();

private:
    void cmdGhost_Click();
    void cmdTimes_Click();

    Tarvex& m_tarvex;
    RaceChoices& m_choices;
    bool m_host_window;
    QWidget* m_window;
    QVBoxLayout* m_buttons = nullptr;
};

} // namespace tarvex
