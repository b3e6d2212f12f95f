#include "LocalGame.h"
#include "Pose.h"
#include "SessionHarness.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <deque>
#include <numbers>
#include <optional>

using namespace tarvex;

namespace {

constexpr std::uint32_t kFlowPid = 4242;
constexpr int kFrameMs = 10;
constexpr int kFramesPerSample = 15; // the default data interval, 150 ms
constexpr qint64 kRealSampleMs = 20;

// One player on the stage: a copy of Tarvex and its own game, in process. Tarvex installs its
// ghost car files and applies its patches; the test-side helper of the game's own tests drives
// the menus to the start line of the short Rally Yard stage.
struct Driver {
    Driver(test::Player& player, double pace, std::uint32_t seed)
        : player(player)
        , local(player.platform, kFlowPid, Options(folder, pace, seed))
        , part(*local.memory, local.game) {
        player.platform.memory->SetExecutablePath(kFlowPid, folder.filePath("DuneholtRally"));
        // The game publishes what the patches need a second or two after it starts.
        part.Wait(3);
        player->game().FindGame();
        patched = player->bridge().ApplyGamePatches(0);
        player->settings.ShowGhost = 1;
        player->settings.GhostModel = 5;
        player->ghost_files().WriteGhostModel();
        part.setup.stage = 72;
        player->settings.ShowNameTag = 1;
        player->settings.NameHeight = 1;
        player->settings.NameOpacity = 8;
    }
    static sim::Options Options(const QTemporaryDir& folder, double pace, std::uint32_t seed) {
        sim::Options options;
        options.autopilot = true;
        options.pace = pace;
        options.seed = seed;
        options.game_folder = folder.path().toStdString();
        return options;
    }
    sim::Status Status() const { return local.game.GetStatus(); }
    // Where the ghost of this car belongs: its body moved 0.4 along its forward row.
    sim::Vec3 GhostPoint() const {
        const std::uint32_t body = local.game.CarBodyAddress();
        const sim::Quat q{local.memory->F32(body + 0x100), local.memory->F32(body + 0x104),
                          local.memory->F32(body + 0x108), local.memory->F32(body + 0x10C)};
        const sim::Vec3 p{local.memory->F32(body + 0x140), local.memory->F32(body + 0x144),
                          local.memory->F32(body + 0x148)};
        return p + sim::RowsFromQuat(q)[2] * 0.4f;
    }
    void Send() {
        const sim::Status s = Status();
        player->ghosts().SendCarState(s.distance,
                                      std::uint8_t(s.distance * 100 / float(s.stage_length)));
    }

    test::Player& player;
    QTemporaryDir folder;
    test::LocalGame local;
    simtest::TarvexPart part;
    bool patched = false;
    int received = 0;
};

// This test plays the race loop's part itself, at exact frame times on the fake clock: the
// copies' own polling, information and menu timers stay out of it.
void HoldRaceLoop(Tarvex& tarvex) {
    for (QTimer* timer :
         {&tarvex.sndTimer(), &tarvex.reader().pTimer(), &tarvex.bridge().mnuTimer()}) {
        timer->stop();
        QObject::disconnect(timer, &QTimer::timeout, nullptr, nullptr);
    }
}

std::optional<sim::GhostView> GhostOf(const sim::Status& s, int slot) {
    for (const sim::GhostView& ghost : s.ghosts) {
        if (ghost.index == slot) {
            return ghost;
        }
    }
    return std::nullopt;
}

float Distance(sim::Vec3 a, sim::Vec3 b) {
    const sim::Vec3 d = a - b;
    return std::sqrt(sim::Dot(d, d));
}

} // namespace

class GhostFlowTest : public QObject {
    Q_OBJECT

private slots:
    void ghostsFollowTheOtherCar_data() {
        QTest::addColumn<int>("compression");
        QTest::newRow("full singles") << 0;
        QTest::newRow("12-byte poses") << 5;
    }

    // Anna hosts and drives faster than Bob. Each sees the other as a ghost, never itself.
    void ghostsFollowTheOtherCar() {
        QFETCH(int, compression);
        test::SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Anna")));
        test::Player& bob_player = session.Join(QStringLiteral("Bob"));
        QVERIFY(bob_player->client_side().Welcomed());
        HoldRaceLoop(*session.Host());
        HoldRaceLoop(*bob_player);
        // The fake clocks run far ahead of the real one, which the host's budget for car states
        // counts in: it is set for the shortest data interval there is.
        session.Host()->settings.DataInterval = 1;
        Driver anna(session.Host(), 1.15, 7), bob(bob_player, 0.85, 9);
        // Unrelated clocks: the ghosts must work on the offset between them.
        anna.player.platform.clock->Set(1000000);
        bob.player.platform.clock->Set(50000);
        for (Driver* d : {&anna, &bob}) {
            d->player->settings.Compression = std::uint8_t(compression);
            QVERIFY(d->patched);
            QVERIFY(d->part.DriveMenusToStage());
        }
        QObject::connect(&anna.player->server_side(), &ServerSide::CarStateReceived,
                         [&](const CarStateMsg&) { ++anna.received; });
        QObject::connect(&bob.player->client_side(), &ClientSide::CarStateReceived,
                         [&](const CarStateMsg&) { ++bob.received; });
        auto set_status = [&](Driver& d, PlayerStatus status) {
            if (&d == &anna) {
                anna.player->server_side().SendGameStatus(status);
            } else {
                bob.player->client_side().SendGameStatus(status);
            }
            const int slot = &d == &anna ? 0 : 1;
            return test::SessionHarness::WaitFor([&] {
                return anna.player->roster[slot].Status == std::uint8_t(status) &&
                       bob.player->roster[slot].Status == std::uint8_t(status);
            });
        };
        QVERIFY(set_status(anna, PlayerStatus::Driving));
        QVERIFY(set_status(bob, PlayerStatus::Driving));

        // Where Anna's car was at each frame of the last second.
        std::deque<std::pair<sim::Vec3, float>> anna_track;
        int frame = 0;
        float worst_gap = 0, worst_heading = 0;
        int worst_age = 0;
        QElapsedTimer sampled;
        auto run = [&](int frames) {
            for (int i = 0; i < frames; ++i, ++frame) {
                for (Driver* d : {&anna, &bob}) {
                    d->local.game.Tick(kFrameMs / 1000.0);
                    d->player.platform.clock->Advance(kFrameMs);
                }
                anna_track.push_back(
                    {anna.GhostPoint(), anna.local.game.road().At(anna.Status().distance).heading});
                if (anna_track.size() > 100) {
                    anna_track.pop_front();
                }
                if (frame % kFramesPerSample == 0) {
                    // The game's time runs here as fast as the machine allows, but the host
                    // budgets each player's car states in real time: 50 a second.
                    if (sampled.isValid() && sampled.elapsed() < kRealSampleMs) {
                        QTest::qWait(int(kRealSampleMs - sampled.elapsed()));
                    }
                    sampled.start();
                    const int anna_had = anna.received, bob_had = bob.received;
                    anna.Send();
                    bob.Send();
                    if (!test::SessionHarness::WaitFor(
                            [&] { return anna.received > anna_had && bob.received > bob_had; })) {
                        return false;
                    }
                }
                anna.player->ghosts().GhostTick();
                bob.player->ghosts().GhostTick();
                const sim::Status seen_by_bob = bob.Status();
                if (GhostOf(seen_by_bob, 1) || GhostOf(anna.Status(), 0)) {
                    return false; // nobody races against a ghost of himself
                }
                const auto ghost = GhostOf(seen_by_bob, 0);
                if (ghost && anna.player->roster[0].Status == 4) {
                    float gap = 1e9f, heading = 0;
                    int age = 0, back = int(anna_track.size());
                    for (const auto& [point, h] : anna_track) {
                        --back;
                        const float d = Distance({ghost->x, ghost->y, ghost->z}, point);
                        if (d <= gap) {
                            gap = d;
                            age = back;
                            heading =
                                std::remainder(ghost->heading - h, 2 * std::numbers::pi_v<float>);
                        }
                    }
                    worst_gap = std::max(worst_gap, gap);
                    worst_age = std::max(worst_age, age);
                    worst_heading = std::max(worst_heading, std::fabs(heading));
                }
            }
            return true;
        };

        // Three samples only fill the history; the fourth puts the ghost where Anna's car is.
        QVERIFY(run(3 * kFramesPerSample));
        QVERIFY(!GhostOf(bob.Status(), 0));
        QVERIFY(run(kFramesPerSample));
        auto ghost = GhostOf(bob.Status(), 0);
        QVERIFY(ghost);
        QCOMPARE(ghost->red, 234 / 255.0f);
        QCOMPARE(ghost->green, 49 / 255.0f);
        QCOMPARE(ghost->blue, 52 / 255.0f);
        QVERIFY(Distance({ghost->x, ghost->y, ghost->z}, anna.GhostPoint()) < 0.05f);
        // Its twelve singles go into the game in one call.
        const int grouped = bob.player.platform.memory->write_group_calls;
        bob.player->ghosts().GhostTick();
        QCOMPARE(bob.player.platform.memory->write_group_calls, grouped + 1);

        // Under way, Anna pulls ahead. With her 12 to 25 m in front, Bob's camera sees her
        // ghost with her name above it; hers sees no ghost in front.
        auto gap = [&] {
            return anna.Status().distance - bob.Status().distance;
        };
        while (gap() < 12) {
            QVERIFY(frame < 6000);
            QVERIFY(run(10));
        }
        QVERIFY(gap() < 25);
        QCOMPARE(QString::fromStdString(bob.Status().name_tag), QStringLiteral("Anna"));
        QVERIFY(bob.Status().tag_opacity > 0.4f);
        QCOMPARE(anna.Status().name_tag, std::string());
        // All along, the ghost was on the path Anna's car had taken (10 ms frames, so up to
        // 0.15 m between two recorded points, plus the chord of a blend across a bend) at most
        // one data interval, the 100 ms lead and a frame ago, heading as the car did then: the
        // game got its axes the way round it draws them.
        QVERIFY(run(500));
        QVERIFY2(worst_gap < 0.6f, qPrintable(QString::number(worst_gap)));
        QVERIFY2(worst_age * kFrameMs <= 150 + 100 + kFrameMs,
                 qPrintable(QString::number(worst_age)));
        QVERIFY2(worst_heading < 3 * std::numbers::pi_v<float> / 180,
                 qPrintable(QString::number(worst_heading)));

        // Out of the race, Anna's ghost stays where it was while her car states still come.
        QVERIFY(set_status(anna, PlayerStatus::Idle));
        const sim::GhostView left = *GhostOf(bob.Status(), 0);
        QVERIFY(run(100));
        const auto still = GhostOf(bob.Status(), 0);
        QVERIFY(still);
        QCOMPARE(std::make_tuple(still->x, still->y, still->z, still->heading),
                 std::make_tuple(left.x, left.y, left.z, left.heading));
        QVERIFY(Distance({left.x, left.y, left.z}, anna.GhostPoint()) > 10);
        QCOMPARE(bob.Status().name_tag, std::string());

        // Back in the race to the finish: once her car stands, the ghost stands on it.
        QVERIFY(set_status(anna, PlayerStatus::Driving));
        QVERIFY(run(4000));
        QVERIFY(anna.Status().finished);
        // Full singles put it exactly there; three-byte positions of a few hundred metres are
        // cut to 1/64 m in each axis.
        ghost = GhostOf(bob.Status(), 0);
        QVERIFY(ghost);
        QVERIFY(Distance({ghost->x, ghost->y, ghost->z}, anna.GhostPoint()) <=
                (compression >= 4 ? 0.03f : 1e-4f));
    }
};

TARVEX_TEST(GhostFlowTest);
#include "GhostFlowTest.moc"
