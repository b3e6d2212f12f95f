#include "net/Roster.h"

#include "TestRegistry.h"
#include "net/LagBar.h"
#include "net/StandingsBoard.h"

#include <QTest>

using namespace tarvex;

namespace {

QString Time(float seconds) {
    return seconds >= 9000 ? QStringLiteral("--:--.--") : QString::number(seconds, 'f', 3);
}

} // namespace

class RosterTest : public QObject {
    Q_OBJECT

private slots:
    void SeatsClientsInTheLowestFreeSlot() {
        Roster roster;
        roster.Occupy(0, 100, QStringLiteral("host"));
        QCOMPARE(roster.FreeSlot(), 1);
        roster.Occupy(1, 101, QStringLiteral("a"));
        roster.Occupy(2, 102, QStringLiteral("b"));
        QCOMPARE(roster.FreeSlot(), 3);
        roster.Clear(roster.QuitSlot(101));
        QCOMPARE(roster.FreeSlot(), 1);
        QCOMPARE(roster[1].Name, QString());
        QCOMPARE(roster[1].Slot, std::uint8_t(1));

        for (int slot = 1; slot <= 11; ++slot) {
            roster.Occupy(slot, 200 + slot, QStringLiteral("x"));
        }
        QCOMPARE(roster.FreeSlot(), 12);
        // A leave for an id nobody holds lands on the overflow slot.
        QCOMPARE(roster.QuitSlot(999), 12);
        QCOMPARE(roster.QuitSlot(205), 5);
    }

    // The newcomer rebuilds the host's table from the welcome alone, its own slot included.
    void WelcomeCarriesTheRosterToTheNewcomer() {
        Roster host;
        host.MaxPlayerCount = 6;
        host.Occupy(0, 10, QStringLiteral("Hostess"));
        host[0].Status = 2;
        host.cars[0] = {3, 1, 2};
        host.Occupy(3, 13, QStringLiteral("Dee"));
        host[3].Status = 5;
        host.Occupy(1, 11, QStringLiteral("Cy"));
        host.PlayerCount = 3;

        const WelcomeMsg welcome = host.Welcome(1, 1);
        QCOMPARE(welcome.entries.size(), std::size_t(2));
        QCOMPARE(welcome.entries[0].slot, std::uint8_t(0));
        QCOMPARE(welcome.entries[1].slot, std::uint8_t(3));

        Roster client;
        client.ApplyWelcome(welcome, QStringLiteral("Cy"));
        QCOMPARE(client.LocalSlot, std::uint8_t(1));
        QCOMPARE(client.PlayerCount, std::uint8_t(3));
        QCOMPARE(client.MaxPlayerCount, std::uint8_t(6));
        QCOMPARE(client.OccupiedRows(), (std::vector<int>{0, 1, 3}));
        QCOMPARE(client[0].Name, QStringLiteral("Hostess"));
        QCOMPARE(client[0].PlayerId, 10);
        QCOMPARE(client[0].Status, std::uint8_t(2));
        QCOMPARE(client.cars[0].tyre, std::uint8_t(2));
        QCOMPARE(client[3].Status, std::uint8_t(5));
        QCOMPARE(client[1].Name, QStringLiteral("Cy"));
        QCOMPARE(client.PlayerCountText(), QStringLiteral("Player(s): 3/6"));
    }

    void ReadsTheLagTableIntoTheOccupiedRows() {
        Roster client;
        client.Occupy(0, 1, QStringLiteral("h"));
        client.Occupy(1, 2, QStringLiteral("a"));
        client.Occupy(3, 3, QStringLiteral("b"));
        QVERIFY(client.ApplyLagTable(LagTableMsg{{0, 17, 85}}));
        QCOMPARE(client[1].Lag, std::uint8_t(17));
        QCOMPARE(client[3].Lag, std::uint8_t(85));
        QCOMPARE(client[2].Lag, std::uint8_t(0));
        QVERIFY(!client.ApplyLagTable(LagTableMsg{{9, 9}}));
        QCOMPARE(client[1].Lag, std::uint8_t(17));
    }

    void ConvertsRoundTripsToLagBytes_data() {
        QTest::addColumn<qint64>("ms");
        QTest::addColumn<int>("lag");
        QTest::addColumn<QString>("tooltip");
        QTest::newRow("none") << qint64(0) << 0 << "0";
        QTest::newRow("under one step") << qint64(6) << 0 << "0";
        QTest::newRow("one step") << qint64(7) << 1 << "7";
        QTest::newRow("119 ms") << qint64(119) << 17 << "119";
        QTest::newRow("cut, not rounded") << qint64(125) << 17 << "119";
        QTest::newRow("the cap") << qint64(1785) << 255 << "1785";
        QTest::newRow("above the cap") << qint64(60000) << 255 << "1785";
        QTest::newRow("nonsense") << qint64(-5) << 0 << "0";
    }
    void ConvertsRoundTripsToLagBytes() {
        QFETCH(qint64, ms);
        QFETCH(int, lag);
        QFETCH(QString, tooltip);
        QCOMPARE(int(LagByte(ms)), lag);
        QCOMPARE(LagTooltip(std::uint8_t(lag)), tooltip);
    }

    void DrawsTheLagBar_data() {
        QTest::addColumn<int>("lag");
        QTest::addColumn<int>("level");
        QTest::addColumn<uint>("colour");
        QTest::newRow("0 ms") << 0 << 0 << 0x00FF00u;
        QTest::newRow("119 ms") << 17 << 1 << 0x00FF00u;
        QTest::newRow("231 ms") << 33 << 1 << 0x00FF00u;
        QTest::newRow("238 ms") << 34 << 2 << 0xFFFF00u;
        QTest::newRow("357 ms") << 51 << 3 << 0xFFFF00u;
        QTest::newRow("476 ms") << 68 << 4 << 0xFF0000u;
        QTest::newRow("588 ms") << 84 << 4 << 0xFF0000u;
        QTest::newRow("595 ms") << 85 << 5 << 0xFF0000u;
        QTest::newRow("1785 ms") << 255 << 5 << 0xFF0000u;
    }
    void DrawsTheLagBar() {
        QFETCH(int, lag);
        QFETCH(int, level);
        QFETCH(uint, colour);
        // 1000 units wide: a stroke every 143 units, the first 30 in.
        const LagBar bar = ShowPing(std::uint8_t(lag), 1000);
        QCOMPARE(bar.level, level);
        QCOMPARE(bar.colour, colour);
        QCOMPARE(int(bar.stroke_x.size()), level + 1);
        for (int k = 0; k <= level; ++k) {
            QCOMPARE(bar.stroke_x[std::size_t(k)], k * 143 + 30);
        }
    }

    void NamesStatuses_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("start_given");
        QTest::addColumn<QString>("name");
        QTest::newRow("0") << 0 << false << "Null";
        QTest::newRow("1") << 1 << false << "Idle";
        QTest::newRow("2") << 2 << true << "Ready";
        QTest::newRow("3") << 3 << false << "Loading";
        QTest::newRow("4 held at the line") << 4 << false << "Waiting";
        QTest::newRow("4 started") << 4 << true << "Driving";
        QTest::newRow("5") << 5 << true << "Finished";
        QTest::newRow("unknown") << 6 << true << "";
    }
    void NamesStatuses() {
        QFETCH(int, status);
        QFETCH(bool, start_given);
        QFETCH(QString, name);
        QCOMPARE(StatusName(std::uint8_t(status), start_given), name);
    }

    // Finished players by time, then the rest by progress; free slots have no line; the host's
    // board carries the hint that fits the race.
    void BuildsTheStandingsBoard_data() {
        QTest::addColumn<bool>("is_host");
        QTest::addColumn<bool>("start_given");
        QTest::addColumn<bool>("finish_sent");
        QTest::addColumn<QString>("hint");
        QTest::newRow("client") << false << true << false << "";
        QTest::newRow("host before the start")
            << true << false << false << "Type '/fstart' to force start\n";
        QTest::newRow("host driving") << true << true << false << "\n";
        QTest::newRow("host finished") << true << true << true << "Type '/stop' to stop race\n";
    }
    void BuildsTheStandingsBoard() {
        QFETCH(bool, is_host);
        QFETCH(bool, start_given);
        QFETCH(bool, finish_sent);
        QFETCH(QString, hint);

        Roster roster;
        roster.Occupy(0, 1, QStringLiteral("Hostess"));
        roster[0].Status = 4;
        roster[0].Distance = 400;
        roster[0].Lag = 0;
        roster.Occupy(2, 2, QStringLiteral("A name well over twenty"));
        roster[2].Status = 5;
        roster[2].Distance = 1000;
        roster[2].Lag = 17;
        roster.Occupy(5, 3, QStringLiteral("Dee"));
        roster[5].Status = 4;
        roster[5].Distance = 990;
        roster[5].Lag = 3;
        roster.Occupy(7, 4, QStringLiteral("Eve"));
        roster[7].Status = 4;
        roster[7].Distance = 600;

        BoardInput input;
        input.finish.fill(10000.0f);
        input.finish[2] = 83.456f;
        input.finish[7] = 0; // a fresh results row
        input.progress[0] = 40;
        input.progress[2] = 100;
        input.progress[5] = 99;
        input.progress[7] = 60;
        // A free slot far ahead must not show up.
        input.progress[9] = 100;
        input.stage_length = 1000;
        input.is_host = is_host;
        input.start_given = start_given;
        input.finish_sent = finish_sent;
        input.format_time = Time;

        const QString word = start_given ? "Driving   " : "Waiting   ";
        const QString expected = "Name                Percent   Ping      Status    Time      \n" +
                                 hint +
                                 "A name well over twe100       119       Finished  83.456    \n"
                                 "Dee                 99        21        " +
                                 word +
                                 "--:--.--  \n"
                                 "Eve                 60        0         " +
                                 word +
                                 "0.000     \n"
                                 "Hostess             40        0         " +
                                 word + "--:--.--  ";
        QCOMPARE(StandingsBoard(roster, input), expected);
    }
};

TARVEX_TEST(RosterTest);
#include "RosterTest.moc"
