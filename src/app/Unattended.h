#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class QFile;
class QTimer;

namespace tarvex {

class Tarvex;

// What the program does by itself when nobody sits at it: race organisers' scripts, demos and
// tests. Each is off unless asked for on the command line.
struct UnattendedOptions {
    // Tick Ready as soon as the session is open, and again whenever no race runs and the
    // game has closed (the race window unticks it when the game goes).
    bool ready = false;
    // Host: press Start once this many players, the host included, are Ready; 0 for never.
    int start_when_ready = 0;
    // Keep these files written with the results of every race: fixed-width text, or the HTML
    // page for a name ending in .htm or .html.
    QStringList results_files;
    // End the program once every driver of a launched race has finished or left.
    bool quit_when_finished = false;
    // Save a picture of the race window at that moment; empty for none.
    QString finish_screenshot;
    // Host: the stage list positions of the session's races. The first is chosen at once;
    // each race is stopped once it is over and the next stage chosen.
    QList<int> stages;
    // How many races make the session for the two options above; 0: as many as there are
    // stages, at least one.
    int races = 0;
    // Keep a log of the session in this file: every console line, every change of a player's
    // status and of the own Ready box, each with the time; empty for none.
    QString session_log;
};

class Unattended : public QObject {
    Q_OBJECT

public:
    // `end_program` closes the race window, as its user would; `save_picture` saves a picture
    // of it into the file named.
    Unattended(Tarvex& tarvex, UnattendedOptions options, std::function<void()> end_program,
               std::function<void(const QString&)> save_picture = {}, QObject* parent = nullptr);

    // The newest race has been launched in this run and every one of its drivers has finished,
    // left the session or dropped out of the race (its game gone, so its status is Idle).
    bool RaceOver() const;

private:
    void Seated();
    void TickReadyAgain();
    void CheckStart();
    void WriteResults();
    void CheckOver();
    void NextRace();
    int SessionRaces() const;
    void Log(const QString& line);
    void LogSlot(int slot);

    Tarvex& m_tarvex;
    UnattendedOptions m_options;
    std::function<void()> m_end_program;
    std::function<void(const QString&)> m_save_picture;
    bool m_seated = false;
    // Races of this run that have been seen over, and the number of the last of them.
    int m_races_over = 0;
    int m_last_over = 0;
    bool m_ending = false;
    QTimer* m_ready_again = nullptr;
    QFile* m_log = nullptr;
    QHash<int, QString> m_slot_lines;
    bool m_logged_ready = false;
};

} // namespace tarvex
