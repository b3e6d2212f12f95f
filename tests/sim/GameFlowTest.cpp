#include "Game.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QTest>
#include <cmath>

using simtest::TarvexPart;

namespace {

struct Fixture {
    explicit Fixture(int build = 3)
        : memory(sim::NewMemorySpace())
        , game(*memory, Opts(build)) {}
    static sim::Options Opts(int build) {
        sim::Options o;
        o.build = build;
        return o;
    }
    std::unique_ptr<sim::MemoryAddressSpace> memory;
    sim::Game game;
};

// Arrives at the start line of the set-up's stage with every patch applied, then lets the
// camera sweep end so that the countdown is about to run.
bool ToStartLine(Fixture& f, TarvexPart& tarvex) {
    tarvex.ApplyGamePatches(0);
    if (!tarvex.DriveMenusToStage()) {
        return false;
    }
    while (f.memory->F32(tarvex.RaceBlock() + 0x1F4) >= 0.0f) {
        f.game.Tick(0.1);
    }
    return true;
}

} // namespace

class GameFlowTest : public QObject {
    Q_OBJECT

private slots:
    void menusLeadToTheSetUpsStage_data();
    void menusLeadToTheSetUpsStage();
    void profileMenuWaitsForThePlayerWithoutBypass();
    void setupsAllowedStopsAtTheServiceArea();
    void heldCountdownStaysHeldUntilReleased();
    void splitsAndFinishFollowTheStage();
    void falseStartCountsOnce();
    void pauseAndRespawnFollowTheirPatches_data();
    void pauseAndRespawnFollowTheirPatches();
    void reloadReturnsToTheStartLine();
};

void GameFlowTest::menusLeadToTheSetUpsStage_data() {
    QTest::addColumn<int>("car");
    QTest::addColumn<int>("stage");
    QTest::addColumn<QString>("weather");
    QTest::addColumn<int>("tyre");
    QTest::addColumn<int>("trans");
    QTest::addColumn<int>("humidity");
    QTest::addColumn<int>("damage");
    QTest::addColumn<int>("proid");
    QTest::addColumn<int>("game_car");
    QTest::addColumn<QString>("car_name");
    QTest::addColumn<int>("length");

    QTest::newRow("Xsara in Finland") << 0 << 10 << "10O_N_heavysnow_heavycloud" << 6 << 1 << 0 << 3
                                      << 1 << 7 << "Citroen Xsara" << 6100;
    QTest::newRow("Corolla in France") << 6 << 44 << "44O_E_lightrain_heavycloud" << 2 << 2 << 2
                                       << 0 << 4 << 3 << "Toyota Corolla" << 11100;
    QTest::newRow("Impreza 2000 in a yard")
        << 7 << 72 << "" << 3 << 1 << 0 << 1 << 9 << 6 << "Subaru Impreza 2000" << 900;
    QTest::newRow("Lancer in Japan") << 3 << 51 << "51N_hazy_clear" << 3 << 2 << 1 << 2 << 0 << 2
                                     << "Mitsubishi Lancer Evo VII" << 13800;
}

void GameFlowTest::menusLeadToTheSetUpsStage() {
    QFETCH(int, car);
    QFETCH(int, stage);
    QFETCH(QString, weather);
    QFETCH(int, tyre);
    QFETCH(int, trans);
    QFETCH(int, humidity);
    QFETCH(int, damage);
    QFETCH(int, proid);
    QFETCH(int, game_car);
    QFETCH(QString, car_name);
    QFETCH(int, length);

    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.setup = {stage, weather.toStdString(), 2, humidity, 1, damage, car, trans, tyre};
    tarvex.proid = proid;
    tarvex.ApplyGamePatches(0);
    QVERIFY(tarvex.DriveMenusToStage());

    const sim::Status s = f.game.GetStatus();
    QCOMPARE(s.profile, proid + 1);
    QCOMPARE(s.stage_id, stage);
    QCOMPARE(s.stage_length, length);
    QCOMPARE(f.memory->I32(f.memory->U32(0x1659184) + 0x75310), length);
    QCOMPARE(s.car, game_car);
    QCOMPARE(QString::fromStdString(s.car_name), car_name);
    QCOMPARE(s.setup_car, car);
    QCOMPARE(s.transmission, trans);
    QCOMPARE(s.tyre, tyre);
    QCOMPARE(QString::fromStdString(s.weather), weather);
    QCOMPARE(s.condition, 2);
    QCOMPARE(s.humidity, humidity);
    QCOMPARE(s.wear, 1);
    QCOMPARE(s.damage, damage);
    // A new stage shows the unstarted countdown with the camera sweep still running.
    QCOMPARE(f.memory->F32(tarvex.RaceBlock() + 0x244), 7.0f);
    QVERIFY(f.memory->F32(tarvex.RaceBlock() + 0x1F4) >= 0.0f);
}

void GameFlowTest::profileMenuWaitsForThePlayerWithoutBypass() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.ipro = false;
    tarvex.ApplyGamePatches(0);
    QVERIFY(!tarvex.DriveMenusToStage(5));
    QCOMPARE(tarvex.CurrentMenuIndex(), 82);
    QCOMPARE(f.memory->U32(tarvex.MenuBase() + 0x70), 1u);
    // The player picks profile 3 by hand.
    f.game.KeyDown(40);
    f.game.KeyDown(40);
    tarvex.PressEnter();
    QVERIFY(tarvex.DriveMenusToStage());
    QCOMPARE(f.game.GetStatus().profile, 3);
}

void GameFlowTest::setupsAllowedStopsAtTheServiceArea() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.setups_allowed = true;
    tarvex.ApplyGamePatches(0);
    QVERIFY(!tarvex.DriveMenusToStage(8));
    QCOMPARE(tarvex.CurrentMenuIndex(), 12);
    QVERIFY(!f.game.GetStatus().loading);
    // The player leaves the service area by hand: the highlighted "Start stage" entry.
    QCOMPARE(f.memory->U32(f.memory->U32(tarvex.MenuBase() + 0x08) + 0x14), 6u);
    tarvex.PressEnter();
    tarvex.Wait(2.0);
    QVERIFY(f.game.GetStatus().in_stage);
    QCOMPARE(f.game.GetStatus().stage_id, 10);
}

void GameFlowTest::heldCountdownStaysHeldUntilReleased() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    QVERIFY(ToStartLine(f, tarvex));
    const std::uint32_t rb = tarvex.RaceBlock();
    // Holding: whenever the car is on the stage and the countdown has begun, write 6.99.
    float lowest = 7.0f;
    for (int i = 0; i < 300; ++i) {
        f.game.Tick(0.1);
        lowest = std::min(lowest, f.memory->F32(rb + 0x244));
        if (f.memory->F32(rb + 0x1F4) < 0.0f && f.memory->F32(rb + 0x244) < 7.0f) {
            f.memory->SetF32(rb + 0x244, 6.99f);
        }
    }
    QVERIFY(lowest > 6.85f);
    QCOMPARE(f.memory->F32(rb + 0x140), 0.0f);
    QCOMPARE(f.memory->F32(rb + 0x13C), 0.0f);
    // Released: the countdown runs down to 0 in about seven seconds and the clock starts.
    tarvex.Wait(6.5);
    QVERIFY(f.memory->F32(rb + 0x244) > 0.0f);
    QCOMPARE(f.memory->F32(rb + 0x140), 0.0f);
    tarvex.Wait(1.0);
    QCOMPARE(f.memory->F32(rb + 0x244), 0.0f);
    QVERIFY(f.memory->F32(rb + 0x140) > 0.0f);
}

void GameFlowTest::splitsAndFinishFollowTheStage() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.setup.stage = 71; // the 2200 m school stage keeps the test short
    QVERIFY(ToStartLine(f, tarvex));
    const std::uint32_t rb = tarvex.RaceBlock();
    tarvex.Wait(7.1);
    f.game.KeyDown(38);
    float split1_distance = 0, split2_distance = 0;
    for (int i = 0; i < 3000 && f.memory->I32(rb + 0x2C4) != 1; ++i) {
        const int before = f.memory->I32(rb + 0x254);
        f.game.Tick(0.1);
        const int after = f.memory->I32(rb + 0x254);
        if (before == 0 && after == 1) {
            split1_distance = f.memory->F32(rb + 0x13C);
            QCOMPARE(f.memory->F32(rb + 0x258), f.memory->F32(rb + 0x140));
        }
        if (before == 1 && after == 2) {
            split2_distance = f.memory->F32(rb + 0x13C);
            QCOMPARE(f.memory->F32(rb + 0x25C), f.memory->F32(rb + 0x140));
        }
    }
    QCOMPARE(f.memory->I32(rb + 0x2C4), 1);
    QVERIFY(split1_distance >= 2200.0f / 3 && split1_distance < 2200.0f / 3 + 6);
    QVERIFY(split2_distance >= 4400.0f / 3 && split2_distance < 4400.0f / 3 + 6);
    QCOMPARE(f.memory->F32(rb + 0x13C), 2200.0f);
    const float finish = f.memory->F32(rb + 0x140);
    QVERIFY(f.memory->F32(rb + 0x25C) > f.memory->F32(rb + 0x258));
    QVERIFY(finish > f.memory->F32(rb + 0x25C));
    tarvex.Wait(3);
    QCOMPARE(f.memory->F32(rb + 0x140), finish); // the finish time stays
}

void GameFlowTest::falseStartCountsOnce() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    QVERIFY(ToStartLine(f, tarvex));
    const std::uint32_t rb = tarvex.RaceBlock();
    tarvex.Wait(3);
    QCOMPARE(f.memory->I32(rb + 0x248), 0);
    f.game.KeyDown(38);
    tarvex.Wait(0.5);
    f.game.KeyUp(38);
    f.game.KeyDown(38);
    tarvex.Wait(0.5);
    QCOMPARE(f.memory->I32(rb + 0x248), 1);
    QCOMPARE(f.memory->F32(rb + 0x13C), 0.0f); // the car waits for the green light anyway
}

void GameFlowTest::pauseAndRespawnFollowTheirPatches_data() {
    QTest::addColumn<bool>("clock_patch");
    QTest::addColumn<bool>("penalty_off");
    QTest::addColumn<float>("paused_gain");
    QTest::addColumn<float>("respawn_gain");
    QTest::newRow("stock game") << false << false << 0.0f << 5.0f;
    QTest::newRow("clock patch") << true << false << 2.0f << 5.0f;
    QTest::newRow("penalties off") << false << true << 0.0f << 0.0f;
}

void GameFlowTest::pauseAndRespawnFollowTheirPatches() {
    QFETCH(bool, clock_patch);
    QFETCH(bool, penalty_off);
    QFETCH(float, paused_gain);
    QFETCH(float, respawn_gain);
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.setup.penalty_off = penalty_off;
    tarvex.ApplyGamePatches(0, true, clock_patch);
    QVERIFY(tarvex.DriveMenusToStage());
    const std::uint32_t rb = tarvex.RaceBlock();
    tarvex.Wait(2.0 + 7.2);
    QVERIFY(f.memory->F32(rb + 0x140) > 0.0f);

    tarvex.PressEscape();
    QVERIFY(f.game.GetStatus().paused);
    float before = f.memory->F32(rb + 0x140);
    tarvex.Wait(2.0);
    QVERIFY(std::fabs(f.memory->F32(rb + 0x140) - before - paused_gain) < 0.05f);

    // "Respawn" is the second entry of the pause menu.
    f.game.KeyDown(40);
    before = f.memory->F32(rb + 0x140);
    tarvex.PressEnter();
    QVERIFY(!f.game.GetStatus().paused);
    QVERIFY(std::fabs(f.memory->F32(rb + 0x140) - before - respawn_gain) < 0.001f);
}

void GameFlowTest::reloadReturnsToTheStartLine() {
    Fixture f;
    TarvexPart tarvex(*f.memory, f.game);
    tarvex.setup.stage = 23;
    QVERIFY(ToStartLine(f, tarvex));
    const std::uint32_t rb = tarvex.RaceBlock();
    tarvex.Wait(7.5);
    f.game.KeyDown(38);
    tarvex.Wait(10);
    QVERIFY(f.memory->F32(rb + 0x13C) > 50.0f);

    // What a restart writes: the menu state, then 12 at the reload location.
    f.memory->SetU32(rb + 0x144, 1);
    f.memory->SetU32(f.memory->U32(0x7EAC48) + 0x728, 12);
    bool seen_seven = false;
    for (int i = 0; i < 30 && !seen_seven; ++i) {
        f.game.Tick(0.1);
        seen_seven = f.memory->F32(rb + 0x244) == 7.0f && f.memory->I32(rb + 0x144) == 0;
    }
    QVERIFY(seen_seven);
    QCOMPARE(f.memory->F32(rb + 0x13C), 0.0f);
    QCOMPARE(f.memory->F32(rb + 0x140), 0.0f);
    QCOMPARE(f.memory->I32(rb + 0x254), 0);
    QVERIFY(f.memory->F32(rb + 0x1F4) >= 0.0f);
    QCOMPARE(f.game.GetStatus().stage_id, 23);
    QCOMPARE(f.memory->U32(f.memory->U32(0x7EAC48) + 0x728), 0u);
}

TARVEX_TEST(GameFlowTest);
#include "GameFlowTest.moc"
