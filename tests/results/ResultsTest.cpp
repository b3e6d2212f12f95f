#include "ResultsFixtures.h"
#include "TestRegistry.h"
#include "results/RaceTable.h"
#include "results/Ranking.h"
#include "results/TimeText.h"

#include <QSignalSpy>
#include <QTest>
#include <limits>

using namespace tarvex;
using namespace tarvex::test;

namespace {

using Finishes = std::array<float, kResultSlots>;
using Percents = std::array<std::uint8_t, kResultSlots>;

SlotOrder Rank(Finishes finish, Percents percent) {
    RaceResult race;
    race.Finish = finish;
    race.Percent = percent;
    return RankSlots(race);
}

} // namespace

class ResultsTest : public QObject {
    Q_OBJECT

private slots:
    void format_race_time_data() {
        QTest::addColumn<float>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("threshold") << 9000.0f << "--:--.--";
        QTest::newRow("just below") << 8999.99f << "149:59.99";
        QTest::newRow("cut, not rounded") << 59.999f << "00:59.99";
        QTest::newRow("whole hour") << 3600.0f << "60:00.00";
        QTest::newRow("minutes") << 83.456f << "01:23.45";
        QTest::newRow("float text") << 95.2f << "01:35.20";
        QTest::newRow("whole seconds") << 5.0f << "00:05.00";
        QTest::newRow("zero") << 0.0f << "00:00.00";
        QTest::newRow("hundreds") << 612.07f << "10:12.07";
        QTest::newRow("tiny") << 1e-5f << "00:00.00";
        QTest::newRow("NaN") << std::numeric_limits<float>::quiet_NaN() << "--:--.--";
        QTest::newRow("negative") << -0.5f << "--:--.--";
    }

    void format_race_time() {
        QFETCH(float, seconds);
        QTEST(FormatRaceTime(seconds), "text");
    }

    void text_helpers() {
        QCOMPARE(StartTimeText(At(7, 3, 9)), QStringLiteral("07:03:09 - 11/08/2026"));
        QCOMPARE(ToAnsi(QString::fromUtf8("R\xC3\xA9my \xE2\x82\xAC \xCE\xA9")),
                 QByteArray("R\xE9my \x80 ?"));
    }

    void ranking_data() {
        QTest::addColumn<Finishes>("finish");
        QTest::addColumn<Percents>("percent");
        QTest::addColumn<QList<int>>("first");

        constexpr float N = NoTime;
        // Slots 0..3 raced; the others did not (finish 0, hidden) and rank first.
        QTest::newRow("finishers by time, then progress")
            << Finishes{95.2f, 93.0f, N, 99.9f} << Percents{100, 100, 40, 100}
            << QList<int>{1, 0, 3, 2};
        QTest::newRow("more progress first")
            << Finishes{N, N, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0} << Percents{20, 80} << QList<int>{1, 0};
        QTest::newRow("10000 exactly is not finished")
            << Finishes{N, N, N, 0, 0, 0, 0, 0, 0, 0, 0, 0} << Percents{10, 90, 50}
            << QList<int>{1, 2, 0};
    }

    void ranking() {
        QFETCH(Finishes, finish);
        QFETCH(Percents, percent);
        QFETCH(QList<int>, first);
        RaceResult race;
        race.Finish = finish;
        race.Percent = percent;
        for (int slot = 0; slot < kResultSlots; ++slot) {
            if (finish[slot] != 0) {
                race.DriverName[slot] = QString::number(slot);
            }
        }
        QList<int> shown;
        for (const int slot : RankSlots(race)) {
            if (!race.DriverName[slot].isEmpty()) {
                shown << slot;
            }
        }
        QCOMPARE(shown, first);
    }

    // Equal keys: the order is whatever the quick sort's swaps leave, and it must be that one.
    void equal_keys_keep_the_sort_order() {
        constexpr float N = NoTime;
        QCOMPARE(Rank({N, N, N, N, N, N, N, N, N, N, N, N}, {}),
                 (SlotOrder{8, 7, 6, 11, 10, 9, 2, 1, 0, 5, 4, 3}));
        QCOMPARE(Rank({0, 0, 100, 0, 0, 100, 0, 100, 0, 100, 0, 0}, {}),
                 (SlotOrder{10, 4, 8, 6, 1, 0, 3, 11, 9, 2, 5, 7}));
        QCOMPARE(Rank({N, N, N, N, N, N, N, N, N, N, N, N}, {50, 50, 0, 50, 0, 0, 50}),
                 (SlotOrder{3, 6, 0, 1, 8, 9, 11, 10, 4, 2, 7, 5}));
    }

    void new_race_counts_by_role_data() {
        QTest::addColumn<bool>("is_host");
        QTest::addColumn<QList<int>>("drivers");
        QTest::newRow("host: Ready only") << true << QList<int>{1, 4};
        QTest::newRow("client: Ready and later") << false << QList<int>{1, 4, 6, 7, 8};
    }

    void new_race_counts_by_role() {
        QFETCH(bool, is_host);
        QFETCH(QList<int>, drivers);
        auto roster = Roster({});
        const std::uint8_t statuses[kResultSlots] = {1, 2, 0, 1, 2, 1, 3, 4, 5, 1, 1, 6};
        for (int slot = 0; slot < kResultSlots; ++slot) {
            roster[slot].Status = statuses[slot];
        }
        roster[8].InUse = true;
        roster[11].InUse = false;
        Results results;
        QSignalSpy changed(&results, &Results::Changed);
        const int count = results.NewRaceResult(
            roster, {"Falstone", "Random Weather", "Safe", false, true}, At(9, 0, 0), is_host);
        QCOMPARE(count, drivers.size());
        QCOMPARE(results.UpperBound(), 1);
        QCOMPARE(changed.count(), 1);
        const RaceResult& race = results.Race(1);
        for (int slot = 0; slot < kResultSlots; ++slot) {
            const bool in = drivers.contains(slot);
            QCOMPARE(race.DriverName[slot].isEmpty(), !in);
            QCOMPARE(race.Finish[slot], in ? NoTime : 0.0f);
            QCOMPARE(race.Split1[slot], in ? NoTime : 0.0f);
            QCOMPARE(race.StartOk[slot], in);
        }
        QCOMPARE(race.CarName[1], QStringLiteral("Peugeot 206"));
        QCOMPARE(race.PenaltiesText, QStringLiteral("False"));
        QCOMPARE(race.SetupsText, QStringLiteral("True"));
        QCOMPARE(race.WeatherName, QStringLiteral("Random Weather"));
    }

    void records_go_to_newest_race() {
        Results results;
        // Nothing recorded yet: reports are dropped, nothing breaks.
        results.RecordTime(16, 0, 1.0f);
        results.RecordFalseStart(0);
        results.RecordPercent(0, 5);
        QCOMPARE(results.UpperBound(), 0);
        QVERIFY(!DisplayRace(results, 1));

        RecordTwoRaces(results);
        QCOMPARE(results.Race(1).Finish[3], 93.0f);
        QCOMPARE(results.Race(1).StartOk[3], false);
        QCOMPARE(results.Race(2).Finish[1], 62.0f);
        QCOMPARE(results.Race(2).Percent[0], std::uint8_t(55));
        // A slot outside the roster or an unknown kind changes nothing.
        results.RecordTime(16, 12, 1.0f);
        results.RecordTime(17, 0, 1.0f);
        results.RecordFalseStart(-1);
        QCOMPARE(results.Race(2).Finish[0], NoTime);

        results.Reset();
        QCOMPARE(results.UpperBound(), 0);
        QVERIFY(!DisplayRace(results, 1));
    }
};

TARVEX_TEST(ResultsTest);
#include "ResultsTest.moc"
