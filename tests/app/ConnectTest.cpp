#include "AppHarness.h"
#include "TestRegistry.h"
#include "app/PlayerRows.h"
#include "net/transport/HostSession.h"
#include "net/transport/PublicListing.h"

#include <QCheckBox>
#include <QComboBox>
#include <QNetworkDatagram>
#include <QScrollBar>
#include <QTest>
#include <QUdpSocket>

using namespace tarvex;
using namespace tarvex::test;

// The start-up window driven through its controls, against real sessions on loopback.
class ConnectTest : public QObject {
    Q_OBJECT

private slots:
    void onlyTheRoleButtonsAtFirst() {
        App app;
        QVERIFY(app.start_up->Start(QString()));
        ConnectFRM* form = app.start_up->ConnectForm();
        QCOMPARE(form->windowTitle(), QStringLiteral("Connect as..."));
        QVERIFY(form->isVisible());
        QVERIFY(app.Control<QWidget>("Frame1")->isVisible());
        QVERIFY(!app.Control<QWidget>("frameT")->isVisible());
        QVERIFY(!app.Control<QPushButton>("ConnectCMD")->isEnabled());
        QVERIFY(!app.Control<QLineEdit>("IPtxt")->isEnabled());
        QVERIFY(!app.Control<QLineEdit>("nicknameTXT")->isEnabled());

        app.Click("ClientCMD");
        QCOMPARE(form->windowTitle(), QStringLiteral("Connect as Client"));
        QVERIFY(!app.Control<QWidget>("Frame1")->isVisible());
        QVERIFY(app.Control<QWidget>("frameT")->isVisible());
        QCOMPARE(app.Control<QLineEdit>("IPtxt")->text(), QStringLiteral("localhost"));
        QVERIFY(app.Control<QLineEdit>("IPtxt")->isEnabled());
        QVERIFY(!app.Control<QLineEdit>("txtSName")->isEnabled());
        QVERIFY(!app.Control<QScrollBar>("scrPlay")->isEnabled());
        QVERIFY(!app.Control<QCheckBox>("chkPublic")->isEnabled());
        QVERIFY(app.Control<QPushButton>("ConnectCMD")->isEnabled());
        QCOMPARE(app.Control<QPushButton>("ConnectCMD")->text(), QStringLiteral("&Connect"));
    }

    // Nothing is started and nothing saved when a field is missing or wrong.
    void validation_data() {
        QTest::addColumn<bool>("host");
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, bool host, const char* address, const char* port,
                            const char* nickname, const char* message) {
            QTest::newRow(name) << host << QString::fromLatin1(address) << QString::fromLatin1(port)
                                << QString::fromLatin1(nickname) << QString::fromLatin1(message);
        };
        row("host, no port", true, "", "", "Ann", "Invalid Address");
        row("host, port 0", true, "", "0", "Ann", "Invalid Address");
        row("host, port too big", true, "", "65536", "Ann", "Invalid Address");
        row("host, port not a number", true, "", "20x5", "Ann", "Invalid Address");
        row("host, no name", true, "", "2005", "", "Invalid Name");
        row("host, neither", true, "", "", "", "Invalid Address");
        row("client, no address", false, "", "2005", "Bob", "Invalid Address");
        row("client, no port", false, "127.0.0.1", "", "Bob", "Invalid Address");
        row("client, no name", false, "127.0.0.1", "2005", "", "Invalid Name");
    }
    // The box takes no more of a nickname than a session seats.
    void nicknameBoxTakesThirtyTwoCharacters() {
        App app;
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ClientCMD");
        app.Type("nicknameTXT", QString(40, u'n'));
        QCOMPARE(app.Control<QLineEdit>("nicknameTXT")->text(), QString(32, u'n'));
    }

    void validation() {
        QFETCH(bool, host);
        QFETCH(QString, address);
        QFETCH(QString, port);
        QFETCH(QString, name);
        QFETCH(QString, message);
        App app;
        QVERIFY(app.start_up->Start(QString()));
        const QString ini_before = app.Ini();
        app.Click(host ? "ServerCMD" : "ClientCMD");
        if (!host) {
            app.Type("IPtxt", address);
        }
        app.Type("PORTtxt", port);
        app.Type("nicknameTXT", name);
        app.Click("ConnectCMD");
        QCOMPARE(app.Status(), message);
        QVERIFY(!app.tarvex->server().IsHosting());
        QVERIFY(!app.tarvex->client().IsConnecting());
        QVERIFY(!app.Logic().CountdownRunning());
        QVERIFY(!app.start_up->ServerForm());
        QCOMPARE(app.Ini(), ini_before);
        QVERIFY(app.Control<QPushButton>("ConnectCMD")->isEnabled());
    }

    void hostingHandsOverToTheServerWindow() {
        QUdpSocket listing;
        QVERIFY(listing.bind(QHostAddress::LocalHost, FreeUdpPort()));
        const quint16 port = FreeUdpPort();
        App app("PUBLIC=1\nBROADCASTPORT=" + QByteArray::number(listing.localPort()) + "\nPORT=" +
                QByteArray::number(port) + "\nNAME=Ann\nGNAME=Dune Cup\nPNUM=7\nINTERVAL=90\n");
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ServerCMD");
        ConnectFRM* form = app.start_up->ConnectForm();
        QCOMPARE(form->windowTitle(), QStringLiteral("Start a Server"));
        QCOMPARE(app.Control<QPushButton>("ConnectCMD")->text(), QStringLiteral("Create"));
        QVERIFY(!app.Control<QLineEdit>("IPtxt")->isEnabled());
        QCOMPARE(app.Control<QLineEdit>("PORTtxt")->text(), QString::number(port));
        QCOMPARE(app.Control<QLineEdit>("txtSName")->text(), QStringLiteral("Dune Cup"));
        QCOMPARE(app.Control<QLineEdit>("txtPNUM")->text(), QStringLiteral("7"));
        QVERIFY(app.Control<QCheckBox>("chkPublic")->isChecked());

        app.Control<QScrollBar>("scrPlay")->setValue(2);
        QCOMPARE(app.Control<QLineEdit>("txtPNUM")->text(), QStringLiteral("2"));
        app.Type("passwordTXT", QStringLiteral("hidden-word"));
        app.Type("txtSName", QStringLiteral("Night Cup"));
        app.Click("ConnectCMD");

        QCOMPARE(app.Logic().Caption(), QStringLiteral("Connected"));
        QVERIFY(app.tarvex->server().IsHosting());
        QCOMPARE(app.tarvex->server().PlayerLimit(), 2);
        QCOMPARE(app.tarvex->MaxPlayerCount, quint8(2));
        QVERIFY(app.tarvex->IsHost);
        QCOMPARE(app.tarvex->MyName, QStringLiteral("Ann"));
        // The host's own row is Idle from the start, so joiners see it that way too.
        QCOMPARE(app.tarvex->roster[0].Status, std::uint8_t(PlayerStatus::Idle));
        QTRY_COMPARE(app.tarvex->roster[0].Name, QStringLiteral("Ann"));
        QVERIFY(app.start_up->ServerForm()->isVisible());
        QCOMPARE(app.start_up->ServerForm()->findChild<QLabel*>("lblServerName")->text(),
                 QStringLiteral("Server Name: Night Cup"));
        QTRY_VERIFY(!app.start_up->ConnectForm());
        QCOMPARE(app.ends, 0);
        const QString ini = app.Ini();
        QVERIFY(ini.contains(QStringLiteral("PNUM=2")));
        QVERIFY(ini.contains(QStringLiteral("GNAME=Night Cup")));
        QVERIFY(!ini.contains(QStringLiteral("hidden-word")));

        // The listing went out at once, to this machine only.
        QVERIFY(listing.waitForReadyRead(5000));
        const QByteArray datagram = listing.receiveDatagram().data();
        const char head[] = {5, 2, 1, char(port & 0xFF), char(port >> 8), 0, 0};
        QCOMPARE(datagram.left(7), QByteArray(head, 7));
        QCOMPARE(datagram.mid(7), QByteArray("\x09\x00"
                                             "Night Cup"
                                             "\x03\x00"
                                             "Ann"
                                             "\x01\x01\x0A\xFF",
                                             20));
        // Once the start signal is given, the listing says the race is on.
        app.tarvex->flags.StartGiven = 1;
        app.start_up->ServerForm()->Listing().gTimer_Timer();
        QVERIFY(listing.waitForReadyRead(5000));
        QCOMPARE(listing.receiveDatagram().data().right(3), QByteArray("\x02\x0A\xFF", 3));
        // The host's game polling follows its own data interval.
        QCOMPARE(app.tarvex->sndTimer().interval(), 90);

        // Closing the host window ends the session and the program.
        app.start_up->ServerForm()->close();
        QCOMPARE(app.ends, 1);
        QVERIFY(!app.tarvex->server().IsHosting());
    }

    // The settings are saved after the hand-over to the host window, so a message about them
    // shows over that window with the dialog already marked as done.
    void settingsMessageComesAfterTheHandOver() {
        App app("PORT=" + QByteArray::number(FreeUdpPort()) + "\n");
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ServerCMD");
        app.Type("txtSName", QString(256, u'n'));
        QString caption_then;
        bool server_shown_then = false;
        app.fake.dialogs->on_message = [&](const FakeDialogs::Message&) {
            caption_then = app.Logic().Caption();
            server_shown_then = app.start_up->ServerForm()->isVisible();
        };
        app.Click("ConnectCMD");
        QCOMPARE(app.fake.dialogs->messages.size(), 1);
        QVERIFY(app.fake.dialogs->messages[0].text.startsWith(QStringLiteral("Can't write")));
        QCOMPARE(caption_then, QStringLiteral("Connected"));
        QVERIFY(server_shown_then);
        QVERIFY(app.tarvex->server().IsHosting());
        app.start_up->ServerForm()->close();
    }

    // The port is taken: the host window stays, showing the limit that was chosen. A stored
    // limit out of range shows as the one used.
    void hostStartFailureKeepsTheWindow() {
        HostSession squatter(nullptr);
        const quint16 port = FreeUdpPort();
        QVERIFY(squatter.InitServer(QStringLiteral("First"), 12, port, QString()));
        App app("PORT=" + QByteArray::number(port) + "\nPNUM=20\n");
        // "-3" only prepares the host role.
        QVERIFY(app.start_up->Start(QStringLiteral("-3")));
        QCOMPARE(app.start_up->ConnectForm()->windowTitle(), QStringLiteral("Start a Server"));
        QVERIFY(!app.tarvex->server().IsHosting());
        QCOMPARE(app.Control<QLineEdit>("txtPNUM")->text(), QStringLiteral("12"));
        app.Control<QScrollBar>("scrPlay")->setValue(5);
        app.Click("ConnectCMD");
        QCOMPARE(app.fake.dialogs->messages.size(), 1);
        QCOMPARE(app.fake.dialogs->messages[0].title, QStringLiteral("InitServer"));
        QVERIFY(app.fake.dialogs->messages[0].text.startsWith(QStringLiteral("Error 0x")));
        ServerFRM* server = app.start_up->ServerForm();
        QVERIFY(server->isVisible());
        QCOMPARE(server->Rows().lblNumPlayer->text(), QStringLiteral("Player(s): 0/5"));
        QVERIFY(server->Rows().pName[4]->isVisible());
        QVERIFY(!server->Rows().pName[5]->isVisible());
        QCOMPARE(app.ends, 0);
    }
};

TARVEX_TEST(ConnectTest);
#include "ConnectTest.moc"
