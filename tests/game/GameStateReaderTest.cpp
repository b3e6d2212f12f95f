#include "game/GameStateReader.h"

#include "TestRegistry.h"
#include "app/Settings.h"
#include "game/InfoText.h"
#include "net/SessionFlags.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/MonotonicClock.h"
#include "results/Results.h"

#include <QTest>
#include <bit>

using namespace tarvex;

namespace {

constexpr std::uint32_t kReaderPid = 77;
constexpr std::uint32_t kBlock = 0x20000000;
constexpr std::uint32_t kStage = 0x20010000;

// The local player's race as a test scripts it: what the tick asked for, in order.
class ScriptedSeat : public RaceSeat {
public:
    int LocalSlot() const override { return 2; }
    bool ReadyTicked() const override { return ready; }
    void UntickReady() override {
        ready = false;
        sent << QStringLiteral("untick");
    }
    bool RaceLaunched() const override { return launched; }
    bool InLaunchedRace() const override { return launched; }
    void SendGameStatus(PlayerStatus status) override {
        sent << QStringLiteral("status %1").arg(int(status));
    }
    void SendTime(MessageType kind, float seconds) override {
        sent << QStringLiteral("time %1 %2").arg(int(kind)).arg(double(seconds));
    }
    void SendFalseStart() override { sent << QStringLiteral("false start"); }
    int RestartSecondsLeft() const override { return eta; }

    bool ready = true;
    bool launched = true;
    int eta = 0;
    QStringList sent;
};

// A build 3 game whose race block the test writes field by field.
struct ScriptedGame {
    FakePlatform fake;
    Platform platform = [this] {
        Platform p = fake.AsPlatform();
        p.clock = std::make_shared<MonotonicClock>();
        return p;
    }();
    GameProcess game{platform};
    Settings settings;
    Roster roster;
    SessionFlags flags;
    Results results;
    ScriptedSeat seat;
    GameStateReader reader{game, *fake.desktop, settings, roster, flags, results};
    WindowHandle window = 0;

    ScriptedGame() {
        settings.GhostsDisabled = 1;
        fake.memory->Map(kReaderPid, 0x486000, 0x1000);
        fake.memory->Map(kReaderPid, 0x165F000, 0x1000);
        fake.memory->Map(kReaderPid, 0x1659000, 0x1000);
        fake.memory->Map(kReaderPid, 0x7F9000, 0x1000);
        fake.memory->Map(kReaderPid, kBlock, 0x1000);
        fake.memory->Map(kReaderPid, kStage + 0x75000, 0x1000);
        Long(0x4860F4, 0xE800); // the build byte of build 3 at 0x4860F5
        Long(0x165FC68, kBlock);
        Long(0x1659184, kStage);
        Long(kStage + 0x75310, 3000);
        window = fake.desktop->AddWindow(QStringLiteral("D3D Window"), kReaderPid);
        fake.desktop->SetForeground(window);
        reader.SetSeat(&seat);
        results.NewRaceResult({}, {}, {}, true);
    }
    void Long(std::uint32_t address, std::uint32_t value) {
        fake.memory->Write(kReaderPid, address, &value, 4);
    }
    void Single(std::uint32_t offset, float value) {
        Long(kBlock + offset, std::bit_cast<std::uint32_t>(value));
    }
    float ReadSingle(std::uint32_t offset) {
        float value = 0;
        fake.memory->Read(kReaderPid, kBlock + offset, &value, 4);
        return value;
    }
    // One polling tick; what it sent.
    QStringList Tick() {
        seat.sent.clear();
        reader.GameTick();
        return seat.sent;
    }
};

} // namespace

class GameStateReaderTest : public QObject {
    Q_OBJECT

private slots:
    // The events of one stage, tick by tick: on the line, held, the finish before a split
    // that was still unreported, false start, and a new stage clearing every latch.
    void ReportsEachEventOnceAndHoldsTheStart() {
        ScriptedGame g;
        QCOMPARE(g.Tick(), QStringList()); // the game has only just appeared
        g.Single(0x244, 7.0f);
        g.Single(0x1F4, 1.5f);
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("status 3")}));

        g.Single(0x244, 6.8f);
        g.Single(0x1F4, -1.0f);
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("status 4")}));
        QCOMPARE(g.ReadSingle(0x244), 6.99f);
        g.Single(0x244, 6.9f);
        QCOMPARE(g.Tick(), QStringList());
        QCOMPARE(g.ReadSingle(0x244), 6.99f);

        // The start signal releases the car from the held value, once.
        g.flags.StartGiven = 1;
        g.Single(0x244, 6.5f);
        g.reader.ReleaseStart();
        QCOMPARE(g.ReadSingle(0x244), 6.99f);
        g.Single(0x244, 3.0f);
        g.Tick();
        QCOMPARE(g.ReadSingle(0x244), 3.0f);

        g.Single(0x258, 20.5f);
        g.Long(kBlock + 0x254, 2);
        g.Single(0x25C, 40.25f);
        g.Long(kBlock + 0x248, 1);
        g.Long(kBlock + 0x2C4, 1);
        g.Single(0x140, 61.5f);
        QCOMPARE(g.Tick(),
                 QStringList({QStringLiteral("time 16 61.5"), QStringLiteral("status 5")}));
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("time 14 20.5")}));
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("time 15 40.25")}));
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("false start")}));
        QCOMPARE(g.Tick(), QStringList());
        const RaceResult& race = g.results.Race(1);
        QCOMPARE(race.Finish[2], 61.5f);
        QCOMPARE(race.Split2[2], 40.25f);
        QVERIFY(!race.StartOk[2]);
        QCOMPARE(g.reader.GetStageDistance(), 3000.0f);

        // A reloaded stage: everything may be reported again, and the driver may vote again.
        g.flags.VoteCast = true;
        g.Single(0x244, 7.0f);
        g.Single(0x1F4, 2.0f);
        g.Tick();
        QVERIFY(!g.flags.VoteCast);
        QVERIFY(!g.reader.InStage());
        QCOMPARE(g.Tick(),
                 QStringList({QStringLiteral("time 16 61.5"), QStringLiteral("status 5")}));
    }

    // The game may only run for a launched race its player is Ready for, and leaving it
    // unticks Ready.
    void RefusesAndForgets_data() {
        QTest::addColumn<bool>("ready");
        QTest::addColumn<bool>("launched");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("not Ready") << false << true << "* Error: You are not Ready"
                                   << QStringList{QStringLiteral("status 1")};
        QTest::newRow("no race") << true << false << "* Error: Server Has Not Started Game"
                                 << QStringList{QStringLiteral("untick")};
    }
    void RefusesAndForgets() {
        QFETCH(bool, ready);
        QFETCH(bool, launched);
        QFETCH(QString, line);
        QFETCH(QStringList, sent);
        ScriptedGame g;
        g.seat.ready = ready;
        g.seat.launched = launched;
        bool closed = false;
        g.reader.Steps().CloseGame = [&] {
            closed = true;
        };
        QStringList lines;
        connect(&g.reader, &GameStateReader::SystemLine, [&](const QString& l) { lines << l; });
        g.Tick();
        QCOMPARE(g.Tick(), sent);
        QVERIFY(closed);
        QCOMPARE(lines, QStringList{line});

        // A player who was let in and whose game then goes away is no longer Ready; the intro
        // video left behind is ended.
        g.seat.ready = g.seat.launched = true;
        g.Tick();
        g.Tick();
        const WindowHandle video =
            g.fake.desktop->AddWindow(QStringLiteral("DHRVideoPlayerDS"), 91);
        g.fake.desktop->RemoveWindow(g.window);
        QCOMPARE(g.Tick(), QStringList({QStringLiteral("untick")}));
        QVERIFY(g.fake.memory->Terminated(91));
        Q_UNUSED(video);
    }

    // What the driver reads in the game: place, progress, the cars around, and the text as
    // 16-bit characters in the buffer both text pointers name.
    void InformationText() {
        ScriptedGame g;
        g.flags.ParticipantCount = 3;
        g.settings.ShowAheadBehind = 1;
        g.roster.Occupy(0, 1, QStringLiteral("Hostess"));
        g.roster.Occupy(1, 2, QStringLiteral("Ann"));
        g.roster.Occupy(2, 3, QStringLiteral("Me"));
        g.roster.Occupy(3, 4, QStringLiteral("Bob"));
        for (int slot : {0, 1, 3}) {
            g.roster[slot].Status = 4;
        }
        g.roster[0].Distance = 1500;
        g.roster[1].Distance = 900;
        g.roster[3].Distance = 2100;
        g.Tick();
        g.Single(0x13C, 1200.0f);
        g.seat.eta = 3;
        g.reader.ShowInfoText();
        QCOMPARE(g.reader.InfoText(), QStringLiteral("Position 3/3 - ETA: 3\nMe 40/100\n"
                                                     "Hostess 05:00.00+\nAnn 05:00.00-"));
        QCOMPARE(g.results.Race(1).Percent[2], std::uint8_t(40));
        QByteArray text(2 * 50, '\0');
        g.fake.memory->Read(kReaderPid, 0x7F9140, text.data(), size_t(text.size()));
        QVERIFY(text.startsWith(QByteArray("P\0o\0s\0", 6)));
        std::uint32_t pointer = 0;
        g.fake.memory->Read(kReaderPid, kBlock + 0x54, &pointer, 4);
        QCOMPARE(pointer, 0x7F9140u);
        QCOMPARE(g.ReadSingle(0x238), 99.0f);

        // Nobody ahead or behind; alone in the race.
        g.flags.ParticipantCount = 1;
        g.roster[0].Distance = g.roster[3].Distance = 0;
        g.roster[1].Distance = 0;
        g.seat.eta = 0;
        g.reader.ShowInfoText();
        QCOMPARE(g.reader.InfoText(),
                 QStringLiteral("Position 1/1\nMe 40/100\n---- --:--.--+\n---- --:--.---"));
        // A stage length of 0 leaves the last percentage.
        g.Long(kStage + 0x75310, 0);
        QCOMPARE(g.reader.GetProgressPercent(), std::uint8_t(40));
    }
};

TARVEX_TEST(GameStateReaderTest);
#include "GameStateReaderTest.moc"
