#include "app/SettingsFRM.h"

#include "SessionHarness.h"
#include "TestRegistry.h"
#include "app/ClientFRM.h"
#include "app/RaceControlsBox.h"
#include "app/ServerFRM.h"
#include "app/SlotFRM.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTest>
#include <QTextEdit>
#include <functional>
#include <memory>

using namespace tarvex;
using namespace tarvex::test;

namespace {

using Field = std::function<int(Tarvex&)>;

struct Expected {
    const char* control;
    Field field;
};

template <auto Member>
Field SettingsField() {
    return [](Tarvex& tarvex) {
        return int(tarvex.settings.*Member);
    };
}

// Each server option and the field it must land in.
const std::vector<Expected>& ServerOptions() {
    static const std::vector<Expected> rows{
        {"chkVote", SettingsField<&Settings::VoteAllowed>()},
        {"chkClock", SettingsField<&Settings::ClockWhenPaused>()},
        {"chkGhost", SettingsField<&Settings::GhostsDisabled>()},
        {"chkCheat", SettingsField<&Settings::CheatProtection>()},
        {"chkPenal",
         [](Tarvex& t) {
             return int(t.race.PenaltiesDisabled);
         }},
        {"chkSetup",
         [](Tarvex& t) {
             return int(t.race.SetupsAllowed);
         }},
        {"cmbCompress", SettingsField<&Settings::Compression>()},
    };
    return rows;
}

const std::vector<Expected>& PlayerOptions() {
    static const std::vector<Expected> rows{
        {"chkCGhost", SettingsField<&Settings::ShowGhost>()},
        {"chkSplit", SettingsField<&Settings::ShowSplits>()},
        {"chkSBox", SettingsField<&Settings::ShowAheadBehind>()},
        {"chkJQ", SettingsField<&Settings::ShowJoinQuit>()},
        {"proBypass", SettingsField<&Settings::BypassProfile>()},
        {"proSlot", SettingsField<&Settings::ProfileSlot>()},
        {"scrNameO", SettingsField<&Settings::NameOpacity>()},
        {"scrNameH", SettingsField<&Settings::NameHeight>()},
        {"scrCTime", SettingsField<&Settings::ChatSeconds>()},
    };
    return rows;
}

// The value a control shows: ticked or not, the entry, the bar's position.
int Shown(QWidget* control) {
    if (auto* box = qobject_cast<QCheckBox*>(control)) {
        return box->isChecked() ? 1 : 0;
    }
    if (auto* list = qobject_cast<QComboBox*>(control)) {
        return list->currentIndex();
    }
    if (auto* spin = qobject_cast<QSpinBox*>(control)) {
        return spin->value();
    }
    return qobject_cast<QAbstractSlider*>(control)->value();
}

// Changes a control the way a player does and returns the value it then shows.
int Operate(QWidget* control) {
    if (auto* box = qobject_cast<QCheckBox*>(control)) {
        QStyleOptionButton option;
        option.initFrom(box);
        const QRect indicator = box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option);
        QTest::mouseClick(box, Qt::LeftButton, {}, indicator.center());
    } else if (auto* list = qobject_cast<QComboBox*>(control)) {
        list->setFocus();
        QTest::keyClick(list, Qt::Key_End);
    } else if (auto* spin = qobject_cast<QSpinBox*>(control)) {
        QTest::keyClick(spin, Qt::Key_Up);
    } else {
        QTest::keyClick(control, Qt::Key_End);
    }
    return Shown(control);
}

// Drags the bar's handle past one end and lets go there; `while_held` looks at the window
// before the button is released.
void DragToEnd(QScrollBar* bar, bool right, const std::function<void()>& while_held) {
    QStyleOptionSlider option;
    option.initFrom(bar);
    option.subControls = QStyle::SC_All;
    option.orientation = bar->orientation();
    option.minimum = bar->minimum();
    option.maximum = bar->maximum();
    option.sliderPosition = bar->sliderPosition();
    option.sliderValue = bar->value();
    option.singleStep = bar->singleStep();
    option.pageStep = bar->pageStep();
    const QPoint handle =
        bar->style()
            ->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, bar)
            .center();
    QTest::mousePress(bar, Qt::LeftButton, {}, handle);
    const QPoint end(right ? bar->width() + 40 : -40, handle.y());
    QMouseEvent move(QEvent::MouseMove, end, bar->mapToGlobal(end), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(bar, &move);
    while_held();
    QTest::mouseRelease(bar, Qt::LeftButton, {}, end);
}

template <typename T = QWidget>
T* Child(QWidget* window, const char* name) {
    return window->findChild<T*>(QLatin1String(name));
}

SettingsFRM* OpenOptions(QWidget* race_window) {
    QTest::mouseClick(Child<QPushButton>(race_window, "cmdGhost"), Qt::LeftButton);
    const auto forms = race_window->findChildren<SettingsFRM*>();
    return forms.size() == 1 ? forms[0] : nullptr;
}

// No caption is cut short: every text control has at least the room it asks for.
bool TextsFit(QWidget* form) {
    for (QWidget* widget : form->findChildren<QWidget*>()) {
        if ((qobject_cast<QAbstractButton*>(widget) || qobject_cast<QLabel*>(widget) ||
             qobject_cast<QComboBox*>(widget)) &&
            widget->isVisibleTo(form) && widget->width() < widget->minimumSizeHint().width()) {
            qWarning() << widget->objectName() << widget->width() << "<"
                       << widget->minimumSizeHint().width();
            return false;
        }
    }
    return true;
}

// Kept under the build folder, one per scale the tests run at, for a look at the layout.
void Screenshot(QWidget* form, const QString& role) {
    const QString folder = qEnvironmentVariable("TARVEX_BINARY_DIR", QDir::tempPath()) +
                           QStringLiteral("/screenshots");
    QDir().mkpath(folder);
    const int percent = qRound(form->devicePixelRatioF() * 100);
    const QString file = QStringLiteral("%1/game-options-%2-%3.png").arg(folder, role).arg(percent);
    QVERIFY2(form->grab().save(file), qPrintable(file));
}

} // namespace

// "Game Options" on the host's and a client's window, and its help picture.
class SettingsFRMTest : public QObject {
    Q_OBJECT

private slots:
    // The host's server options land in its settings and reach the client, whose dialog shows
    // them greyed; the interval bar sets both polling timers.
    void HostOptionsReachClient() {
        SessionHarness session;
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        Player& host = session.Host();
        // Beyond the bar's range, as a hand-edited file may have it: opening the dialog must not
        // change it.
        host->settings.DataInterval = 1000;
        std::unique_ptr<ServerFRM> window = session.OpenHostWindow();
        ServerFRM& server = *window;
        std::unique_ptr<ClientFRM> client;
        Player& ann = session.JoinWithWindow(QStringLiteral("Ann"), client);
        QVERIFY(client->Welcomed());
        QVERIFY(SessionHarness::WaitFor([&] { return ann->settings.DataInterval == 1000; }));
        QSignalSpy game_data(&ann->client_side(), &ClientSide::GameDataReceived);

        SettingsFRM* hosts = OpenOptions(&server);
        QVERIFY(hosts);
        QCOMPARE(OpenOptions(&server), hosts);
        QCOMPARE(hosts->windowTitle(), QStringLiteral("Game Options"));
        SettingsFRM* anns = OpenOptions(client.get());
        QVERIFY(anns);
        QVERIFY(!Child(anns, "chkVote")->isVisibleTo(anns));
        QVERIFY(Child(hosts, "chkVote")->isVisibleTo(hosts));
        QCOMPARE(anns->lblInt->text(), QStringLiteral("Data Intervals: 1000 ms"));
        QCOMPARE(hosts->lblInt->text(), QStringLiteral("Data Intervals: 1000 ms"));
        QCOMPARE(host->settings.DataInterval, std::int16_t(1000));
        QCOMPARE(hosts->cmbCompress->itemText(5), QStringLiteral("Extremely High!"));

        for (const Expected& row : ServerOptions()) {
            const int value = Operate(Child(hosts, row.control));
            QVERIFY2(value > 0 && row.field(*host) == value, row.control);
            if (QLatin1String(row.control) == QLatin1String("chkVote")) {
                continue; // the host keeps it to itself
            }
            QVERIFY2(SessionHarness::WaitFor([&] { return row.field(*ann) == value; }),
                     row.control);
            QCOMPARE(Shown(Child(anns, row.control)), value);
            QVERIFY2(!Child(anns, row.control)->isEnabled(), row.control);
        }
        // One game data per sent option; the restart vote went nowhere.
        QCOMPARE(game_data.size(), int(ServerOptions().size()) - 1);
        QCOMPARE(ann->settings.VoteAllowed, std::uint8_t(0));

        // The bar shows the value while it is dragged; the interval changes where it is let go.
        for (const auto& [right, interval] : {std::pair{false, 500}, std::pair{true, 50}}) {
            const int before = host->settings.DataInterval;
            DragToEnd(hosts->intScroll, right, [&] {
                QCOMPARE(hosts->lblInt->text(),
                         QStringLiteral("Data Intervals: %1 ms").arg(interval));
                QCOMPARE(host->settings.DataInterval, before);
            });
            QCOMPARE(host->settings.DataInterval, interval);
            QCOMPARE(host->sndTimer().interval(), interval);
            QVERIFY(
                SessionHarness::WaitFor([&] { return ann->sndTimer().interval() == interval; }));
            QCOMPARE(anns->lblInt->text(), QStringLiteral("Data Intervals: %1 ms").arg(interval));
            QCOMPARE(anns->intScroll->value(),
                     right ? anns->intScroll->maximum() : anns->intScroll->minimum());
        }
        QVERIFY(!anns->intScroll->isEnabled());

        // A client's server options do nothing, whatever reaches them.
        anns->Options().Change(*GameOptions::Control(QStringLiteral("chkGhost")), 0);
        anns->Options().intScroll_Change(70);
        QCOMPARE(ann->settings.GhostsDisabled, std::uint8_t(1));
        QCOMPARE(ann->settings.DataInterval, std::int16_t(50));

        for (auto [form, role] : {std::pair{hosts, "host"}, std::pair{anns, "client"}}) {
            QVERIFY(QTest::qWaitForWindowExposed(form));
            QVERIFY(TextsFit(form));
            Screenshot(form, QLatin1String(role));
        }
    }

    // The player's own options on a client's window, the executable path, the help picture,
    // and the focus going back to the race window.
    void PlayerOptionsAndExecutable() {
        FakePlatform fake;
        TempFolder folder;
        Tarvex tarvex(fake.AsPlatform(), folder.Path());
        tarvex.settings.GamePath = QStringLiteral("/games/rally/DuneholtRally");
        tarvex.settings.ShowNameTag = 1;
        tarvex.settings.NameOpacity = 4;
        tarvex.settings.ChatSeconds = 5;
        ClientFRM window(tarvex);
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        SettingsFRM* form = OpenOptions(&window);
        QCOMPARE(form->txtCTime->text(), QStringLiteral("5"));
        QCOMPARE(form->scrNameO->value(), 4);

        for (const Expected& row : PlayerOptions()) {
            const int before = row.field(tarvex);
            const int value = Operate(Child(form, row.control));
            QVERIFY2(value != before && row.field(tarvex) == value, row.control);
        }
        QCOMPARE(form->txtCTime->text(), QStringLiteral("6"));
        QCOMPARE(form->proSlot->currentText(), QStringLiteral("10"));

        Operate(form->chkTag);
        QCOMPARE(tarvex.settings.ShowNameTag, std::uint8_t(0));
        QVERIFY(!form->scrNameO->isEnabled() && !form->scrNameH->isEnabled());
        Operate(form->chkTag);
        QVERIFY(form->scrNameO->isEnabled() && form->scrNameH->isEnabled());

        // A typed path is kept as typed; "..." cancelled changes nothing, a choice replaces it.
        QCOMPARE(form->txtPath->text(), QStringLiteral("/games/rally/DuneholtRally"));
        QTest::keyClicks(form->txtPath, QStringLiteral("2"));
        QCOMPARE(tarvex.settings.GamePath, QStringLiteral("/games/rally/DuneholtRally2"));
        QTest::mouseClick(form->Command2, Qt::LeftButton);
        QCOMPARE(fake.dialogs->requests.size(), 1);
        QCOMPARE(fake.dialogs->requests[0].title, QStringLiteral("Find Game Executable"));
        QCOMPARE(fake.dialogs->requests[0].folder, QStringLiteral("/games/rally"));
        QCOMPARE(form->txtPath->text(), QStringLiteral("/games/rally/DuneholtRally2"));
        QCOMPARE(tarvex.settings.GamePath, QStringLiteral("/games/rally/DuneholtRally2"));
        fake.dialogs->answers << QStringLiteral("/opt/dune/DuneholtRally");
        QTest::mouseClick(form->Command2, Qt::LeftButton);
        QCOMPARE(form->txtPath->text(), QStringLiteral("/opt/dune/DuneholtRally"));
        QCOMPARE(tarvex.settings.GamePath, QStringLiteral("/opt/dune/DuneholtRally"));

        QTest::mouseClick(form->Command1, Qt::LeftButton);
        QPointer<SlotFRM> help = form->findChild<SlotFRM*>();
        QVERIFY(help && help->isVisible());
        QCOMPARE(help->windowTitle(), QStringLiteral("Help"));
        QVERIFY(!help->Picture().isNull());
        QCOMPARE(help->size(), help->Picture().deviceIndependentSize().toSize());
        QTest::mouseClick(help, Qt::LeftButton, {}, QPoint(help->width() - 3, 3));
        QTRY_VERIFY(!help);

        QSignalSpy closed(form, &SettingsFRM::closed);
        QPointer<SettingsFRM> gone = form;
        form->close();
        QCOMPARE(closed.size(), 1);
        QCOMPARE(window.focusWidget(), Child(&window, "dataTXT"));
        QTRY_VERIFY(!gone);
        // Opened again, it shows the settings as they are now.
        form = OpenOptions(&window);
        QCOMPARE(form->txtPath->text(), QStringLiteral("/opt/dune/DuneholtRally"));
        QCOMPARE(form->proSlot->currentIndex(), 9);
        QVERIFY(form->chkTag->isChecked());
    }
};

TARVEX_TEST(SettingsFRMTest);
#include "SettingsFRMTest.moc"
