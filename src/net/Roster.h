#pragma once

#include "net/Messages.h"

#include <QString>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvex {

enum class PlayerStatus : std::uint8_t { Null = 0, Idle, Ready, Loading, Driving, Finished };

// The word a status is shown with; Driving reads "Waiting" while the cars are held at the line.
QString StatusName(std::uint8_t status, bool start_given);

// Driving and finished players see the others' ghosts, so only they get car states.
constexpr bool OnStage(std::uint8_t status) {
    return status == std::uint8_t(PlayerStatus::Driving) ||
           status == std::uint8_t(PlayerStatus::Finished);
}

// One slot of the session. Field names and widths are the ones every copy of Tarvex agrees on.
struct PlayerRecord {
    QString Name;
    std::int32_t PlayerId = 0;
    std::uint8_t Slot = 0;
    std::int16_t InUse = 0; // -1 occupied, 0 free
    std::uint8_t Lag = 0;   // round trip / 7 ms
    std::uint8_t Status = 0;
    float Distance = 0;

    bool Occupied() const { return InUse != 0; }
};

// What a row's car, transmission and tyre lists show; NoChoice when a list has no selection.
struct RowCar {
    static constexpr std::uint8_t NoChoice = 255;
    std::uint8_t car = NoChoice;
    std::uint8_t transmission = NoChoice;
    std::uint8_t tyre = NoChoice;
};

// The table of players every copy keeps: 13 slots (0 the host, 1..11 clients in joining order,
// 12 the overflow), the session's counters, and which slot is ours.
class Roster {
public:
    Roster();

    std::array<PlayerRecord, SlotCount> players;
    std::array<RowCar, SlotCount> cars;
    std::uint8_t PlayerCount = 0;
    std::uint8_t MaxPlayerCount = 12;
    std::int32_t HostPlayerId = 0;
    std::uint8_t LocalSlot = 0;

    PlayerRecord& operator[](int slot) { return players[std::size_t(slot)]; }
    const PlayerRecord& operator[](int slot) const { return players[std::size_t(slot)]; }

    // Where the next client sits: the lowest free slot of 1..11, else the overflow slot 12.
    int FreeSlot() const;
    // The client slot (1..11) holding the player id; 12 when none does, as a leave event for an
    // unknown id clears the overflow slot.
    int QuitSlot(std::int32_t player_id) const;
    // Any slot 0..12 holding the player id.
    std::optional<int> SlotOf(std::int32_t player_id) const;

    void Occupy(int slot, std::int32_t player_id, const QString& name);
    // Back to a free slot: no name, id, lag, status, distance or car.
    void Clear(int slot);
    // Every slot free and the counters at zero, as after a lost session.
    void Reset();

    // The occupied slots among the twelve rows, ascending: the lag table's order.
    std::vector<int> OccupiedRows() const;
    bool IsRowVisible(int row) const { return row <= MaxPlayerCount - 1; }

    // "Player(s): 3/8"
    QString PlayerCountText() const;

    // The welcome for a client just put into `new_slot`: every other occupied row, ascending.
    WelcomeMsg Welcome(int new_slot, std::uint8_t race_launched) const;
    // Fills the roster from a welcome, as the client that receives it. `my_name` goes into the
    // own slot.
    void ApplyWelcome(const WelcomeMsg& welcome, const QString& my_name);

    // The lag table of the occupied rows.
    LagTableMsg LagTable() const;
    // Reads a lag table into the occupied rows; false when it does not fit them.
    bool ApplyLagTable(const LagTableMsg& table);
};

// Round trip in milliseconds to the lag byte: sevenths of a millisecond, capped at 255.
std::uint8_t LagByte(std::int64_t round_trip_ms);
// "119" for a lag byte of 17: the milliseconds the byte stands for, as text.
QString LagTooltip(std::uint8_t lag);

} // namespace tarvex
