#pragma once

#include "net/TextRules.h"
#include "net/Wire.h"

#include <QByteArray>
#include <QString>
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

// Every message between the host and its clients. A message is the type byte followed by its
// fields, packed, little-endian, in the order of the layout comment above each struct; text is
// a 16-bit byte count followed by UTF-8. `encode` writes the fields after the type byte,
// `decode` reads them (the type byte has already been read by the dispatcher) and yields nothing
// for a message that is short or long by even one byte, or that carries a slot, a number or a
// text we could not act on. Decoded names and chat texts are one line.
namespace tarvex {

enum class MessageType : std::uint8_t {
    Chat = 1,
    Welcome = 2,
    Quit = 3,
    LagTable = 5,
    Join = 6,
    GameStatus = 7,
    GameData = 8,
    CarChoice = 9,
    CarState = 10,
    RaceState = 11,
    Progress = 12,
    StartRace = 13,
    Split1 = 14,
    Split2 = 15,
    Finish = 16,
    FalseStart = 18,
    Restart = 19,
    Sync = 21,
};

// How a message travels (the transport's send flags): guaranteed and ordered; unguaranteed,
// dropped by the transport after DataInterval + 100 ms; guaranteed with high priority.
enum class SendOption : std::uint8_t { G, U, GH };

constexpr std::uint32_t SendFlags(SendOption option) {
    switch (option) {
    case SendOption::G:
        return 0x28;
    case SendOption::U:
        return 0x20;
    case SendOption::GH:
        return 0xA8;
    }
    return 0x28;
}

// How long the transport may hold a message before dropping it: unguaranteed messages are
// stale once the next one is due (DataInterval ms) plus some slack; the others never expire (0).
constexpr std::uint32_t SendTimeoutMs(SendOption option, int data_interval) {
    return option == SendOption::U ? std::uint32_t(std::max(data_interval, 0) + 100) : 0;
}

// Slots 0..11 are players; 12 is the overflow slot that also stands for "nobody" in chat lines
// the host makes up itself. Where a message means a player, only 0..11 will do; anything higher
// is a broken or hostile peer.
constexpr std::uint8_t MaxSlot = 12;
constexpr int SlotCount = 13;
constexpr int RowCount = 12;

// Race times run from 0 to the results' "no time" (10000 s); nothing real lies outside.
constexpr float MaxRaceSeconds = 10000.0f;

// The longest messages there are: a chat line from a client, a welcome to a full session from
// the host. The transport refuses anything longer before it is read.
constexpr int WelcomeEntryMaxBytes = 11 + MaxUtf8Bytes(MaxNameChars);
constexpr int MaxClientMessageBytes = 4 + MaxUtf8Bytes(MaxChatChars);
constexpr int MaxHostMessageBytes = 5 + (RowCount - 1) * WelcomeEntryMaxBytes;

// The name of a message type for logs; `from_host` tells the two meanings of 19 and 21 apart.
const char* MessageTypeName(std::uint8_t type, bool from_host);

// [1] slot u8, text
// Client to host, and relayed unchanged by the host to all.
struct ChatMsg {
    static constexpr MessageType Type = MessageType::Chat;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    QString text;

    void encode(WireWriter& w) const;
    static std::optional<ChatMsg> decode(WireReader& r);
};

// One player the newcomer must know about.
// slot u8, player id i32, car u8, transmission u8, tyre u8, status u8, name text
struct WelcomeEntry {
    std::uint8_t slot = 0;
    std::int32_t player_id = 0;
    std::uint8_t car = 0;
    std::uint8_t transmission = 0;
    std::uint8_t tyre = 0;
    std::uint8_t status = 0;
    QString name;

    friend bool operator==(const WelcomeEntry&, const WelcomeEntry&) = default;
};

// [2] slot u8, player count u8, player limit u8, race launched u8,
//     then (player count - 1) x WelcomeEntry in ascending slot order, the newcomer left out.
struct WelcomeMsg {
    static constexpr MessageType Type = MessageType::Welcome;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    std::uint8_t player_count = 0;
    std::uint8_t player_limit = 0;
    std::uint8_t race_launched = 0;
    std::vector<WelcomeEntry> entries;

    void encode(WireWriter& w) const;
    static std::optional<WelcomeMsg> decode(WireReader& r);
};

// [3] slot u8, player count u8, player limit u8
struct QuitMsg {
    static constexpr MessageType Type = MessageType::Quit;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    std::uint8_t player_count = 0;
    std::uint8_t player_limit = 0;

    void encode(WireWriter& w) const;
    static std::optional<QuitMsg> decode(WireReader& r);
};

// [5] one lag byte (round trip / 7 ms, capped at 255) per occupied slot 0..11, ascending.
// The table names no slots: the reader walks its own roster, so it must say how many slots
// it holds as occupied; a table of any other length is not ours to read.
struct LagTableMsg {
    static constexpr MessageType Type = MessageType::LagTable;
    static constexpr SendOption Option = SendOption::U;
    std::vector<std::uint8_t> lags;

    void encode(WireWriter& w) const;
    static std::optional<LagTableMsg> decode(WireReader& r, int occupied_slots);
};

// [6] slot u8, player count u8, player limit u8, player id i32, name text
struct JoinMsg {
    static constexpr MessageType Type = MessageType::Join;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    std::uint8_t player_count = 0;
    std::uint8_t player_limit = 0;
    std::int32_t player_id = 0;
    QString name;

    void encode(WireWriter& w) const;
    static std::optional<JoinMsg> decode(WireReader& r);
};

// [7] slot u8, status u8 (0..5)
struct GameStatusMsg {
    static constexpr MessageType Type = MessageType::GameStatus;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    std::uint8_t status = 0;

    void encode(WireWriter& w) const;
    static std::optional<GameStatusMsg> decode(WireReader& r);
};

// [8] host car u8, host transmission u8, host tyre u8, country u8, stage index u8, stage id u8,
//     weather mode u8, weather condition u8, weather preset u8, humidity u8, tyre wear u8,
//     damage u8, penalties disabled u8, setups allowed u8, data interval i16 (ms),
//     compression u8 (0..5), ghosts disabled u8, cheat protection u8, clock when paused u8,
//     rate u8 (0 = automatic)
struct GameDataMsg {
    static constexpr MessageType Type = MessageType::GameData;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t car = 0;
    std::uint8_t transmission = 0;
    std::uint8_t tyre = 0;
    std::uint8_t country = 0;
    std::uint8_t stage_index = 0;
    std::uint8_t stage_id = 0;
    std::uint8_t weather_mode = 0;
    std::uint8_t weather_condition = 0;
    std::uint8_t weather_preset = 0;
    std::uint8_t humidity = 0;
    std::uint8_t tyre_wear = 0;
    std::uint8_t damage = 0;
    std::uint8_t penalties_disabled = 0;
    std::uint8_t setups_allowed = 0;
    std::int16_t data_interval = 0;
    std::uint8_t compression = 0;
    std::uint8_t ghosts_disabled = 0;
    std::uint8_t cheat_protection = 0;
    std::uint8_t clock_when_paused = 0;
    std::uint8_t rate = 0;

    void encode(WireWriter& w) const;
    static std::optional<GameDataMsg> decode(WireReader& r);
};

// [9] slot u8, car u8, transmission u8, tyre u8
struct CarChoiceMsg {
    static constexpr MessageType Type = MessageType::CarChoice;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;
    std::uint8_t car = 0;
    std::uint8_t transmission = 0;
    std::uint8_t tyre = 0;

    void encode(WireWriter& w) const;
    static std::optional<CarChoiceMsg> decode(WireReader& r);
};

// [10] slot u8, sent at i32 (sender's ms clock), distance f32, progress u8 (0..100),
//      then the pose, whose layout is the session's compression level:
//        0: quaternion 4 x f32 (x, y, z, w), position 3 x f32     28 bytes
//        1: angles 3 x f32 (radians),        position 3 x f32     24 bytes
//        2: angle codes 3 x i16,             position 3 x f32     18 bytes
//        3: angle codes 3 x u8,              position 3 x f32     15 bytes
//        4: angle codes 3 x i16,             position 3 x 3 bytes 15 bytes
//        5: angle codes 3 x u8,              position 3 x 3 bytes 12 bytes
//      A 3-byte position value is the upper three bytes of the little-endian f32 (its lowest
//      mantissa byte dropped); decoding puts a zero byte back underneath.
// The host forwards the received bytes unchanged, so it never re-encodes this one.
struct CarStateMsg {
    static constexpr MessageType Type = MessageType::CarState;
    static constexpr SendOption Option = SendOption::U;
    static constexpr int HeaderBytes = 10;
    static constexpr std::uint8_t MaxCompression = 5;

    std::uint8_t compression = 0; // not sent: both ends use the session's level
    std::uint8_t slot = 0;
    std::int32_t sent_at = 0;
    float distance = 0;
    std::uint8_t progress = 0;
    std::array<float, 4> quaternion{};        // level 0
    std::array<float, 3> angles{};            // level 1
    std::array<std::int16_t, 3> wide_codes{}; // levels 2 and 4
    std::array<std::uint8_t, 3> byte_codes{}; // levels 3 and 5
    std::array<float, 3> position{};          // every level; 4 and 5 keep 24 bits of each

    // Bytes of the pose at a compression level, 0 for a level that does not exist.
    static int BodyBytes(std::uint8_t compression);

    void encode(WireWriter& w) const;
    static std::optional<CarStateMsg> decode(WireReader& r, std::uint8_t compression);
};

// [11] state u8: 1 race launched, 0 race stopped
struct RaceStateMsg {
    static constexpr MessageType Type = MessageType::RaceState;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t state = 0;

    void encode(WireWriter& w) const;
    static std::optional<RaceStateMsg> decode(WireReader& r);
};

// [12] slot u8, progress u8 (percent)
// Sent by the host, instead of the car state, to a player who is not on the stage.
struct ProgressMsg {
    static constexpr MessageType Type = MessageType::Progress;
    static constexpr SendOption Option = SendOption::U;
    std::uint8_t slot = 0;
    std::uint8_t progress = 0;

    void encode(WireWriter& w) const;
    static std::optional<ProgressMsg> decode(WireReader& r);
};

// [13] no fields: the start signal.
struct StartRaceMsg {
    static constexpr MessageType Type = MessageType::StartRace;
    static constexpr SendOption Option = SendOption::GH;

    void encode(WireWriter&) const {}
    static std::optional<StartRaceMsg> decode(WireReader& r);
};

// [14 | 15 | 16] slot u8, time f32 (seconds): split 1, split 2, finish.
struct TimeMsg {
    static constexpr SendOption Option = SendOption::G;
    MessageType kind = MessageType::Finish;
    std::uint8_t slot = 0;
    float time = 0;

    MessageType type() const { return kind; }
    void encode(WireWriter& w) const;
    static std::optional<TimeMsg> decode(WireReader& r, MessageType kind);
};

// [18] slot u8: that player jumped the start.
struct FalseStartMsg {
    static constexpr MessageType Type = MessageType::FalseStart;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;

    void encode(WireWriter& w) const;
    static std::optional<FalseStartMsg> decode(WireReader& r);
};

// [19] slot u8: a client votes to restart the stage (client to host).
struct VoteRestartMsg {
    static constexpr MessageType Type = MessageType::Restart;
    static constexpr SendOption Option = SendOption::G;
    std::uint8_t slot = 0;

    void encode(WireWriter& w) const;
    static std::optional<VoteRestartMsg> decode(WireReader& r);
};

// [19] no fields: the vote passed, everyone restarts (host to all).
struct DoRestartMsg {
    static constexpr MessageType Type = MessageType::Restart;
    static constexpr SendOption Option = SendOption::G;

    void encode(WireWriter&) const {}
    static std::optional<DoRestartMsg> decode(WireReader& r);
};

// [21] no fields: a client asks for the host's clock.
struct SyncMsg {
    static constexpr MessageType Type = MessageType::Sync;
    static constexpr SendOption Option = SendOption::G;

    void encode(WireWriter&) const {}
    static std::optional<SyncMsg> decode(WireReader& r);
};

// [21] host clock i32 (ms): the host's answer to the sender alone.
struct SyncReplyMsg {
    static constexpr MessageType Type = MessageType::Sync;
    static constexpr SendOption Option = SendOption::G;
    std::int32_t host_clock = 0;

    void encode(WireWriter& w) const;
    static std::optional<SyncReplyMsg> decode(WireReader& r);
};

// The type byte followed by the message's fields.
template <class Msg>
QByteArray Encode(const Msg& msg) {
    WireWriter w;
    if constexpr (requires { msg.type(); }) {
        w.U8(std::uint8_t(msg.type()));
    } else {
        w.U8(std::uint8_t(Msg::Type));
    }
    msg.encode(w);
    return w.Take();
}

} // namespace tarvex
