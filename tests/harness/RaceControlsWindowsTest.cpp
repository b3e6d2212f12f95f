#include "SessionHarness.h"
#include "TestRegistry.h"
#include "app/ClientFRM.h"
#include "app/PlayerRows.h"
#include "app/RaceControlsBox.h"
#include "app/ServerFRM.h"
#include "race/GameData.h"
#include "results/TimeFRM.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <memory>

using namespace tarvex;
using namespace tarvex::test;

namespace {

QComboBox* Box(QWidget& window, const char* name) {
    return window.findChild<QComboBox*>(QLatin1String(name));
}

// What a user does with a list: choose an entry.
void Choose(QComboBox* box, int index) {
    box->setCurrentIndex(index);
    emit box->activated(index);
}

} // namespace

// The race controls on the host's window (editable) and a client's (following the host), the
// car lists of the rows, and "Display Times".
class RaceControlsWindowsTest : public QObject {
    Q_OBJECT

private slots:
    void HostEditsClientFollows() {
        SessionHarness session(QStringLiteral("Controls Rally"));
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        Player& host = session.Host();
        std::unique_ptr<ServerFRM> server = session.OpenHostWindow();
        std::unique_ptr<ClientFRM> client;
        Player& ann = session.JoinWithWindow(QStringLiteral("Ann"), client);
        QVERIFY(client->Welcomed());

        QVERIFY(Box(*server, "cmbCountry")->isEnabled());
        QVERIFY(
            server->findChild<QPushButton*>(QStringLiteral("Command1"))->isVisibleTo(server.get()));
        QVERIFY(!server->findChild<QLabel*>(QStringLiteral("pWeather"))->pixmap().isNull());
        QVERIFY(server->Rows().pCar[0]->isEnabled());
        QVERIFY(!server->Rows().pCar[1]->isEnabled());
        QVERIFY(!server->Rows().pTyre[3]->isEnabled());
        QVERIFY(!Box(*client, "cmbCountry")->isEnabled());
        QVERIFY(!Box(*client, "cmbStage")->isEnabled());
        QVERIFY(!client->findChild<QRadioButton*>(QStringLiteral("optDam_2"))->isEnabled());
        QVERIFY(!client->findChild<QPushButton*>(QStringLiteral("Command1"))
                     ->isVisibleTo(client.get()));

        Choose(Box(*server, "cmbCountry"), 1);
        Choose(Box(*server, "cmbStage"), 5);
        Choose(Box(*server, "cmbHumid"), 2);
        QTest::mouseClick(server->findChild<QRadioButton*>(QStringLiteral("optDam_3")),
                          Qt::LeftButton);
        QCOMPARE(host->race.Damage, std::uint8_t(3));
        QCOMPARE(server->Rows().pTyre[0]->currentText(), QStringLiteral("Gravel Wet"));

        QVERIFY(SessionHarness::WaitFor([&] {
            return client->findChild<QRadioButton*>(QStringLiteral("optDam_3"))->isChecked();
        }));
        QCOMPARE(Box(*client, "cmbStage")->currentText(),
                 QStringLiteral("Chirdonhead II    [6900m]"));
        QCOMPARE(Box(*client, "cmbHumid")->currentText(), QStringLiteral("Wet"));
        QCOMPARE(client->Rows().pTyre[0]->currentText(), QStringLiteral("Gravel Wet"));
        // The host relays every car choice to everyone, the sender included, so the own row
        // settles once the last one is back.
        QVERIFY(SessionHarness::WaitFor([&] {
            return client->Rows().pTyre[1]->currentText() == QStringLiteral("Gravel Wet");
        }));
        QVERIFY(SessionHarness::WaitFor([&] {
            return server->Rows().pTyre[1]->currentText() == QStringLiteral("Gravel Wet");
        }));

        // Ann picks a car in her own row; the host's window shows it.
        Choose(client->Rows().pCar[1], 3);
        QCOMPARE(ann->stored.client_car.Car, std::uint8_t(3));
        QVERIFY(SessionHarness::WaitFor([&] {
            return server->Rows().pCar[1]->currentText() ==
                   QStringLiteral("Mitsubishi Lancer Evo VII");
        }));

        // "Display Times" on the host opens the one results window of that window.
        host->roster[0].Status = 2;
        NewRaceResult(host->results, host->roster, host->host_race, host->race,
                      QDateTime(QDate(2026, 11, 22), QTime(21, 30, 0)), true);
        auto* times = server->findChild<QPushButton*>(QStringLiteral("cmdTimes"));
        QCOMPARE(times->text(), QStringLiteral("Display Times"));
        times->click();
        times->click();
        const QList<TimeFRM*> forms = server->findChildren<TimeFRM*>();
        QCOMPARE(forms.size(), 1);
        QVERIFY(forms[0]->isVisible());
        QCOMPARE(forms[0]->windowTitle(), QStringLiteral("Time Recorder"));
        QCOMPARE(forms[0]->lblStage->text(), QStringLiteral("Chirdonhead II"));
        QCOMPARE(forms[0]->tList->count(), 1);
        QVERIFY(forms[0]->tList->item(0)->text().startsWith(
            QStringLiteral("Hostess\tCitroen Xsara\tAuto\tGravel Wet\t")));
        // Closed, it leaves the player where they type.
        server->findChild<QWidget*>(QStringLiteral("MainTXT"))->setFocus();
        forms[0]->close();
        QCOMPARE(server->focusWidget(), server->findChild<QWidget*>(QStringLiteral("dataTXT")));
    }

    // Ready, Start and Stop on the windows: the status lines, the caption and what may be
    // changed follow the race on both sides.
    void ReadyStartStop() {
        SessionHarness session(QStringLiteral("Start Rally"));
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        std::unique_ptr<ServerFRM> server = session.OpenHostWindow();
        std::unique_ptr<ClientFRM> client;
        session.JoinWithWindow(QStringLiteral("Ann"), client);
        QVERIFY(client->Welcomed());
        auto lblStatus = [](QWidget& window) {
            return window.findChild<QLabel*>(QStringLiteral("lblStatus"))->text();
        };
        auto* cmdStart = server->findChild<QPushButton*>(QStringLiteral("cmdStart"));
        QVERIFY(!client->findChild<QPushButton*>(QStringLiteral("cmdStart")));
        QCOMPARE(cmdStart->text(), QStringLiteral("Start"));
        QCOMPARE(lblStatus(*server), QStringLiteral("Status: Idle"));

        QTest::mouseClick(client->findChild<QCheckBox*>(QStringLiteral("chkReady")),
                          Qt::LeftButton);
        QVERIFY(SessionHarness::WaitFor([&] {
            return server->Rows().status[1]->property("picture").toString() ==
                   QStringLiteral(":/status/dummygreen.png");
        }));
        QTest::mouseClick(cmdStart, Qt::LeftButton);
        QCOMPARE(cmdStart->text(), QStringLiteral("Stop"));
        QCOMPARE(lblStatus(*server), QStringLiteral("Status: Race in Session"));
        QVERIFY(!server->findChild<QCheckBox*>(QStringLiteral("chkReady"))->isEnabled());
        QVERIFY(!Box(*server, "cmbCountry")->isEnabled());
        QVERIFY(!server->Rows().pCar[0]->isEnabled());
        QVERIFY(!server->findChild<QPushButton*>(QStringLiteral("Command1"))->isEnabled());
        QVERIFY(SessionHarness::WaitFor(
            [&] { return lblStatus(*client) == QStringLiteral("Status: Game Launches In...3"); }));
        QVERIFY(!client->Rows().pCar[1]->isEnabled());
        QVERIFY(!client->findChild<QCheckBox*>(QStringLiteral("chkReady"))->isEnabled());

        QTest::mouseClick(cmdStart, Qt::LeftButton);
        QCOMPARE(cmdStart->text(), QStringLiteral("Start"));
        QCOMPARE(lblStatus(*server), QStringLiteral("Status: Idle"));
        QVERIFY(Box(*server, "cmbCountry")->isEnabled());
        QVERIFY(server->findChild<QPushButton*>(QStringLiteral("Command1"))->isEnabled());
        QVERIFY(SessionHarness::WaitFor(
            [&] { return lblStatus(*client) == QStringLiteral("Status: Idle"); }));
        QVERIFY(client->Rows().pCar[1]->isEnabled());
        QVERIFY(client->findChild<QCheckBox*>(QStringLiteral("chkReady"))->isChecked());
        QVERIFY(client->findChild<QCheckBox*>(QStringLiteral("chkReady"))->isEnabled());
    }
};

TARVEX_TEST(RaceControlsWindowsTest);
#include "RaceControlsWindowsTest.moc"
