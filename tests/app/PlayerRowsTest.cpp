#include "app/PlayerRows.h"

#include "TestRegistry.h"

#include <QComboBox>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace tarvex;

class PlayerRowsTest : public QObject {
    Q_OBJECT

private slots:
    // Names, counts and visible rows follow the roster; a freed slot shows "Open", grey, no
    // car and no lag.
    void FollowsTheRoster() {
        Roster roster;
        roster.MaxPlayerCount = 4;
        roster.Occupy(0, 1, QStringLiteral("Hostess"));
        roster.Occupy(2, 2, QStringLiteral("Bob"));
        roster[2].Status = 2;
        roster[2].Lag = 34;
        roster.PlayerCount = 2;
        PlayerRows rows(roster, true);
        rows.pCar[2]->addItems({QStringLiteral("a"), QStringLiteral("b")});
        roster.cars[2].car = 1;
        rows.RefreshAll();
        rows.RefreshLag(2);
        rows.show();

        QCOMPARE(rows.lblNumPlayer->text(), QStringLiteral("Player(s): 2/4"));
        QCOMPARE(rows.pName[0]->currentText(), QStringLiteral("Hostess"));
        QCOMPARE(rows.pName[1]->currentText(), QStringLiteral("Open"));
        QCOMPARE(rows.pName[2]->itemText(1), QStringLiteral("Kick"));
        QCOMPARE(rows.pCar[2]->currentIndex(), 1);
        QVERIFY(rows.pName[3]->isVisible());
        QVERIFY(!rows.pName[4]->isVisible());
        QCOMPARE(rows.Lag[2]->toolTip(), QStringLiteral("238"));
        QCOMPARE(rows.Lag[2]->Strokes(), 3);
        QCOMPARE(rows.Lag[2]->Colour(), 0xFFFF00u);

        roster.Clear(2);
        --roster.PlayerCount;
        rows.RefreshSlot(2);
        rows.RefreshCount();
        QCOMPARE(rows.pName[2]->currentText(), QStringLiteral("Open"));
        QCOMPARE(rows.status[2]->property("picture").toString(),
                 QStringLiteral(":/status/dummygrey.png"));
        QCOMPARE(rows.pCar[2]->currentIndex(), -1);
        QCOMPARE(rows.Lag[2]->Strokes(), 0);
        QCOMPARE(rows.Lag[2]->toolTip(), QString());
        QCOMPARE(rows.lblNumPlayer->text(), QStringLiteral("Player(s): 1/4"));
    }

    // Only the host's "Kick" means anything, and never on its own row.
    void KicksFromTheNameList_data() {
        QTest::addColumn<bool>("host");
        QTest::addColumn<int>("slot");
        QTest::addColumn<bool>("kicked");
        QTest::newRow("host kicks a client") << true << 2 << true;
        QTest::newRow("host's own row") << true << 0 << false;
        QTest::newRow("client") << false << 2 << false;
    }
    void KicksFromTheNameList() {
        QFETCH(bool, host);
        QFETCH(int, slot);
        QFETCH(bool, kicked);
        Roster roster;
        roster.Occupy(0, 1, QStringLiteral("Hostess"));
        roster.Occupy(2, 2, QStringLiteral("Bob"));
        PlayerRows rows(roster, host);
        rows.RefreshAll();
        QSignalSpy kicks(&rows, &PlayerRows::KickRequested);
        rows.pName[slot]->setCurrentIndex(1);
        emit rows.pName[slot]->activated(1);
        QCOMPARE(kicks.size(), kicked ? 1 : 0);
        if (kicked) {
            QCOMPARE(kicks[0][0].toInt(), slot);
        }
        QCOMPARE(rows.pName[slot]->currentIndex(), 0);
    }
};

TARVEX_TEST(PlayerRowsTest);
#include "PlayerRowsTest.moc"
