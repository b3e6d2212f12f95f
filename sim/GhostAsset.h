#pragma once

#include "Pose.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The ghost car that Tarvex puts into the game folder: an entry file naming a mesh, a
// description and a shader file, each in Tarvex's own asset format. The game loads all four
// before it draws a ghost, and refuses the car when any of them is missing or foreign.
namespace sim {

struct GhostCar {
    // One row per file in the order entry, model, description, shaders, as far as the entry
    // names them: (role, "ok" | "missing NAME" | "wrong NAME: why").
    using Files = std::vector<std::pair<std::string, std::string>>;
    Files files;
    bool ok = false;
    // The mesh in the car's frame (x right, y up, z forward), in metres.
    std::vector<Vec3> vertices;
    std::vector<std::array<std::uint16_t, 3>> triangles;
    std::uint32_t vertex_count = 0, triangle_count = 0; // as the file gives them
};

// Loads the car that `path_text` (backslashes, any case, relative to the game folder) names.
GhostCar LoadGhostCar(const std::string& game_folder, const std::string& path_text);

// The longest run of triangles kept for drawing; larger meshes are thinned evenly.
inline constexpr std::size_t GhostDrawTriangles = 1500;

} // namespace sim
