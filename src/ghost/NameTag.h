#pragma once

#include "game/GameProcess.h"
#include "ghost/d3dmath.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <array>
#include <optional>

// The name shown above one ghost: the nearest one in front of the camera, faded in with the
// distance and out again far away.
namespace tarvex {

struct NameTagPlace {
    int slot = 0;
    float x = 0, y = 0; // screen point of the 640 x 480 view, above the ghost
    float opacity = 0;
};

// The game's camera rows as it keeps them: four rows of three singles, the second the view
// direction and the fourth the eye.
using CameraRows = std::array<float, 12>;

// Which ghost gets the tag and where. `ghosts` holds the shown position of every slot that may
// carry it (racing, not ours, drawn), none for the others. `height` raises the tag above the
// car (the NAMEH setting), `max_opacity` caps it in tenths (NAMEO). None when no ghost in front
// of the camera is far enough away.
std::optional<NameTagPlace> PlaceNameTag(const CameraRows& camera,
                                         const std::array<std::optional<Vec3>, 12>& ghosts,
                                         int height, int max_opacity);

// Puts the tag into the game. The tag is placed on every frame, mostly with the values of the
// frame before; only values that changed are written again (a handful of system calls fewer
// per frame), and everything is written afresh for another game process or race block.
class NameTagWriter {
public:
    // Shows `name` at `place`, or hides the tag when there is no place.
    void Write(GameProcess& game, GameBuild build, std::uint32_t race_block,
               const std::optional<NameTagPlace>& place, const QString& name);
    // The next Write writes every value (a new game run).
    void Forget() { m_written.clear(); }

private:
    bool Unchanged(std::uint32_t address, const QByteArray& bytes) const;
    // Remembers what a write left at `address`: the bytes when it landed, nothing otherwise.
    void Note(const GameProcess& game, std::uint32_t address, const QByteArray& bytes);
    void PutSingle(GameProcess& game, std::uint32_t address, float value);
    void PutByte(GameProcess& game, std::uint32_t address, std::uint8_t value);

    std::uint32_t m_process_id = 0, m_race_block = 0;
    QHash<std::uint32_t, QByteArray> m_written;
};

} // namespace tarvex
