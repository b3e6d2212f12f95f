#include "ghost/d3dmath.h"

#include <algorithm>
#include <cmath>

namespace tarvex {

namespace {

float Dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 Cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec3 Normalize(Vec3 a) {
    const float length = Vec3Length(a);
    return length > 0.0f ? a * (1.0f / length) : Vec3{};
}

float Dot(const Quaternion& a, const Quaternion& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

} // namespace

Vec3 operator+(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vec3 operator-(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec3 operator*(Vec3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}

float Vec3Length(Vec3 a) {
    return std::sqrt(Dot(a, a));
}

bool IsFinite(Vec3 a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

bool IsFinite(const Quaternion& q) {
    return std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z) && std::isfinite(q.w);
}

Vec3 Vec3Lerp(Vec3 a, Vec3 b, float s) {
    return {a.x + s * (b.x - a.x), a.y + s * (b.y - a.y), a.z + s * (b.z - a.z)};
}

Vec3 Vec3TransformCoord(Vec3 v, const Matrix& m) {
    const auto& r = m.m;
    const float x = v.x * r[0][0] + v.y * r[1][0] + v.z * r[2][0] + r[3][0];
    const float y = v.x * r[0][1] + v.y * r[1][1] + v.z * r[2][1] + r[3][1];
    const float z = v.x * r[0][2] + v.y * r[1][2] + v.z * r[2][2] + r[3][2];
    const float w = v.x * r[0][3] + v.y * r[1][3] + v.z * r[2][3] + r[3][3];
    return {x / w, y / w, z / w};
}

Vec3 Vec3Project(Vec3 v, const Viewport& viewport, const Matrix& projection, const Matrix& view,
                 const Matrix& world) {
    const Matrix all = MatrixMultiply(MatrixMultiply(world, view), projection);
    const Vec3 clip = Vec3TransformCoord(v, all);
    return {viewport.x + viewport.width * (1.0f + clip.x) / 2.0f,
            viewport.y + viewport.height * (1.0f - clip.y) / 2.0f,
            viewport.min_z + clip.z * (viewport.max_z - viewport.min_z)};
}

Quaternion QuaternionIdentity() {
    return {0.0f, 0.0f, 0.0f, 1.0f};
}

Quaternion QuaternionNormalize(const Quaternion& q) {
    const float length = std::sqrt(Dot(q, q));
    if (!(length > 0.0f)) {
        return {};
    }
    return {q.x / length, q.y / length, q.z / length, q.w / length};
}

Quaternion QuaternionSlerp(const Quaternion& a, const Quaternion& b, float t) {
    float cosine = Dot(a, b);
    // q and -q are the same rotation: go towards whichever of them is nearer.
    float sign = 1.0f;
    if (cosine < 0.0f) {
        cosine = -cosine;
        sign = -1.0f;
    }
    float from = 1.0f - t;
    float to = t;
    if (1.0f - cosine > 0.001f) {
        const float angle = std::acos(std::min(cosine, 1.0f));
        const float sine = std::sin(angle);
        from = std::sin(from * angle) / sine;
        to = std::sin(to * angle) / sine;
    }
    to *= sign;
    return {from * a.x + to * b.x, from * a.y + to * b.y, from * a.z + to * b.z,
            from * a.w + to * b.w};
}

Quaternion QuaternionRotationMatrix(const Matrix& matrix) {
    const auto& m = matrix.m;
    const float trace = m[0][0] + m[1][1] + m[2][2];
    // Divide by the largest of the four candidates for 4|q_i|, which keeps the result exact
    // for rotations near 180 degrees where the trace tends to -1.
    if (trace > 0.0f) {
        const float s = 2.0f * std::sqrt(trace + 1.0f);
        return {(m[1][2] - m[2][1]) / s, (m[2][0] - m[0][2]) / s, (m[0][1] - m[1][0]) / s,
                0.25f * s};
    }
    if (m[0][0] >= m[1][1] && m[0][0] >= m[2][2]) {
        const float s = 2.0f * std::sqrt(1.0f + m[0][0] - m[1][1] - m[2][2]);
        return {0.25f * s, (m[0][1] + m[1][0]) / s, (m[0][2] + m[2][0]) / s,
                (m[1][2] - m[2][1]) / s};
    }
    if (m[1][1] >= m[2][2]) {
        const float s = 2.0f * std::sqrt(1.0f + m[1][1] - m[0][0] - m[2][2]);
        return {(m[0][1] + m[1][0]) / s, 0.25f * s, (m[1][2] + m[2][1]) / s,
                (m[2][0] - m[0][2]) / s};
    }
    const float s = 2.0f * std::sqrt(1.0f + m[2][2] - m[0][0] - m[1][1]);
    return {(m[0][2] + m[2][0]) / s, (m[1][2] + m[2][1]) / s, 0.25f * s, (m[0][1] - m[1][0]) / s};
}

Matrix MatrixIdentity() {
    Matrix r;
    for (int i = 0; i < 4; ++i) {
        r.m[i][i] = 1.0f;
    }
    return r;
}

Matrix MatrixMultiply(const Matrix& a, const Matrix& b) {
    Matrix r;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            r.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] +
                        a.m[i][3] * b.m[3][j];
        }
    }
    return r;
}

Matrix MatrixRotationX(float angle) {
    const float c = std::cos(angle), s = std::sin(angle);
    Matrix r = MatrixIdentity();
    r.m[1][1] = c;
    r.m[1][2] = s;
    r.m[2][1] = -s;
    r.m[2][2] = c;
    return r;
}

Matrix MatrixRotationY(float angle) {
    const float c = std::cos(angle), s = std::sin(angle);
    Matrix r = MatrixIdentity();
    r.m[0][0] = c;
    r.m[0][2] = -s;
    r.m[2][0] = s;
    r.m[2][2] = c;
    return r;
}

Matrix MatrixRotationZ(float angle) {
    const float c = std::cos(angle), s = std::sin(angle);
    Matrix r = MatrixIdentity();
    r.m[0][0] = c;
    r.m[0][1] = s;
    r.m[1][0] = -s;
    r.m[1][1] = c;
    return r;
}

Matrix MatrixRotationQuaternion(const Quaternion& q) {
    const float x = q.x, y = q.y, z = q.z, w = q.w;
    Matrix r = MatrixIdentity();
    r.m[0][0] = 1.0f - 2.0f * (y * y + z * z);
    r.m[0][1] = 2.0f * (x * y + z * w);
    r.m[0][2] = 2.0f * (x * z - y * w);
    r.m[1][0] = 2.0f * (x * y - z * w);
    r.m[1][1] = 1.0f - 2.0f * (x * x + z * z);
    r.m[1][2] = 2.0f * (y * z + x * w);
    r.m[2][0] = 2.0f * (x * z + y * w);
    r.m[2][1] = 2.0f * (y * z - x * w);
    r.m[2][2] = 1.0f - 2.0f * (x * x + y * y);
    return r;
}

Matrix MatrixLookAtLH(Vec3 eye, Vec3 at, Vec3 up) {
    const Vec3 z_axis = Normalize(at - eye);
    const Vec3 x_axis = Normalize(Cross(up, z_axis));
    const Vec3 y_axis = Cross(z_axis, x_axis);
    Matrix r = MatrixIdentity();
    const Vec3 axes[3] = {x_axis, y_axis, z_axis};
    for (int column = 0; column < 3; ++column) {
        r.m[0][column] = axes[column].x;
        r.m[1][column] = axes[column].y;
        r.m[2][column] = axes[column].z;
        r.m[3][column] = -Dot(axes[column], eye);
    }
    return r;
}

Matrix MatrixPerspectiveFovLH(float fov_y, float aspect, float z_near, float z_far) {
    const float y_scale = 1.0f / std::tan(fov_y / 2.0f);
    Matrix r;
    r.m[0][0] = y_scale / aspect;
    r.m[1][1] = y_scale;
    r.m[2][2] = z_far / (z_far - z_near);
    r.m[2][3] = 1.0f;
    r.m[3][2] = -z_near * z_far / (z_far - z_near);
    return r;
}

} // namespace tarvex
