#pragma once

#include "game/GameProcess.h"
#include "ghost/d3dmath.h"

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

// Shows `name` at `place` in the game, or hides the tag when there is no place.
void WriteNameTag(GameProcess& game, GameBuild build, std::uint32_t race_block,
                  const std::optional<NameTagPlace>& place, const QString& name);

} // namespace tarvex
