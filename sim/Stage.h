#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

enum class Surface { Tarmac, Gravel, Snow };

struct StageInfo {
    int id = 0;
    std::string name;
    int length = 0; // metres
    Surface surface = Surface::Gravel;
};

// The game's stages by stage number; an unknown number gives a StageInfo with id 0.
StageInfo FindStage(int stage_id);
bool IsKnownStage(int stage_id);

// Weather presets: the game ships one weather file per name, and a stage can be driven under
// any of them. The yard and school stages have none of their own and keep their fixed weather.
bool IsKnownPreset(const std::string& name);
bool StageHasPresets(int stage_id);

// Car names in the game's own car-menu order, 1..8; empty for any other number.
std::string GameCarName(int car);

struct RoadPoint {
    float x, y, z;   // z-up world, metres
    float heading;   // radians, direction of travel in the x-y plane
    float curvature; // 1/m
};

// The road of one stage: a smooth curve of the stage's length, sampled every Step metres.
class Road {
public:
    static constexpr float Step = 2.0f;
    void Build(int stage_id, int length);
    RoadPoint At(float distance) const;
    const std::vector<RoadPoint>& Points() const { return m_points; }
    float Length() const { return m_length; }

private:
    std::vector<RoadPoint> m_points;
    float m_length = 0;
};

} // namespace sim
