#include "app/ProfileFile.h"

#include "TempFolder.h"
#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;

class ProfileFileTest : public QObject {
    Q_OBJECT

private slots:
    void reading_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("expected"); // MAIN's NAME
        const auto row = [](const char* name, const QByteArray& file, const QString& expected) {
            QTest::newRow(name) << file << expected;
        };
        row("names match without case", "[main]\nName=Anna\n", "Anna");
        row("first duplicate key wins", "[MAIN]\nNAME=first\nNAME=second\n", "first");
        row("value trimmed, spaces around the name", "[MAIN]\n  NAME  =   Anna Lee   \n",
            "Anna Lee");
        row("enclosing quotes removed", "[MAIN]\nNAME=\" padded \"\n", " padded ");
        row("unmatched quote kept", "[MAIN]\nNAME=\"Anna\n", "\"Anna");
        row("key of another section", "[GAME]\nNAME=x\n[MAIN]\n", "");
        row("second section of the same name", "[MAIN]\nA=1\n[GAME]\n[MAIN]\nNAME=late\n", "late");
        row("CR LF lines", "[MAIN]\r\nNAME=Anna\r\n", "Anna");
        row("key without equals sign", "[MAIN]\nNAME\n", "");
        row("legacy code page", "[MAIN]\nNAME=J\xf6rg\n", QString::fromUtf8("J\xc3\xb6rg"));
        row("garbage", "\x01\x02[[[==]\n\xff\xfe=\n", "");
    }

    void reading() {
        QFETCH(QByteArray, file);
        QFETCH(QString, expected);
        test::TempFolder folder;
        folder.Write("p.ini", file);
        QCOMPARE(ProfileFile(folder.File("p.ini")).Value("MAIN", "NAME"), expected);
    }

    void writing_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");

        QTest::newRow("new file") << QByteArray()
                                  << QByteArray("[MAIN]\nNAME=Anna\nPORT=2005\n\n[GAME]\nCAR=3\n");
        QTest::newRow("replaced where it stands, comments and foreign keys kept")
            << QByteArray("; my notes\n[Main]\nname = old ; trailing\nOther=keep\n\n[X]\ny=1\n")
            << QByteArray("; my notes\n[Main]\nname=Anna\nOther=keep\nPORT=2005\n\n[X]\ny=1\n"
                          "\n[GAME]\nCAR=3\n");
        QTest::newRow("appended after the section's last entry, before its blank lines")
            << QByteArray("[GAME]\nA=1\n\n\n[MAIN]\nZ=9\n")
            << QByteArray("[GAME]\nA=1\nCAR=3\n\n\n[MAIN]\nZ=9\nNAME=Anna\nPORT=2005\n");
        QTest::newRow("CR LF file keeps CR LF")
            << QByteArray("[MAIN]\r\nNAME=x\r\n")
            << QByteArray("[MAIN]\r\nNAME=Anna\r\nPORT=2005\r\n\r\n[GAME]\r\nCAR=3\r\n");
        QTest::newRow("only the first duplicate is replaced")
            << QByteArray("[MAIN]\nNAME=a\nNAME=b\nPORT=1\n[GAME]\nCAR=0\n")
            << QByteArray("[MAIN]\nNAME=Anna\nNAME=b\nPORT=2005\n[GAME]\nCAR=3\n");
    }

    void writing() {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        test::TempFolder folder;
        if (!before.isEmpty()) {
            folder.Write("p.ini", before);
        }
        ProfileFile file(folder.File("p.ini"));
        file.SetValue("MAIN", "NAME", "Anna");
        file.SetValue("MAIN", "PORT", "2005");
        file.SetValue("GAME", "CAR", "3");
        QString error;
        QVERIFY2(file.Save(&error), qPrintable(error));
        QCOMPARE(folder.Read("p.ini"), after);
        // Reading back what was written gives the values.
        const ProfileFile again(folder.File("p.ini"));
        QCOMPARE(again.Value("main", "name"), QStringLiteral("Anna"));
        QCOMPARE(again.Value("game", "car"), QStringLiteral("3"));
    }

    void valueStaysOnItsLine() {
        test::TempFolder folder;
        ProfileFile file(folder.File("p.ini"));
        file.SetValue("GAME", "CAR", "3");
        file.SetValue("MAIN", "NAME", "Ann\r\n[GAME]\nCAR=9");
        QVERIFY(file.Save(nullptr));
        QCOMPARE(folder.Read("p.ini"),
                 QByteArray("[GAME]\nCAR=3\n\n[MAIN]\nNAME=Ann  [GAME] CAR=9\n"));
        QCOMPARE(ProfileFile(folder.File("p.ini")).Value("GAME", "CAR"), QStringLiteral("3"));
    }

    void savingIntoAFolderThatCannotBeMade() {
        test::TempFolder folder;
        folder.Write("blocker", "a file where a folder should be");
        ProfileFile file(folder.File("blocker/sub/p.ini"));
        file.SetValue("MAIN", "NAME", "Anna");
        QString error;
        QVERIFY(!file.Save(&error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(folder.Read("blocker"), QByteArray("a file where a folder should be"));
    }
};

TARVEX_TEST(ProfileFileTest);
#include "ProfileFileTest.moc"
