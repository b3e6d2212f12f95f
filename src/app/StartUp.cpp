#include "app/StartUp.h"

#include "app/ClientFRM.h"
#include "app/ConnectFRM.h"
#include "app/ConnectLogic.h"
#include "app/ServerFRM.h"
#include "app/Tarvex.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

namespace tarvex {

StartUp::StartUp(Tarvex& tarvex, QObject* parent)
    : QObject(parent)
    , m_tarvex(tarvex)
    , m_logic(new ConnectLogic(tarvex, this)) {
    connect(m_logic, &ConnectLogic::serverPreparing, this, &StartUp::PrepareServer);
    connect(m_logic, &ConnectLogic::serverShown, this, [this] { m_server->show(); });
    connect(m_logic, &ConnectLogic::serverStarted, this, &StartUp::ServerStarted);
    connect(m_logic, &ConnectLogic::clientPreparing, this, &StartUp::PrepareClient);
}

StartUp::~StartUp() {
    delete m_connect;
    delete m_server;
    delete m_client;
}

ConnectFRM* StartUp::ConnectForm() const {
    return m_connect;
}

ServerFRM* StartUp::ServerForm() const {
    return m_server;
}

ClientFRM* StartUp::ClientForm() const {
    return m_client;
}

bool StartUp::Start(const QString& command_line) {
    m_connect = new ConnectFRM(*m_logic);
    connect(m_connect, &ConnectFRM::programEnds, this, &StartUp::programEnds);
    // The quick start may already have handed over to the host window.
    if (!m_logic->Form_Load(command_line)) {
        return false;
    }
    if (m_connect && m_logic->mode() != ConnectLogic::Mode::Connected) {
        m_connect->show();
    }
    return true;
}

void StartUp::PrepareServer(const QString& session_name) {
    if (!m_server) {
        m_server = new ServerFRM(m_tarvex);
        connect(m_server, &ServerFRM::programEnds, this, &StartUp::programEnds);
    }
    m_server->PrepareSession(session_name);
}

void StartUp::ServerStarted() {
    if (m_connect) {
        m_connect->close();
    }
    if (m_tarvex.settings.PublicListing == 1) {
        m_server->StartListing();
    }
    m_server->raise();
    m_server->activateWindow();
}

void StartUp::PrepareClient() {
    // A window left from a refused attempt must be gone before the next attempt starts: its
    // closing releases the session.
    if (m_client) {
        m_client->close();
    }
    m_client = new ClientFRM(m_tarvex);
    connect(m_client, &ClientFRM::refused, m_logic, &ConnectLogic::SFull);
    connect(m_client, &ClientFRM::welcomed, this, &StartUp::HandOverToClient);
    connect(m_client, &ClientFRM::programEnds, this, &StartUp::programEnds);
}

void StartUp::HandOverToClient() {
    m_logic->SetConnected();
    if (m_connect) {
        m_connect->close();
    }
    m_client->show();
}

int RunStartUp(Tarvex& tarvex, const QString& command_line, const UnattendedOptions& unattended) {
    // The run ends by the rules of the windows, not when the last one happens to close.
    QApplication::setQuitOnLastWindowClosed(false);
    StartUp start_up(tarvex);
    auto race_window = [&start_up]() -> QWidget* {
        if (ServerFRM* server = start_up.ServerForm()) {
            return server;
        }
        return start_up.ClientForm();
    };
    Unattended helper(
        tarvex, unattended,
        [race_window] {
            // As the user closing the race window: settings saved, session closed, program
            // ended.
            if (QWidget* window = race_window()) {
                window->close();
            }
        },
        [race_window](const QString& file) {
            QWidget* window = race_window();
            const QString path = QDir::toNativeSeparators(QFileInfo(file).absoluteFilePath());
            if (window && window->grab().save(file, "PNG")) {
                QTextStream(stdout) << "screenshot: " << path << Qt::endl;
            } else {
                QTextStream(stderr) << "screenshot failed: " << path << Qt::endl;
            }
        });
    QObject::connect(&start_up, &StartUp::programEnds, qApp, [] { QCoreApplication::exit(0); });
    if (!start_up.Start(command_line)) {
        return 1;
    }
    return QApplication::exec();
}

} // namespace tarvex
