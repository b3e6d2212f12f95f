#include "Game.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QTest>

using simtest::TarvexPart;

namespace {

struct Run {
    float finish = 0;
    int false_starts = 0;
    std::uint32_t flags[3] = {};
    bool paused = false;
};

// One autopilot game from a fresh start to some seconds after its finish, menus driven as
// Tarvex would, on the short school stage.
Run Drive(sim::Options options, bool patches = true, bool ipro = true) {
    auto memory = sim::NewMemorySpace();
    options.autopilot = true;
    sim::Game game(*memory, options);
    TarvexPart tarvex(*memory, game);
    tarvex.setup.stage = 71;
    tarvex.ipro = ipro;
    if (patches) {
        tarvex.ApplyGamePatches(0);
    }
    Run run;
    if (!tarvex.DriveMenusToStage()) {
        return run;
    }
    const std::uint32_t rb = tarvex.RaceBlock();
    for (int i = 0; i < 4000 && memory->I32(rb + 0x2C4) != 1; ++i) {
        game.Tick(0.05);
    }
    tarvex.Wait(4);
    run.finish = memory->I32(rb + 0x2C4) == 1 ? memory->F32(rb + 0x140) : 0;
    run.false_starts = memory->I32(rb + 0x248);
    run.flags[0] = memory->U32(0x400A00);
    run.flags[1] = memory->U32(0x400A04);
    run.flags[2] = memory->U32(0x400A08);
    run.paused = game.GetStatus().paused;
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
    void falseStartJumpsOnce();
    void afterTheFinish_data();
    void afterTheFinish();
    void picksTheProfileWithoutBypass();
};

void AutopilotTest::sameSeedSameTimeAndPaceDecidesTheOrder() {
    const Run a = Drive(With(1.0, 3));
    const Run b = Drive(With(1.0, 3));
    const Run other_seed = Drive(With(1.0, 4));
    const Run fast = Drive(With(1.3, 3));
    const Run slow = Drive(With(0.7, 3));
    QVERIFY(a.finish > 0);
    QCOMPARE(a.finish, b.finish);
    QVERIFY(other_seed.finish != a.finish);
    QVERIFY(fast.finish < a.finish);
    QVERIFY(slow.finish > a.finish);
    QCOMPARE(a.false_starts, 0);
}

void AutopilotTest::falseStartJumpsOnce() {
    sim::Options o = With(1.0, 1);
    o.false_start = true;
    const Run run = Drive(o);
    QCOMPARE(run.false_starts, 1);
    QVERIFY(run.finish > 0);
}

void AutopilotTest::afterTheFinish_data() {
    QTest::addColumn<int>("after");
    QTest::addColumn<bool>("patches");
    QTest::addColumn<uint>("vote");
    QTest::addColumn<uint>("exit");
    QTest::addColumn<bool>("paused");
    QTest::newRow("votes to restart")
        << int(sim::AfterFinish::VoteRestart) << true << 1u << 0u << true;
    QTest::newRow("exits to Tarvex")
        << int(sim::AfterFinish::ExitToTarvex) << true << 0u << 1u << true;
    QTest::newRow("waits") << int(sim::AfterFinish::Nothing) << true << 0u << 0u << false;
    QTest::newRow("no entry without patches")
        << int(sim::AfterFinish::VoteRestart) << false << 0xCCCCCCCCu << 0xCCCCCCCCu << false;
}

void AutopilotTest::afterTheFinish() {
    QFETCH(int, after);
    QFETCH(bool, patches);
    QFETCH(uint, vote);
    QFETCH(uint, exit);
    QFETCH(bool, paused);
    sim::Options o = With(1.0, 2);
    o.after_finish = sim::AfterFinish(after);
    const Run run = Drive(o, patches);
    QVERIFY(run.finish > 0);
    QCOMPARE(run.flags[0], vote);
    QCOMPARE(run.flags[2], exit);
    QCOMPARE(run.paused, paused);
}

void AutopilotTest::picksTheProfileWithoutBypass() {
    const Run run = Drive(With(1.0, 5), true, false);
    QVERIFY(run.finish > 0);
}

TARVEX_TEST(AutopilotTest);
#include "AutopilotTest.moc"
