#include "app/ServerFRM.h"

#include "app/GhostMenu.h"
#include "app/PlayerRows.h"
#include "app/RaceControlsBox.h"
#include "app/RaceStartControls.h"
#include "app/RaceWindowLayout.h"
#include "app/SettingsFile.h"
#include "app/Tarvex.h"
#include "net/transport/PublicListing.h"

#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QTextEdit>

namespace tarvex {

ServerFRM::ServerFRM(Tarvex& tarvex, QWidget* parent)
    : QWidget(parent)
    , m_tarvex(tarvex)
    , m_rows(new PlayerRows(tarvex.roster, true, this))
    , m_race(new RaceControlsBox(tarvex, *m_rows, true, this)) {
    const RaceWindowLayout parts =
        LayOutRaceWindow(*this, QStringLiteral("ServerFRM"), QStringLiteral("Tarvex - Server"),
                         *m_race, *m_rows, m_tarvex);
    m_lblServerName = parts.lblServerName;
    m_lblStatus = parts.lblStatus;
    m_MainTXT = parts.MainTXT;
    m_start = new RaceStartControls(m_tarvex, true, m_lblStatus, this);
    m_race->AddStartControls(m_start);
    AddGhostMenu(*this, m_tarvex.settings, m_tarvex.ghost_files());

    m_listing = new PublicListing(
        [this] {
            const Settings& s = m_tarvex.settings;
            ListingInfo info;
            info.player_limit = m_tarvex.MaxPlayerCount;
            info.player_count = static_cast<quint8>(m_tarvex.server().PlayerCount());
            info.port = s.HostPort.toInt();
            info.server_name = s.ServerName;
            info.host_name = s.PlayerName;
            info.passworded = !m_tarvex.SessionPassword.isEmpty();
            info.start_given = m_tarvex.flags.StartGiven == 1;
            info.stage_id = m_tarvex.race.StageId;
            return info;
        },
        this);

    m_rows->Follow(&m_tarvex.server_side());
    connect(m_rows, &PlayerRows::KickRequested, &m_tarvex.server_side(), &ServerSide::Kick);

    // What the host types in the chat box as a command, it does with this window's controls.
    ChatInput::HostCommands commands;
    commands.start_caption = [this] {
        return m_start->cmdStart->text();
    };
    commands.cmdStart_Click = [this] {
        m_start->cmdStart->click();
    };
    commands.StartRace = [this] {
        m_tarvex.host_control().StartRace();
    };
    commands.kick = [this](int slot) {
        m_rows->pName_Activated(slot, 1);
    };
    m_tarvex.chat_input.SetHostCommands(std::move(commands));
}

ServerFRM::~ServerFRM() {
    m_tarvex.chat_input.SetHostCommands({});
}

void ServerFRM::PrepareSession(const QString& session_name) {
    m_lblServerName->setText(QStringLiteral("Server Name: ") + session_name);
    m_rows->RefreshAll();
    m_race->Load();
    m_tarvex.ApplyDataInterval();
}

void ServerFRM::StartListing() {
    const Settings& s = m_tarvex.settings;
    // A port that is not one (a typo in the settings file) sends nothing rather than wrapping
    // around to some other port.
    bool ok = false;
    const uint port = s.BroadcastPort.trimmed().toUInt(&ok);
    m_listing->SetBroadcastTarget(s.BroadcastAddress,
                                  ok && port <= 0xFFFF ? static_cast<quint16>(port) : 0);
    m_listing->SetListServer(s.ListServer);
    DoGTimer();
}

void ServerFRM::DoGTimer() {
    m_listing->DoGTimer();
}

void ServerFRM::AddLine(const QString& line) {
    m_tarvex.console.DisplayText(line);
}

void ServerFRM::closeEvent(QCloseEvent* event) {
    event->accept();
    m_listing->Stop();
    SaveSettings(m_tarvex);
    m_tarvex.server().CloseServer();
    emit programEnds();
}

} // namespace tarvex
