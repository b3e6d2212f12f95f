#include "race/GameData.h"

#include "race/RaceCatalogue.h"

namespace tarvex {

GameDataMsg MakeGameData(const StoredSettings& stored) {
    const RaceSettings& race = stored.race;
    const Settings& settings = stored.settings;
    GameDataMsg msg;
    msg.car = stored.host_car.Car;
    msg.transmission = stored.host_car.Transmission;
    msg.tyre = stored.host_car.Tyre;
    msg.country = race.Country;
    msg.stage_index = race.StageIndex;
    msg.stage_id = race.StageId;
    msg.weather_mode = race.WeatherMode;
    msg.weather_condition = race.WeatherCondition;
    msg.weather_preset = race.WeatherPreset;
    msg.humidity = race.Humidity;
    msg.tyre_wear = race.TyreWear;
    msg.damage = race.Damage;
    msg.penalties_disabled = race.PenaltiesDisabled;
    msg.setups_allowed = race.SetupsAllowed;
    msg.data_interval = settings.DataInterval;
    msg.compression = settings.Compression;
    msg.ghosts_disabled = settings.GhostsDisabled;
    msg.cheat_protection = settings.CheatProtection;
    msg.clock_when_paused = settings.ClockWhenPaused;
    msg.rate = settings.RateAuto == 0 ? settings.Rate : 0;
    return msg;
}

void ApplyGameData(const GameDataMsg& msg, StoredSettings& stored) {
    RaceSettings& race = stored.race;
    Settings& settings = stored.settings;
    // The client never saves the host's own car keys, so holding the host's car here is safe.
    stored.host_car = {msg.car, msg.transmission, msg.tyre};
    race.Country = msg.country;
    race.StageIndex = msg.stage_index;
    race.StageId = msg.stage_id;
    race.WeatherMode = msg.weather_mode;
    race.WeatherCondition = msg.weather_condition;
    race.WeatherPreset = msg.weather_preset;
    race.Humidity = msg.humidity;
    race.TyreWear = msg.tyre_wear;
    race.Damage = msg.damage;
    race.PenaltiesDisabled = msg.penalties_disabled;
    race.SetupsAllowed = msg.setups_allowed;
    settings.DataInterval = msg.data_interval;
    settings.Compression = msg.compression;
    settings.GhostsDisabled = msg.ghosts_disabled;
    settings.CheatProtection = msg.cheat_protection;
    settings.ClockWhenPaused = msg.clock_when_paused;
    if (msg.rate == 0) {
        settings.RateAuto = 1;
    } else {
        settings.Rate = msg.rate;
        settings.RateAuto = 0;
    }
}

CarChoiceMsg MakeCarChoice(int slot, const CarSelection& car) {
    CarChoiceMsg msg;
    msg.slot = std::uint8_t(slot);
    msg.car = car.Car;
    msg.transmission = car.Transmission;
    msg.tyre = car.Tyre;
    return msg;
}

void ShowGameData(const GameDataMsg& msg, StoredSettings& stored, RaceChoices& choices) {
    ApplyGameData(msg, stored);
    choices.ShowCar(0, stored.host_car);
    choices.LoadOld();
}

RaceHeader DescribeRace(const RaceSettings& race) {
    RaceHeader header;
    header.StageName = StageName(race.StageId);
    header.WeatherName = WeatherModeNames().value(race.WeatherMode);
    header.DamageName = DamageNames().value(race.Damage);
    header.PenaltiesDisabled = race.PenaltiesDisabled != 0;
    header.SetupsAllowed = race.SetupsAllowed != 0;
    return header;
}

std::array<ResultSlot, kResultSlots> ResultRoster(const Roster& roster,
                                                  const RaceChoices& choices) {
    std::array<ResultSlot, kResultSlots> entries;
    for (int slot = 0; slot < kResultSlots; ++slot) {
        const PlayerRecord& player = roster[slot];
        entries[slot].InUse = player.Occupied();
        entries[slot].Status = player.Status;
        entries[slot].Name = player.Name;
        entries[slot].Car = choices.pCar[slot].CurrentText();
        entries[slot].Transmission = choices.pTrans[slot].CurrentText();
        entries[slot].Tyre = choices.pTyre[slot].CurrentText();
    }
    return entries;
}

int NewRaceResult(Results& results, Roster& roster, const RaceChoices& choices,
                  const RaceSettings& race, const QDateTime& now, bool is_host) {
    for (int slot = 0; slot < kResultSlots; ++slot) {
        roster[slot].Distance = 0;
    }
    return results.NewRaceResult(ResultRoster(roster, choices), DescribeRace(race), now, is_host);
}

} // namespace tarvex
