#include "net/Roster.h"

#include <algorithm>

namespace tarvex {

QString StatusName(std::uint8_t status, bool start_given) {
    switch (PlayerStatus(status)) {
    case PlayerStatus::Null:
        return QStringLiteral("Null");
    case PlayerStatus::Idle:
        return QStringLiteral("Idle");
    case PlayerStatus::Ready:
        return QStringLiteral("Ready");
    case PlayerStatus::Loading:
        return QStringLiteral("Loading");
    case PlayerStatus::Driving:
        return start_given ? QStringLiteral("Driving") : QStringLiteral("Waiting");
    case PlayerStatus::Finished:
        return QStringLiteral("Finished");
    }
    return {};
}

Roster::Roster() {
    Reset();
}

int Roster::FreeSlot() const {
    for (int slot = 1; slot <= 11; ++slot) {
        if (!players[std::size_t(slot)].Occupied()) {
            return slot;
        }
    }
    return MaxSlot;
}

int Roster::QuitSlot(std::int32_t player_id) const {
    for (int slot = 1; slot <= 11; ++slot) {
        if (players[std::size_t(slot)].PlayerId == player_id) {
            return slot;
        }
    }
    return MaxSlot;
}

std::optional<int> Roster::SlotOf(std::int32_t player_id) const {
    for (int slot = 0; slot < SlotCount; ++slot) {
        const PlayerRecord& record = players[std::size_t(slot)];
        if (record.Occupied() && record.PlayerId == player_id) {
            return slot;
        }
    }
    return std::nullopt;
}

void Roster::Occupy(int slot, std::int32_t player_id, const QString& name) {
    PlayerRecord& record = players[std::size_t(slot)];
    record.PlayerId = player_id;
    record.Slot = std::uint8_t(slot);
    record.Name = name;
    record.InUse = -1;
}

void Roster::Clear(int slot) {
    players[std::size_t(slot)] = PlayerRecord{};
    players[std::size_t(slot)].Slot = std::uint8_t(slot);
    cars[std::size_t(slot)] = RowCar{};
}

void Roster::Reset() {
    for (int slot = 0; slot < SlotCount; ++slot) {
        Clear(slot);
    }
    PlayerCount = 0;
    HostPlayerId = 0;
    LocalSlot = 0;
}

std::vector<int> Roster::OccupiedRows() const {
    std::vector<int> rows;
    for (int slot = 0; slot < RowCount; ++slot) {
        if (players[std::size_t(slot)].Occupied()) {
            rows.push_back(slot);
        }
    }
    return rows;
}

QString Roster::PlayerCountText() const {
    return QStringLiteral("Player(s): ") + QString::number(PlayerCount) + u'/' +
           QString::number(MaxPlayerCount);
}

WelcomeMsg Roster::Welcome(int new_slot, std::uint8_t race_launched) const {
    WelcomeMsg welcome;
    welcome.slot = std::uint8_t(new_slot);
    welcome.player_count = PlayerCount;
    welcome.player_limit = MaxPlayerCount;
    welcome.race_launched = race_launched;
    for (int slot : OccupiedRows()) {
        if (slot == new_slot) {
            continue;
        }
        const PlayerRecord& record = players[std::size_t(slot)];
        const RowCar& car = cars[std::size_t(slot)];
        welcome.entries.push_back({std::uint8_t(slot), record.PlayerId, car.car, car.transmission,
                                   car.tyre, record.Status, record.Name});
    }
    return welcome;
}

void Roster::ApplyWelcome(const WelcomeMsg& welcome, const QString& my_name) {
    LocalSlot = welcome.slot;
    PlayerCount = welcome.player_count;
    MaxPlayerCount = welcome.player_limit;
    for (const WelcomeEntry& entry : welcome.entries) {
        Occupy(entry.slot, entry.player_id, entry.name);
        players[entry.slot].Status = entry.status;
        cars[entry.slot] = {entry.car, entry.transmission, entry.tyre};
    }
    // Our own id arrives with our own join message, which follows the welcome.
    PlayerRecord& own = players[LocalSlot];
    own.Name = my_name;
    own.Slot = LocalSlot;
    own.InUse = -1;
}

LagTableMsg Roster::LagTable() const {
    LagTableMsg table;
    for (int slot : OccupiedRows()) {
        table.lags.push_back(players[std::size_t(slot)].Lag);
    }
    return table;
}

bool Roster::ApplyLagTable(const LagTableMsg& table) {
    const std::vector<int> rows = OccupiedRows();
    if (table.lags.size() != rows.size()) {
        return false;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        players[std::size_t(rows[i])].Lag = table.lags[i];
    }
    return true;
}

std::uint8_t LagByte(std::int64_t round_trip_ms) {
    return std::uint8_t(std::clamp<std::int64_t>(round_trip_ms / 7, 0, 255));
}

QString LagTooltip(std::uint8_t lag) {
    return QString::number(int(lag) * 7);
}

} // namespace tarvex
