#include "TestRegistry.h"
#include "ghost/CarStateCodec.h"
#include "ghost/GhostMotion.h"

#include <QTest>
#include <cmath>
#include <numbers>

using namespace tarvex;

namespace {

using Values = QList<double>;

constexpr double Pi = std::numbers::pi;

float Rad(double degrees) {
    return float(degrees * Pi / 180.0);
}
Values V(Vec3 v) {
    return {v.x, v.y, v.z};
}
Values V(const Quaternion& q) {
    return {q.x, q.y, q.z, q.w};
}
Quaternion Q(const Values& v) {
    return {float(v[0]), float(v[1]), float(v[2]), float(v[3])};
}
double Dot(const Quaternion& a, const Quaternion& b) {
    return double(a.x) * b.x + double(a.y) * b.y + double(a.z) * b.z + double(a.w) * b.w;
}
// The angle of the rotation that takes a to b, in degrees, from the chord between the two
// unit quaternions (well conditioned for small angles); q and -q are the same rotation.
double DegreesApart(const Quaternion& a, const Quaternion& b) {
    const double sign = Dot(a, b) < 0 ? -1.0 : 1.0;
    const double dx = a.x - sign * b.x, dy = a.y - sign * b.y, dz = a.z - sign * b.z,
                 dw = a.w - sign * b.w;
    const double chord = std::sqrt(dx * dx + dy * dy + dz * dz + dw * dw);
    return 4.0 * std::asin(std::min(1.0, chord / 2.0)) * 180.0 / Pi;
}

} // namespace

Q_DECLARE_METATYPE(Values)

class GhostMathTest : public QObject {
    Q_OBJECT

private slots:
    // Expected values are worked out by hand from what each operation means geometrically:
    // which way a rotation turns an axis, where a point ahead of the camera lands on screen.
    void geometry_data() {
        QTest::addColumn<Values>("actual");
        QTest::addColumn<Values>("expected");
        // A quaternion may come out as q or -q, the same rotation: either sign passes.
        const Quaternion z90{0, 0, std::sin(Rad(45)), std::cos(Rad(45))};
        QTest::newRow("rotation y turns z to x")
            << V(Vec3TransformCoord({0, 0, 1}, MatrixRotationY(Rad(90)))) << Values{1, 0, 0};
        QTest::newRow("rotation z by 30 degrees")
            << V(Vec3TransformCoord({1, 0, 0}, MatrixRotationZ(Rad(30))))
            << Values{0.8660254, 0.5, 0};
        QTest::newRow("multiply applies the left matrix first")
            << V(Vec3TransformCoord(
                   {0, 0, 1}, MatrixMultiply(MatrixRotationX(Rad(90)), MatrixRotationZ(Rad(90)))))
            << Values{1, 0, 0};
        QTest::newRow("quaternion matrix, 120 about y")
            << V(Vec3TransformCoord({0, 0, 1}, MatrixRotationQuaternion(
                                                   {0, std::sin(Rad(60)), 0, std::cos(Rad(60))})))
            << Values{0.8660254, 0, -0.5};
        QTest::newRow("quaternion of a matrix, 120 about y")
            << V(QuaternionRotationMatrix(MatrixRotationY(Rad(120))))
            << Values{0, 0.8660254, 0, 0.5};
        QTest::newRow("quaternion of a matrix, half turn about x")
            << V(QuaternionRotationMatrix(MatrixRotationX(Rad(180)))) << Values{1, 0, 0, 0};
        QTest::newRow("quaternion of a matrix, -170 about z")
            << V(QuaternionRotationMatrix(MatrixRotationZ(Rad(-170))))
            << Values{0, 0, -0.9961947, 0.0871557};
        QTest::newRow("slerp a quarter of the way")
            << V(QuaternionSlerp(QuaternionIdentity(), z90, 0.25f))
            << Values{0, 0, 0.1950903, 0.9807853};
        QTest::newRow("slerp takes the shorter arc")
            << V(QuaternionSlerp(QuaternionIdentity(), {0, 0, -z90.z, -z90.w}, 0.5f))
            << Values{0, 0, 0.3826834, 0.9238795};
        QTest::newRow("normalize")
            << V(QuaternionNormalize({0, 0, 3, 4})) << Values{0, 0, 0.6, 0.8};
        QTest::newRow("normalize zero") << V(QuaternionNormalize({})) << Values{0, 0, 0, 0};
        QTest::newRow("lerp past the end")
            << V(Vec3Lerp({1, 2, 3}, {3, 6, 11}, 1.5f)) << Values{4, 8, 15};
        // A camera at (10, 20, 2) looking along +y with z up, 640 x 480 view of field pi/2.1
        // and aspect 1.3: cot(pi/4.2) = 1.0777437. Left-handed, so world -x is screen right.
        const Vec3 eye{10, 20, 2};
        const Matrix view = MatrixLookAtLH(eye, {10, 30, 2}, {0, 0, 1});
        const Matrix projection = MatrixPerspectiveFovLH(float(Pi / 2.1), 1.3f, 0.0f, 200.0f);
        const Viewport viewport{0, 0, 640, 480, 0, 200};
        auto project = [&](Vec3 p) {
            return V(Vec3Project(p, viewport, projection, view, MatrixIdentity()));
        };
        QTest::newRow("project straight ahead") << project({10, 50, 2}) << Values{320, 240, 200};
        QTest::newRow("project 5 right at 30")
            << project({5, 50, 2}) << Values{320 * (1 + 5 * 1.0777437 / 1.3 / 30), 240, 200};
        QTest::newRow("project 3 up at 30")
            << project({10, 50, 5}) << Values{320, 240 * (1 - 3 * 1.0777437 / 30), 200};
    }

    void geometry() {
        QFETCH(Values, actual);
        QFETCH(Values, expected);
        QCOMPARE(actual.size(), expected.size());
        double dot = 0;
        for (qsizetype i = 0; i < actual.size(); ++i) {
            dot += actual[i] * expected[i];
        }
        if (actual.size() == 4 && dot < 0) {
            for (double& value : actual) {
                value = -value;
            }
        }
        for (qsizetype i = 0; i < actual.size(); ++i) {
            QVERIFY2(std::fabs(actual[i] - expected[i]) < 1e-4,
                     qPrintable(QStringLiteral("value %1: %2, expected %3")
                                    .arg(i)
                                    .arg(actual[i])
                                    .arg(expected[i])));
        }
    }

    void eulerAngles_data() {
        QTest::addColumn<Values>("quaternion");
        QTest::addColumn<Values>("angles");
        QTest::addColumn<bool>("pole");
        QTest::newRow("identity") << Values{0, 0, 0, 1} << Values{0, 0, 0} << false;
        // Made from the angles 0.3, -0.5, 1.2 turned about x, y, z in that order.
        QTest::newRow("general") << Values{0.25762853, -0.12014247, 0.57145983, 0.76982266}
                                 << Values{0.3, -0.5, 1.2} << false;
        QTest::newRow("at the north pole")
            << Values{0.5, 0.5, -0.5, 0.5} << Values{Pi / 2, Pi / 2, 0} << true;
        QTest::newRow("beyond the north pole")
            << Values{0.6, 0.6, -0.6, 0.6} << Values{1.8673421, Pi / 2, 0} << true;
        QTest::newRow("at the south pole")
            << Values{0.5, -0.5, 0.5, 0.5} << Values{Pi / 2, -Pi / 2, 0} << true;
        QTest::newRow("beyond the south pole")
            << Values{0.6, -0.6, 0.6, 0.6} << Values{1.8673421, -Pi / 2, 0} << true;
    }

    void eulerAngles() {
        QFETCH(Values, quaternion);
        QFETCH(Values, angles);
        QFETCH(bool, pole);
        const auto a = EulerFromQuaternion(Q(quaternion));
        for (std::size_t i = 0; i < 3; ++i) {
            QVERIFY2(std::fabs(a[i] - angles[qsizetype(i)]) < 1e-6, qPrintable(QString::number(i)));
        }
        if (pole) {
            QCOMPARE(std::fabs(a[1]), Pi / 2);
            QCOMPARE(a[2], 0.0);
        }
    }

    // Each level's angles come back as the rotation that was sent, within the resolution of its
    // codes: 1 degree for 16-bit codes, 360/255 for 8-bit ones (which also cut towards -180).
    void orientationSurvivesEveryLevel() {
        const Quaternion sent{0.25762853f, -0.12014247f, 0.57145983f, 0.76982266f};
        const double tolerance[6] = {1e-5, 1e-4, 1.8, 2.5, 1.8, 2.5};
        for (std::uint8_t level = 0; level <= 5; ++level) {
            CarStateMsg msg;
            msg.compression = level;
            EncodePose(msg, sent, {});
            const double apart = DegreesApart(DecodeOrientation(msg), sent);
            QVERIFY2(apart < tolerance[level],
                     qPrintable(QStringLiteral("level %1: %2 degrees").arg(level).arg(apart)));
        }
        // Worked out as the product of the three turns, z * y * x.
        QVERIFY(DegreesApart(QuaternionFromAngles(30, -45, 100),
                             {0.43686543f, -0.05442774f, 0.74728276f, 0.49774963f}) < 1e-3);
        // Level 3 sends 0 degrees as 127, which comes back 0.706 degrees short.
        CarStateMsg level3;
        level3.compression = 3;
        EncodePose(level3, QuaternionIdentity(), {});
        QCOMPARE(level3.byte_codes, (std::array<std::uint8_t, 3>{127, 127, 127}));
        level3.byte_codes = {127, 255, 0};
        QVERIFY(DegreesApart(DecodeOrientation(level3), {0.99998103f, 0, 0, 0.00615995f}) < 1e-3);
    }

    // A car speeding up: sender times 1000..1300 ms, received 4000 ms later by our clock, at
    // x = 0, 1, 3, 6. Velocities 0.02 and 0.03 per ms, so the change is 0.01 per ms.
    void motionFollowsTheSamples() {
        GhostMotion motion;
        const Quaternion q = QuaternionIdentity();
        const float xs[4] = {0, 1, 3, 6};
        for (int i = 0; i < 4; ++i) {
            QVERIFY(!motion.Shown());
            motion.Receive(1000 + 100 * i, {xs[i], 2, 0}, q, 5000 + 100 * std::uint32_t(i));
        }
        QVERIFY(motion.Shown());
        QCOMPARE(motion.MinOffset(), 4000);
        // The sender's clock as seen here, 100 ms ahead: 1400 at 5300, so 200 ms after the
        // sample before the newest. Target: 6 + 1.5 * 0.01 * 200 = 9. The first blend starts
        // where the newest sample is.
        QCOMPARE(motion.Interval(5300), 200);
        motion.Advance(5300, 80); // 1000 / 200 * 1.5 * 80 = 600
        motion.Blend(5300);
        QCOMPARE(motion.BlendClock(), 600.0f);
        QCOMPARE(motion.ShownPosition().x, 6.0f + 0.6f * 3.0f);
        QCOMPARE(motion.ShownPosition().y, 2.0f);
        // 300 ms behind and 100 ms elapsed add 500: past 1000, so a new blend starts from the
        // shown point towards 6 + 1.5 * 0.01 * 300 = 10.5.
        motion.Advance(5400, 100);
        motion.Blend(5400);
        QCOMPARE(motion.BlendClock(), 0.0f);
        QCOMPARE(motion.BlendCount(), 1);
        QCOMPARE(motion.ShownPosition().x, 7.8f);
        motion.Advance(5500, 100); // 1000 / 400 * 1.5 * 100 = 375
        motion.Blend(5500);
        QVERIFY(std::fabs(motion.ShownPosition().x - (7.8f + 0.375f * 2.7f)) < 1e-5f);

        // With no more samples, five blends follow; then the last goes on past its target.
        std::uint32_t now = 5500;
        while (motion.BlendCount() < GhostMotion::MaxExtraBlends) {
            now += 50;
            motion.Advance(now, 50);
            motion.Blend(now);
            QVERIFY(now < 20000);
        }
        const float last_x = motion.ShownPosition().x;
        for (int i = 0; i < 200; ++i) {
            now += 50;
            motion.Advance(now, 50);
            motion.Blend(now);
        }
        QCOMPARE(motion.BlendCount(), GhostMotion::MaxExtraBlends);
        QVERIFY(motion.BlendClock() > 1000.0f);
        QVERIFY(motion.ShownPosition().x > last_x);

        // Samples put the ghost back on course. At a steady speed the target is the newest
        // sample itself, reached at the end of one blend: 300 ms behind, 200 ms elapsed.
        const std::int32_t sender_now = std::int32_t(now) - 4000;
        for (int i = 1; i <= 3; ++i) {
            motion.Receive(sender_now + 100 * i, {float(6 + i), 2, 0}, q, now + 100 * i);
        }
        motion.Blend(now + 300); // the old blend had ended: a new one starts here
        motion.Advance(now + 400, 200);
        motion.Blend(now + 400);
        QCOMPARE(motion.ShownPosition().x, 9.0f);
    }
};

TARVEX_TEST(GhostMathTest);
#include "GhostMathTest.moc"
