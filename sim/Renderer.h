#pragma once

#include <QImage>

namespace sim {

class Game;

// Draws one frame of the game into a 640 x 480 image: the menus, or the chase view of the stage
// (road, own car, ghosts), the small stage map, and the texts other programs put in the game's
// memory at the placements they wrote. Simple shapes, legible rather than pretty.
class Renderer {
public:
    static constexpr int Width = 640;
    static constexpr int Height = 480;
    QImage Render(const Game& game) const;
};

} // namespace sim
