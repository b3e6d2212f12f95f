#pragma once

#include "net/transport/ResultCodes.h"

#include <QWidget>

class QLabel;
class QTextEdit;

namespace tarvex {

class PlayerRows;
class RaceControlsBox;
class RaceStartControls;
class PublicListing;
class Tarvex;

// The host's window. It receives the server's events and announces the session publicly.
// It shows the player rows, the server name, the status line and the chat console.
class ServerFRM : public QWidget {
    Q_OBJECT

public:
    explicit ServerFRM(Tarvex& tarvex, QWidget* parent = nullptr);
    ~ServerFRM() override;

    // Readies the window for the session about to open: its name as the host typed it and
    // rows for the player limit already chosen.
    void PrepareSession(const QString& session_name);
    // Starts the public listing towards the configured endpoints.
    void StartListing();
    void DoGTimer();
    PublicListing& Listing() { return *m_listing; }

    // Shows a system line in the chat console.
    void AddLine(const QString& line);

    PlayerRows& Rows() { return *m_rows; }
    RaceControlsBox& Race() { return *m_race; }
    RaceStartControls& StartControls() { return *m_start; }

signals:
    // The window closed: the session is over and the program ends.
    void programEnds();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    Tarvex& m_tarvex;
    PlayerRows* m_rows;
    RaceControlsBox* m_race;
    RaceStartControls* m_start = nullptr;
    QLabel* m_lblServerName = nullptr;
    QLabel* m_lblStatus = nullptr;
    QTextEdit* m_MainTXT = nullptr;
    PublicListing* m_listing;
};

} // namespace tarvex
