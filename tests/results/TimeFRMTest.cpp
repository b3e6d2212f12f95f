#include "results/TimeFRM.h"

#include "ResultsFixtures.h"
#include "TempFolder.h"
#include "TestRegistry.h"
#include "platform/fake/FakeDialogs.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

using namespace tarvex;
using namespace tarvex::test;

namespace {

struct Window {
    explicit Window(Results& results) {
        TimeFRM::Hooks hooks;
        hooks.export_context = [this] {
            return ExportContext{folder.Path(), QString(), QStringLiteral("Club"), At(1, 2, 3)};
        };
        hooks.is_game_running = [this] {
            return game_running;
        };
        hooks.closed = [this] {
            ++closed;
        };
        form = new TimeFRM(results, dialogs, hooks);
        form->show();
    }
    ~Window() { delete form.data(); }

    QStringList Rows() const {
        QStringList rows;
        for (int i = 0; i < form->tList->count(); ++i) {
            rows << form->tList->item(i)->text().section(QLatin1Char('\t'), 0, 0);
        }
        return rows;
    }

    TempFolder folder;
    FakeDialogs dialogs;
    bool game_running = false;
    int closed = 0;
    QPointer<TimeFRM> form;
};

} // namespace

class TimeFRMTest : public QObject {
    Q_OBJECT

private slots:
    void browses_races() {
        Results results;
        RecordTwoRaces(results);
        Window window(results);
        TimeFRM& form = *window.form;
        QCOMPARE(form.windowTitle(), QStringLiteral("Time Recorder"));
        QCOMPARE(form.lblNum->text(), QStringLiteral("Race Number: 2"));
        QCOMPARE(window.Rows(), QStringList({"Bo", "Ann"}));
        QCOMPARE(form.rScroll->minimum(), 1);
        QCOMPARE(form.rScroll->maximum(), 2);
        QCOMPARE(form.rScroll->value(), 2);

        form.rScroll->setValue(1);
        QCOMPARE(form.lblNum->text(), QStringLiteral("Race Number: 1"));
        QCOMPARE(form.lblStage->text(), QStringLiteral("Falstone"));
        QCOMPARE(form.lblWeather->text(), QStringLiteral("Good Conditions"));
        QCOMPARE(form.lblDamage->text(), QStringLiteral("Realistic"));
        QCOMPARE(form.lblPenalties->text(), QStringLiteral("True"));
        QCOMPARE(form.lblSetups->text(), QStringLiteral("False"));
        QCOMPARE(form.lblTime->text(), QStringLiteral("21:05:09 - 11/08/2026"));
        QCOMPARE(window.Rows(), QStringList({"Di", "Ann", "Flo"}));
        QCOMPARE(form.tList->item(0)->text(),
                 QStringLiteral("Di\tSubaru Impreza 2003\tAuto\tGravel Dry\t00:29.00\t--:--.--\t"
                                "01:33.00\tFalse\t100"));

        // A reported time shows the newest race at once.
        results.RecordTime(16, 0, 70.0f);
        QCOMPARE(form.rScroll->value(), 2);
        QCOMPARE(window.Rows(), QStringList({"Bo", "Ann"}));
    }

    void refresh_keeps_row_and_copies_it() {
        Results results;
        RecordTwoRaces(results);
        Window window(results);
        TimeFRM& form = *window.form;
        form.tList->setCurrentRow(1);
        form.Command2->click();
        QCOMPARE(form.tList->currentRow(), 1);

        form.mnuCopy2_Click();
        QCOMPARE(QGuiApplication::clipboard()->text(), form.tList->item(1)->text());

        // A right click selects the row under the pointer and offers "Copy".
        const QRect first = form.tList->visualItemRect(form.tList->item(0));
        QTest::mouseClick(form.tList->viewport(), Qt::RightButton, {}, first.center());
        QCOMPARE(form.tList->currentRow(), 0);
        QVERIFY(form.mnuCopy->isVisible());
        QCOMPARE(form.mnuCopy->actions().value(0)->text(), QStringLiteral("Copy"));
        form.mnuCopy->close();
    }

    void timer_waits_while_game_runs() {
        Results results;
        RecordTwoRaces(results);
        Window window(results);
        TimeFRM& form = *window.form;
        QCOMPARE(form.Timer1->interval(), 1000);
        QVERIFY(form.Timer1->isActive());
        QVERIFY(form.tList->item(1)->text().endsWith(QStringLiteral("\t55")));

        results.RecordPercent(0, 80);
        window.game_running = true;
        form.Timer1_Timer();
        QVERIFY(form.tList->item(1)->text().endsWith(QStringLiteral("\t55")));
        window.game_running = false;
        form.Timer1_Timer();
        QVERIFY(form.tList->item(1)->text().endsWith(QStringLiteral("\t80")));

        // Not on the newest race: the timer leaves the shown race alone.
        form.rScroll->setValue(1);
        results.RecordPercent(1, 90);
        form.Timer1_Timer();
        QCOMPARE(form.lblNum->text(), QStringLiteral("Race Number: 1"));
    }

    void reset_closes_and_empties() {
        Results results;
        RecordTwoRaces(results);
        {
            Window window(results);
            window.form->Command1->click();
            QCOMPARE(results.UpperBound(), 0);
            QCOMPARE(window.closed, 1);
            QVERIFY(!window.form || !window.form->isVisible());
        }
        Window again(results);
        QCOMPARE(again.form->tList->count(), 0);
        QCOMPARE(again.form->lblStage->text(), QString());
        QCOMPARE(again.form->lblNum->text(), QString());
    }

    // One window per owner; once closed, the next request opens a fresh one on the newest race.
    void display_times_reopens_after_close() {
        Results results;
        RecordTwoRaces(results);
        FakeDialogs dialogs;
        QWidget owner;
        QPointer<TimeFRM> first = TimeFRM::ShowFor(&owner, results, dialogs, {});
        first->rScroll->setValue(1);
        first->close();
        QTRY_VERIFY(!first);
        TimeFRM* second = TimeFRM::ShowFor(&owner, results, dialogs, {});
        QVERIFY(second->isVisible());
        QCOMPARE(second->lblNum->text(), QStringLiteral("Race Number: 2"));
    }

    void export_menu() {
        Results results;
        RecordTwoRaces(results);
        Window window(results);
        const QList<QAction*> actions = window.form->mnuMode->actions();
        QCOMPARE(window.form->mnuMode->title(), QStringLiteral("Mode"));
        QCOMPARE(actions.size(), 4);
        QVERIFY(actions[0]->isSeparator());
        QCOMPARE(actions[1]->text(), QStringLiteral("Fixed Width"));
        QCOMPARE(actions[2]->text(), QStringLiteral("Tab Delimited"));
        QCOMPARE(actions[3]->text(), QStringLiteral("HTML Dump"));

        // Each entry writes its own form: padded columns, TAB-separated ones, the page.
        const auto written = [&](QAction* action, const QString& name) {
            const QString path = window.folder.File(name);
            window.dialogs.answers << path;
            action->trigger();
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        };
        QVERIFY(written(actions[1], QStringLiteral("fixed.txt"))
                    .contains("Name                Car                 Transmission"));
        QVERIFY(
            written(actions[2], QStringLiteral("tabs.txt")).contains("Name\tCar\tTransmission\t"));
        QVERIFY(written(actions[3], QStringLiteral("page.htm")).contains("Tarvex - Club"));
        QCOMPARE(window.dialogs.requests.last().file_name,
                 QStringLiteral("Times 01_02_03 - 11_08_2026.htm"));
    }
};

TARVEX_TEST(TimeFRMTest);
#include "TimeFRMTest.moc"
