#include "results/ResultsExport.h"

#include "ResultsFixtures.h"
#include "TempFolder.h"
#include "TestRegistry.h"
#include "platform/fake/FakeDialogs.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace tarvex;
using namespace tarvex::test;

namespace {

ExportContext Context(const TempFolder& folder) {
    return {folder.Path(), QStringLiteral("/games/duneholt/DuneholtRally.exe"),
            QStringLiteral("Friday Night Rally"), At(21, 5, 9)};
}

QByteArray ReadFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class ResultsExportTest : public QObject {
    Q_OBJECT

private slots:
    void tab_delimited_bytes() {
        Results results;
        RecordTwoRaces(results);
        TempFolder folder;
        const QString path = folder.File(QStringLiteral("times.txt"));
        folder.Write(QStringLiteral("times.txt"), "old content that must go");
        QCOMPARE(WriteTimes(results, path, TabDelimited, Context(folder)), QString());
        QCOMPARE(
            ReadFile(path),
            QByteArray("Race Number: 1\r\n"
                       "Stage: Falstone\r\n"
                       "Weather: Good Conditions\r\n"
                       "Damage:Realistic\r\n"
                       "Penalties Disabled: True\r\n"
                       "Setups: False\r\n"
                       "Start Time: 21:05:09 - 11/08/2026\r\n"
                       "\r\n"
                       "Name\tCar\tTransmission\tTyre\tSplit 1\tSplit 2\tTime\tStart\tPercent\r\n"
                       "Di\tSubaru Impreza 2003\tAuto\tGravel Dry\t00:29.00\t--:--.--\t01:33.00\t"
                       "False\t100\r\n"
                       "Ann\tPeugeot 206\tManual\tGravel Dry\t00:30.50\t01:01.25\t01:35.20\tTrue\t"
                       "100\r\n"
                       "Flo\tPeugeot 206\tManual\tGravel Dry\t--:--.--\t--:--.--\t--:--.--\tTrue\t"
                       "40\r\n"
                       "\r\n"
                       "\r\n"
                       "Race Number: 2\r\n"
                       "Stage: Rally Yard IV\r\n"
                       "Weather: Bad Conditions\r\n"
                       "Damage:Off\r\n"
                       "Penalties Disabled: False\r\n"
                       "Setups: True\r\n"
                       "Start Time: 07:30:00 - 11/08/2026\r\n"
                       "\r\n"
                       "Name\tCar\tTransmission\tTyre\tSplit 1\tSplit 2\tTime\tStart\tPercent\r\n"
                       "Bo\tPeugeot 206\tManual\tGravel Dry\t--:--.--\t--:--.--\t01:02.00\tTrue\t"
                       "100\r\n"
                       "Ann\tPeugeot 206\tManual\tGravel Dry\t--:--.--\t--:--.--\t--:--.--\tTrue\t"
                       "55\r\n"
                       "\r\n"
                       "\r\n"));
    }

    void fixed_width_bytes() {
        Results results;
        auto roster = Roster({2});
        roster[2].Car = QStringLiteral("Mitsubishi Lancer Evo VII");
        results.NewRaceResult(roster, {"Tanner II", "Good Conditions", "Safe", false, false},
                              At(0, 0, 1), true);
        results.RecordTime(16, 2, 250.5f);
        results.RecordPercent(2, 100);
        TempFolder folder;
        const QString path = folder.File(QStringLiteral("fixed.txt"));
        QCOMPARE(WriteTimes(results, path, FixedWidth, Context(folder)), QString());
        const QByteArray pad(20, ' ');
        auto cell = [](const char* text) {
            return QByteArray(text).leftJustified(20, ' ');
        };
        QCOMPARE(ReadFile(path),
                 QByteArray("Race Number: 1\r\nStage: Tanner II\r\nWeather: Good Conditions\r\n"
                            "Damage:Safe\r\nPenalties Disabled: False\r\nSetups: False\r\n"
                            "Start Time: 00:00:01 - 11/08/2026\r\n\r\n") +
                     cell("Name") + cell("Car") + cell("Transmission") + cell("Tyre") +
                     cell("Split 1") + cell("Split 2") + cell("Time") + cell("Start") +
                     cell("Percent") + "\r\n" + cell("Cy") + "Mitsubishi Lancer Ev" +
                     cell("Manual") + cell("Gravel Dry") + cell("--:--.--") + cell("--:--.--") +
                     cell("04:10.50") + cell("True") + cell("100") + "\r\n\r\n\r\n");
    }

    // No race gives an empty file; a mode the menu does not have writes nothing at all.
    void no_race_and_unknown_mode() {
        Results results;
        TempFolder folder;
        QCOMPARE(WriteTimes(results, folder.File(QStringLiteral("a.txt")), TabDelimited,
                            Context(folder)),
                 QString());
        QVERIFY(QFile::exists(folder.File(QStringLiteral("a.txt"))));
        QCOMPARE(ReadFile(folder.File(QStringLiteral("a.txt"))), QByteArray());
        RecordTwoRaces(results);
        QCOMPARE(WriteTimes(results, folder.File(QStringLiteral("b.txt")), 4, Context(folder)),
                 QString());
        QVERIFY(!QFile::exists(folder.File(QStringLiteral("b.txt"))));
    }

    // The template's bytes outside the placeholders pass through untouched, in whatever
    // encoding it was saved; the values inserted follow the encoding it declares.
    void html_from_user_template_data() {
        QTest::addColumn<QByteArray>("html_template");
        QTest::addColumn<QString>("server_name");
        QTest::addColumn<QByteArray>("page");
        QTest::newRow("every placeholder")
            << QByteArray("<h1>[SERVERNAME]: [RACENUM]</h1>[RACELIST]\r\n<!-RACE START->"
                          "<h2>[RNUM] [STAGE] [WEATHER] [DAMAGE] [PENALTIES] [SETUPS] "
                          "[STARTTIME] on [SERVERNAME]</h2><!-TIME START-><p>[NAME] [CAR] "
                          "[TRANS] [TYRE] [SPLIT1] [SPLIT2] [TIME] [START] [PERCENT]</p>"
                          "<!-TIME END-><hr><!-RACE END-><i>[RACENUM] [STAGE]</i>")
            << QStringLiteral("Club")
            << QByteArray("<h1>Club: 2</h1><a href=#1>Race 0001 - Falstone<br>"
                          "<a href=#2>Race 0002 - Rally Yard IV<br>\r\n"
                          "<a name=1></a><h2>1 Falstone Good Conditions Realistic True False "
                          "21:05:09 - 11/08/2026 on Club</h2>"
                          "<p>Di Subaru Impreza 2003 Auto Gravel Dry 00:29.00 --:--.-- 01:33.00 "
                          "False 100</p><p>Ann Peugeot 206 Manual Gravel Dry 00:30.50 01:01.25 "
                          "01:35.20 True 100</p><p>Flo Peugeot 206 Manual Gravel Dry --:--.-- "
                          "--:--.-- --:--.-- True 40</p><hr>"
                          "<a name=2></a><h2>2 Rally Yard IV Bad Conditions Off False True "
                          "07:30:00 - 11/08/2026 on Club</h2>"
                          "<p>Bo Peugeot 206 Manual Gravel Dry --:--.-- --:--.-- 01:02.00 True "
                          "100</p><p>Ann Peugeot 206 Manual Gravel Dry --:--.-- --:--.-- --:--.-- "
                          "True 55</p><hr>"
                          "<i>2 [STAGE]</i>");
        // Quotes and capitals whose UTF-8 bytes include ones windows-1252 leaves undefined.
        const QByteArray markers("<!-RACE START-><!-TIME START-><!-TIME END-><!-RACE END->");
        QTest::newRow("UTF-8")
            << "<meta charset=\"UTF-8\">\xE2\x80\x9E" + markers +
                   "\xC3\x81[SERVERNAME]\xC3\x8D\xE2\x80\x9D"
            << QStringLiteral("Caf\u00E9 \u201CCup\u201D")
            << QByteArray("<meta charset=\"UTF-8\">\xE2\x80\x9E<a name=1></a><a name=2></a>"
                          "\xC3\x81"
                          "Caf\xC3\xA9 \xE2\x80\x9C"
                          "Cup\xE2\x80\x9D\xC3\x8D\xE2\x80\x9D");
        QTest::newRow("windows-1252")
            << "charset=windows-1252 \x81\x8D" + markers + "\x93[SERVERNAME]\x94"
            << QStringLiteral("Caf\u00E9 \u201CCup\u201D")
            << QByteArray("charset=windows-1252 \x81\x8D<a name=1></a><a name=2></a>\x93"
                          "Caf\xE9 \x93"
                          "Cup\x94\x94");
        // Without markers the cut positions mean nothing: the page is malformed, but written.
        QTest::newRow("no markers") << QByteArray("0123456789AB[RACENUM] races") << QString()
                                    << QByteArray("<a name=1></a><a name=2></a>2 races");
        QTest::newRow("empty") << QByteArray() << QString()
                               << QByteArray("<a name=1></a><a name=2></a>");
    }
    void html_from_user_template() {
        QFETCH(QByteArray, html_template);
        QFETCH(QString, server_name);
        QFETCH(QByteArray, page);
        Results results;
        RecordTwoRaces(results);
        QCOMPARE(HtmlExport(results, html_template, server_name), page);
    }

    void built_in_template_is_written_when_missing() {
        const QByteArray asset =
            ReadFile(qEnvironmentVariable("TARVEX_SOURCE_DIR") + "/assets/template.htm");
        QVERIFY(asset.contains("<title>Tarvex HTML Export</title>"));
        QVERIFY(asset.contains("charset=windows-1252"));
        QCOMPARE(BuiltInTemplate(), asset);

        Results results;
        RecordTwoRaces(results);
        TempFolder folder;
        const QString out = folder.File(QStringLiteral("times.htm"));
        QCOMPARE(WriteTimes(results, out, HtmlDump, Context(folder)), QString());
        QCOMPARE(ReadFile(TemplatePath(folder.Path())), asset);
        const QByteArray first = ReadFile(out);
        QVERIFY(first.contains("Tarvex - Friday Night Rally"));
        QVERIFY(first.contains("Races [2]"));

        QVERIFY(QFile::remove(TemplatePath(folder.Path())));
        QCOMPARE(WriteTimes(results, out, HtmlDump, Context(folder)), QString());
        QCOMPARE(ReadFile(TemplatePath(folder.Path())), asset);
        QCOMPARE(ReadFile(out), first);

        // A template the user has edited is used as it is, byte for byte.
        const QByteArray edited("\xC3\x81<!-RACE START->[RNUM]<!-TIME START-><!-TIME END->"
                                "<!-RACE END->\xE2\x80\x9D [RACENUM]");
        folder.Write(QStringLiteral("template.htm"), edited);
        QCOMPARE(WriteTimes(results, out, HtmlDump, Context(folder)), QString());
        QCOMPARE(ReadFile(out), QByteArray("\xC3\x81<a name=1></a>1<a name=2></a>2"
                                           "\xE2\x80\x9D 2"));
        QCOMPARE(ReadFile(TemplatePath(folder.Path())), edited);
    }

    // The save dialog offers a name for the mode and shows every file; a target that cannot
    // be written is reported and the races stay.
    void export_asks_for_file() {
        Results results;
        RecordTwoRaces(results);
        TempFolder folder;
        auto dialogs = FakeDialogs();
        ExportTimes(dialogs, results, FixedWidth, Context(folder));
        QCOMPARE(dialogs.requests.size(), 1);
        const auto& request = dialogs.requests.first();
        QCOMPARE(request.title, QStringLiteral("Save File As..."));
        QCOMPARE(request.filter, QStringLiteral("All Files (*)"));
        QCOMPARE(request.folder, QStringLiteral("/games/duneholt"));
        QCOMPARE(request.file_name, QStringLiteral("Times 21_05_09 - 11_08_2026.txt"));
        QVERIFY(dialogs.messages.isEmpty());

        const QString path = folder.File(QStringLiteral("missing/folder/times.htm"));
        dialogs.answers << path;
        ExportTimes(dialogs, results, HtmlDump, Context(folder));
        QCOMPARE(dialogs.requests.last().file_name,
                 QStringLiteral("Times 21_05_09 - 11_08_2026.htm"));
        QCOMPARE(dialogs.messages.size(), 1);
        QVERIFY(dialogs.messages.first().text.contains(path));
        QCOMPARE(dialogs.messages.first().icon, Dialogs::Icon::Warning);
        QCOMPARE(results.UpperBound(), 2);
    }

    // The built-in page in a real browser: it loads, shows every race block and the index.
    void html_renders_in_chromium() {
        const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
        QVERIFY2(!chromium.isEmpty(), "chromium is needed to render the HTML export");
        const QString out_dir =
            qEnvironmentVariable("TARVEX_BINARY_DIR", QDir::tempPath()) + "/results-export";
        QVERIFY(QDir().mkpath(out_dir));

        Results results;
        RecordTwoRaces(results);
        TempFolder folder;
        const QString page = out_dir + "/two-races.htm";
        QCOMPARE(WriteTimes(results, page, HtmlDump, Context(folder)), QString());

        auto run = [&](const QStringList& extra) {
            QTemporaryDir profile;
            QProcess browser;
            browser.setProcessChannelMode(QProcess::SeparateChannels);
            browser.start(chromium,
                          QStringList{QStringLiteral("--headless"), QStringLiteral("--no-sandbox"),
                                      QStringLiteral("--disable-gpu"),
                                      QStringLiteral("--disable-background-networking"),
                                      QStringLiteral("--user-data-dir=") + profile.path()} +
                              extra + QStringList{QStringLiteral("file://") + page});
            const bool finished = browser.waitForFinished(120000);
            if (!finished) {
                browser.kill();
                browser.waitForFinished();
            }
            return std::make_pair(finished && browser.exitCode() == 0,
                                  QString::fromUtf8(browser.readAllStandardOutput()));
        };

        const auto [dumped, dom] = run({QStringLiteral("--dump-dom")});
        QVERIFY(dumped);
        QVERIFY(dom.contains(QStringLiteral("<title>Tarvex HTML Export</title>")));
        QVERIFY(dom.contains(QStringLiteral("Tarvex - Friday Night Rally")));
        QVERIFY(dom.contains(QStringLiteral("Races [2]")));
        QVERIFY(dom.contains(QStringLiteral("Race 0002 - Rally Yard IV")));
        QVERIFY(dom.contains(QStringLiteral("<a name=\"2\"></a>")));
        // Both races' tables: their stage cells and every driver row.
        QCOMPARE(dom.count(QStringLiteral("Race #")), 2);
        QVERIFY(dom.contains(QStringLiteral("&nbsp;Falstone")));
        QVERIFY(dom.contains(QStringLiteral("&nbsp;Rally Yard IV")));
        QCOMPARE(dom.count(QStringLiteral("&nbsp;Ann<")), 2);
        QCOMPARE(dom.count(QStringLiteral("&nbsp;Di<")), 1);
        QCOMPARE(dom.count(QStringLiteral("&nbsp;Flo<")), 1);
        QCOMPARE(dom.count(QStringLiteral("&nbsp;Bo<")), 1);
        QVERIFY(!dom.contains(QStringLiteral("[NAME]")));
        QVERIFY(!dom.contains(QStringLiteral("RACE START")));

        const QString png = out_dir + "/two-races.png";
        QFile::remove(png);
        const auto [shot, ignored] =
            run({QStringLiteral("--window-size=900,900"), QStringLiteral("--screenshot=") + png});
        QVERIFY(shot);
        QVERIFY(ReadFile(png).startsWith("\x89PNG"));
    }
};

TARVEX_TEST(ResultsExportTest);
#include "ResultsExportTest.moc"
