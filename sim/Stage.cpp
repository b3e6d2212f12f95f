#include "Stage.h"

#include <algorithm>
#include <cmath>

namespace sim {

namespace {

struct Row {
    int id;
    const char* name;
    int length;
    Surface surface;
};

constexpr Row Stages[] = {
    {10, "Kaihuavaara", 6100, Surface::Snow},
    {11, "Mustaselka", 7900, Surface::Snow},
    {12, "Sikakama", 10200, Surface::Snow},
    {13, "Autiovaara", 6100, Surface::Snow},
    {14, "Kaihuavaara II", 6100, Surface::Snow},
    {15, "Mustaselka II", 7700, Surface::Snow},
    {20, "Harwood Forest", 6100, Surface::Gravel},
    {21, "Falstone", 6600, Surface::Gravel},
    {22, "Chirdonhead", 7000, Surface::Gravel},
    {23, "Shepherds Shield", 4800, Surface::Gravel},
    {24, "Harwood Forest II", 5900, Surface::Gravel},
    {25, "Chirdonhead II", 6900, Surface::Gravel},
    {71, "Rally School", 2200, Surface::Gravel},
    {31, "New Bobs", 10100, Surface::Gravel},
    {32, "Greenhills", 6000, Surface::Gravel},
    {33, "Mineshaft", 8200, Surface::Gravel},
    {34, "East-West", 9500, Surface::Gravel},
    {35, "NewBobs II", 10000, Surface::Gravel},
    {36, "East-West II", 9600, Surface::Gravel},
    {41, "Cote D'Arbroz", 4500, Surface::Tarmac},
    {42, "Joux Verte", 7900, Surface::Tarmac},
    {43, "Bisanne", 5600, Surface::Tarmac},
    {44, "Joux Plane", 11100, Surface::Tarmac},
    {45, "Joux Verte II", 7800, Surface::Tarmac},
    {46, "Cote D'Arbroz II", 4300, Surface::Tarmac},
    {51, "Noiker", 13800, Surface::Gravel},
    {52, "Sipirkakim", 8700, Surface::Gravel},
    {53, "Pirka Menoko", 6700, Surface::Gravel},
    {54, "Tanner", 3900, Surface::Gravel},
    {55, "Noiker II", 13700, Surface::Gravel},
    {56, "Tanner II", 4000, Surface::Gravel},
    {61, "Fraizer Wells", 5000, Surface::Gravel},
    {62, "Prospect Ridge", 7800, Surface::Gravel},
    {63, "Diamond Creek", 7100, Surface::Gravel},
    {64, "Hualapai Nation", 8600, Surface::Gravel},
    {65, "Prospect Ridge II", 7900, Surface::Gravel},
    {66, "Diamond Creek II", 6800, Surface::Gravel},
    // Special stages: short yard and school courses whose lengths are the game's own.
    {4, "Rally HQ", 1200, Surface::Tarmac},
    {72, "Rally Yard", 900, Surface::Gravel},
    {73, "Rally Yard II", 950, Surface::Gravel},
    {78, "Rally Yard III", 1000, Surface::Gravel},
    {83, "Rally Yard IV", 1050, Surface::Gravel},
    {84, "Rally Yard V", 1100, Surface::Gravel},
    {85, "Rally Yard VI", 1150, Surface::Gravel},
    {86, "Rally Yard VII", 1200, Surface::Gravel},
    {88, "Rally Yard VIII", 1250, Surface::Gravel},
    {89, "Rally Yard IX", 1300, Surface::Gravel},
    {74, "Rally School II", 1400, Surface::Gravel},
    {75, "Rally School III", 1500, Surface::Gravel},
    {76, "Rally School IV", 1600, Surface::Gravel},
    {77, "Rally School V", 1700, Surface::Gravel},
    {79, "Rally School VI", 1800, Surface::Gravel},
    {80, "Rally School VII", 1900, Surface::Gravel},
    {82, "Rally School VIII", 2000, Surface::Gravel},
    {87, "Rally School IX", 2100, Surface::Gravel},
};

// Preset names per stage, without the two-digit stage number they all start with.
struct Presets {
    int stage;
    const char* names; // separated by single spaces
};

constexpr Presets PresetTable[] = {
    {4, "E_crisp_clear E_crisp_partcloud E_hazy_clear E_hazy_partcloud "
        "M_crisp_clear M_crisp_partcloud M_hazy_clear M_hazy_lightcloud "
        "M_hazy_partcloud N_crisp_clear N_crisp_partcloud N_hazy_clear "
        "N_hazy_partcloud O_E_hazy_partcloud O_E_heavyfog_heavycloud "
        "O_E_heavyrain_heavycloud O_E_heavysnow_heavycloud "
        "O_E_lightfog_heavycloud O_E_lightrain_heavycloud "
        "O_E_lightsnow_heavycloud O_E_norain_lightcloud O_E_nosnow_heavycloud "
        "O_E_nosnow_lightcloud O_M_hazy_partcloud O_M_heavyfog_heavycloud "
        "O_M_heavyrain_heavycloud O_M_heavysnow_heavycloud "
        "O_M_lightfog_heavycloud O_M_lightrain_heavycloud "
        "O_M_lightsnow_heavycloud O_M_norain_lightcloud O_M_nosnow_heavycloud "
        "O_M_nosnow_lightcloud O_N_hazy_partcloud O_N_heavyfog_heavycloud "
        "O_N_heavyrain_heavycloud O_N_heavysnow_heavycloud "
        "O_N_lightfog_heavycloud O_N_lightrain_heavycloud "
        "O_N_lightsnow_heavycloud O_N_norain_lightcloud O_N_nosnow_heavycloud "
        "O_N_nosnow_lightcloud"},
    {10, "O_N_hazy_partcloud O_N_heavysnow_heavycloud O_N_lightsnow_heavycloud "
         "O_N_nosnow_heavycloud O_N_nosnow_lightcloud"},
    {11, "O_N_hazy_partcloud O_N_heavysnow_heavycloud O_N_lightsnow_heavycloud "
         "O_N_nosnow_heavycloud O_N_nosnow_lightcloud"},
    {12, "O_E_hazy_partcloud O_E_heavysnow_heavycloud O_E_lightsnow_heavycloud "
         "O_E_nosnow_heavycloud O_E_nosnow_lightcloud"},
    {13, "O_E_hazy_partcloud O_E_heavysnow_heavycloud O_E_lightsnow_heavycloud "
         "O_E_nosnow_heavycloud O_E_nosnow_lightcloud"},
    {14, "O_M_hazy_partcloud O_M_heavysnow_heavycloud O_M_lightsnow_heavycloud "
         "O_M_nosnow_heavycloud O_M_nosnow_lightcloud"},
    {15, "O_M_hazy_partcloud O_M_heavysnow_heavycloud O_M_lightsnow_heavycloud "
         "O_M_nosnow_heavycloud O_M_nosnow_lightcloud"},
    {20, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyfog_heavycloud "
         "O_N_heavyrain_heavycloud O_N_lightfog_heavycloud "
         "O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {21, "O_E_heavyfog_heavycloud O_E_heavyrain_heavycloud "
         "O_E_lightfog_heavycloud O_E_lightrain_heavycloud O_E_norain_lightcloud "
         "O_M_heavyfog_heavycloud O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud "
         "O_N_heavyfog_heavycloud O_N_heavyrain_heavycloud "
         "O_N_lightfog_heavycloud O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {22, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyfog_heavycloud "
         "O_N_heavyrain_heavycloud O_N_lightfog_heavycloud "
         "O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {23, "E_crisp_clear E_crisp_partcloud E_hazy_clear O_E_heavyfog_heavycloud "
         "O_E_heavyrain_heavycloud O_E_lightfog_heavycloud "
         "O_E_lightrain_heavycloud O_E_norain_lightcloud"},
    {24, "O_M_heavyfog_heavycloud O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {25, "O_M_heavyfog_heavycloud O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {31, "E_crisp_clear E_crisp_partcloud E_hazy_clear E_hazy_partcloud"},
    {32, "M_crisp_clear M_crisp_partcloud M_hazy_clear M_hazy_partcloud "
         "N_crisp_clear N_crisp_partcloud N_hazy_clear N_hazy_partcloud"},
    {33, "N_crisp_clear N_crisp_partcloud N_hazy_clear N_hazy_partcloud"},
    {34, "E_crisp_clear E_crisp_partcloud E_hazy_clear E_hazy_partcloud"},
    {35, "N_crisp_clear N_crisp_partcloud N_hazy_clear N_hazy_partcloud"},
    {36, "M_crisp_clear M_crisp_partcloud M_hazy_clear M_hazy_partcloud"},
    {41, "M_crisp_clear M_crisp_partcloud M_hazy_clear O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {42, "M_crisp_clear M_crisp_partcloud M_hazy_clear O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {43, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyrain_heavycloud "
         "O_N_lightfog_heavycloud O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {44, "E_crisp_clear E_crisp_partcloud E_hazy_clear O_E_heavyrain_heavycloud "
         "O_E_lightfog_heavycloud O_E_lightrain_heavycloud O_E_norain_lightcloud"},
    {45, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyrain_heavycloud "
         "O_N_lightfog_heavycloud O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {46, "E_crisp_clear E_crisp_partcloud E_hazy_clear O_E_heavyrain_heavycloud "
         "O_E_lightfog_heavycloud O_E_lightrain_heavycloud O_E_norain_lightcloud"},
    {51, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyrain_heavycloud "
         "O_N_lightfog_heavycloud O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {52, "M_crisp_clear M_crisp_partcloud M_hazy_clear O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {53, "N_crisp_clear N_crisp_partcloud N_hazy_clear O_N_heavyrain_heavycloud "
         "O_N_lightfog_heavycloud O_N_lightrain_heavycloud O_N_norain_lightcloud"},
    {54, "E_crisp_clear E_crisp_partcloud E_hazy_clear M_crisp_clear "
         "O_E_heavyrain_heavycloud O_E_lightfog_heavycloud "
         "O_E_lightrain_heavycloud O_E_norain_lightcloud"},
    {55, "O_M_heavyrain_heavycloud O_M_lightfog_heavycloud "
         "O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {56, "M_crisp_clear M_crisp_partcloud M_hazy_clear O_M_heavyrain_heavycloud "
         "O_M_lightfog_heavycloud O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {61, "M_crisp_clear M_crisp_partcloud M_hazy_clear M_hazy_partcloud "
         "O_M_heavyrain_heavycloud O_M_lightfog_heavycloud "
         "O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {62, "M_crisp_clear M_crisp_partcloud M_hazy_clear M_hazy_partcloud "
         "O_M_heavyrain_heavycloud O_M_lightfog_heavycloud "
         "O_M_lightrain_heavycloud O_M_norain_lightcloud"},
    {63, "N_crisp_clear N_crisp_partcloud N_hazy_clear N_hazy_partcloud "
         "O_N_heavyrain_heavycloud O_N_lightrain_heavycloud "
         "O_N_norain_lightcloud"},
    {64, "E_crisp_clear E_crisp_partcloud E_hazy_clear E_hazy_partcloud "
         "O_E_heavyrain_heavycloud O_E_lightfog_heavycloud "
         "O_E_lightrain_heavycloud O_E_norain_lightcloud"},
    {65, "N_crisp_clear N_crisp_partcloud N_hazy_clear N_hazy_partcloud "
         "O_N_heavyrain_heavycloud O_N_lightrain_heavycloud "
         "O_N_norain_lightcloud"},
    {66, "E_crisp_clear E_crisp_partcloud E_hazy_clear E_hazy_partcloud "
         "O_E_heavyrain_heavycloud O_E_lightfog_heavycloud "
         "O_E_lightrain_heavycloud O_E_norain_lightcloud"},
};

} // namespace

bool IsKnownPreset(const std::string& name) {
    if (name.size() < 3) {
        return false;
    }
    for (const Presets& row : PresetTable) {
        const std::string prefix = (row.stage < 10 ? "0" : "") + std::to_string(row.stage);
        if (name.compare(0, 2, prefix) != 0) {
            continue;
        }
        const std::string names = std::string(" ") + row.names + " ";
        return names.find(" " + name.substr(2) + " ") != std::string::npos;
    }
    return false;
}

bool StageHasPresets(int stage_id) {
    for (const Presets& row : PresetTable) {
        if (row.stage == stage_id) {
            return true;
        }
    }
    return false;
}

bool IsKnownStage(int stage_id) {
    for (const Row& row : Stages) {
        if (row.id == stage_id) {
            return true;
        }
    }
    return false;
}

StageInfo FindStage(int stage_id) {
    for (const Row& row : Stages) {
        if (row.id == stage_id) {
            return {row.id, row.name, row.length, row.surface};
        }
    }
    return {};
}

std::string GameCarName(int car) {
    static const char* const names[] = {
        "Subaru Impreza 2003", "Mitsubishi Lancer Evo VII", "Toyota Corolla", "Hyundai Accent",
        "Peugeot 206",         "Subaru Impreza 2000",       "Citroen Xsara",  "MG ZR Super 1600"};
    return (car >= 1 && car <= 8) ? names[car - 1] : std::string();
}

void Road::Build(int stage_id, int length) {
    m_length = float(length);
    m_points.clear();
    // Every stage gets its own bends from its number, the same on every machine.
    const float a1 = 0.5f + 0.05f * float(stage_id % 7);
    const float a2 = 0.3f + 0.04f * float(stage_id % 5);
    const float l1 = 180.0f + 10.0f * float(stage_id % 11);
    const float l2 = 70.0f + 5.0f * float(stage_id % 13);
    float x = 0, y = 0;
    const int count = int(m_length / Step) + 2;
    for (int i = 0; i < count; ++i) {
        const float s = float(i) * Step;
        // A slow overall turn makes the stage map a recognisable shape.
        const float drift = 3.7f / m_length;
        const float heading = a1 * std::sin(s / l1) + a2 * std::sin(s / l2 + 1.0f) + drift * s;
        const float curvature =
            a1 / l1 * std::cos(s / l1) + a2 / l2 * std::cos(s / l2 + 1.0f) + drift;
        const float z = 4.0f * std::sin(s / 260.0f) + 1.5f * std::sin(s / 90.0f);
        m_points.push_back({x, y, z, heading, curvature});
        x += Step * std::cos(heading);
        y += Step * std::sin(heading);
    }
}

RoadPoint Road::At(float distance) const {
    if (m_points.empty()) {
        return {0, 0, 0, 0, 0};
    }
    const float index = std::clamp(distance / Step, 0.0f, float(m_points.size() - 1));
    const std::size_t i = std::size_t(index);
    const std::size_t j = std::min(i + 1, m_points.size() - 1);
    const float t = index - float(i);
    const RoadPoint& a = m_points[i];
    const RoadPoint& b = m_points[j];
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t,
            a.heading + (b.heading - a.heading) * t, a.curvature + (b.curvature - a.curvature) * t};
}

} // namespace sim
