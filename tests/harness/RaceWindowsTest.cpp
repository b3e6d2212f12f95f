#include "SessionHarness.h"
#include "TestRegistry.h"
#include "app/ClientFRM.h"
#include "app/PlayerRows.h"
#include "app/ServerFRM.h"

#include <QComboBox>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>
#include <memory>

using namespace tarvex;
using namespace tarvex::test;

namespace {

QString Label(QWidget& window, const char* name) {
    return window.findChild<QLabel*>(QLatin1String(name))->text();
}

QString ConsoleText(QWidget& window) {
    return window.findChild<QTextEdit*>(QStringLiteral("MainTXT"))->toPlainText();
}

} // namespace

// The host's and a client's windows over a real session: the welcome hands over from the
// connect attempt, both windows show the same rows, and the host's Kick ends the client's
// session.
class RaceWindowsTest : public QObject {
    Q_OBJECT

private slots:
    void ShowTheSessionInBothWindows() {
        SessionHarness session(QStringLiteral("Friday Rally"));
        QVERIFY(session.StartHost(QStringLiteral("Hostess"), 4));
        Player& host = session.Host();
        std::unique_ptr<ServerFRM> server = session.OpenHostWindow();

        std::unique_ptr<ClientFRM> client;
        std::unique_ptr<QSignalSpy> welcomed;
        Player& ann = session.Join(QStringLiteral("Ann"), {}, [&](Player& player) {
            player->stored.client_car = {3, 1, 0};
            client = std::make_unique<ClientFRM>(*player);
            client->setAttribute(Qt::WA_DeleteOnClose, false);
            welcomed = std::make_unique<QSignalSpy>(client.get(), &ClientFRM::welcomed);
        });
        QCOMPARE(welcomed->size(), 1);
        QVERIFY(client->Welcomed());
        QVERIFY(SessionHarness::WaitFor([&] { return host->roster[1].Status == 1; }));
        QVERIFY(SessionHarness::WaitFor([&] { return ann->roster[1].Status == 1; }));

        for (QWidget* window :
             {static_cast<QWidget*>(server.get()), static_cast<QWidget*>(client.get())}) {
            QCOMPARE(Label(*window, "lblNumPlayer"), QStringLiteral("Player(s): 2/4"));
            QCOMPARE(Label(*window, "lblServerName"), QStringLiteral("Server Name: Friday Rally"));
        }
        QCOMPARE(Label(*client, "lblStatus"), QStringLiteral("Status: Idle"));
        QCOMPARE(server->Rows().pName[0]->currentText(), QStringLiteral("Hostess"));
        QCOMPARE(server->Rows().pName[1]->currentText(), QStringLiteral("Ann"));
        QCOMPARE(server->Rows().pName[2]->currentText(), QStringLiteral("Open"));
        QCOMPARE(client->Rows().pName[0]->currentText(), QStringLiteral("Hostess"));
        QCOMPARE(client->Rows().pName[1]->currentText(), QStringLiteral("Ann"));
        QCOMPARE(server->Rows().status[1]->property("picture").toString(),
                 QStringLiteral(":/status/dummyred.png"));
        QCOMPARE(client->Rows().status[1]->property("picture").toString(),
                 QStringLiteral(":/status/dummyred.png"));
        QVERIFY(client->Rows().pCar[1]->isEnabled());
        QVERIFY(!client->Rows().pCar[0]->isEnabled());
        QCOMPARE(ConsoleText(*server), QStringLiteral("* Join: (Ann)"));
        QCOMPARE(ConsoleText(*client), QStringLiteral("* Join: (Ann)"));

        // Readiness shows as a green picture on every window.
        ann->client_side().SendGameStatus(PlayerStatus::Ready);
        QVERIFY(SessionHarness::WaitFor([&] {
            return client->Rows().status[1]->property("picture").toString() ==
                   QStringLiteral(":/status/dummygreen.png");
        }));
        QCOMPARE(server->Rows().status[1]->property("picture").toString(),
                 QStringLiteral(":/status/dummygreen.png"));

        // The host kicks Ann: her window keeps its console and her own row but loses the
        // session.
        const auto own_row = [&] {
            return QList<int>{client->Rows().pCar[1]->currentIndex(),
                              client->Rows().pTrans[1]->currentIndex(),
                              client->Rows().pTyre[1]->currentIndex()};
        };
        const QList<int> own_choice = own_row();
        QCOMPARE(own_choice.mid(0, 2), QList<int>({3, 1}));
        QComboBox* name_list = server->Rows().pName[1];
        name_list->setCurrentIndex(1);
        emit name_list->activated(1);
        QVERIFY(SessionHarness::WaitFor([&] {
            return ConsoleText(*client).endsWith(QStringLiteral("* Disconnected from Server"));
        }));
        QVERIFY(SessionHarness::WaitFor(
            [&] { return server->Rows().pName[1]->currentText() == QStringLiteral("Open"); }));
        QCOMPARE(ConsoleText(*server), QStringLiteral("* Join: (Ann)\n* Quit: (Ann)"));
        QCOMPARE(Label(*server, "lblNumPlayer"), QStringLiteral("Player(s): 1/4"));
        QCOMPARE(server->Rows().status[1]->property("picture").toString(),
                 QStringLiteral(":/status/dummygrey.png"));
        QCOMPARE(Label(*client, "lblNumPlayer"), QString());
        QCOMPARE(Label(*client, "lblServerName"), QString());
        // Ann's own row keeps her name and car; the host's row and the race it had set show
        // nothing, and nothing can be chosen.
        QCOMPARE(client->Rows().pName[1]->currentText(), QStringLiteral("Ann"));
        QCOMPARE(own_row(), own_choice);
        QVERIFY(!client->Rows().pName[1]->isEnabled());
        QVERIFY(!client->Rows().pCar[1]->isEnabled());
        QCOMPARE(client->Rows().pName[0]->currentIndex(), -1);
        QCOMPARE(client->Rows().pCar[0]->currentIndex(), -1);
        for (const char* list : {"cmbCountry", "cmbStage", "cmbWeather", "cmbHumid", "cmbWear"}) {
            QCOMPARE(client->findChild<QComboBox*>(QLatin1String(list))->currentIndex(), -1);
        }

        // A long session keeps only the newest lines, in the console and in its box alike.
        QStringList newest;
        for (int i = 1; i <= ChatConsole::MaxLines; ++i) {
            newest.append(QString::number(i));
            ann->console.DisplayText(newest.last());
        }
        QCOMPARE(ann->console.Text(), newest.join(QStringLiteral("\r\n")));
        QCOMPARE(ConsoleText(*client), newest.join(u'\n'));

        // A newcomer during a race learns it from the welcome and waits it out.
        host->flags.RaceLaunched = 1;
        std::unique_ptr<ClientFRM> late;
        Player& bob = session.JoinWithWindow(QStringLiteral("Bob"), late,
                                             [](Player& player) { player->flags.StartGiven = 1; });
        QVERIFY(late->Welcomed());
        QCOMPARE(int(bob->LocalSlot), 1);
        QCOMPARE(bob->flags.RaceLaunched, std::uint8_t(1));
        QCOMPARE(bob->flags.StartGiven, std::uint8_t(0));
        QCOMPARE(Label(*late, "lblStatus"), QStringLiteral("Status: Race in Session"));
        QVERIFY(!late->Rows().pCar[1]->isEnabled());
    }
};

TARVEX_TEST(RaceWindowsTest);
#include "RaceWindowsTest.moc"
