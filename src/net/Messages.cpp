#include "net/Messages.h"

#include <bit>

namespace tarvex {

namespace {

// A decoder's last word: the message counts only when every field was there and nothing else.
// Bytes left over are no part of the layout, and a relay must not pass them on.
template <class Msg>
std::optional<Msg> Complete(const WireReader& r, Msg msg) {
    if (!r.ok() || !r.AtEnd()) {
        return std::nullopt;
    }
    return msg;
}

// Any slot a message may carry: the players and the overflow slot.
bool AnySlot(std::uint8_t slot) {
    return slot <= MaxSlot;
}

// A slot that stands for a player, host or client: it has a row.
bool PlayerSlot(std::uint8_t slot) {
    return slot < RowCount;
}

// A slot only a client sits in.
bool ClientSlot(std::uint8_t slot) {
    return slot >= 1 && slot < RowCount;
}

// Statuses run from Null (0) to Finished (5).
bool ValidStatus(std::uint8_t status) {
    return status <= 5;
}

// Counters as the host keeps them: at least the host itself, at most every slot; the limit the
// connect dialog allows.
bool ValidCounters(std::uint8_t player_count, std::uint8_t player_limit) {
    return player_count >= 1 && player_count <= SlotCount && player_limit >= 2 &&
           player_limit <= RowCount;
}

// False for NaN too, so every number that is no number is refused with the out-of-range ones.
bool Within(float value, float low, float high) {
    return value >= low && value <= high;
}

// Generous bounds: a real stage is tens of kilometres long, a real rotation a unit quaternion
// or angles within a turn. They keep infinities, NaN and absurd magnitudes away from every
// conversion and drawing that follows.
constexpr float MaxDistance = 1.0e6f;
constexpr float MaxCoordinate = 1.0e7f;
constexpr float MaxQuaternionPart = 2.0f;
constexpr float MaxAngle = 8.0f;

bool ValidPose(const CarStateMsg& msg) {
    if (!Within(msg.distance, -MaxDistance, MaxDistance) || msg.progress > 100) {
        return false;
    }
    for (float value : msg.position) {
        if (!Within(value, -MaxCoordinate, MaxCoordinate)) {
            return false;
        }
    }
    if (msg.compression == 0) {
        for (float value : msg.quaternion) {
            if (!Within(value, -MaxQuaternionPart, MaxQuaternionPart)) {
                return false;
            }
        }
    } else if (msg.compression == 1) {
        for (float value : msg.angles) {
            if (!Within(value, -MaxAngle, MaxAngle)) {
                return false;
            }
        }
    }
    return true;
}

// The upper three bytes of a single; the lowest mantissa byte is dropped.
void PackSingle3(WireWriter& w, float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    w.U8(std::uint8_t(bits >> 8));
    w.U8(std::uint8_t(bits >> 16));
    w.U8(std::uint8_t(bits >> 24));
}

float UnpackSingle3(WireReader& r) {
    const std::uint32_t b1 = r.U8();
    const std::uint32_t b2 = r.U8();
    const std::uint32_t b3 = r.U8();
    return std::bit_cast<float>((b1 << 8) | (b2 << 16) | (b3 << 24));
}

} // namespace

const char* MessageTypeName(std::uint8_t type, bool from_host) {
    switch (MessageType(type)) {
    case MessageType::Chat:
        return "SendMsg";
    case MessageType::Welcome:
        return "SendWelcome";
    case MessageType::Quit:
        return "SendQuit";
    case MessageType::LagTable:
        return "SendPing";
    case MessageType::Join:
        return "SendJoin";
    case MessageType::GameStatus:
        return "SendGameStatus";
    case MessageType::GameData:
        return "SendGameData";
    case MessageType::CarChoice:
        return "SendCarChoice";
    case MessageType::CarState:
        return "SendCarState";
    case MessageType::RaceState:
        return "SendRaceState";
    case MessageType::Progress:
        return "SendProgress";
    case MessageType::StartRace:
        return "StartRace";
    case MessageType::Split1:
        return "SendTime(split 1)";
    case MessageType::Split2:
        return "SendTime(split 2)";
    case MessageType::Finish:
        return "SendTime(finish)";
    case MessageType::FalseStart:
        return "SendFStart";
    case MessageType::Restart:
        return from_host ? "DoRestart" : "VoteRestart";
    case MessageType::Sync:
        return from_host ? "SendSync(reply)" : "SendSync";
    }
    return "unknown";
}

void ChatMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.Text(text);
}

std::optional<ChatMsg> ChatMsg::decode(WireReader& r) {
    ChatMsg msg;
    msg.slot = r.U8();
    msg.text = OneLine(r.Text(MaxChatChars));
    if (!AnySlot(msg.slot)) {
        return std::nullopt;
    }
    return Complete(r, std::move(msg));
}

void WelcomeMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(player_count);
    w.U8(player_limit);
    w.U8(race_launched);
    for (const WelcomeEntry& entry : entries) {
        w.U8(entry.slot);
        w.I32(entry.player_id);
        w.U8(entry.car);
        w.U8(entry.transmission);
        w.U8(entry.tyre);
        w.U8(entry.status);
        w.Text(entry.name);
    }
}

std::optional<WelcomeMsg> WelcomeMsg::decode(WireReader& r) {
    WelcomeMsg msg;
    msg.slot = r.U8();
    msg.player_count = r.U8();
    msg.player_limit = r.U8();
    msg.race_launched = r.U8();
    // The count says how many entries follow: one per other player with a row, so at most
    // eleven, and the newcomer itself is always one of the players. Only a client is welcomed.
    if (!r.ok() || !ClientSlot(msg.slot) || !ValidCounters(msg.player_count, msg.player_limit) ||
        msg.player_count > RowCount) {
        return std::nullopt;
    }
    msg.entries.reserve(msg.player_count - 1);
    int previous_slot = -1;
    for (int i = 1; i < msg.player_count; ++i) {
        WelcomeEntry entry;
        entry.slot = r.U8();
        entry.player_id = r.I32();
        entry.car = r.U8();
        entry.transmission = r.U8();
        entry.tyre = r.U8();
        entry.status = r.U8();
        entry.name = OneLine(r.Text(MaxNameChars));
        // Ascending, so no slot comes twice, and never the newcomer's own.
        if (!r.ok() || !PlayerSlot(entry.slot) || entry.slot <= previous_slot ||
            entry.slot == msg.slot || !ValidStatus(entry.status)) {
            return std::nullopt;
        }
        previous_slot = entry.slot;
        msg.entries.push_back(std::move(entry));
    }
    return Complete(r, std::move(msg));
}

void QuitMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(player_count);
    w.U8(player_limit);
}

std::optional<QuitMsg> QuitMsg::decode(WireReader& r) {
    QuitMsg msg;
    msg.slot = r.U8();
    msg.player_count = r.U8();
    msg.player_limit = r.U8();
    // A client's slot, or the overflow slot a leave for an unknown player clears.
    if (msg.slot == 0 || !AnySlot(msg.slot) || !ValidCounters(msg.player_count, msg.player_limit)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void LagTableMsg::encode(WireWriter& w) const {
    for (std::uint8_t lag : lags) {
        w.U8(lag);
    }
}

std::optional<LagTableMsg> LagTableMsg::decode(WireReader& r, int occupied_slots) {
    if (occupied_slots < 0 || occupied_slots > RowCount) {
        return std::nullopt;
    }
    LagTableMsg msg;
    msg.lags.resize(std::size_t(occupied_slots));
    for (std::uint8_t& lag : msg.lags) {
        lag = r.U8();
    }
    // A table of another length was built while a join or quit was still on its way to us:
    // its bytes would land on the wrong players. The next one follows a few seconds later.
    return Complete(r, std::move(msg));
}

void JoinMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(player_count);
    w.U8(player_limit);
    w.I32(player_id);
    w.Text(name);
}

std::optional<JoinMsg> JoinMsg::decode(WireReader& r) {
    JoinMsg msg;
    msg.slot = r.U8();
    msg.player_count = r.U8();
    msg.player_limit = r.U8();
    msg.player_id = r.I32();
    msg.name = OneLine(r.Text(MaxNameChars));
    if (!ClientSlot(msg.slot) || !ValidCounters(msg.player_count, msg.player_limit)) {
        return std::nullopt;
    }
    return Complete(r, std::move(msg));
}

void GameStatusMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(status);
}

std::optional<GameStatusMsg> GameStatusMsg::decode(WireReader& r) {
    GameStatusMsg msg;
    msg.slot = r.U8();
    msg.status = r.U8();
    if (!PlayerSlot(msg.slot) || !ValidStatus(msg.status)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void GameDataMsg::encode(WireWriter& w) const {
    w.U8(car);
    w.U8(transmission);
    w.U8(tyre);
    w.U8(country);
    w.U8(stage_index);
    w.U8(stage_id);
    w.U8(weather_mode);
    w.U8(weather_condition);
    w.U8(weather_preset);
    w.U8(humidity);
    w.U8(tyre_wear);
    w.U8(damage);
    w.U8(penalties_disabled);
    w.U8(setups_allowed);
    w.I16(data_interval);
    w.U8(compression);
    w.U8(ghosts_disabled);
    w.U8(cheat_protection);
    w.U8(clock_when_paused);
    w.U8(rate);
}

std::optional<GameDataMsg> GameDataMsg::decode(WireReader& r) {
    GameDataMsg msg;
    msg.car = r.U8();
    msg.transmission = r.U8();
    msg.tyre = r.U8();
    msg.country = r.U8();
    msg.stage_index = r.U8();
    msg.stage_id = r.U8();
    msg.weather_mode = r.U8();
    msg.weather_condition = r.U8();
    msg.weather_preset = r.U8();
    msg.humidity = r.U8();
    msg.tyre_wear = r.U8();
    msg.damage = r.U8();
    msg.penalties_disabled = r.U8();
    msg.setups_allowed = r.U8();
    msg.data_interval = r.I16();
    msg.compression = r.U8();
    msg.ghosts_disabled = r.U8();
    msg.cheat_protection = r.U8();
    msg.clock_when_paused = r.U8();
    msg.rate = r.U8();
    // The level decides how every later car state is read; one we do not know would make all of
    // them unreadable.
    if (msg.compression > CarStateMsg::MaxCompression) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void CarChoiceMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(car);
    w.U8(transmission);
    w.U8(tyre);
}

std::optional<CarChoiceMsg> CarChoiceMsg::decode(WireReader& r) {
    CarChoiceMsg msg;
    msg.slot = r.U8();
    msg.car = r.U8();
    msg.transmission = r.U8();
    msg.tyre = r.U8();
    if (!PlayerSlot(msg.slot)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

int CarStateMsg::BodyBytes(std::uint8_t compression) {
    static constexpr std::array<int, 6> Bytes = {28, 24, 18, 15, 15, 12};
    return compression <= MaxCompression ? Bytes[compression] : 0;
}

void CarStateMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.I32(sent_at);
    w.F32(distance);
    w.U8(progress);
    switch (compression) {
    case 0:
        for (float value : quaternion) {
            w.F32(value);
        }
        break;
    case 1:
        for (float value : angles) {
            w.F32(value);
        }
        break;
    case 2:
    case 4:
        for (std::int16_t code : wide_codes) {
            w.I16(code);
        }
        break;
    default:
        for (std::uint8_t code : byte_codes) {
            w.U8(code);
        }
        break;
    }
    for (float value : position) {
        if (compression >= 4) {
            PackSingle3(w, value);
        } else {
            w.F32(value);
        }
    }
}

std::optional<CarStateMsg> CarStateMsg::decode(WireReader& r, std::uint8_t compression) {
    if (compression > MaxCompression) {
        return std::nullopt;
    }
    CarStateMsg msg;
    msg.compression = compression;
    msg.slot = r.U8();
    msg.sent_at = r.I32();
    msg.distance = r.F32();
    msg.progress = r.U8();
    switch (compression) {
    case 0:
        for (float& value : msg.quaternion) {
            value = r.F32();
        }
        break;
    case 1:
        for (float& value : msg.angles) {
            value = r.F32();
        }
        break;
    case 2:
    case 4:
        for (std::int16_t& code : msg.wide_codes) {
            code = r.I16();
        }
        break;
    default:
        for (std::uint8_t& code : msg.byte_codes) {
            code = r.U8();
        }
        break;
    }
    for (float& value : msg.position) {
        value = compression >= 4 ? UnpackSingle3(r) : r.F32();
    }
    if (!PlayerSlot(msg.slot) || !ValidPose(msg)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void RaceStateMsg::encode(WireWriter& w) const {
    w.U8(state);
}

std::optional<RaceStateMsg> RaceStateMsg::decode(WireReader& r) {
    RaceStateMsg msg;
    msg.state = r.U8();
    if (msg.state > 1) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void ProgressMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.U8(progress);
}

std::optional<ProgressMsg> ProgressMsg::decode(WireReader& r) {
    ProgressMsg msg;
    msg.slot = r.U8();
    msg.progress = r.U8();
    if (!PlayerSlot(msg.slot) || msg.progress > 100) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

std::optional<StartRaceMsg> StartRaceMsg::decode(WireReader& r) {
    return Complete(r, StartRaceMsg{});
}

void TimeMsg::encode(WireWriter& w) const {
    w.U8(slot);
    w.F32(time);
}

std::optional<TimeMsg> TimeMsg::decode(WireReader& r, MessageType kind) {
    if (kind != MessageType::Split1 && kind != MessageType::Split2 && kind != MessageType::Finish) {
        return std::nullopt;
    }
    TimeMsg msg;
    msg.kind = kind;
    msg.slot = r.U8();
    msg.time = r.F32();
    if (!PlayerSlot(msg.slot) || !Within(msg.time, 0.0f, MaxRaceSeconds)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void FalseStartMsg::encode(WireWriter& w) const {
    w.U8(slot);
}

std::optional<FalseStartMsg> FalseStartMsg::decode(WireReader& r) {
    FalseStartMsg msg;
    msg.slot = r.U8();
    if (!PlayerSlot(msg.slot)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

void VoteRestartMsg::encode(WireWriter& w) const {
    w.U8(slot);
}

std::optional<VoteRestartMsg> VoteRestartMsg::decode(WireReader& r) {
    VoteRestartMsg msg;
    msg.slot = r.U8();
    if (!PlayerSlot(msg.slot)) {
        return std::nullopt;
    }
    return Complete(r, msg);
}

std::optional<DoRestartMsg> DoRestartMsg::decode(WireReader& r) {
    return Complete(r, DoRestartMsg{});
}

std::optional<SyncMsg> SyncMsg::decode(WireReader& r) {
    return Complete(r, SyncMsg{});
}

void SyncReplyMsg::encode(WireWriter& w) const {
    w.I32(host_clock);
}

std::optional<SyncReplyMsg> SyncReplyMsg::decode(WireReader& r) {
    SyncReplyMsg msg;
    msg.host_clock = r.I32();
    return Complete(r, msg);
}

} // namespace tarvex
