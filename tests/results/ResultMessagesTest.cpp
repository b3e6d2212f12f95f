#include "results/ResultMessages.h"

#include "ResultsFixtures.h"
#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;
using namespace tarvex::test;

namespace {

// Hands received bytes to the results the way a race window's receive switch does.
bool Receive(Results& results, const QByteArray& bytes, bool is_host, int local_slot) {
    WireReader reader(bytes);
    const auto type = MessageType(reader.U8());
    return ReceiveResult(results, type, reader, is_host, local_slot);
}

} // namespace

class ResultMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void times_progress_and_false_starts() {
        Results results;
        results.NewRaceResult(Roster({0, 3, 5}),
                              {"Falstone", "Good Conditions", "Off", false, false}, At(10, 0, 0),
                              true);
        // 93.5 s is 0x42BB0000.
        QVERIFY(Receive(results, QByteArray("\x0E\x03\x00\x00\xBB\x42", 6), false, 5));
        QVERIFY(Receive(results, QByteArray("\x0F\x03\x00\x00\xBC\x42", 6), false, 5));
        QVERIFY(Receive(results, QByteArray("\x10\x05\x00\x00\xBD\x42", 6), false, 5));
        QVERIFY(Receive(results, QByteArray("\x0C\x03\x2A", 3), false, 5));
        const RaceResult& race = results.Race(1);
        QCOMPARE(race.Split1[3], 93.5f);
        QCOMPARE(race.Split2[3], 94.0f);
        QCOMPARE(race.Finish[5], 94.5f);
        QCOMPARE(race.Percent[3], std::uint8_t(42));

        // A client does not take its own false start back from the host; everyone else's, yes.
        QVERIFY(Receive(results, QByteArray("\x12\x05", 2), false, 5));
        QCOMPARE(race.StartOk[5], true);
        QVERIFY(Receive(results, QByteArray("\x12\x03", 2), false, 5));
        QCOMPARE(race.StartOk[3], false);
        QVERIFY(Receive(results, QByteArray("\x12\x05", 2), true, 0));
        QCOMPARE(race.StartOk[5], false);
    }

    void broken_messages_change_nothing_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("short time") << QByteArray("\x10\x03\x00\x00\xBD", 5);
        QTest::newRow("slot out of range") << QByteArray("\x10\x0D\x00\x00\xBD\x42", 6);
        QTest::newRow("short progress") << QByteArray("\x0C\x03", 2);
        QTest::newRow("empty false start") << QByteArray("\x12", 1);
        QTest::newRow("not a results message") << QByteArray("\x07\x03\x02", 3);
    }

    void broken_messages_change_nothing() {
        QFETCH(QByteArray, bytes);
        Results results;
        results.NewRaceResult(Roster({3}), {}, At(10, 0, 0), true);
        QVERIFY(!Receive(results, bytes, true, 0));
        QCOMPARE(results.Race(1).Finish[3], NoTime);
        QCOMPARE(results.Race(1).Percent[3], std::uint8_t(0));
        QCOMPARE(results.Race(1).StartOk[3], true);
    }
};

TARVEX_TEST(ResultMessagesTest);
#include "ResultMessagesTest.moc"
