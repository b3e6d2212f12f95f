#pragma once

#include "app/Unattended.h"

#include <QObject>
#include <QPointer>

namespace tarvex {

class ClientFRM;
class ConnectFRM;
class ConnectLogic;
class ServerFRM;
class Tarvex;

// The program's windows from start-up to hand-over: the connect dialog, then the host's or the
// client's window. `programEnds` says when the run is over (the connect dialog closed before a
// session was established, or a race window closed after one).
class StartUp : public QObject {
    Q_OBJECT

public:
    explicit StartUp(Tarvex& tarvex, QObject* parent = nullptr);
    ~StartUp() override;

    // Loads the settings, follows the quick-start command line and shows the connect dialog.
    // False when the program cannot start (no game executable).
    bool Start(const QString& command_line);

    ConnectLogic& Logic() { return *m_logic; }
    ConnectFRM* ConnectForm() const;
    ServerFRM* ServerForm() const;
    ClientFRM* ClientForm() const;

signals:
    void programEnds();

private:
    void PrepareServer(const QString& session_name);
    void ServerStarted();
    void PrepareClient();
    void HandOverToClient();

    Tarvex& m_tarvex;
    ConnectLogic* m_logic;
    QPointer<ConnectFRM> m_connect;
    QPointer<ServerFRM> m_server;
    QPointer<ClientFRM> m_client;
};

// Runs the windows until the program ends; returns the exit code.
int RunStartUp(Tarvex& tarvex, const QString& command_line,
               const UnattendedOptions& unattended = {});

} // namespace tarvex
