#include "Game.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QTest>

using simtest::Machine;

namespace {

struct Run {
    float finish = 0;
    int false_starts = 0;
    std::uint32_t flags[3] = {};
    bool paused = false;
};

// One autopilot game from a fresh start to some seconds after its finish, menus driven as
// Tarvex would, on the short school stage.
Run Drive(int build, sim::Options options, bool patches = true, bool ipro = true) {
    options.autopilot = true;
    Machine machine(build, options);
    simtest::TarvexPart& tarvex = machine.tarvex;
    tarvex.setup.stage = 71;
    tarvex.setup.weather = "";
    tarvex.ipro = ipro;
    if (patches) {
        tarvex.ApplyGamePatches(0);
    }
    Run run;
    if (!tarvex.DriveMenusToStage()) {
        return run;
    }
    const sim::AddressSpace& m = *machine.memory;
    const std::uint32_t rb = tarvex.RaceBlock();
    for (int i = 0; i < 4000 && m.I32(rb + 0x2C4) != 1; ++i) {
        machine.game.Tick(0.05);
    }
    tarvex.Wait(4);
    run.finish = m.I32(rb + 0x2C4) == 1 ? m.F32(rb + 0x140) : 0;
    run.false_starts = m.I32(rb + 0x248);
    for (std::uint32_t i = 0; i < 3; ++i) {
        run.flags[i] = m.U32(0x400A00 + 4 * i);
    }
    run.paused = machine.game.GetStatus().paused;
    return run;
}

sim::Options With(double pace, std::uint32_t seed) {
    sim::Options o;
    o.pace = pace;
    o.seed = seed;
    return o;
}

} // namespace

class AutopilotTest : public QObject {
    Q_OBJECT

private slots:
    void sameSeedSameTimeAndPaceDecidesTheOrder();
    void afterTheFinish_data();
    void afterTheFinish();
};

void AutopilotTest::sameSeedSameTimeAndPaceDecidesTheOrder() {
    const Run a = Drive(3, With(1.0, 3));
    const Run b = Drive(3, With(1.0, 3));
    const Run other_seed = Drive(3, With(1.0, 4));
    const Run fast = Drive(3, With(1.3, 3));
    const Run slow = Drive(3, With(0.7, 3));
    QVERIFY(a.finish > 0);
    QCOMPARE(a.finish, b.finish);
    QVERIFY(other_seed.finish != a.finish);
    QVERIFY(fast.finish < a.finish);
    QVERIFY(slow.finish > a.finish);
    QCOMPARE(a.false_starts, 0);
}

void AutopilotTest::afterTheFinish_data() {
    QTest::addColumn<int>("build");
    QTest::addColumn<int>("after");
    QTest::addColumn<bool>("false_start");
    QTest::addColumn<bool>("patches");
    QTest::addColumn<bool>("ipro");
    QTest::addColumn<uint>("vote");
    QTest::addColumn<uint>("exit");
    QTest::addColumn<bool>("paused");
    const int vote = int(sim::AfterFinish::VoteRestart), exit = int(sim::AfterFinish::ExitToTarvex),
              wait = int(sim::AfterFinish::Nothing);
    QTest::newRow("b3 jumps the start once, then votes to restart")
        << 3 << vote << true << true << true << 1u << 0u << true;
    QTest::newRow("b4 exits to Tarvex") << 4 << exit << false << true << true << 0u << 1u << true;
    QTest::newRow("b3 picks the profile itself, then waits")
        << 3 << wait << false << true << false << 0u << 0u << false;
    QTest::newRow("b4 finds no entry without patches")
        << 4 << vote << false << false << true << 0xCCCCCCCCu << 0xCCCCCCCCu << false;
}

void AutopilotTest::afterTheFinish() {
    QFETCH(int, build);
    QFETCH(int, after);
    QFETCH(bool, false_start);
    QFETCH(bool, patches);
    QFETCH(bool, ipro);
    QFETCH(uint, vote);
    QFETCH(uint, exit);
    QFETCH(bool, paused);
    sim::Options o = With(1.0, 2);
    o.after_finish = sim::AfterFinish(after);
    o.false_start = false_start;
    const Run run = Drive(build, o, patches, ipro);
    QVERIFY(run.finish > 0);
    QCOMPARE(run.false_starts, false_start ? 1 : 0);
    QCOMPARE(run.flags[0], vote);
    QCOMPARE(run.flags[2], exit);
    QCOMPARE(run.paused, paused);
}

TARVEX_TEST(AutopilotTest);
#include "AutopilotTest.moc"
