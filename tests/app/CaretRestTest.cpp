#include "app/CaretRest.h"

#include "TestRegistry.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QStyleHints>
#include <QTest>

using namespace tarvex;

class CaretRestTest : public QObject {
    Q_OBJECT

private slots:
    // The caret blinks while someone types, rests still once nobody has for the rest period,
    // blinks again at the user's own rate at the next key, and keeps that rate when the
    // program ends resting.
    void restsWhileNobodyTypes() {
        QStyleHints* hints = QGuiApplication::styleHints();
        hints->setCursorFlashTime(700);
        QLineEdit box;
        box.show();
        box.setFocus();
        {
            CaretRest rest(1500);
            for (int i = 0; i < 4; ++i) {
                QTest::qWait(300);
                QTest::keyClick(&box, Qt::Key_A);
            }
            QCOMPARE(box.text(), QStringLiteral("aaaa"));
            QVERIFY(!rest.Resting());
            QCOMPARE(hints->cursorFlashTime(), 700);

            QTRY_VERIFY_WITH_TIMEOUT(rest.Resting(), 10000);
            QCOMPARE(hints->cursorFlashTime(), 0);

            QTest::keyClick(&box, Qt::Key_B);
            QVERIFY(!rest.Resting());
            QCOMPARE(hints->cursorFlashTime(), 700);
            QCOMPARE(box.text(), QStringLiteral("aaaab"));

            QTest::mouseClick(&box, Qt::LeftButton);
            QTRY_VERIFY_WITH_TIMEOUT(rest.Resting(), 10000);
        }
        QCOMPARE(hints->cursorFlashTime(), 700);
    }
};

TARVEX_TEST(CaretRestTest);
#include "CaretRestTest.moc"
