#include "RaceReadySettings.h"
#include "RealMachine.h"
#include "TempFolder.h"
#include "TestRegistry.h"
#include "XProgram.h"
#include "XvfbServer.h"
#include "chat/Handover.h"
#include "game/GameBridge.h"
#include "game/GameProcess.h"
#include "game/ProbeGame.h"
#include "ghost/GhostFiles.h"
#include "platform/Platform.h"
#include "platform/qt/QtShell.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QDebug>
#include <QProcess>
#include <QTest>
#include <QTextStream>
#include <memory>
#include <signal.h>

using namespace tarvex;

namespace {

// The Tarvex side of one machine: the native platform on the given display.
Platform PlatformOn(const QString& display) {
    Platform platform = test::NativeOn(display);
    platform.shell = std::make_shared<QtShell>();
    return platform;
}

using test::LastStatus;
using test::RunningGame;

constexpr int kStartTimeout = 10000;
// An address in the game's static data that nothing of the game uses.
constexpr std::uint32_t kScratch = 0x166F000;
// A patch site of build 3 with its stock bytes.
constexpr std::uint32_t kCodeSite = 0x576819;

} // namespace

class RealGameTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        const QString built = test::BuiltGame();
        if (built.isEmpty()) {
            QSKIP("the stand-in game is not built");
        }
        m_folder = std::make_unique<test::TempFolder>();
        m_executable = m_folder->File(QStringLiteral("DuneholtRally"));
        QVERIFY(QFile::copy(built, m_executable));
        m_server = std::make_unique<test::XvfbServer>();
        if (m_server->Display().isEmpty()) {
            QSKIP("could not start an X server");
        }
        m_display = m_server->Display();
    }

    void cleanupTestCase() {
        m_server.reset();
        m_folder.reset();
    }

    void readsAndWritesLand() {
        const Platform platform = PlatformOn(m_display);
        GameProcess game(platform);
        RunningGame running(m_executable, m_display, {});
        QTRY_VERIFY_WITH_TIMEOUT(game.IsGameRunning(), kStartTimeout);
        QCOMPARE(game.GetGameBuild(), 3); // the build a game started without options is

        // A code page (that it stays executable is the memory suite's): stock bytes, then the
        // patch.
        QCOMPARE(game.ReadGameLong(kCodeSite), std::int32_t(0x86110FF3));
        int length = 0;
        QCOMPARE(game.WriteGameHex(kCodeSite, QStringLiteral("9090"), &length), 1);
        QCOMPARE(length, 2);
        QCOMPARE(game.ReadGameLong(kCodeSite), std::int32_t(0x86119090));

        // Data, and the car pose's seven values read back in one go.
        const float pose[7] = {0.5f, -0.5f, 0.25f, 0.75f, 1200.5f, -33.0f, 7.125f};
        const std::uint32_t offsets[7] = {0x100, 0x104, 0x108, 0x10C, 0x140, 0x144, 0x148};
        for (int i = 0; i < 7; ++i) {
            game.WriteGameSingle(kScratch + offsets[i], pose[i]);
        }
        QCOMPARE(game.ReadCarPose(kScratch),
                 (std::array<float, 7>{0.5f, -0.5f, 0.25f, 0.75f, 1200.5f, -33.0f, 7.125f}));
        QCOMPARE(game.WriteGameString(kScratch, QStringLiteral("Save Data"), &length), 1);
        QCOMPARE(length, 9);
        QCOMPARE(game.ReadGameLong(kScratch + 8), std::int32_t('a')); // 'a', then no terminator

        // Asked to close, the game quits normally; reads then give back what they last read,
        // and writes change nothing.
        platform.desktop->CloseWindow(game.Window());
        QVERIFY(running.Process().waitForFinished(5000));
        QCOMPARE(running.Process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(running.Process().exitCode(), 0);
        QCOMPARE(game.ReadGameLong(kCodeSite), std::int32_t('a'));
        QCOMPARE(game.ReadGameSingle(kScratch), 7.125f);
        QCOMPARE(game.WriteGameValue(kScratch, 1), 0);
        QVERIFY(!game.IsGameRunning());
    }

    void terminatingTheIntroEndsOnlyTheIntro() {
        const Platform platform = PlatformOn(m_display);
        GameProcess game(platform);
        RunningGame running(m_executable, m_display,
                            {QStringLiteral("--intro"), QStringLiteral("60")});
        WindowHandle intro = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (intro = platform.desktop->FindWindowByClass(QStringLiteral("DHRVideoPlayerDS"))) != 0,
            kStartTimeout);
        const std::uint32_t intro_pid = platform.desktop->WindowProcessId(intro);
        QVERIFY(intro_pid != 0);
        QVERIFY(intro_pid != running.Pid());
        QVERIFY(!game.IsGameRunning());

        game.TerminateWindowProcess(intro);
        // The game goes on and shows its own window, long before the intro's 60 seconds.
        QTRY_VERIFY_WITH_TIMEOUT(game.IsGameRunning(), kStartTimeout);
        // (The game's window may reuse the intro's id, so the class tells them apart.)
        QCOMPARE(platform.desktop->FindWindowByClass(QStringLiteral("DHRVideoPlayerDS")),
                 WindowHandle(0));
        QVERIFY(::kill(pid_t(intro_pid), 0) != 0);
        game.FindGame();
        QCOMPARE(game.ProcessId(), running.Pid());
        QCOMPARE(running.Process().state(), QProcess::Running);
    }

    void launchesThroughTheShellInItsFolder() {
        const Platform platform = PlatformOn(m_display);
        GameProcess game(platform);
        // The shell starts programs on Tarvex's own display.
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", m_display.toLatin1());
        // The game path names the executable; the shell starts it in the game's folder.
        const bool opened = ShellOpen(*platform.shell, m_executable, m_executable);
        qputenv("DISPLAY", display);
        QVERIFY(opened);
        QTRY_VERIFY_WITH_TIMEOUT(game.IsGameRunning(), kStartTimeout);
        game.FindGame();
        const std::uint32_t pid = game.ProcessId();
        QVERIFY(pid != 0);
        const QString folder = QFile::symLinkTarget(QStringLiteral("/proc/%1/cwd").arg(pid));
        QCOMPARE(game.GetGameExePath(), m_folder->Path() + u'/');
        platform.memory->Terminate(pid);
        QTRY_VERIFY(!game.IsGameRunning());
        QCOMPARE(folder, m_folder->Path());
    }

    // Two machines, each with its own display and game: each finds only its own, tells its
    // build from the build byte, and ignores a window of another class.
    void eachMachineFindsOnlyItsOwnGame() {
        test::XvfbServer other_server;
        if (other_server.Display().isEmpty()) {
            QSKIP("could not start a second X server");
        }
        const Platform here = PlatformOn(m_display);
        const Platform there = PlatformOn(other_server.Display());
        GameProcess game_here(here);
        GameProcess game_there(there);
        test::XProgram other(m_display);
        const xcb_window_t decoy = other.CreateWindow("DHRVideoPlayerDS", 1);
        other.Map(decoy);
        QVERIFY(!game_here.IsGameRunning());

        RunningGame mine(m_executable, m_display, {QStringLiteral("--build"), QStringLiteral("1")});
        RunningGame theirs(m_executable, other_server.Display(),
                           {QStringLiteral("--build"), QStringLiteral("4")});
        QTRY_VERIFY_WITH_TIMEOUT(game_here.IsGameRunning(), kStartTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(game_there.IsGameRunning(), kStartTimeout);
        QCOMPARE(game_here.GetGameBuild(), 1);
        QCOMPARE(game_there.GetGameBuild(), 4);
        QVERIFY(game_here.Window() != decoy);
        QCOMPARE(game_here.ProcessId(), mine.Pid());
        QCOMPARE(game_there.ProcessId(), theirs.Pid());
        QCOMPARE(game_here.ReadGameByte(GameProcess::kBuildByteAddress), std::uint8_t(0x10));
        QCOMPARE(game_there.ReadGameByte(GameProcess::kBuildByteAddress), std::uint8_t(0x00));
        QCOMPARE(game_here.GetGameExePath(), m_folder->Path() + u'/');

        QTRY_VERIFY(game_here.IsGameForeground()); // the game takes the focus when shown
        QString line;
        QTextStream out(&line);
        ProbeGame(out, here);
        QCOMPARE(line, QStringLiteral("game: pid=%1 build=1 folder=%2/ foreground=yes\n")
                           .arg(mine.Pid())
                           .arg(m_folder->Path()));
        other.Destroy(decoy);
    }

    void bridgeBringsTheGameToTheStartLine_data() {
        QTest::addColumn<int>("build");
        QTest::newRow("build 3") << 3;
        QTest::newRow("build 4") << 4;
    }

    // A race's preparation on a real game: the patches with the ghost car and the hook, then the
    // menu automation on its own timer, onto the start line of the session's stage.
    void bridgeBringsTheGameToTheStartLine() {
        QFETCH(int, build);
        const Platform platform = PlatformOn(m_display);
        GameProcess game(platform);
        StoredSettings stored = test::RaceReadySettings();
        Settings& settings = stored.settings;
        stored.race.StageId = 41;
        stored.race.WeatherPresetName = QStringLiteral("41M_crisp_clear");
        stored.race.Humidity = 1;
        stored.race.TyreWear = 2;
        stored.race.Damage = 3;
        stored.host_car = {2, 1, 1}; // MG ZR Super 1600, manual, tarmac intermediate
        const bool is_host = true;
        GhostFiles ghost(game, settings);
        GameBridge bridge(platform, game, stored, is_host, ghost);

        // A file per row: the game appends, and the last row's game ended on the start line.
        const QString status = m_folder->File(QStringLiteral("bridge-%1.json").arg(build));
        RunningGame running(m_executable, m_display,
                            {QStringLiteral("--build"), QString::number(build)}, status);
        QTRY_VERIFY_WITH_TIMEOUT(game.IsGameRunning(), kStartTimeout);
        game.FindGame();
        QTRY_VERIFY(game.IsGameForeground());
        int clicks = 0;
        const WindowHandle hook = platform.desktop->CreateHookButton([&] { ++clicks; });
        bridge.mnuTimer().start();
        QVERIFY(bridge.ApplyGamePatches(hook));
        // A loaded machine runs the game's frames and the menu timer late: generous, and on a
        // failure the game's last state tells where the automation stopped.
        if (!QTest::qWaitFor([&] { return LastStatus(status).value("in_stage").toBool(); },
                             60000)) {
            // Whole: a failure message is cut short long before the menus and the set-up.
            qWarning().noquote()
                << QJsonDocument(LastStatus(status)).toJson(QJsonDocument::Compact);
            QFAIL("the game did not reach the start line within a minute");
        }
        bridge.mnuTimer().stop();

        const QJsonObject s = LastStatus(status);
        QCOMPARE(s.value("stage_id").toInt(), 41);
        QCOMPARE(s.value("car_name").toString(), QStringLiteral("MG ZR Super 1600"));
        QCOMPARE(s.value("transmission").toInt(), 0);
        QCOMPARE(s.value("tyre").toInt(), 1);
        QCOMPARE(s.value("weather").toString(), QStringLiteral("41M_crisp_clear"));
        QCOMPARE(s.value("humidity").toInt(), 1);
        QCOMPARE(s.value("wear").toInt(), 2);
        QCOMPARE(s.value("damage").toInt(), 3);
        QCOMPARE(s.value("profile").toInt(), 1);
        QVERIFY(s.value("ghosts_loaded").toBool());
        QVERIFY(clicks > 0);
        QTRY_VERIFY(LastStatus(status).value(QStringLiteral("hook_clicks")).toInt() > 0);

        // The button gone, the game's clicks go into the void, and the game runs on.
        platform.desktop->DestroyHookButton(hook);
        const int seen = clicks;
        QTest::qWait(200);
        QCOMPARE(clicks, seen);
        QCOMPARE(running.Process().state(), QProcess::Running);
    }

private:
    std::unique_ptr<test::TempFolder> m_folder;
    std::unique_ptr<test::XvfbServer> m_server;
    QString m_executable;
    QString m_display;
};

TARVEX_TEST(RealGameTest);
#include "RealGameTest.moc"
