#include "race/RaceLink.h"

#include "race/GameData.h"

namespace tarvex {

RowCar ToRowCar(const CarSelection& car) {
    return {car.Car, car.Transmission, car.Tyre};
}

CarSelection ToCarSelection(const RowCar& car) {
    return {car.car, car.transmission, car.tyre};
}

void LinkHostRace(RaceChoices& choices, StoredSettings& stored, Roster& roster, ServerSide& side,
                  Results& results) {
    choices.SendGameData = [&stored, &side] {
        side.SendGameData(MakeGameData(stored));
    };
    // The host's row is what newcomers are told in their welcome.
    roster.cars[0] = ToRowCar(stored.host_car);
    QObject::connect(&choices, &RaceChoices::OwnCarChanged, &side,
                     [&roster, &stored] { roster.cars[0] = ToRowCar(stored.host_car); });
    auto show_row = [&choices, &roster](int slot) {
        if (slot != 0) {
            choices.ShowCar(slot, ToCarSelection(roster.cars[std::size_t(slot)]));
        }
    };
    QObject::connect(&side, &ServerSide::CarChoiceChanged, &choices, show_row);
    QObject::connect(&side, &ServerSide::SlotChanged, &choices, show_row);

    QObject::connect(&side, &ServerSide::TimeReceived, &results, [&results](const TimeMsg& msg) {
        results.RecordTime(int(msg.kind), msg.slot, msg.time);
    });
    QObject::connect(&side, &ServerSide::FalseStartReceived, &results,
                     [&results](int slot) { results.RecordFalseStart(slot); });
    QObject::connect(
        &side, &ServerSide::CarStateReceived, &results,
        [&results](const CarStateMsg& msg) { results.RecordPercent(msg.slot, msg.progress); });
}

void LinkClientRace(RaceChoices& choices, StoredSettings& stored, Roster& roster, ClientSide& side,
                    Results& results) {
    // The session drops what is sent before the host has let us in.
    choices.SendGameData = [&stored, &side] {
        side.SendCarChoice(ToRowCar(stored.client_car));
    };
    QObject::connect(&choices, &RaceChoices::OwnCarChanged, &side, [&roster, &stored] {
        roster.cars[roster.LocalSlot] = ToRowCar(stored.client_car);
    });
    auto show_row = [&choices, &roster](int slot) {
        if (slot >= 0 && slot < RaceChoices::kRowCount && slot != roster.LocalSlot) {
            choices.ShowCar(slot, ToCarSelection(roster.cars[std::size_t(slot)]));
        }
    };
    QObject::connect(&side, &ClientSide::CarChoiceChanged, &choices, show_row);
    QObject::connect(&side, &ClientSide::SlotChanged, &choices, show_row);
    QObject::connect(&side, &ClientSide::Welcome, &choices, [&choices, &roster, show_row] {
        choices.SetLocalSlot(roster.LocalSlot);
        choices.ShowCar(roster.LocalSlot, ToCarSelection(roster.cars[roster.LocalSlot]));
        for (int slot = 0; slot < RaceChoices::kRowCount; ++slot) {
            show_row(slot);
        }
    });
    QObject::connect(&side, &ClientSide::GameDataReceived, &choices,
                     [&choices, &stored, &roster](const GameDataMsg& msg) {
                         roster.cars[0] = {msg.car, msg.transmission, msg.tyre};
                         ShowGameData(msg, stored, choices);
                     });

    QObject::connect(&side, &ClientSide::TimeReceived, &results, [&results](const TimeMsg& msg) {
        results.RecordTime(int(msg.kind), msg.slot, msg.time);
    });
    // The own false start never comes back here: it was recorded when it happened.
    QObject::connect(&side, &ClientSide::FalseStartReceived, &results,
                     [&results](int slot) { results.RecordFalseStart(slot); });
    QObject::connect(
        &side, &ClientSide::ProgressReceived, &results,
        [&results](int slot, std::uint8_t percent) { results.RecordPercent(slot, percent); });
    QObject::connect(
        &side, &ClientSide::CarStateReceived, &results,
        [&results](const CarStateMsg& msg) { results.RecordPercent(msg.slot, msg.progress); });
}

} // namespace tarvex
