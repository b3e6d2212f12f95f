#include "race/RestartVote.h"

#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;

class RestartVoteTest : public QObject {
    Q_OBJECT

private slots:
    void VotesNeeded_data() {
        QTest::addColumn<int>("participants");
        QTest::addColumn<int>("needed");
        const int needed[] = {1, 1, 2, 2, 3, 4, 4, 4, 5, 6, 6, 6, 7};
        for (int n = 0; n <= 12; ++n) {
            QTest::addRow("%d drivers", n) << n << needed[n];
        }
    }
    void VotesNeeded() {
        QFETCH(int, participants);
        QFETCH(int, needed);
        QCOMPARE(int(tarvex::VotesNeeded(participants)), needed);
    }
};

TARVEX_TEST(RestartVoteTest);
#include "RestartVoteTest.moc"
