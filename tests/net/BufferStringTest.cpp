#include "net/transport/BufferString.h"

#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;

class BufferStringTest : public QObject {
    Q_OBJECT

private slots:
    void writesCountThenUtf8_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QString() << QByteArray("\x00\x00", 2);
        QTest::newRow("ascii") << QStringLiteral("Bob")
                               << QByteArray("\x03\x00"
                                             "Bob",
                                             5);
        QTest::newRow("umlaut") << QString::fromUtf8("J\xc3\xbcrgen")
                                << QByteArray("\x07\x00"
                                              "J\xc3\xbcrgen",
                                              9);
    }
    void writesCountThenUtf8() {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QByteArray buffer("\x09", 1);
        AppendBufferString(buffer, text);
        QCOMPARE(buffer, QByteArray("\x09", 1) + bytes);

        qsizetype pos = 1;
        QCOMPARE(ReadBufferString(buffer, pos), std::optional<QString>(text));
        QCOMPARE(pos, buffer.size());
    }

    void refusesEveryTruncation() {
        QByteArray buffer;
        AppendBufferString(buffer, QStringLiteral("Session"));
        for (qsizetype size = 0; size < buffer.size(); ++size) {
            qsizetype pos = 0;
            QVERIFY2(!ReadBufferString(buffer.left(size), pos), qPrintable(QString::number(size)));
            QCOMPARE(pos, 0);
        }
    }

    void cutsOverlongTextAtACharacterBoundary() {
        // 0xFFFF bytes do not hold a whole number of three-byte characters.
        const QString text(30000, QChar(0x20AC));
        QByteArray buffer;
        AppendBufferString(buffer, text);
        QCOMPARE(buffer.size(), 2 + 65535 - 65535 % 3);
        qsizetype pos = 0;
        QCOMPARE(ReadBufferString(buffer, pos), std::optional<QString>(text.left(65535 / 3)));
    }
};

TARVEX_TEST(BufferStringTest);
#include "BufferStringTest.moc"
