#include "app/Tarvex.h"

namespace tarvex {

Tarvex::Tarvex(Platform platform, QString config_folder, QObject* parent)
    : QObject(parent)
    , m_platform(std::move(platform))
    , m_config_folder(std::move(config_folder))
    , m_server(new HostSession(m_platform.dialogs, this))
    , m_client(new ClientSession(m_platform.dialogs, this))
    , m_server_side(
          new ServerSide(*m_server, roster, flags, settings, MyName, *m_platform.clock, this))
    , m_client_side(new ClientSide(*m_client, roster, flags, settings, MyName, this)) {
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

Tarvex::~Tarvex() = default;

GameDataMsg Tarvex::CurrentGameData() const {
    GameDataMsg data;
    data.car = stored.host_car.Car;
    data.transmission = stored.host_car.Transmission;
    data.tyre = stored.host_car.Tyre;
    data.country = race.Country;
    data.stage_index = race.StageIndex;
    data.stage_id = race.StageId;
    data.weather_mode = race.WeatherMode;
    data.weather_condition = race.WeatherCondition;
    data.weather_preset = race.WeatherPreset;
    data.humidity = race.Humidity;
    data.tyre_wear = race.TyreWear;
    data.damage = race.Damage;
    data.penalties_disabled = race.PenaltiesDisabled;
    data.setups_allowed = race.SetupsAllowed;
    data.data_interval = settings.DataInterval;
    data.compression = settings.Compression;
    data.ghosts_disabled = settings.GhostsDisabled;
    data.cheat_protection = settings.CheatProtection;
    data.clock_when_paused = settings.ClockWhenPaused;
    data.rate = settings.RateAuto == 0 ? settings.Rate : 0;
    return data;
}

} // namespace tarvex
