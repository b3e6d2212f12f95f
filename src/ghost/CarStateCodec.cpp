#include "ghost/CarStateCodec.h"

#include <cmath>
#include <numbers>

namespace tarvex {

namespace {

constexpr double DegreesPerRadian = 57.2957795130823;
constexpr double RadiansPerDegree = 0.0174532925199433;
// 8-bit codes spread 0..360 degrees over 0..255 and back.
constexpr double ByteCodesPerDegree = 0.708333333333333;
constexpr double DegreesPerByteCode = 1.41176470588235;

} // namespace

double Atan2(double yv, double xv) {
    constexpr double Tiny = 1e-7;
    if (std::fabs(xv) < Tiny) {
        if (std::fabs(yv) < Tiny) {
            return 0.0;
        }
        return yv > 0.0 ? std::numbers::pi / 2.0 : -std::numbers::pi / 2.0;
    }
    const double r = std::atan(yv / xv);
    if (xv < 0.0) {
        return yv < 0.0 ? r - std::numbers::pi : r + std::numbers::pi;
    }
    return r;
}

double ArcSin(double v) {
    if (std::fabs(v) == 1.0) {
        return v > 0.0 ? std::numbers::pi / 2.0 : -std::numbers::pi / 2.0;
    }
    return std::atan(v / std::sqrt(1.0 - v * v));
}

std::array<double, 3> EulerFromQuaternion(const Quaternion& q) {
    const double x = q.x, y = q.y, z = q.z, w = q.w;
    const double s = 2.0 * (w * y - z * x);
    if (s >= 1.0) {
        return {Atan2(2.0 * (x * y - w * z), 1.0 - 2.0 * (x * x + z * z)), std::numbers::pi / 2.0,
                0.0};
    }
    if (s <= -1.0) {
        return {-Atan2(2.0 * (x * y - w * z), 1.0 - 2.0 * (x * x + z * z)), -std::numbers::pi / 2.0,
                0.0};
    }
    return {Atan2(2.0 * (w * x + y * z), 1.0 - 2.0 * (x * x + y * y)), ArcSin(s),
            Atan2(2.0 * (w * z + x * y), 1.0 - 2.0 * (y * y + z * z))};
}

Quaternion QuaternionFromAngles(float ax, float ay, float az) {
    Matrix m = MatrixIdentity();
    if (ax != 0.0f) {
        m = MatrixMultiply(m, MatrixRotationX(float(ax * RadiansPerDegree)));
    }
    if (ay != 0.0f) {
        m = MatrixMultiply(m, MatrixRotationY(float(ay * RadiansPerDegree)));
    }
    if (az != 0.0f) {
        m = MatrixMultiply(m, MatrixRotationZ(float(az * RadiansPerDegree)));
    }
    return QuaternionRotationMatrix(m);
}

void EncodePose(CarStateMsg& msg, const Quaternion& q, Vec3 position) {
    msg.position = {position.x, position.y, position.z};
    switch (msg.compression) {
    case 0:
        msg.quaternion = {q.x, q.y, q.z, q.w};
        return;
    case 1: {
        const auto angles = EulerFromQuaternion(q);
        msg.angles = {float(angles[0]), float(angles[1]), float(angles[2])};
        return;
    }
    default:
        break;
    }
    const auto angles = EulerFromQuaternion(q);
    for (std::size_t i = 0; i < 3; ++i) {
        // 0..360: every angle is within -180..180 degrees.
        const double degrees = angles[i] * DegreesPerRadian + 180.0;
        if (msg.compression == 2 || msg.compression == 4) {
            msg.wide_codes[i] = std::int16_t(std::trunc(degrees));
        } else {
            msg.byte_codes[i] = std::uint8_t(std::trunc(degrees * ByteCodesPerDegree));
        }
    }
}

Quaternion DecodeOrientation(const CarStateMsg& msg) {
    float degrees[3] = {};
    switch (msg.compression) {
    case 0:
        return {msg.quaternion[0], msg.quaternion[1], msg.quaternion[2], msg.quaternion[3]};
    case 1:
        for (std::size_t i = 0; i < 3; ++i) {
            degrees[i] = float(msg.angles[i] * DegreesPerRadian);
        }
        break;
    case 2:
    case 4:
        for (std::size_t i = 0; i < 3; ++i) {
            degrees[i] = float(msg.wide_codes[i] - 180);
        }
        break;
    default:
        for (std::size_t i = 0; i < 3; ++i) {
            degrees[i] = float(msg.byte_codes[i] * DegreesPerByteCode - 180.0);
        }
        break;
    }
    return QuaternionFromAngles(degrees[0], degrees[1], degrees[2]);
}

Vec3 DecodePosition(const CarStateMsg& msg) {
    return {msg.position[0], msg.position[1], msg.position[2]};
}

bool PoseIsFinite(const CarStateMsg& msg) {
    if (!IsFinite(DecodePosition(msg))) {
        return false;
    }
    switch (msg.compression) {
    case 0:
        return IsFinite(DecodeOrientation(msg));
    case 1:
        return std::isfinite(msg.angles[0]) && std::isfinite(msg.angles[1]) &&
               std::isfinite(msg.angles[2]);
    default:
        // Integer codes are always numbers.
        return true;
    }
}

} // namespace tarvex
