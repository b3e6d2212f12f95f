#include "Game.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <cmath>

using simtest::Machine;
using simtest::StatusOf;
using simtest::TarvexPart;

namespace {

// Arrives at the start line of the set-up's stage with every patch applied, then lets the
// camera sweep end so that the countdown is about to run.
bool ToStartLine(Machine& machine) {
    machine.tarvex.ApplyGamePatches(0);
    if (!machine.tarvex.DriveMenusToStage()) {
        return false;
    }
    while (machine.memory->F32(machine.tarvex.RaceBlock() + 0x1F4) >= 0.0f) {
        machine.game.Tick(0.1);
    }
    return true;
}

} // namespace

class GameFlowTest : public QObject {
    Q_OBJECT

private slots:
    void menusLeadToTheSetUpsStage_data();
    void menusLeadToTheSetUpsStage();
    void stageRunsFromTheHeldStartToTheFinish_data();
    void stageRunsFromTheHeldStartToTheFinish();
    void pauseAndRespawnFollowTheirPatches_data();
    void pauseAndRespawnFollowTheirPatches();
};

void GameFlowTest::menusLeadToTheSetUpsStage_data() {
    QTest::addColumn<int>("build");
    QTest::addColumn<int>("car");
    QTest::addColumn<int>("stage");
    QTest::addColumn<QString>("weather");
    QTest::addColumn<int>("tyre");
    QTest::addColumn<int>("trans");
    QTest::addColumn<int>("humidity");
    QTest::addColumn<int>("damage");
    QTest::addColumn<int>("game_car");
    QTest::addColumn<int>("length"); // 0: the game refuses the set-up
    QTest::addColumn<QString>("shown");

    QTest::newRow("b3 Xsara in Finland, automatic")
        << 3 << 0 << 10 << "10O_N_heavysnow_heavycloud" << 6 << 0 << 0 << 3 << 7 << 6100
        << "Citroen Xsara";
    QTest::newRow("b4 Corolla in France, manual")
        << 4 << 6 << 44 << "44O_E_lightrain_heavycloud" << 2 << 1 << 2 << 0 << 3 << 11100
        << "Toyota Corolla";
    QTest::newRow("b3 Impreza 2000 in a yard, which has no presets")
        << 3 << 7 << 72 << "" << 3 << 0 << 0 << 1 << 6 << 900 << "Subaru Impreza 2000";
    QTest::newRow("b4 Lancer in Japan under a preset of another stage")
        << 4 << 3 << 51 << "44O_E_lightrain_heavycloud" << 3 << 1 << 1 << 2 << 2 << 13800
        << "Mitsubishi Lancer Evo VII";
    QTest::newRow("b1 Impreza 2003 on the game's own stage")
        << 1 << 5 << 0 << "" << 0 << 0 << 0 << 0 << 1 << 10200 << "Subaru Impreza 2003";
    QTest::newRow("b2 MG on the game's own stage")
        << 2 << 2 << 0 << "" << 0 << 0 << 0 << 0 << 8 << 10200 << "MG ZR Super 1600";
    QTest::newRow("b3 unknown stage") << 3 << 0 << 99 << "10O_N_hazy_partcloud" << 6 << 0 << 0 << 0
                                      << 0 << 0 << "unknown stage id 99";
    QTest::newRow("b4 unknown preset, in 8-bit text")
        << 4 << 0 << 10 << QStringLiteral("10O_N_\u00e9t\u00e9") << 6 << 0 << 0 << 0 << 0 << 0
        << QStringLiteral("unknown weather preset \"10O_N_\u00e9t\u00e9\"");
    QTest::newRow("b3 no preset for a stage that has them")
        << 3 << 0 << 10 << "" << 6 << 0 << 0 << 0 << 0 << 0 << "unknown weather preset \"\"";
}

void GameFlowTest::menusLeadToTheSetUpsStage() {
    QFETCH(int, build);
    QFETCH(int, car);
    QFETCH(int, stage);
    QFETCH(QString, weather);
    QFETCH(int, tyre);
    QFETCH(int, trans);
    QFETCH(int, humidity);
    QFETCH(int, damage);
    QFETCH(int, game_car);
    QFETCH(int, length);
    QFETCH(QString, shown);

    Machine machine(build);
    TarvexPart& tarvex = machine.tarvex;
    tarvex.setup = {stage, weather.toLatin1().toStdString(), 2, humidity, 1, damage, car, trans,
                    tyre};
    tarvex.proid = 3;
    tarvex.ApplyGamePatches(0);
    const bool reached = tarvex.DriveMenusToStage(10);
    const QJsonObject status = StatusOf(machine.game);
    if (length == 0) {
        // Refused: the game stays in the service area and says why.
        QVERIFY(!reached);
        QCOMPARE(status["menu"].toInt(), 12);
        QCOMPARE(status["loading"].toBool(), false);
        QCOMPARE(status["refusal"].toString(), shown);
        return;
    }
    QVERIFY(reached);
    QCOMPARE(status["refusal"].toString(), QString());
    QCOMPARE(status["profile"].toInt(), 4);
    QCOMPARE(status["car"].toInt(), game_car);
    QCOMPARE(status["car_name"].toString(), shown);
    QCOMPARE(status["stage_length"].toInt(), length);
    QCOMPARE(machine.memory->I32(machine.memory->U32(tarvex.a.stage_data) + 0x75310), length);
    // A new stage shows the unstarted countdown with the camera sweep still running.
    QCOMPARE(machine.memory->F32(tarvex.RaceBlock() + 0x244), 7.0f);
    QVERIFY(machine.memory->F32(tarvex.RaceBlock() + 0x1F4) >= 0.0f);
    if (build <= 2) {
        QCOMPARE(status["stage_id"].toInt(), 12);
        QCOMPARE(status["setup"], QJsonValue(QJsonValue::Null));
        return;
    }
    // The stage was started with the set-up block exactly as Tarvex left it.
    const QJsonObject setup{{"stage", stage},
                            {"preset", weather},
                            {"condition", 2},
                            {"humidity", humidity},
                            {"wear", 1},
                            {"car", car},
                            {"transmission", trans - 1},
                            {"tyre", tyre},
                            {"damage", damage},
                            {"constant", 1}};
    QCOMPARE(status["setup"].toObject(), setup);
    const QJsonObject started{
        {"stage_id", stage},         {"setup_car", car},
        {"transmission", trans - 1}, {"tyre", tyre},
        {"weather", weather},        {"condition", 2},
        {"humidity", humidity},      {"wear", 1},
        {"damage", damage},          {"gearbox", trans == 0 ? "automatic" : "manual"}};
    for (auto field = started.begin(); field != started.end(); ++field) {
        QCOMPARE(status[field.key()], field.value());
    }
}

void GameFlowTest::stageRunsFromTheHeldStartToTheFinish_data() {
    simtest::BuildRows({3, 4});
}

// One stage as Tarvex drives it: held at the line (a jump there counts once), released, the
// splits and the finish, then a restart back to the line.
void GameFlowTest::stageRunsFromTheHeldStartToTheFinish() {
    QFETCH(int, build);
    Machine machine(build);
    sim::Game& game = machine.game;
    sim::AddressSpace& m = *machine.memory;
    TarvexPart& tarvex = machine.tarvex;
    tarvex.setup.stage = 71; // the 2200 m school stage keeps the test short
    tarvex.setup.weather = "";
    QVERIFY(ToStartLine(machine));
    const std::uint32_t rb = tarvex.RaceBlock();
    float lowest = 7.0f;
    for (int i = 0; i < 200; ++i) {
        game.Tick(0.1);
        lowest = std::min(lowest, m.F32(rb + 0x244));
        if (m.F32(rb + 0x244) < 7.0f) {
            m.SetF32(rb + 0x244, 6.99f);
        }
        if (i == 100 || i == 110) {
            game.KeyDown(38); // jumping the start, twice
        } else if (i == 103 || i == 113) {
            game.KeyUp(38);
        }
    }
    QVERIFY(lowest > 6.85f);
    QCOMPARE(StatusOf(game)["countdown"].toDouble(), 6.99);
    QCOMPARE(m.I32(rb + 0x248), 1);
    QCOMPARE(m.F32(rb + 0x140), 0.0f);
    QCOMPARE(m.F32(rb + 0x13C), 0.0f); // the car waits for the green light anyway

    // Released: the countdown runs down to 0 in about seven seconds and the clock starts.
    game.KeyDown(38);
    tarvex.Wait(6.5);
    QVERIFY(m.F32(rb + 0x244) > 0.0f);
    QCOMPARE(m.F32(rb + 0x140), 0.0f);
    float split_distance[2] = {0, 0};
    for (int i = 0; i < 3000 && m.I32(rb + 0x2C4) != 1; ++i) {
        const int before = m.I32(rb + 0x254);
        game.Tick(0.1);
        const int after = m.I32(rb + 0x254);
        if (after == before + 1) {
            split_distance[before] = m.F32(rb + 0x13C);
            QCOMPARE(m.F32(rb + 0x258 + 4 * std::uint32_t(before)), m.F32(rb + 0x140));
        }
    }
    QCOMPARE(m.I32(rb + 0x2C4), 1);
    QVERIFY(split_distance[0] >= 2200.0f / 3 && split_distance[0] < 2200.0f / 3 + 6);
    QVERIFY(split_distance[1] >= 4400.0f / 3 && split_distance[1] < 4400.0f / 3 + 6);
    QCOMPARE(m.F32(rb + 0x13C), 2200.0f);
    const float finish = m.F32(rb + 0x140);
    QVERIFY(finish > m.F32(rb + 0x25C) && m.F32(rb + 0x25C) > m.F32(rb + 0x258));
    tarvex.Wait(3);
    QCOMPARE(m.F32(rb + 0x140), finish); // the finish time stays

    // What a restart writes: the menu state, then 12 at the reload location.
    m.SetU32(rb + 0x144, 1);
    m.SetU32(m.U32(tarvex.a.reload) + 0x728, 12);
    bool seen_seven = false;
    for (int i = 0; i < 30 && !seen_seven; ++i) {
        game.Tick(0.1);
        seen_seven = m.F32(rb + 0x244) == 7.0f && m.I32(rb + 0x144) == 0;
    }
    QVERIFY(seen_seven);
    QCOMPARE(m.U32(m.U32(tarvex.a.reload) + 0x728), 0u);
    QVERIFY(m.F32(rb + 0x1F4) >= 0.0f);
    for (std::uint32_t field : {0x13Cu, 0x140u, 0x248u, 0x254u, 0x2C4u}) {
        QCOMPARE(m.U32(rb + field), 0u);
    }
    QCOMPARE(game.GetStatus().stage_id, 71);
}

void GameFlowTest::pauseAndRespawnFollowTheirPatches_data() {
    QTest::addColumn<int>("build");
    QTest::addColumn<bool>("clock_patch");
    QTest::addColumn<bool>("penalty_off");
    QTest::addColumn<float>("paused_gain");
    QTest::addColumn<float>("respawn_gain");
    QTest::newRow("b3 stock game") << 3 << false << false << 0.0f << 5.0f;
    QTest::newRow("b3 clock patch") << 3 << true << false << 2.0f << 5.0f;
    QTest::newRow("b3 penalties off") << 3 << false << true << 0.0f << 0.0f;
    QTest::newRow("b4 clock patch") << 4 << true << false << 2.0f << 5.0f;
    QTest::newRow("b4 penalties off") << 4 << false << true << 0.0f << 0.0f;
}

void GameFlowTest::pauseAndRespawnFollowTheirPatches() {
    QFETCH(int, build);
    QFETCH(bool, clock_patch);
    QFETCH(bool, penalty_off);
    QFETCH(float, paused_gain);
    QFETCH(float, respawn_gain);
    Machine machine(build);
    TarvexPart& tarvex = machine.tarvex;
    sim::AddressSpace& m = *machine.memory;
    tarvex.setup.penalty_off = penalty_off;
    tarvex.ApplyGamePatches(0, true, clock_patch);
    QVERIFY(tarvex.DriveMenusToStage());
    const std::uint32_t rb = tarvex.RaceBlock();
    tarvex.Wait(2.0 + 7.2);
    QVERIFY(m.F32(rb + 0x140) > 0.0f);

    tarvex.PressEscape();
    QVERIFY(machine.game.GetStatus().paused);
    float before = m.F32(rb + 0x140);
    tarvex.Wait(2.0);
    QVERIFY(std::fabs(m.F32(rb + 0x140) - before - paused_gain) < 0.05f);

    // "Respawn" is the second entry of the pause menu.
    machine.game.KeyDown(40);
    machine.game.KeyUp(40);
    before = m.F32(rb + 0x140);
    tarvex.PressEnter();
    QVERIFY(!machine.game.GetStatus().paused);
    QVERIFY(std::fabs(m.F32(rb + 0x140) - before - respawn_gain) < 0.001f);
}

TARVEX_TEST(GameFlowTest);
#include "GameFlowTest.moc"
