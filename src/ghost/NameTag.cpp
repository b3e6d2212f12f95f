#include "ghost/NameTag.h"

#include "game/GameText.h"

#include <algorithm>
#include <numbers>

namespace tarvex {

namespace {

// Where the game takes the tag's text from, per build 1..4.
constexpr std::array<std::uint32_t, 4> NameBuffer = {0x7D1100, 0x7F3900, 0x7F9040, 0x7EA040};

// Code operands that place the tag, per build 1..4: a4, -1.0, -1.0, a1 + 1.0, a2 + 5.0 (all
// singles), a5 and 18 (bytes).
struct TagOperands {
    std::uint32_t a4, minus_one_a, minus_one_b, a1, a2, a5, eighteen;
};
constexpr std::array<TagOperands, 4> Operands = {{
    {0x5634D3, 0x5634D9, 0x5634DE, 0x563507, 0x56350C, 0x5634ED, 0x5634C8},
    {0x572AFC, 0x572B02, 0x572B07, 0x572B30, 0x572B35, 0x572B16, 0x572AF1},
    {0x5753FC, 0x575402, 0x575407, 0x575430, 0x575435, 0x575416, 0x5753F1},
    {0x56B683, 0x56B689, 0x56B68E, 0x56B6B7, 0x56B6BC, 0x56B678, 0x56B69D},
}};

constexpr std::uint32_t TagText = 0xB4;
constexpr std::uint32_t TagOpacity = 0x168;

// The game's view: 640 x 480 with the chase camera's field of view and aspect.
constexpr float ScreenWidth = 640.0f;
constexpr float ScreenHeight = 480.0f;
constexpr float FarAway = 100000.0f;

template <class T>
QByteArray BytesOf(T value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

std::optional<NameTagPlace> PlaceNameTag(const CameraRows& camera,
                                         const std::array<std::optional<Vec3>, 12>& ghosts,
                                         int height, int max_opacity) {
    const Vec3 view_direction{camera[3], camera[4], camera[5]};
    const Vec3 eye{camera[9], camera[10], camera[11]};
    const Matrix view = MatrixLookAtLH(eye, eye + view_direction * 10.0f, Vec3{0, 0, 1});
    const Matrix projection =
        MatrixPerspectiveFovLH(float(std::numbers::pi / 2.1), 1.3f, 0.0f, 200.0f);
    const Viewport viewport{0.0f, 0.0f, ScreenWidth, ScreenHeight, 0.0f, 200.0f};

    // Nearest first; the order of equal distances does not matter.
    std::array<std::pair<float, int>, 12> order;
    for (int slot = 0; slot < 12; ++slot) {
        const auto& ghost = ghosts[std::size_t(slot)];
        order[std::size_t(slot)] = {ghost ? Vec3Length(eye - *ghost) : FarAway, slot};
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });

    for (const auto& [ignored, slot] : order) {
        const auto& ghost = ghosts[std::size_t(slot)];
        if (!ghost) {
            continue;
        }
        const float distance = Vec3Length(eye - *ghost);
        Vec3 point = *ghost;
        // Farther tags float higher, so they stay clear of the car as it shrinks.
        point.z += float(height) * 2.0f * distance * 0.03f;
        const float size = distance * 0.04f;
        const bool in_front = Vec3TransformCoord(point, view).z > 0.0f;
        if (!in_front || !(size > 0.2f)) {
            continue;
        }
        const Vec3 screen = Vec3Project(point, viewport, projection, view, MatrixIdentity());
        // Fades in up to 25 units away and out again by 50.
        float opacity = std::max(std::min(size, 2.0f), 0.0f);
        if (opacity > 1.0f) {
            opacity = 2.0f - opacity;
        }
        opacity = std::min(opacity, float(max_opacity) * 0.1f);
        return NameTagPlace{slot, screen.x, screen.y, opacity};
    }
    return std::nullopt;
}

bool NameTagWriter::Unchanged(std::uint32_t address, const QByteArray& bytes) const {
    const auto written = m_written.constFind(address);
    return written != m_written.cend() && *written == bytes;
}

void NameTagWriter::Note(const GameProcess& game, std::uint32_t address, const QByteArray& bytes) {
    if (game.LastResult() != 0) {
        m_written.insert(address, bytes);
    } else {
        m_written.remove(address);
    }
}

void NameTagWriter::PutSingle(GameProcess& game, std::uint32_t address, float value) {
    if (!Unchanged(address, BytesOf(value))) {
        game.WriteGameSingle(address, value);
        Note(game, address, BytesOf(value));
    }
}

void NameTagWriter::PutByte(GameProcess& game, std::uint32_t address, std::uint8_t value) {
    if (!Unchanged(address, BytesOf(value))) {
        game.WriteGameByte(address, value);
        Note(game, address, BytesOf(value));
    }
}

void NameTagWriter::Write(GameProcess& game, GameBuild build, std::uint32_t race_block,
                          const std::optional<NameTagPlace>& place, const QString& name) {
    if (build < 1 || build > 4) {
        return;
    }
    if (game.ProcessId() != m_process_id || race_block != m_race_block) {
        m_written.clear();
        m_process_id = game.ProcessId();
        m_race_block = race_block;
    }
    const TagOperands& at = Operands[std::size_t(build - 1)];
    float a1 = -480.0f, a2 = -640.0f, a4 = 18.0f, opacity = 0.0f;
    std::uint8_t a5 = 0;
    if (place) {
        const std::uint32_t buffer = NameBuffer[std::size_t(build - 1)];
        const QByteArray text = WidenForGame(name);
        if (!Unchanged(buffer, text)) {
            WriteGameText(game, buffer, name);
            Note(game, buffer, text);
        }
        if (!Unchanged(race_block + TagText, BytesOf(buffer))) {
            game.WriteGameLong(race_block + TagText, std::int32_t(buffer));
            Note(game, race_block + TagText, BytesOf(buffer));
        }
        a1 = place->y - 10.0f;
        // Centred on the ghost: the game draws about ten pixels per character.
        a2 = ScreenWidth - place->x - 5.0f * float(name.size());
        a4 = 0.0f;
        a5 = 5;
        opacity = place->opacity;
    }
    PutSingle(game, at.a4, a4);
    PutSingle(game, at.minus_one_a, -1.0f);
    PutSingle(game, at.minus_one_b, -1.0f);
    PutSingle(game, at.a1, a1 + 1.0f);
    PutSingle(game, at.a2, a2 + 5.0f);
    PutByte(game, at.a5, a5);
    PutByte(game, at.eighteen, 18);
    PutSingle(game, race_block + TagOpacity, opacity);
}

} // namespace tarvex
