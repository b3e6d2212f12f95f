#include "app/StartCommand.h"

#include "TempFolder.h"
#include "TestRegistry.h"
#include "app/ProgramOptions.h"

#include <QProcess>
#include <QTest>

using namespace tarvex;

class StartCommandTest : public QObject {
    Q_OBJECT

private slots:
    void parse_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("parsed");
        QTest::addColumn<QStringList>("fields"); // mode, address, port, name, password

        QTest::newRow("none") << "" << false << QStringList();
        QTest::newRow("one character") << "-" << false << QStringList();
        QTest::newRow("host at once") << "-1" << true << QStringList{"1", "", "", "", ""};
        QTest::newRow("join without password")
            << "-2:192.0.2.5:2005:Bob:" << true << QStringList{"2", "192.0.2.5", "2005", "Bob", ""};
        QTest::newRow("password keeps its colons")
            << "-1::2006:Ann:pa:ss" << true << QStringList{"1", "", "2006", "Ann", "pa:ss"};
        QTest::newRow("empty fields") << "-3::::" << true << QStringList{"3", "", "", "", ""};
        QTest::newRow("address only")
            << "-2:host.lan" << true << QStringList{"2", "host.lan", "", "", ""};
        QTest::newRow("three fields")
            << "-2:h:1:Zed" << true << QStringList{"2", "h", "1", "Zed", ""};
        QTest::newRow("unknown mode")
            << "-7:h:1:Zed:pw" << true << QStringList{"7", "h", "1", "Zed", "pw"};
    }
    void parse() {
        QFETCH(QString, line);
        QFETCH(bool, parsed);
        QFETCH(QStringList, fields);
        const auto command = ParseStartCommand(line);
        QCOMPARE(command.has_value(), parsed);
        if (parsed) {
            QCOMPARE((QStringList{command->mode, command->address, command->port, command->name,
                                  command->password}),
                     fields);
        }
    }

    void takenFromTheArguments_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("taken");
        QTest::addColumn<QStringList>("rest");
        QTest::newRow("after an option") << QStringList{"tarvex", "--config", "/c", "-2:a:1:B:"}
                                         << "-2:a:1:B:" << QStringList{"tarvex", "--config", "/c"};
        QTest::newRow("alone") << QStringList{"tarvex", "-1"} << "-1" << QStringList{"tarvex"};
        QTest::newRow("options only") << QStringList{"tarvex", "-h", "--version"} << ""
                                      << QStringList{"tarvex", "-h", "--version"};
        QTest::newRow("letter mode with fields")
            << QStringList{"tarvex", "-x:h:1:Zed:"} << "-x:h:1:Zed:" << QStringList{"tarvex"};
        QTest::newRow("lone letter is an option")
            << QStringList{"tarvex", "-v", "-3"} << "-3" << QStringList{"tarvex", "-v"};
        QTest::newRow("program name is never taken")
            << QStringList{"-3"} << "" << QStringList{"-3"};
    }
    void takenFromTheArguments() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, taken);
        QFETCH(QStringList, rest);
        QCOMPARE(TakeStartCommand(arguments), taken);
        QCOMPARE(arguments, rest);
    }
    // The option parser must never see the quick-start argument: bundled one-letter options
    // would turn "-2:host:2005:Dave:" into a request for help and the version.
    void optionsLeaveTheQuickStartAlone_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("help");
        QTest::addColumn<bool>("version");
        QTest::addColumn<QString>("config");
        QTest::newRow("join with h and v in it")
            << QStringList{"tarvex", "-2:host.lan:2005:Dave:"} << "-2:host.lan:2005:Dave:" << false
            << false << "";
        QTest::newRow("host with a config")
            << QStringList{"tarvex", "--config", "/c", "-1::2006:Hvv:pw"} << "-1::2006:Hvv:pw"
            << false << false << "/c";
        QTest::newRow("help") << QStringList{"tarvex", "-h"} << "" << true << false << "";
        QTest::newRow("version and a start")
            << QStringList{"tarvex", "--version", "-3"} << "-3" << false << true << "";
    }
    void optionsLeaveTheQuickStartAlone() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, start);
        QFETCH(bool, help);
        QFETCH(bool, version);
        QFETCH(QString, config);
        ProgramOptions options;
        QVERIFY(options.Parse(arguments));
        QCOMPARE(options.StartCommand(), start);
        QCOMPARE(options.WantsHelp(), help);
        QCOMPARE(options.WantsVersion(), version);
        QCOMPARE(options.ConfigFolder(), config);
        QVERIFY(!options.WantsPrintSettings());
    }

    // A mistyped option is reported with the usage, and no window opens; the windowing
    // system's own options are not ours to refuse.
    void unknownOptionEndsTheProgram() {
        const test::TempFolder folder;
        QProcess tarvex;
        tarvex.start(QStringLiteral(TARVEX_EXE),
                     {QStringLiteral("-platform"), QStringLiteral("offscreen"),
                      QStringLiteral("--config"), folder.Path(), QStringLiteral("--bogus")});
        const bool finished = tarvex.waitForFinished(20000);
        if (!finished) {
            tarvex.kill();
            tarvex.waitForFinished();
        }
        QVERIFY(finished);
        QCOMPARE(tarvex.exitCode(), 2);
        const QString err = QString::fromUtf8(tarvex.readAllStandardError());
        QVERIFY2(err.contains(QStringLiteral("Tarvex: Unknown option 'bogus'.\n\nUsage: ")),
                 qPrintable(err));
        QVERIFY(err.contains(QStringLiteral("--config <folder>")));
    }
};

TARVEX_TEST(StartCommandTest);
#include "StartCommandTest.moc"
