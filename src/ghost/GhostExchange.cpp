#include "ghost/GhostExchange.h"

#include "app/Settings.h"
#include "game/RaceBlock.h"
#include "ghost/CarStateCodec.h"
#include "ghost/NameTag.h"
#include "net/Roster.h"
#include "platform/Clock.h"

#include <cmath>

namespace tarvex {

namespace {

// Per build 1..4: the location holding the local car body's address.
constexpr std::array<std::uint32_t, 4> CarBodyAt = {0x8CECC0, 0x8E9F20, 0x8EF660, 0x8E1658};
// Builds 3 and 4: the engine object from which the chain to the ghost objects starts.
constexpr std::uint32_t EngineAt(GameBuild build) {
    return build == 3 ? 0x7EA6A8 : build == 4 ? 0x7EC7E8 : 0;
}

// Offsets from a ghost object's world matrix: its colour, red, green, blue as 0..1.
constexpr std::uint32_t GhostColour = 0x1A0;
// The camera object hangs off the race block; its rows start at +0xCC of the object it points
// to at +0x10.
constexpr std::uint32_t RaceCamera = 0x758;
constexpr std::uint32_t CameraRowsAt = 0xCC;

// Until the first car state, a ghost waits this far below the stage, where it is not drawn.
constexpr float ParkedHeight = -10000.0f;

constexpr std::uint8_t SlotColours[12][3] = {
    {234, 49, 52},   {35, 51, 234},   {234, 234, 35}, {37, 234, 37},
    {248, 192, 228}, {242, 163, 60},  {45, 237, 233}, {209, 209, 209},
    {181, 126, 9},   {190, 110, 221}, {0, 0, 0},      {168, 237, 171},
};

bool IsFinite(const float* values, int count) {
    for (int i = 0; i < count; ++i) {
        if (!std::isfinite(values[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

GhostExchange::GhostExchange(GameProcess& game, const Clock& clock, const Roster& roster,
                             const Settings& settings)
    : m_game(game)
    , m_clock(clock)
    , m_roster(roster)
    , m_settings(settings) {}

bool GhostExchange::IsRacing(int slot) const {
    return OnStage(m_roster[slot].Status);
}

void GhostExchange::SendCarState(float distance, std::uint8_t percent) {
    if ((m_game_closing && m_game_closing()) ||
        m_settings.Compression > CarStateMsg::MaxCompression) {
        return;
    }
    // A pose read from a game that is gone would be the last one again; better no sample.
    if (m_game.ProcessId() != m_send_process) {
        const std::uint8_t build_byte = m_game.ReadGameByte(GameProcess::kBuildByteAddress);
        if (m_game.LastResult() == 0) {
            return;
        }
        m_send_build = GameProcess::BuildFromByte(build_byte);
        m_send_process = m_game.ProcessId();
    }
    const GameBuild build = m_send_build;
    if (build == 0) {
        return;
    }
    const std::uint32_t body =
        std::uint32_t(m_game.ReadGameLong(CarBodyAt[std::size_t(build - 1)]));
    if (m_game.LastResult() == 0) {
        return;
    }
    const std::array<float, 7> pose = m_game.ReadCarPose(body);
    if (m_game.LastResult() == 0 || !IsFinite(pose.data(), 7)) {
        return;
    }
    const Quaternion q{pose[0], pose[1], pose[2], pose[3]};
    // The body's origin sits behind the ghost model's: move it along the car's forward axis.
    const Matrix rotation = MatrixRotationQuaternion(q);
    const Vec3 forward{rotation.m[2][0], rotation.m[2][1], rotation.m[2][2]};
    const Vec3 position = Vec3{pose[4], pose[5], pose[6]} + forward * 0.4f;

    CarStateMsg msg;
    msg.compression = m_settings.Compression;
    msg.slot = m_roster.LocalSlot;
    msg.sent_at = std::int32_t(m_clock.NowMs());
    msg.distance = distance;
    msg.progress = percent;
    EncodePose(msg, q, position);
    if (msg.slot < GhostSlots) {
        m_records[msg.slot] = msg;
    }
    if (m_send) {
        m_send(msg);
    }
}

void GhostExchange::ReceiveCarState(const CarStateMsg& msg) {
    const int slot = msg.slot;
    // Our own car is never a ghost, and slot 12 stands for nobody.
    if (slot >= GhostSlots || slot == m_roster.LocalSlot || !PoseIsFinite(msg)) {
        return;
    }
    if (IsRacing(m_roster.LocalSlot) && !m_ghosts_ready) {
        InitGhostSlots();
    }
    m_records[std::size_t(slot)] = msg;
    m_motion[std::size_t(slot)].Receive(msg.sent_at, DecodePosition(msg), DecodeOrientation(msg),
                                        m_clock.NowMs());
}

void GhostExchange::GhostTick() {
    const std::uint32_t now = m_clock.NowMs();
    // The first tick of a run has nothing to measure from.
    const std::uint32_t elapsed = m_ticked ? now - m_last_tick : 0;
    for (int slot = 0; slot < GhostSlots; ++slot) {
        if (slot != m_roster.LocalSlot && IsRacing(slot)) {
            m_motion[std::size_t(slot)].Advance(now, elapsed);
        }
    }
    WriteGhosts();
    m_last_tick = now;
    m_ticked = true;
}

void GhostExchange::InitGhostSlots() {
    m_build = m_game.GetGameBuild();
    // Without a game to look at there is nothing to prepare; ready now, the ghosts would stay
    // unlocated for the whole of the game run that follows.
    if (m_game.ProcessId() == 0 || m_game.LastResult() == 0) {
        return;
    }
    m_name_tag.Forget();
    for (GhostMotion& motion : m_motion) {
        motion.ForgetClockOffset();
    }
    m_objects.fill(0);
    // Each link of the chain must be read, and be an address: a stale value from a failed
    // read would send the ghosts' writes somewhere else in the game.
    std::uint32_t table = m_game.ReadGamePointer(EngineAt(m_build));
    for (std::uint32_t offset : {0x18u, 0x258u, 0x98u}) {
        table = table != 0 ? m_game.ReadGamePointer(table + offset) : 0;
    }
    if (table != 0) {
        for (int k = 0; k < GhostObjects; ++k) {
            const std::uint32_t object = m_game.ReadGamePointer(table + 4 * std::uint32_t(k));
            if (object == 0) {
                continue;
            }
            const std::uint32_t g = object + 0x40;
            m_objects[std::size_t(k)] = g;
            m_game.WriteGameSingle(g + 0x34, ParkedHeight);
            // The thirteenth object only ever waits out of sight.
            if (k < GhostSlots) {
                const float colour[3] = {SlotColours[k][0] / 255.0f, SlotColours[k][1] / 255.0f,
                                         SlotColours[k][2] / 255.0f};
                const MemoryWrite piece{g + GhostColour, colour, sizeof colour};
                m_game.WriteGameGroup({&piece, 1});
            }
        }
    }
    m_ghosts_ready = true;
}

void GhostExchange::WriteGhosts() {
    if (!m_ghosts_ready) {
        return;
    }
    if (m_settings.ShowNameTag == 1) {
        UpdateNameTag();
    }
    const std::uint32_t now = m_clock.NowMs();
    for (int slot = 0; slot < GhostSlots; ++slot) {
        GhostMotion& motion = m_motion[std::size_t(slot)];
        if (slot == m_roster.LocalSlot || !IsRacing(slot) || !motion.Shown()) {
            continue;
        }
        motion.Blend(now);
        const std::uint32_t g = m_objects[std::size_t(slot)];
        if (g == 0) {
            continue;
        }
        // The blend keeps the pose finite. The game's objects are y-up: its second and third
        // axes are our third and second.
        const Matrix world = motion.WorldMatrix();
        const auto& w = world.m;
        const float rows[4][3] = {{w[0][0], w[0][2], w[0][1]},
                                  {w[2][0], w[2][2], w[2][1]},
                                  {w[1][0], w[1][2], w[1][1]},
                                  {w[3][0], w[3][2], w[3][1]}};
        const MemoryWrite pieces[4] = {{g + 0x00, rows[0], sizeof rows[0]},
                                       {g + 0x10, rows[1], sizeof rows[1]},
                                       {g + 0x20, rows[2], sizeof rows[2]},
                                       {g + 0x30, rows[3], sizeof rows[3]}};
        m_game.WriteGameGroup(pieces);
    }
}

void GhostExchange::UpdateNameTag() {
    if (m_build < 1 || m_build > 4) {
        return;
    }
    const std::uint32_t race_block = GetRaceBlock(m_game, m_build);
    const std::uint32_t camera_object =
        race_block != 0 ? m_game.ReadGamePointer(race_block + RaceCamera) : 0;
    const std::uint32_t camera =
        camera_object != 0 ? m_game.ReadGamePointer(camera_object + 0x10) : 0;
    if (camera == 0) {
        return;
    }
    std::array<std::uint32_t, 12> addresses;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        addresses[i] = camera + CameraRowsAt + 4 * std::uint32_t(i);
    }
    CameraRows rows;
    m_game.ReadGameSingles(addresses, rows);
    if (m_game.LastResult() == 0 || !IsFinite(rows.data(), 12)) {
        return;
    }
    std::array<std::optional<Vec3>, GhostSlots> ghosts;
    for (int slot = 0; slot < GhostSlots; ++slot) {
        const GhostMotion& motion = m_motion[std::size_t(slot)];
        // A ghost that is not drawn yet has no place to put a name.
        if (slot != m_roster.LocalSlot && IsRacing(slot) && motion.Shown()) {
            ghosts[std::size_t(slot)] = motion.ShownPosition();
        }
    }
    const auto place = PlaceNameTag(rows, ghosts, m_settings.NameHeight, m_settings.NameOpacity);
    m_name_tag.Write(m_game, m_build, race_block, place,
                     place ? m_roster[place->slot].Name : QString());
}

} // namespace tarvex
