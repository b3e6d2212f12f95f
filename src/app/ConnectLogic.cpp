#include "app/ConnectLogic.h"

#include "app/SettingsFile.h"
#include "app/StartCommand.h"
#include "app/Tarvex.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>

namespace tarvex {

ConnectLogic::ConnectLogic(Tarvex& tarvex, QObject* parent)
    : QObject(parent)
    , m_tarvex(tarvex)
    , m_connect_timer(new QTimer(this)) {
    m_connect_timer->setInterval(1000);
    connect(m_connect_timer, &QTimer::timeout, this, &ConnectLogic::ConnectTimer_Timer);
}

QString ConnectLogic::Caption() const {
    switch (m_mode) {
    case Mode::Choose:
        return QStringLiteral("Connect as...");
    case Mode::Host:
        return QStringLiteral("Start a Server");
    case Mode::Client:
        return QStringLiteral("Connect as Client");
    case Mode::Connected:
        return QStringLiteral("Connected");
    }
    return {};
}

bool ConnectLogic::CountdownRunning() const {
    return m_connect_timer->isActive();
}

// The countdown belongs to a pending join only; every change of mode ends it.
void ConnectLogic::SetMode(Mode mode) {
    m_mode = mode;
    if (mode != Mode::Client) {
        m_connect_timer->stop();
        m_connect_ticks = 0;
    }
    emit changed();
}

bool ConnectLogic::Form_Load(const QString& command_line) {
    if (!LoadSettings(m_tarvex)) {
        return false;
    }
    const auto command = ParseStartCommand(command_line);
    if (!command) {
        m_view.ConnectCMD.enabled = false;
        m_view.IPtxt.enabled = false;
        m_view.nicknameTXT.enabled = false;
        emit changed();
        return true;
    }

    Settings& s = m_tarvex.settings;
    const bool joining = command->mode == QLatin1Char('2');
    auto take = [](QString& field, const QString& value) {
        if (!value.isEmpty()) {
            field = value;
        }
    };
    take(joining ? s.ClientHost : s.HostAddress, command->address);
    take(joining ? s.ClientPort : s.HostPort, command->port);
    take(joining ? s.ClientName : s.PlayerName, command->name);
    take(m_tarvex.SessionPassword, command->password);

    if (command->mode == QLatin1Char('1')) {
        ServerCMD_Click();
        ConnectCMD_Click();
    } else if (joining) {
        ClientCMD_Click();
        ConnectCMD_Click();
    } else if (command->mode == QLatin1Char('3')) {
        ServerCMD_Click();
    }
    emit changed();
    return true;
}

void ConnectLogic::ServerCMD_Click() {
    const Settings& s = m_tarvex.settings;
    View& v = m_view;
    v.nicknameTXT.enabled = true;
    v.lblPlay_enabled = true;
    v.txtPNUM.enabled = true;
    v.scrPlay_enabled = true;
    v.lblSName_enabled = true;
    v.txtSName.enabled = true;
    v.passwordTXT.enabled = true;
    v.ServerCMD_enabled = false;
    v.ClientCMD_enabled = false;
    v.IPtxt.enabled = false;
    v.IPtxt.text.clear();
    v.PORTtxt.text = s.HostPort;
    v.nicknameTXT.text = s.PlayerName;
    v.passwordTXT.text = m_tarvex.SessionPassword;
    v.txtSName.text = s.ServerName;
    bool ok = false;
    const int players = s.MaxPlayers.toInt(&ok);
    v.scrPlay = ok ? std::clamp(players, 2, 12) : 12;
    // A hand-edited PNUM out of range shows the limit that will be used, not the stored text.
    v.txtPNUM.text = QString::number(v.scrPlay);
    v.chkPublic = s.PublicListing == 1;
    v.ConnectCMD.enabled = true;
    v.ConnectCMD.text = QStringLiteral("Create");
    v.Frame1_visible = false;
    v.frameT_visible = true;
    SetMode(Mode::Host);
}

void ConnectLogic::ClientCMD_Click() {
    const Settings& s = m_tarvex.settings;
    View& v = m_view;
    v.lblPlay_enabled = false;
    v.txtPNUM.enabled = false;
    v.scrPlay_enabled = false;
    v.lblSName_enabled = false;
    v.txtSName.enabled = false;
    v.chkPublic_enabled = false;
    v.passwordTXT.enabled = true;
    v.IPtxt.enabled = true;
    v.PORTtxt.enabled = true;
    v.nicknameTXT.enabled = true;
    v.IPtxt.text = s.ClientHost;
    v.PORTtxt.text = s.ClientPort;
    v.passwordTXT.text = m_tarvex.SessionPassword;
    v.nicknameTXT.text = s.ClientName;
    v.chkPublic = s.PublicListing == 1;
    v.ServerCMD_enabled = false;
    v.ClientCMD_enabled = false;
    v.ConnectCMD.enabled = true;
    v.Frame1_visible = false;
    v.frameT_visible = true;
    SetMode(Mode::Client);
}

void ConnectLogic::ConnectCMD_Click() {
    if (m_mode == Mode::Host) {
        HostStart();
    } else if (m_mode == Mode::Client) {
        Join();
    }
}

std::optional<quint16> ConnectLogic::PortOf(const QString& text) {
    bool ok = false;
    const uint port = text.trimmed().toUInt(&ok);
    if (!ok || port == 0 || port > 65535) {
        return std::nullopt;
    }
    return static_cast<quint16>(port);
}

bool ConnectLogic::Validate(bool address_ok) {
    if (!address_ok) {
        m_view.lblStat = QStringLiteral("Invalid Address");
    } else if (m_view.nicknameTXT.text.isEmpty()) {
        m_view.lblStat = QStringLiteral("Invalid Name");
    } else {
        return true;
    }
    emit changed();
    return false;
}

void ConnectLogic::HostStart() {
    View& v = m_view;
    const auto port = PortOf(v.PORTtxt.text);
    if (!Validate(port.has_value())) {
        return;
    }
    m_tarvex.MyName = v.nicknameTXT.text;
    m_tarvex.SessionPassword = v.passwordTXT.text;
    m_tarvex.roster[0].Status = std::uint8_t(PlayerStatus::Idle);
    m_tarvex.IsHost = true;
    m_tarvex.LocalSlot = 0;

    // The host window's rows follow the limit even when the session then fails to open.
    m_tarvex.MaxPlayerCount = static_cast<std::uint8_t>(v.scrPlay);
    emit serverPreparing(v.txtSName.text);
    v.lblStat = QStringLiteral("Starting up...");
    emit changed();
    QCoreApplication::processEvents();

    // A failure has shown its message; the host window stays, without a session.
    m_tarvex.server().InitServer(v.txtSName.text, v.scrPlay, *port, m_tarvex.SessionPassword);
    SetMode(Mode::Connected);
    emit serverShown();

    Settings& s = m_tarvex.settings;
    s.HostAddress = v.IPtxt.text;
    s.PlayerName = v.nicknameTXT.text;
    s.HostPort = v.PORTtxt.text;
    s.MaxPlayers = QString::number(v.scrPlay);
    s.ServerName = v.txtSName.text;
    SaveSettings(m_tarvex);
    emit serverStarted();
}

void ConnectLogic::Join() {
    View& v = m_view;
    const auto port = PortOf(v.PORTtxt.text);
    if (!Validate(!v.IPtxt.text.isEmpty() && port.has_value())) {
        return;
    }
    m_tarvex.IsHost = false;
    v.nicknameTXT.enabled = false;
    v.PORTtxt.enabled = false;
    v.IPtxt.enabled = false;
    v.ConnectCMD.enabled = false;
    v.passwordTXT.enabled = false;
    m_tarvex.SessionPassword = v.passwordTXT.text;
    m_tarvex.MyName = v.nicknameTXT.text;
    emit changed();

    emit clientPreparing();
    // A start failure has shown its message; the countdown then runs out as for a silent host.
    m_tarvex.client().Connect(v.IPtxt.text, *port, m_tarvex.MyName, m_tarvex.SessionPassword);
    QCoreApplication::processEvents();

    // The attempt may already have been refused while events were processed.
    if (m_mode == Mode::Client && !v.ConnectCMD.enabled) {
        m_connect_ticks = 0;
        m_connect_timer->start();
        v.lblStat = QStringLiteral("Connecting to Server (%1)").arg(ConnectSeconds);
    }

    Settings& s = m_tarvex.settings;
    s.ClientHost = v.IPtxt.text;
    s.ClientName = v.nicknameTXT.text;
    s.ClientPort = v.PORTtxt.text;
    s.ClientServerName = v.txtSName.text;
    SaveSettings(m_tarvex);
    emit changed();
}

void ConnectLogic::ConnectTimer_Timer() {
    ++m_connect_ticks;
    m_view.lblStat =
        QStringLiteral("Connecting to Server (%1)").arg(ConnectSeconds - m_connect_ticks);
    if (m_connect_ticks > ConnectSeconds) {
        m_view.lblStat = QStringLiteral("Connection Timed Out");
        EnableRetry();
        m_tarvex.client().CloseClient();
    }
    emit changed();
}

void ConnectLogic::EnableRetry() {
    m_connect_ticks = 0;
    m_connect_timer->stop();
    m_view.passwordTXT.enabled = true;
    m_view.nicknameTXT.enabled = true;
    m_view.PORTtxt.enabled = true;
    m_view.IPtxt.enabled = true;
    m_view.ConnectCMD.enabled = true;
}

void ConnectLogic::SFull(const QString& message) {
    m_view.lblStat = message;
    EnableRetry();
    emit changed();
}

void ConnectLogic::chkPublic_Click(bool checked) {
    m_view.chkPublic = checked;
    m_tarvex.settings.PublicListing = checked ? 1 : 0;
}

void ConnectLogic::scrPlay_Change(int value) {
    if (m_view.scrPlay == value && m_view.txtPNUM.text == QString::number(value)) {
        return;
    }
    m_view.scrPlay = value;
    m_view.txtPNUM.text = QString::number(value);
    emit changed();
}

void ConnectLogic::SetConnected() {
    SetMode(Mode::Connected);
}

bool ConnectLogic::Form_Unload() {
    return m_mode != Mode::Connected;
}

} // namespace tarvex
