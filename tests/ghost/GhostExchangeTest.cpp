#include "ghost/GhostExchange.h"

#include "LocalGame.h"
#include "TarvexPart.h"
#include "TestRegistry.h"
#include "app/Settings.h"
#include "net/Roster.h"

#include <QTemporaryDir>
#include <QTest>
#include <bit>
#include <cmath>
#include <limits>

using namespace tarvex;

namespace {

constexpr std::uint32_t kPid = 4242;
constexpr std::uint32_t kBody = 0x20001000;

// Tarvex's ghost side of one player with the game bridge's access to that player's game.
struct GhostSide {
    FakePlatform fake;
    GameProcess game{fake.AsPlatform()};
    Roster roster;
    Settings settings;
    GhostExchange ghosts{game, *fake.clock, roster, settings};
    std::vector<CarStateMsg> sent;

    GhostSide() {
        ghosts.SetSender([this](const CarStateMsg& msg) { sent.push_back(msg); });
    }
};

// A game whose only readable parts are its build byte and its car body, holding a known pose:
// the angles 0.3, -0.5, 1.2 about x, y, z at (1523.25, -640.5, 87.75).
struct KnownPose : GhostSide {
    KnownPose() {
        fake.memory->Map(kPid, 0x486000, 0x1000);
        fake.memory->Map(kPid, 0x8EF000, 0x1000);
        fake.memory->Map(kPid, kBody, 0x200);
        Poke(GameProcess::kBuildByteAddress, "e8");
        Poke(0x8EF660, "00100020");
        Poke(kBody + 0x100, "e3e7833e 420df6bd 314b123f 1913453f");
        Poke(kBody + 0x140, "0068be44 002020c4 0080af42");
        window = fake.desktop->AddWindow(QStringLiteral("D3D Window"), kPid);
        game.FindGame();
        fake.clock->Set(12345678);
        roster.LocalSlot = 2;
    }
    void Poke(std::uint32_t address, const char* hex) {
        const QByteArray bytes = QByteArray::fromHex(hex);
        fake.memory->Write(kPid, address, bytes.constData(), size_t(bytes.size()));
    }
    WindowHandle window = 0;
};

CarStateMsg State(int slot, std::int32_t sent_at, std::array<float, 3> position,
                  std::array<float, 4> quaternion = {0, 0, 0, 1}) {
    CarStateMsg msg;
    msg.slot = std::uint8_t(slot);
    msg.sent_at = sent_at;
    msg.quaternion = quaternion;
    msg.position = position;
    return msg;
}

// A player whose game runs in this process, with the ghost car files and patches in place.
struct PlayerWithGame : GhostSide {
    QTemporaryDir folder;
    test::LocalGame sim{fake, kPid, GameIn(folder)};
    simtest::TarvexPart part{*sim.memory, sim.game};

    PlayerWithGame() {
        game.FindGame();
        simtest::TarvexPart::WriteGhostFiles(folder.path().toStdString());
        part.ApplyGamePatches(0);
        part.WriteGhostModel(5);
        sim.game.Tick(0.1);
    }
    static sim::Options GameIn(const QTemporaryDir& folder) {
        sim::Options options;
        options.game_folder = folder.path().toStdString();
        return options;
    }
    std::vector<float> Object(int k) const {
        std::vector<float> values(0x40 / 4);
        sim.memory->Read(sim.game.GhostObject(k), values.data(), 0x40);
        return values;
    }
    // A car standing still at `at`: four samples 100 ms apart.
    void Park(int slot, tarvex::Vec3 at, std::int32_t sent_at) {
        for (int i = 0; i < 4; ++i) {
            ghosts.ReceiveCarState(State(slot, sent_at + 100 * i, {at.x, at.y, at.z}));
        }
    }
};

} // namespace

class GhostExchangeTest : public QObject {
    Q_OBJECT

private slots:
    // The whole message as it goes on the wire: slot 2, clock 12345678, 812.5 metres, 42 %.
    // The position is the body's moved 0.4 along the third row of the rotation, here
    // (0.1094719, -0.5339698, 0.8383867): (1523.2938, -640.71356, 88.085358).
    void carStateBytes_data() {
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("identity");
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray head = "0a 02 4e61bc00 00204b44 2a";
        const QByteArray position = "6769be44 ab2d20c4 b42bb042";
        QTest::newRow("level 0, quaternion")
            << 0 << false << head + "e3e7833e 420df6bd 314b123f 1913453f" + position;
        QTest::newRow("level 1, radians")
            << 1 << false << head + "9999993e ffffffbe 9999993f" + position;
        // 197.19, 151.35 and 248.75 degrees; as bytes x 255/360: 139.7, 107.2, 176.2.
        QTest::newRow("level 2, 16-bit degrees")
            << 2 << false << head + "c500 9700 f800" + position;
        QTest::newRow("level 3, 8-bit codes") << 3 << false << head + "8b 6b b0" + position;
        QTest::newRow("level 4, packed position")
            << 4 << false << head + "c500 9700 f800 69be44 2d20c4 2bb042";
        QTest::newRow("level 5, all packed")
            << 5 << false << head + "8b 6b b0 69be44 2d20c4 2bb042";
        // Standing straight: no angle at all is 180 shifted degrees, or code 127.
        QTest::newRow("level 2, identity")
            << 2 << true << head + "b400 b400 b400 0068be44 002020c4 cd4cb042";
        QTest::newRow("level 3, identity")
            << 3 << true << head + "7f 7f 7f 0068be44 002020c4 cd4cb042";
    }

    void carStateBytes() {
        QFETCH(int, level);
        QFETCH(bool, identity);
        QFETCH(QByteArray, bytes);
        KnownPose player;
        if (identity) {
            player.Poke(kBody + 0x100, "00000000 00000000 00000000 0000803f");
        }
        player.settings.Compression = std::uint8_t(level);
        player.ghosts.SendCarState(812.5f, 42);
        QCOMPARE(int(player.sent.size()), 1);
        QCOMPARE(Encode(player.sent[0]).toHex(' '), QByteArray::fromHex(bytes).toHex(' '));
        // Our own record holds what went out; one read of the pose, not seven.
        QCOMPARE(player.ghosts.Record(2).sent_at, 12345678);
        QCOMPARE(player.fake.memory->group_calls, 1);
    }

    void nothingGoesOutOrInWithoutAGame() {
        KnownPose player;
        bool closing = true;
        player.ghosts.SetGameClosing([&closing] { return closing; });
        player.ghosts.SendCarState(1, 1);
        closing = false;
        player.settings.Compression = 6; // no such level: nobody could read it
        player.ghosts.SendCarState(1, 1);
        player.settings.Compression = 0;
        player.Poke(kBody + 0x144, "0000c07f"); // NaN
        player.ghosts.SendCarState(1, 1);
        player.Poke(kBody + 0x144, "00000000");
        player.fake.desktop->RemoveWindow(player.window);
        player.game.FindGame();
        player.ghosts.SendCarState(1, 1);
        QCOMPARE(int(player.sent.size()), 0);
        // Nor are ghosts made ready for a game that is not there.
        player.roster[2].Status = std::uint8_t(PlayerStatus::Driving);
        player.ghosts.ReceiveCarState(State(3, 0, {1, 2, 3}));
        QVERIFY(!player.ghosts.GhostsReady());
    }

    // Hostile or broken car states go to one player only; a twin player gets only the honest
    // ones. The honest ghost must come out the same in both games, and nothing that is not a
    // number may reach either.
    void hostileCarStatesReachNoGhost() {
        PlayerWithGame hit, twin;
        for (PlayerWithGame* p : {&hit, &twin}) {
            p->roster.LocalSlot = 1;
            for (int slot : {0, 2, 3}) {
                p->roster[slot].Status = std::uint8_t(PlayerStatus::Driving);
            }
            p->roster[1].Status = std::uint8_t(PlayerStatus::Ready);
            p->fake.clock->Set(900000);
        }
        const float nan = std::numeric_limits<float>::quiet_NaN();
        const float inf = std::numeric_limits<float>::infinity();
        const std::vector<CarStateMsg> hostile = {
            State(0, 500, {1, nan, 3}),
            State(0, 600, {1, 2, 3}, {nan, 0, 0, 1}),
            State(0, 700, {inf, 2, 3}),
            State(1, 800, {5, 5, 5}),  // our own slot
            State(12, 800, {5, 5, 5}), // nobody
            State(4, 800, {5, 5, 5}),  // not racing
            // Samples that overflow every velocity and extrapolation.
            State(3, 800, {3e38f, -3e38f, 1e38f}),
            State(3, 801, {-3e38f, 3e38f, 1e38f}),
            State(3, 802, {3e38f, -3e38f, 1e38f}),
            State(3, 803, {-3e38f, 3e38f, 1e38f}),
            // A sender clock that repeats, then runs backwards.
            State(0, 900, {10, 0, 0}),
            State(0, 900, {11, 0, 0}),
            State(0, 900, {12, 0, 0}),
            State(0, 400, {13, 0, 0}),
            State(0, 100, {14, 0, 0}),
        };
        CarStateMsg level1 = State(3, 810, {0, 0, 0});
        level1.compression = 1;
        level1.angles = {0, inf, 0};

        // Before the local player drives, car states are taken in but nothing is written.
        const std::vector<float> parked = hit.Object(2);
        for (int i = 0; i < 4; ++i) {
            for (PlayerWithGame* p : {&hit, &twin}) {
                p->ghosts.ReceiveCarState(State(2, 100 * i, {float(i), 0, 1}));
                p->ghosts.GhostTick();
            }
        }
        QVERIFY(!hit.ghosts.GhostsReady());
        QCOMPARE(hit.Object(2), parked);

        for (PlayerWithGame* p : {&hit, &twin}) {
            p->roster[1].Status = std::uint8_t(PlayerStatus::Driving);
        }
        std::size_t next_hostile = 0;
        for (int step = 0; step < 40; ++step) {
            for (PlayerWithGame* p : {&hit, &twin}) {
                p->fake.clock->Advance(50);
                if (step % 3 == 0) {
                    p->ghosts.ReceiveCarState(State(2, 400 + 50 * step, {float(step), 0, 1}));
                }
            }
            if (next_hostile < hostile.size()) {
                hit.ghosts.ReceiveCarState(hostile[next_hostile++]);
            } else {
                hit.ghosts.ReceiveCarState(level1);
            }
            hit.ghosts.GhostTick();
            twin.ghosts.GhostTick();
            QCOMPARE(hit.Object(2), twin.Object(2));
        }
        QVERIFY(hit.ghosts.GhostsReady());
        for (int k = 0; k < GhostExchange::GhostObjects; ++k) {
            QCOMPARE(hit.ghosts.GhostObject(k), hit.sim.game.GhostObject(k));
            for (float value : hit.Object(k)) {
                QVERIFY2(std::isfinite(value), qPrintable(QStringLiteral("object %1").arg(k)));
            }
        }
        // Slots 0 and 3 are drawn, from their last usable samples; ours and the one that is not
        // racing stay parked where the first car state put them.
        QCOMPARE(hit.sim.game.GetStatus().ghosts.size(), std::size_t(3));
        for (int k : {1, 4, 12}) {
            QCOMPARE(hit.Object(k)[0x34 / 4], -10000.0f);
        }
    }

    // Ghosts straight ahead of the camera at 30 and 12 units, one too near to tag at 3, one
    // behind, one ahead that does not race: the tag goes to the one at 12, above it in the
    // middle of the view, faded to the player's limit.
    void nameTagShowsTheNearestGhostInFront() {
        PlayerWithGame player;
        player.part.setup.stage = 72;
        QVERIFY(player.part.DriveMenusToStage());
        player.settings.ShowNameTag = 1;
        player.settings.NameHeight = 1;
        player.settings.NameOpacity = 3;
        player.roster[0].Status = std::uint8_t(PlayerStatus::Driving);
        const std::pair<int, float> ghosts[] = {{3, 30}, {5, 12}, {7, 3}, {9, -8}, {4, 10}};
        for (const auto& [slot, ahead] : ghosts) {
            player.roster[slot].Name = QStringLiteral("Driver %1").arg(slot);
            player.roster[slot].Status =
                std::uint8_t(slot == 4 ? PlayerStatus::Idle : PlayerStatus::Driving);
        }
        // The game's chase camera: view direction in the second row, eye in the fourth.
        const std::uint32_t rows = player.sim.game.CameraRows() + 0xCC;
        auto row = [&](int r) {
            return tarvex::Vec3{player.sim.memory->F32(rows + 12 * r),
                                player.sim.memory->F32(rows + 12 * r + 4),
                                player.sim.memory->F32(rows + 12 * r + 8)};
        };
        const tarvex::Vec3 view = row(1), eye = row(3);
        for (const auto& [slot, ahead] : ghosts) {
            player.Park(slot, eye + view * ahead, 1000);
        }
        player.ghosts.GhostTick();
        player.sim.game.Tick(0.01);
        sim::Status s = player.sim.game.GetStatus();
        QCOMPARE(QString::fromStdString(s.name_tag), QStringLiteral("Driver 5"));
        QCOMPARE(s.tag_opacity, 0.3f);
        // Raised by 1 x 2 x 12 x 0.03 = 0.72 above a point straight ahead: centred across, and
        // up by 0.72 x cos(pitch) x cot(pi/4.2) / (12 + 0.72 sin(pitch)) of the half height.
        const float cosine = std::sqrt(1 - view.z * view.z);
        const float up = 0.72f * cosine * 1.0777437f / (12 + 0.72f * view.z);
        QVERIFY(std::fabs(s.tag_x - (320 - 5 * 8)) < 0.01f);
        QVERIFY(std::fabs(s.tag_y - (240 * (1 - up) - 10)) < 0.01f);

        // With the two in front gone from the race, none is left to tag.
        player.roster[3].Status = player.roster[5].Status = std::uint8_t(PlayerStatus::Idle);
        player.ghosts.GhostTick();
        player.sim.game.Tick(0.01);
        s = player.sim.game.GetStatus();
        QCOMPARE(s.name_tag, std::string());
        QCOMPARE(s.tag_opacity, 0.0f);
        QCOMPARE(player.sim.memory->F32(0x575430), -479.0f);
        QCOMPARE(player.sim.memory->F32(0x575435), -635.0f);
        QCOMPARE(player.sim.memory->F32(0x5753FC), 18.0f);
    }
};

TARVEX_TEST(GhostExchangeTest);
#include "GhostExchangeTest.moc"
