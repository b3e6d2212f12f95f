#include "game/GameProcess.h"

#include "TestRegistry.h"
#include "game/ProbeGame.h"
#include "platform/fake/FakePlatform.h"

#include <QTest>
#include <QTextStream>
#include <QTimer>
#include <cstring>

using namespace tarvex;

namespace {

constexpr std::uint32_t kPid = 4242;
constexpr std::uint32_t kData = 0x400A00;
constexpr std::uint32_t kCode = 0x576800;
constexpr std::uint8_t kUntouched = 0xEE;

// A fake desktop and memory holding one game: its window, its build byte and two pages.
struct FakeGame {
    FakePlatform fake;
    GameProcess game{fake.AsPlatform()};
    WindowHandle window = 0;

    explicit FakeGame(std::uint8_t build_byte = 0xE8, bool running = true) {
        fake.memory->Map(kPid, 0x486000, 0x1000);
        fake.memory->Map(kPid, kData, 0x100);
        fake.memory->Map(kPid, kCode, 0x100);
        Poke(GameProcess::kBuildByteAddress, QByteArray(1, char(build_byte)));
        Poke(kCode, QByteArray(0x100, char(kUntouched)));
        if (running) {
            window = fake.desktop->AddWindow(QStringLiteral("D3D Window"), kPid);
        }
    }
    void Poke(std::uint32_t address, const QByteArray& bytes) {
        fake.memory->Write(kPid, address, bytes.constData(), size_t(bytes.size()));
        --fake.memory->write_calls;
    }
    QByteArray Peek(std::uint32_t address, int size) {
        QByteArray bytes(size, '\0');
        fake.memory->Read(kPid, address, bytes.data(), size_t(size));
        --fake.memory->read_calls;
        return bytes;
    }
};

} // namespace

class GameProcessTest : public QObject {
    Q_OBJECT

private slots:
    void findsOnlyTheGameWindow() {
        FakeGame game(0xE8, false);
        game.fake.desktop->AddWindow(QStringLiteral("DHRVideoPlayerDS"), 77);
        game.game.FindGame();
        QCOMPARE(game.game.Window(), WindowHandle(0));
        QCOMPARE(game.game.ProcessId(), 0u);
        QVERIFY(!game.game.IsGameRunning());

        const WindowHandle window =
            game.fake.desktop->AddWindow(QStringLiteral("D3D Window"), kPid);
        QVERIFY(game.game.IsGameRunning());
        QCOMPARE(game.game.Window(), WindowHandle(0)); // IsGameRunning leaves the record alone
        game.game.FindGame();
        QCOMPARE(game.game.Window(), window);
        QCOMPARE(game.game.ProcessId(), kPid);
    }

    void failedReadsKeepTheirWidthsLastValue() {
        FakeGame game;
        game.Poke(kData, QByteArray::fromHex("7f0000009a99d93f"));
        game.game.FindGame();

        // Before the first success each width answers 0.
        game.fake.memory->fail_reads = true;
        QCOMPARE(game.game.ReadGameByte(kData), std::uint8_t(0));
        QCOMPARE(game.game.ReadGameLong(kData), 0);
        QCOMPARE(game.game.ReadGameSingle(kData), 0.0f);
        QCOMPARE(game.game.LastResult(), 0);

        game.fake.memory->fail_reads = false;
        QCOMPARE(game.game.ReadGameLong(kData), 127);
        QCOMPARE(game.game.LastResult(), 1);
        QCOMPARE(game.game.ReadGameSingle(kData + 4), 1.7f);

        // The game quits: each width hands back its own last value, and a width never read
        // successfully still answers 0.
        game.fake.desktop->RemoveWindow(game.window);
        game.game.FindGame();
        const int reads_before = game.fake.memory->read_calls;
        QCOMPARE(game.game.ReadGameLong(kData + 4), 127);
        QCOMPARE(game.game.ReadGameSingle(kData), 1.7f);
        QCOMPARE(game.game.ReadGameByte(kData), std::uint8_t(0));
        QCOMPARE(game.game.LastResult(), 0);
        QCOMPARE(game.fake.memory->read_calls, reads_before); // no process, no read attempted
    }

    void buildFromTheBuildByte_data() {
        QTest::addColumn<int>("byte");
        QTest::addColumn<int>("build");
        QTest::newRow("build 1") << 0x10 << 1;
        QTest::newRow("build 2") << 0x8B << 2;
        QTest::newRow("build 3") << 0xE8 << 3;
        QTest::newRow("build 4") << 0x00 << 4;
        QTest::newRow("unknown") << 0x55 << 0;
    }

    void buildFromTheBuildByte() {
        QFETCH(int, byte);
        QFETCH(int, build);
        FakeGame game{std::uint8_t(byte)};
        // GetGameBuild finds the game itself: nothing was looked up before.
        QCOMPARE(game.game.GetGameBuild(), build);
        QCOMPARE(game.game.Window(), game.window);

        // The unread byte is 0, which is build 4's byte: callers must ask IsGameRunning first.
        FakeGame none(std::uint8_t(byte), false);
        QCOMPARE(none.game.GetGameBuild(), 4);
        QCOMPARE(none.game.LastResult(), 0);
    }

    void buildFollowsARestartedGame() {
        FakeGame game(0x8B);
        QCOMPARE(game.game.GetGameBuild(), 2);
        game.fake.desktop->RemoveWindow(game.window);
        constexpr std::uint32_t kNewPid = 5151;
        game.fake.memory->Map(kNewPid, 0x486000, 0x1000);
        const std::uint8_t build4 = 0x00;
        game.fake.memory->Write(kNewPid, GameProcess::kBuildByteAddress, &build4, 1);
        const WindowHandle window =
            game.fake.desktop->AddWindow(QStringLiteral("D3D Window"), kNewPid);
        QCOMPARE(game.game.GetGameBuild(), 4);
        QCOMPARE(game.game.Window(), window);
        QCOMPARE(game.game.ProcessId(), kNewPid);
    }

    void writesLandExactly_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char* name, const char* kind, const QString& text,
                            const QByteArray& expected) {
            QTest::newRow(name) << QString::fromLatin1(kind) << text << expected;
        };
        row("hex, mixed case", "hex", "d99eF30F", QByteArray::fromHex("d99ef30f"));
        row("hex, odd length: last digit alone", "hex", "EB1", QByteArray::fromHex("eb01"));
        row("hex, digits after a bad one dropped", "hex", "1zz1", QByteArray::fromHex("0100"));
        row("string, no terminator", "string", "Save Data", "Save Data");
        row("string of widened characters", "string", QString::fromLatin1("H\0i\0\0\0", 6),
            QByteArray("H\0i\0\0\0", 6));
        row("string outside Latin-1", "string", QString::fromUtf8("a\u20acb"), "a?b");
    }

    void writesLandExactly() {
        QFETCH(QString, kind);
        QFETCH(QString, text);
        QFETCH(QByteArray, expected);
        FakeGame game;
        game.game.FindGame();
        int written = -1;
        const std::int32_t result = kind == QLatin1String("hex")
                                        ? game.game.WriteGameHex(kCode + 1, text, &written)
                                        : game.game.WriteGameString(kCode + 1, text, &written);
        QCOMPARE(result, 1);
        QCOMPARE(written, expected.size());
        QCOMPARE(game.fake.memory->write_calls, 1); // one write for the whole patch
        // Exactly these bytes: the neighbours on both sides keep their old content.
        QCOMPARE(game.Peek(kCode, expected.size() + 2),
                 char(kUntouched) + expected + char(kUntouched));
    }

    void valueWrites() {
        FakeGame game;
        game.game.FindGame();
        game.game.WriteGameByte(kData, 0x12);
        game.game.WriteGameLong(kData + 4, -2);
        game.game.WriteGameSingle(kData + 8, 6.99f);
        QCOMPARE(game.game.WriteGameValue(kData + 12, 0x01020304), 1);
        QCOMPARE(game.Peek(kData, 16), QByteArray::fromHex("12000000feffffff"
                                                           "14aedf40"
                                                           "04030201"));
    }

    void failedWritesChangeNothing() {
        FakeGame game;
        game.game.FindGame();
        game.fake.memory->fail_writes = true;
        int length = 0;
        QCOMPARE(game.game.WriteGameHex(kCode, QStringLiteral("9090"), &length), 0);
        QCOMPARE(length, 2);
        QCOMPARE(game.game.WriteGameValue(kCode, 1), 0);
        QCOMPARE(game.Peek(kCode, 4), QByteArray(4, char(kUntouched)));

        // With no game there is no process to write to at all.
        game.fake.memory->fail_writes = false;
        game.fake.desktop->RemoveWindow(game.window);
        game.game.FindGame();
        game.game.WriteGameByte(kCode, 0);
        QCOMPARE(game.game.LastResult(), 0);
        QCOMPARE(game.Peek(kCode, 1), QByteArray(1, char(kUntouched)));
    }

    void carPoseIsOneGroupedRead() {
        FakeGame game;
        constexpr std::uint32_t kBody = 0x1000000;
        game.fake.memory->Map(kPid, kBody, 0x200);
        const float quaternion[4] = {0.1f, 0.2f, 0.3f, 0.9f};
        const float position[3] = {100.5f, -20.25f, 3.0f};
        game.fake.memory->Write(kPid, kBody + 0x100, quaternion, sizeof quaternion);
        game.fake.memory->Write(kPid, kBody + 0x140, position, sizeof position);
        game.game.FindGame();

        const std::array<float, 7> pose = game.game.ReadCarPose(kBody);
        QCOMPARE(pose, (std::array<float, 7>{0.1f, 0.2f, 0.3f, 0.9f, 100.5f, -20.25f, 3.0f}));
        QCOMPARE(game.fake.memory->group_calls, 1);
        QCOMPARE(game.fake.memory->read_calls, 0);

        // A failed group read answers the last single read for every value.
        game.fake.memory->fail_reads = true;
        QCOMPARE(game.game.ReadCarPose(kBody), (std::array<float, 7>{3, 3, 3, 3, 3, 3, 3}));
        QCOMPARE(game.game.ReadGameSingle(kBody), 3.0f);
    }

    void foregroundIsTheFoundWindow() {
        FakeGame game;
        QVERIFY(!game.game.IsGameForeground()); // nothing found yet, nothing in front
        game.game.FindGame();
        QVERIFY(!game.game.IsGameForeground());
        game.fake.desktop->SetForeground(game.window);
        QVERIFY(game.game.IsGameForeground());
        game.fake.desktop->SetForeground(game.fake.desktop->AddWindow(QStringLiteral("Qt"), 1));
        QVERIFY(!game.game.IsGameForeground());
    }

    void waitMsRunsTheEventLoopUntilTheClockIsThere() {
        FakeGame game;
        game.fake.clock->Set(0xFFFFFF00u); // the wait spans the wrap of the tick count
        int ticks = 0;
        QTimer other_timer; // stands for Tarvex's other timers and windows
        QObject::connect(&other_timer, &QTimer::timeout, [&] {
            ++ticks;
            game.fake.clock->Advance(100);
        });
        other_timer.start(0);
        game.game.WaitMs(1000);
        QCOMPARE(ticks, 10);
        QCOMPARE(game.fake.clock->NowMs(), 0xFFFFFF00u + 1000u);
        game.game.WaitMs(0);
        QCOMPARE(ticks, 10);
    }

    void exePathIsTheFolder_data() {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<QString>("folder");
        QTest::newRow("linux") << "/home/ana/Games/Duneholt Rally/DuneholtRally"
                               << "/home/ana/Games/Duneholt Rally/";
        QTest::newRow("windows") << "C:\\Games\\Duneholt Rally\\DuneholtRally.exe"
                                 << "C:\\Games\\Duneholt Rally\\";
        QTest::newRow("unknown") << ""
                                 << "";
    }

    void exePathIsTheFolder() {
        QFETCH(QString, executable);
        QFETCH(QString, folder);
        FakeGame game;
        game.fake.memory->SetExecutablePath(kPid, executable);
        QCOMPARE(game.game.GetGameExePath(), QString()); // game not looked up yet
        game.game.FindGame();
        QCOMPARE(game.game.GetGameExePath(), folder);
    }

    void terminateWindowProcess() {
        FakeGame game;
        game.fake.memory->Map(77, 0x400000, 16);
        const WindowHandle intro =
            game.fake.desktop->AddWindow(QStringLiteral("DHRVideoPlayerDS"), 77);
        game.game.TerminateWindowProcess(0);
        game.game.TerminateWindowProcess(0xDEAD); // no such window
        QVERIFY(!game.fake.memory->Terminated(0));
        QVERIFY(!game.fake.memory->Terminated(77));
        game.game.TerminateWindowProcess(intro);
        QVERIFY(game.fake.memory->Terminated(77));
        QVERIFY(!game.fake.memory->Terminated(kPid));
    }

    void probeLine_data() {
        QTest::addColumn<bool>("running");
        QTest::addColumn<bool>("front");
        QTest::addColumn<bool>("readable");
        QTest::addColumn<QString>("line");
        QTest::newRow("none") << false << false << true << "game: none\n";
        QTest::newRow("in front") << true << true << true
                                  << "game: pid=4242 build=3 folder=/opt/dhr/ foreground=yes\n";
        QTest::newRow("memory out of reach")
            << true << false << false << "game: pid=4242 build=0 folder=/opt/dhr/ foreground=no\n";
    }

    void probeLine() {
        QFETCH(bool, running);
        QFETCH(bool, front);
        QFETCH(bool, readable);
        QFETCH(QString, line);
        FakeGame game(0xE8, running);
        game.fake.memory->SetExecutablePath(kPid, QStringLiteral("/opt/dhr/DuneholtRally"));
        game.fake.memory->fail_reads = !readable;
        if (front) {
            game.fake.desktop->SetForeground(game.window);
        }
        QString output;
        QTextStream out(&output);
        QCOMPARE(ProbeGame(out, game.fake.AsPlatform()), 0);
        QCOMPARE(output, line);
    }
};

TARVEX_TEST(GameProcessTest);
#include "GameProcessTest.moc"
