#pragma once

#include "ghost/d3dmath.h"
#include "net/Messages.h"

#include <array>

// How a car's pose is put into a car-state message and taken out again. The orientation
// travels as a quaternion (level 0), as three angles in radians (level 1), or as the same
// angles in degrees shifted into 0..360 and cut to 16-bit (levels 2, 4) or 8-bit codes
// (levels 3, 5); the message encoder packs the position.
namespace tarvex {

// atan(yv / xv) placed in the right quadrant, -pi..pi; the axes (|xv| below 1e-7) give 0 or
// +-pi/2 instead of dividing by nothing.
double Atan2(double yv, double xv);
// asin for -1 <= v <= 1, through the arctangent.
double ArcSin(double v);

// Rotation angles (radians) about x, y and z, applied in that order, that make up q. At the
// poles (the second angle at +-90 degrees) the first angle takes the whole turn about the
// vertical and the third is 0.
std::array<double, 3> EulerFromQuaternion(const Quaternion& q);
// The quaternion of rotations by ax, ay, az degrees about x, y and z, in that order.
Quaternion QuaternionFromAngles(float ax, float ay, float az);

// Fills the orientation and position fields of `msg` for its compression level.
void EncodePose(CarStateMsg& msg, const Quaternion& q, Vec3 position);
// The orientation a message carries, as a quaternion, for its compression level.
Quaternion DecodeOrientation(const CarStateMsg& msg);
Vec3 DecodePosition(const CarStateMsg& msg);
// Whether every value of the pose that the message's level carries is a finite number.
bool PoseIsFinite(const CarStateMsg& msg);

} // namespace tarvex
