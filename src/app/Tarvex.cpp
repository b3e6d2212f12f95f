#include "app/Tarvex.h"

#include "app/InGameRace.h"
#include "fairplay/PhysicsCheck.h"
#include "race/GameData.h"
#include "race/RaceLink.h"

#include <QPointer>
#include <algorithm>
#include <utility>

namespace tarvex {

Tarvex::Tarvex(Platform platform, QString config_folder, QObject* parent)
    : QObject(parent)
    , host_race(RaceChoices::Form::Host, race, stored.host_car, SystemRandom())
    , client_race(RaceChoices::Form::Client, race, stored.client_car, SystemRandom())
    , m_platform(std::move(platform))
    , m_config_folder(std::move(config_folder))
    , m_bridge(new GameBridge(m_platform, m_game, stored, IsHost, m_ghost_files, this))
    , m_in_game_chat(new InGameChat(m_game, *m_bridge, *m_platform.desktop, *m_platform.keyboard,
                                    console, chat_input, this))
    , m_server(new HostSession(m_platform.dialogs, this))
    , m_client(new ClientSession(m_platform.dialogs, this))
    , m_server_side(
          new ServerSide(*m_server, roster, flags, settings, MyName, *m_platform.clock, this))
    , m_client_side(new ClientSide(*m_client, roster, flags, settings, MyName, this))
    , m_reader(new GameStateReader(m_game, *m_platform.desktop, settings, roster, flags, results,
                                   this)) {
    LinkHostRace(host_race, stored, roster, *m_server_side, results);
    LinkClientRace(client_race, stored, roster, *m_client_side, results);
    // Built after the race links, so that a client has applied the host's game data before its
    // race flow looks at it.
    m_host_control = new HostRace(RaceContext(host_race), *m_server_side, this);
    m_client_flow = new ClientRace(RaceContext(client_race), *m_client_side, this);
    connect(m_server_side, &ServerSide::VoteReceived, m_host_control, &HostRace::DoVote);
    connect(m_server_side, &ServerSide::SlotChanged, this, [this](int slot) {
        if (slot == 0 && IsHost && roster[0].Occupied()) {
            BeginRaceLoop();
        }
    });
    connect(m_client_side, &ClientSide::Welcome, this, &Tarvex::BeginRaceLoop);
    connect(m_reader, &GameStateReader::SystemLine, &console, &ChatConsole::DisplayText);
    connect(m_reader, &GameStateReader::NothingToWatch, this, &Tarvex::SleepRaceLoop);
    m_can_sleep = m_platform.desktop->WatchNewWindows([self = QPointer<Tarvex>(this)] {
        // Later, not inside the lookup that noticed the window: the tick that found no game may
        // be about to put the loop to sleep.
        if (self) {
            QMetaObject::invokeMethod(self, &Tarvex::WakeRaceLoop, Qt::QueuedConnection);
        }
    });
    WireRaceLoop();
    // Connected after the race link, which has stored the received interval by then.
    connect(m_client_side, &ClientSide::GameDataReceived, this, &Tarvex::ApplyDataInterval);
    connect(m_server_side, &ServerSide::ChatLine, &console, &ChatConsole::DisplayMsg);
    connect(m_server_side, &ServerSide::SystemLine, &console, &ChatConsole::DisplayText);
    connect(m_server_side, &ServerSide::GameDataNeeded, this,
            [this] { m_server_side->SendGameData(CurrentGameData()); });
    connect(m_client_side, &ClientSide::ChatLine, &console, &ChatConsole::DisplayMsg);
    connect(m_client_side, &ClientSide::SystemLine, &console, &ChatConsole::DisplayText);
    console.SetGameMessageBox(m_in_game_chat);
    m_in_game_chat->SetRace(InGameRace(*this));
    chat_input.SetSend([this](const QString& text) {
        if (IsHost) {
            m_server_side->SendMsg(text);
        } else {
            m_client_side->SendMsg(text);
        }
    });
    m_ghosts.SetGameClosing([this] { return m_bridge->GameClosing(); });
    m_ghosts.SetSender([this](const CarStateMsg& state) {
        if (IsHost) {
            m_server_side->SendCarState(state);
        } else {
            m_client_side->SendCarState(state);
        }
    });
    connect(m_server_side, &ServerSide::CarStateReceived, this,
            [this](const CarStateMsg& state) { m_ghosts.ReceiveCarState(state); });
    connect(m_client_side, &ClientSide::CarStateReceived, this,
            [this](const CarStateMsg& state) { m_ghosts.ReceiveCarState(state); });
    m_client_side->SetOwnCar([this] {
        const CarSelection& car = LocalCar();
        return RowCar{car.Car, car.Transmission, car.Tyre};
    });
}

Tarvex::~Tarvex() {
    // The hook belongs to the platform, which goes before the chat that it calls back.
    m_in_game_chat->UnhookKeyboard();
    if (m_hook != 0) {
        m_platform.desktop->DestroyHookButton(m_hook);
    }
}

namespace {

// A failed physics check unticks the race window's Ready box, as a click would.
class ReadyBoxWindow final : public FairPlayWindow {
public:
    explicit ReadyBoxWindow(Tarvex& tarvex)
        : m_tarvex(tarvex) {}
    void UntickReady() override { m_tarvex.chkReady().SetTicked(false); }

private:
    Tarvex& m_tarvex;
};

} // namespace

void Tarvex::WireRaceLoop() {
    GameTickSteps& steps = m_reader->Steps();
    // Our car goes out with the distance and percent the tick works out: the stage length and
    // 100 once the finish has been reported, so the others see us standing on the line.
    steps.SendCarState = [this] {
        m_ghosts.SendCarState(m_reader->GetStageDistance(), m_reader->GetProgressPercent());
    };
    steps.GhostTick = [this] {
        m_ghosts.GhostTick();
    };
    steps.ClearGhostsReady = [this] {
        m_ghosts.ClearGhostsReady();
    };
    steps.CheckPhysicsArchive = [this] {
        if (m_platform.dialogs) {
            ReadyBoxWindow window(*this);
            CheckPhysicsArchive(settings.CheatProtection == 1, m_game, *m_platform.dialogs, window);
        }
    };
    steps.ApplyGamePatches = [this] {
        m_bridge->ApplyGamePatches(m_hook);
    };
    steps.CloseGame = [this] {
        m_bridge->CloseGame();
    };
    steps.PollMenuFlags = [this] {
        m_bridge->PollMenuFlags();
    };
    steps.PollGameKeys = [this] {
        m_in_game_chat->PollGameKeys();
    };
    connect(m_bridge, &GameBridge::LoadingReached, this,
            [this] { seat().SendGameStatus(PlayerStatus::Loading); });
    connect(m_bridge, &GameBridge::VoteRestartChosen, this, [this] {
        if (IsHost) {
            m_host_control->VoteRestart();
        } else {
            m_client_flow->VoteRestart();
        }
    });
}

RaceParts Tarvex::RaceContext(RaceChoices& choices) {
    // The game is started by race control; the bridge must know it is no longer closing, and a
    // restart makes the ghosts be located again in the reloaded stage.
    return {roster,
            flags,
            results,
            choices,
            race,
            settings,
            m_game,
            *m_reader,
            *m_platform.sound,
            *m_platform.shell,
            [this] { m_bridge->ResetGameClosing(); },
            [this] {
                m_ghosts.ClearGhostsReady();
            }};
}

RaceSeat& Tarvex::seat() {
    return IsHost ? static_cast<RaceSeat&>(*m_host_control)
                  : static_cast<RaceSeat&>(*m_client_flow);
}

void Tarvex::BeginRaceLoop() {
    WakeRaceLoop();
    m_reader->SetSeat(&seat());
    if (m_hook == 0) {
        m_hook = m_platform.desktop->CreateHookButton([this] { m_reader->cmdHook_Click(); });
    }
    ApplyDataInterval();
    if (!m_reader->sndTimer().isActive()) {
        m_reader->Start();
        m_bridge->mnuTimer().start();
    }
}

void Tarvex::SleepRaceLoop() {
    if (!m_can_sleep || m_asleep) {
        return;
    }
    m_asleep = true;
    for (QTimer* timer : {&m_reader->sndTimer(), &m_reader->pTimer(), &m_bridge->mnuTimer()}) {
        if (timer->isActive()) {
            timer->stop();
            m_sleeping.push_back(timer);
        }
    }
    m_in_game_chat->SetAsleep(true);
}

void Tarvex::WakeRaceLoop() {
    if (!m_asleep) {
        return;
    }
    m_asleep = false;
    for (QTimer* timer : std::exchange(m_sleeping, {})) {
        timer->start();
    }
    m_in_game_chat->SetAsleep(false);
}

void Tarvex::ApplyDataInterval() {
    // A hand-edited INTERVAL of 0 or less would make the poll spin; one millisecond is the floor.
    m_reader->sndTimer().setInterval(std::max<int>(1, settings.DataInterval));
}

GameDataMsg Tarvex::CurrentGameData() const {
    return MakeGameData(stored);
}

} // namespace tarvex
