#pragma once

#include <QObject>
#include <QString>
#include <optional>

class QTimer;

namespace tarvex {

class Tarvex;

// The rules of the start-up window, without the window: which role the user picked, what
// each control shows and whether it can be used, validation, starting the session and the
// connect countdown. The form (ConnectFRM) renders `view` after every `changed` and writes
// the user's edits back into it.
class ConnectLogic : public QObject {
    Q_OBJECT

public:
    enum class Mode { Choose, Host, Client, Connected };

    struct Field {
        QString text;
        bool enabled = true;
    };

    // Everything the window shows, by control name.
    struct View {
        bool Frame1_visible = true;
        bool frameT_visible = false;
        bool ServerCMD_enabled = true;
        bool ClientCMD_enabled = true;
        Field IPtxt;
        Field PORTtxt;
        Field nicknameTXT;
        Field passwordTXT;
        Field txtSName;
        Field txtPNUM{QStringLiteral("12")};
        bool lblPlay_enabled = true;
        bool lblSName_enabled = true;
        bool scrPlay_enabled = true;
        int scrPlay = 12;
        bool chkPublic = false;
        bool chkPublic_enabled = true;
        Field ConnectCMD{QStringLiteral("&Connect")};
        QString lblStat;
    };

    static constexpr int ConnectSeconds = 30;

    explicit ConnectLogic(Tarvex& tarvex, QObject* parent = nullptr);

    const View& view() const { return m_view; }
    View& view() { return m_view; }
    Mode mode() const { return m_mode; }
    // The window's caption, which names the mode.
    QString Caption() const;
    int ConnectTicks() const { return m_connect_ticks; }
    bool CountdownRunning() const;

    // Start-up: loads the settings and follows the quick-start command line, if any.
    // Returns false when the program cannot go on (no game executable).
    bool Form_Load(const QString& command_line);
    void ServerCMD_Click();
    void ClientCMD_Click();
    void ConnectCMD_Click();
    void ConnectTimer_Timer();
    void chkPublic_Click(bool checked);
    void scrPlay_Change(int value);
    // A connect attempt failed: show why and let the user try again.
    void SFull(const QString& message);
    // The host's welcome arrived: the dialog's work is done.
    void SetConnected();
    // The window is closing. True when that ends the program (no session was established).
    bool Form_Unload();

signals:
    void changed();
    // Hosting is about to start under `session_name`: the host window must exist now, with
    // its rows for the chosen limit, so that it receives the session's first events.
    void serverPreparing(const QString& session_name);
    // The session is open (or failed to open): the host window shows. The settings are saved
    // after this, so a message about them appears over the host window.
    void serverShown();
    // Hosting has started: close this window, start the public listing, bring the host window
    // to the front.
    void serverStarted();
    // A connect attempt is about to start: the client window that receives its events must
    // exist now (hidden until the welcome).
    void clientPreparing();

private:
    void SetMode(Mode mode);
    void EnableRetry();
    void HostStart();
    void Join();
    // Shows why the fields cannot start anything ("Invalid Address" before "Invalid Name");
    // true when they can.
    bool Validate(bool address_ok);
    // A port text that is a number 1..65535, else nothing.
    static std::optional<quint16> PortOf(const QString& text);

    Tarvex& m_tarvex;
    View m_view;
    Mode m_mode = Mode::Choose;
    int m_connect_ticks = 0;
    QTimer* m_connect_timer;
};

} // namespace tarvex
