#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QPushButton;

namespace tarvex {

class Tarvex;

// The race window's own part in the race: the Ready box, the host's "Start"/"Stop" button and
// the status line. They show the state of the host's race control or of the client's race flow
// and hand the clicks to it; nothing is decided here.
class RaceStartControls : public QWidget {
    Q_OBJECT

public:
    RaceStartControls(Tarvex& tarvex, bool host_window, QLabel* lblStatus, QWidget* parent);

    QCheckBox* chkReady;
    // Only on the host's window.
    QPushButton* cmdStart = nullptr;

    // Shows the state as it is now.
    void Refresh();

private:
    void chkReady_Click(bool ticked);
    void cmdStart_Click();

    Tarvex& m_tarvex;
    bool m_host_window;
    QLabel* m_lblStatus;
};

} // namespace tarvex
