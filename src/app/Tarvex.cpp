#include "app/Tarvex.h"

#include "app/InGameRace.h"
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
    , m_bridge(new GameBridge(m_platform, m_game, stored, IsHost, m_ghost_files, this))
    , m_in_game_chat(new InGameChat(m_game, *m_bridge, *m_platform.desktop, *m_platform.keyboard,
                                    console, chat_input, this))
    , m_server(new HostSession(m_platform.dialogs, this))
    , m_client(new ClientSession(m_platform.dialogs, this))
    , m_server_side(
          new ServerSide(*m_server, roster, flags, settings, MyName, *m_platform.clock, this))
    , m_client_side(new ClientSide(*m_client, roster, flags, settings, MyName, this))
    , m_snd_timer(new QTimer(this)) {
    m_snd_timer->setObjectName(QStringLiteral("sndTimer"));
    LinkHostRace(host_race, stored, roster, *m_server_side, results);
    LinkClientRace(client_race, stored, roster, *m_client_side, results);
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
}

void Tarvex::ApplyDataInterval() {
    // A hand-edited INTERVAL of 0 or less would make the poll spin; one millisecond is the floor.
    m_snd_timer->setInterval(std::max<int>(1, settings.DataInterval));
}

GameDataMsg Tarvex::CurrentGameData() const {
    return MakeGameData(stored);
}

} // namespace tarvex
