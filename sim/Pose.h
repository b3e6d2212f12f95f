#pragma once

#include <array>
#include <cmath>

// Small row-vector 3D helpers for the car body's pose and the chase camera (the same
// conventions as the game's Direct3D math: v' = v * M, rows are the images of the axes).
namespace sim {

struct Vec3 {
    float x = 0, y = 0, z = 0;
};
inline Vec3 operator+(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline float Dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 Cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline Vec3 Normalize(Vec3 a) {
    const float length = std::sqrt(Dot(a, a));
    return length > 0 ? a * (1.0f / length) : a;
}

struct Quat {
    float x = 0, y = 0, z = 0, w = 1;
};

// Quaternion of a rotation given by its three rows (row-vector convention).
inline Quat QuatFromRows(Vec3 r1, Vec3 r2, Vec3 r3) {
    const float m11 = r1.x, m12 = r1.y, m13 = r1.z, m21 = r2.x, m22 = r2.y, m23 = r2.z, m31 = r3.x,
                m32 = r3.y, m33 = r3.z;
    const float trace = m11 + m22 + m33;
    Quat q;
    if (trace > 0) {
        const float s = std::sqrt(trace + 1.0f) * 2.0f;
        q = {(m23 - m32) / s, (m31 - m13) / s, (m12 - m21) / s, 0.25f * s};
    } else if (m11 > m22 && m11 > m33) {
        const float s = std::sqrt(1.0f + m11 - m22 - m33) * 2.0f;
        q = {0.25f * s, (m12 + m21) / s, (m31 + m13) / s, (m23 - m32) / s};
    } else if (m22 > m33) {
        const float s = std::sqrt(1.0f + m22 - m11 - m33) * 2.0f;
        q = {(m12 + m21) / s, 0.25f * s, (m23 + m32) / s, (m31 - m13) / s};
    } else {
        const float s = std::sqrt(1.0f + m33 - m11 - m22) * 2.0f;
        q = {(m31 + m13) / s, (m23 + m32) / s, 0.25f * s, (m12 - m21) / s};
    }
    return q;
}

// The rows of the rotation of q (row-vector convention).
inline std::array<Vec3, 3> RowsFromQuat(Quat q) {
    const float x = q.x, y = q.y, z = q.z, w = q.w;
    return {Vec3{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
            Vec3{2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
            Vec3{2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
}

// The car's rotation for a heading in the z-up world: up is the second row, forward the third.
inline std::array<Vec3, 3> CarRows(float heading) {
    const Vec3 up{0, 0, 1};
    const Vec3 forward{std::cos(heading), std::sin(heading), 0};
    return {Cross(up, forward), up, forward};
}

} // namespace sim
