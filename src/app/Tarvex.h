#pragma once

#include "app/Settings.h"
#include "chat/ChatConsole.h"
#include "chat/ChatInput.h"
#include "chat/InGameChat.h"
#include "game/GameBridge.h"
#include "game/GameProcess.h"
#include "game/GameStateReader.h"
#include "ghost/GhostExchange.h"
#include "ghost/GhostFiles.h"
#include "net/ClientSide.h"
#include "net/Roster.h"
#include "net/ServerSide.h"
#include "net/SessionFlags.h"
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"
#include "platform/Platform.h"
#include "race/ClientRace.h"
#include "race/HostRace.h"
#include "race/RaceChoices.h"
#include "results/Results.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace tarvex {

// One running copy of Tarvex: its settings, session, race and game bridge. Nothing of it is
// program-wide, so a test can run a host and several clients side by side in one process.
class Tarvex : public QObject {
    Q_OBJECT

public:
    // `config_folder` is where Tarvex.ini and template.htm live (the "program folder").
    Tarvex(Platform platform, QString config_folder, QObject* parent = nullptr);
    ~Tarvex() override;

    const Platform& platform() const { return m_platform; }
    const QString& ConfigFolder() const { return m_config_folder; }

    StoredSettings stored;
    Settings& settings = stored.settings;
    RaceSettings& race = stored.race;

    // 1 when this copy runs the server; decides which keys a save writes.
    bool IsHost = false;

    // Session values the connect dialog sets.
    QString MyName;
    // Empty means none. Only ever typed or given on the command line, never stored.
    QString SessionPassword;

    // The players of the session, as every copy keeps them; the session counters live there.
    Roster roster;
    std::uint8_t& LocalSlot = roster.LocalSlot;
    std::uint8_t& MaxPlayerCount = roster.MaxPlayerCount;
    SessionFlags flags;

    // The race window's console and the overlay's last lines.
    ChatConsole console{settings.ChatSeconds};
    // The race window's chat line, which in-game chat types into as well.
    ChatInput chat_input{console, roster, settings.QuickMessages};

    // The session transport: the server side on the host, the client side when joining. Both
    // exist for the whole run; only the one of the chosen role is ever opened.
    HostSession& server() { return *m_server; }
    ClientSession& client() { return *m_client; }
    // The session protocol on top of the transport, one per role, wired to the roster and the
    // console.
    ServerSide& server_side() { return *m_server_side; }
    ClientSide& client_side() { return *m_client_side; }

    // The running game as this copy reaches it.
    GameProcess& game() { return m_game; }
    // The ghost car files and model slot of this copy's game.
    GhostFiles& ghost_files() { return m_ghost_files; }
    // What this copy writes into its game: set-up, patches, menu automation (mnuTimer).
    GameBridge& bridge() { return *m_bridge; }
    // The chat lines and the standings board inside the game, and its chat keys (textTimer).
    InGameChat& in_game_chat() { return *m_in_game_chat; }
    // The other players' cars as ghosts in that game; our car state goes out through the
    // session of the role played.
    GhostExchange& ghosts() { return m_ghosts; }

    // The races of this session (every copy keeps its own table).
    Results results;
    // The race-setting controls of each role's window, wired to that role's session. The
    // window of the role played shows them.
    RaceChoices host_race;
    RaceChoices client_race;
    RaceChoices& RaceControls() { return IsHost ? host_race : client_race; }

    // The game-polling timer of the race window. Its interval is the data interval: the host's
    // own setting, or on a client the one the host's game data carries.
    QTimer& sndTimer() { return m_reader->sndTimer(); }
    void ApplyDataInterval();

    // The race loop: the game watched for race events, the host's race control and a client's
    // race flow. Only the one of the role played acts.
    GameStateReader& reader() { return *m_reader; }
    HostRace& host_control() { return *m_host_control; }
    ClientRace& client_flow() { return *m_client_flow; }
    RaceSeat& seat();
    ReadyBox& chkReady() { return IsHost ? m_host_control->chkReady : m_client_flow->chkReady; }
    // Starts watching the game for the role played: the host once its own player is seated, a
    // client at the host's welcome.
    void BeginRaceLoop();
    // The button the patched game clicks on each of its frames; 0 until the race loop begins or
    // when the desktop cannot take clicks.
    WindowHandle cmdHook() const { return m_hook; }

    // The car choice of the local player in the role it plays now.
    CarSelection& LocalCar() { return IsHost ? stored.host_car : stored.client_car; }

    // The race settings as the host sends them to everyone.
    GameDataMsg CurrentGameData() const;

private:
    RaceParts RaceContext(RaceChoices& choices);
    // Connects the game tick and race control to the game bridge's pieces.
    void WireRaceLoop();
    // With no game on a desktop that reports new windows, the race loop's timers stop until a
    // window appears, so that a copy waiting in a session sleeps.
    void SleepRaceLoop();
    void WakeRaceLoop();

    Platform m_platform;
    QString m_config_folder;
    GameProcess m_game{m_platform};
    GhostFiles m_ghost_files{m_game, settings};
    GameBridge* m_bridge;
    InGameChat* m_in_game_chat;
    GhostExchange m_ghosts{m_game, *m_platform.clock, roster, settings};
    HostSession* m_server;
    ClientSession* m_client;
    ServerSide* m_server_side;
    ClientSide* m_client_side;
    GameStateReader* m_reader;
    HostRace* m_host_control;
    ClientRace* m_client_flow;
    WindowHandle m_hook = 0;
    bool m_can_sleep = false;
    bool m_asleep = false;
    // The race loop's timers that were running when it fell asleep.
    std::vector<QTimer*> m_sleeping;
};

} // namespace tarvex
