#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace tarvex {

class Tarvex;

// What the program does by itself when nobody sits at it: race organisers' scripts, demos and
// tests. Each is off unless asked for on the command line.
struct UnattendedOptions {
    // Tick Ready as soon as the session is open.
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
};

class Unattended : public QObject {
    Q_OBJECT

public:
    // `end_program` closes the race window, as its user would; `save_picture` saves a picture
    // of it into the file named.
    Unattended(Tarvex& tarvex, UnattendedOptions options, std::function<void()> end_program,
               std::function<void(const QString&)> save_picture = {}, QObject* parent = nullptr);

    // The newest race has been launched in this run and every one of its drivers has finished
    // or left the session.
    bool RaceOver() const;

private:
    void Seated();
    void CheckStart();
    void WriteResults();
    void CheckOver();

    Tarvex& m_tarvex;
    UnattendedOptions m_options;
    std::function<void()> m_end_program;
    std::function<void(const QString&)> m_save_picture;
    bool m_seated = false;
    bool m_over = false;
};

} // namespace tarvex
