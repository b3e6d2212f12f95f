#pragma once

#include "net/transport/ResultCodes.h"

#include <QWidget>

class QLabel;
class QTextEdit;

namespace tarvex {

class PlayerRows;
class RaceControlsBox;
class RaceStartControls;
class Tarvex;

// The client's window. It exists, hidden, from the start of a connect attempt, because it
// receives the client's events; it is shown when the host's welcome arrives. It shows the player
// rows, the server name, the status line and the chat console.
class ClientFRM : public QWidget {
    Q_OBJECT

public:
    explicit ClientFRM(Tarvex& tarvex, QWidget* parent = nullptr);

    // The host's welcome arrived: from now on closing this window ends the program.
    void WelcomeReceived();
    bool Welcomed() const { return m_welcomed; }

    // Shows a system line in the chat console.
    void AddLine(const QString& line);

    PlayerRows& Rows() { return *m_rows; }
    RaceControlsBox& Race() { return *m_race; }
    RaceStartControls& StartControls() { return *m_start; }

signals:
    // A connect attempt was refused; `message` is what the connect dialog shows.
    void refused(const QString& message);
    // The session is established: the connect dialog hands over to this window.
    void welcomed();
    // The window closed after a welcome: the program ends.
    void programEnds();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void OnConnectComplete(dpn::ResultCode result);
    void OnSessionLost();
    // The own row's lists: usable once seated, and locked while a race runs.
    void ShowOwnRow();

    Tarvex& m_tarvex;
    PlayerRows* m_rows;
    RaceControlsBox* m_race;
    RaceStartControls* m_start = nullptr;
    QLabel* m_lblServerName = nullptr;
    QLabel* m_lblStatus = nullptr;
    QTextEdit* m_MainTXT = nullptr;
    bool m_welcomed = false;
    // The slot the welcome gave us; the roster forgets it when the session ends.
    int m_own_slot = -1;
    bool m_closing = false;
};

} // namespace tarvex
