#pragma once

// The vector, quaternion and matrix operations the ghost cars and the name tag need, with the
// game's own conventions: row vectors (a point is transformed as v * M, so a matrix's rows are
// the images of the axes and its fourth row the translation), left-handed view and projection
// matrices, singles throughout. Plain value types, no Qt.
namespace tarvex {

struct Vec3 {
    float x = 0, y = 0, z = 0;
};

struct Quaternion {
    float x = 0, y = 0, z = 0, w = 0;
};

// m[row][column]; m[3] is the translation row.
struct Matrix {
    float m[4][4] = {};
};

// A screen rectangle and the depth range a projected point is mapped to.
struct Viewport {
    float x = 0, y = 0, width = 0, height = 0;
    float min_z = 0, max_z = 1;
};

Vec3 operator+(Vec3 a, Vec3 b);
Vec3 operator-(Vec3 a, Vec3 b);
Vec3 operator*(Vec3 a, float s);
float Vec3Length(Vec3 a);
bool IsFinite(Vec3 a);
bool IsFinite(const Quaternion& q);

// a + s * (b - a); s outside 0..1 goes on along the line.
Vec3 Vec3Lerp(Vec3 a, Vec3 b, float s);
// v * m with w = 1, divided by the resulting w.
Vec3 Vec3TransformCoord(Vec3 v, const Matrix& m);
// Where a world point lands on the viewport: world, view and projection in turn, then the
// viewport mapping (y grows downwards). z is the depth mapped into min_z..max_z.
Vec3 Vec3Project(Vec3 v, const Viewport& viewport, const Matrix& projection, const Matrix& view,
                 const Matrix& world);

Quaternion QuaternionIdentity();
// The zero quaternion stays zero instead of becoming NaN.
Quaternion QuaternionNormalize(const Quaternion& q);
// Spherical interpolation along the shorter arc; nearly equal rotations are interpolated
// linearly, where the spherical formula would divide by almost nothing.
Quaternion QuaternionSlerp(const Quaternion& a, const Quaternion& b, float t);
// The rotation part (upper 3 x 3) of m as a unit quaternion.
Quaternion QuaternionRotationMatrix(const Matrix& m);

Matrix MatrixIdentity();
Matrix MatrixMultiply(const Matrix& a, const Matrix& b); // a then b
// Rotations by `angle` radians that turn, in turn, the y axis towards z, z towards x and x
// towards y: MatrixRotationZ(a) takes (1, 0, 0) to (cos a, sin a, 0).
Matrix MatrixRotationX(float angle);
Matrix MatrixRotationY(float angle);
Matrix MatrixRotationZ(float angle);
Matrix MatrixRotationQuaternion(const Quaternion& q);
// View matrix of a camera at `eye` looking at `at`; `up` picks the roll.
Matrix MatrixLookAtLH(Vec3 eye, Vec3 at, Vec3 up);
// Projection with vertical field of view `fov_y` radians and width/height `aspect`; view depth
// z_near..z_far maps to 0..1.
Matrix MatrixPerspectiveFovLH(float fov_y, float aspect, float z_near, float z_far);

} // namespace tarvex
