#pragma once

#include "results/Results.h"
#include "results/ResultsExport.h"

#include <QWidget>
#include <functional>

class QLabel;
class QListWidget;
class QMenu;
class QPushButton;
class QScrollBar;
class QTimer;

namespace tarvex {

class Dialogs;

// "Time Recorder": the races of the session one at a time, browsed with a scroll bar, with
// refresh, reset, export and copying of a driver's row. Non-modal, owned by a race window.
class TimeFRM : public QWidget {
    Q_OBJECT

public:
    struct Hooks {
        // The export's folders, session name and clock, asked for at the moment of export.
        std::function<ExportContext()> export_context;
        // Whether the game window exists; the table is not refreshed by the timer meanwhile.
        std::function<bool()> is_game_running;
        // Called when the window closes (the race window gives its chat box the focus back).
        std::function<void()> closed;
    };

    TimeFRM(Results& results, Dialogs& dialogs, Hooks hooks, QWidget* owner = nullptr);

    // "Display Times": brings the owner's results window up, opening it when it is not.
    static TimeFRM* ShowFor(QWidget* owner, Results& results, Dialogs& dialogs, Hooks hooks);

    // Shows race `race`; from the scroll bar, the scroll bar itself is left as it is.
    void ShowTimes(int race, bool from_scroll);

    QListWidget* tList = nullptr;
    QScrollBar* rScroll = nullptr;
    QLabel* lblStage = nullptr;
    QLabel* lblWeather = nullptr;
    QLabel* lblDamage = nullptr;
    QLabel* lblPenalties = nullptr;
    QLabel* lblSetups = nullptr;
    QLabel* lblTime = nullptr;
    QLabel* lblNum = nullptr;
    QPushButton* Command2 = nullptr; // "Refresh"
    QPushButton* Command1 = nullptr; // "Reset All Times"
    QPushButton* cmdExport = nullptr;
    QMenu* mnuMode = nullptr;
    QMenu* mnuCopy = nullptr;
    QTimer* Timer1 = nullptr;

    void Command2_Click();
    void Command1_Click();
    void mnuCopy2_Click();
    void Timer1_Timer();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Export(int mode);

    Results& m_results;
    Dialogs& m_dialogs;
    Hooks m_hooks;
};

} // namespace tarvex
