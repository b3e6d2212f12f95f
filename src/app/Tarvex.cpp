#include "app/Tarvex.h"

#include "race/GameData.h"
#include "race/RaceLink.h"

#include <algorithm>

namespace tarvex {

Tarvex::Tarvex(Platform platform, QString config_folder, QObject* parent)
    : QObject(parent)
    , host_race(RaceChoices::Form::Host, race, stored.host_car, SystemRandom())
    , client_race(RaceChoices::Form::Client, race, stored.client_car, SystemRandom())
    , m_platform(std::move(platform))
    , m_config_folder(std::move(config_folder))
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
    // Connected after the race link, which has stored the received interval by then.
    connect(m_client_side, &ClientSide::GameDataReceived, this, &Tarvex::ApplyDataInterval);
    connect(m_server_side, &ServerSide::ChatLine, &console, &ChatConsole::DisplayMsg);
    connect(m_server_side, &ServerSide::SystemLine, &console, &ChatConsole::DisplayText);
    connect(m_server_side, &ServerSide::GameDataNeeded, this,
            [this] { m_server_side->SendGameData(CurrentGameData()); });
    connect(m_client_side, &ClientSide::ChatLine, &console, &ChatConsole::DisplayMsg);
    connect(m_client_side, &ClientSide::SystemLine, &console, &ChatConsole::DisplayText);
    m_client_side->SetOwnCar([this] {
        const CarSelection& car = LocalCar();
        return RowCar{car.Car, car.Transmission, car.Tyre};
    });
}

Tarvex::~Tarvex() {
    if (m_hook != 0) {
        m_platform.desktop->DestroyHookButton(m_hook);
    }
}

RaceParts Tarvex::RaceContext(RaceChoices& choices) {
    // The game bridge's hooks are filled in where the bridge is wired.
    return {roster, flags,     results,           choices,           race, settings,
            m_game, *m_reader, *m_platform.sound, *m_platform.shell, {},   {}};
}

RaceSeat& Tarvex::seat() {
    return IsHost ? static_cast<RaceSeat&>(*m_host_control)
                  : static_cast<RaceSeat&>(*m_client_flow);
}

void Tarvex::BeginRaceLoop() {
    m_reader->SetSeat(&seat());
    if (m_hook == 0) {
        m_hook = m_platform.desktop->CreateHookButton([this] { m_reader->cmdHook_Click(); });
    }
    ApplyDataInterval();
    if (!m_reader->sndTimer().isActive()) {
        m_reader->Start();
    }
}

void Tarvex::ApplyDataInterval() {
    // A hand-edited INTERVAL of 0 or less would make the poll spin; one millisecond is the floor.
    m_reader->sndTimer().setInterval(std::max<int>(1, settings.DataInterval));
}

GameDataMsg Tarvex::CurrentGameData() const {
    return MakeGameData(stored);
}

} // namespace tarvex
