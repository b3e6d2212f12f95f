#include "AppHarness.h"
#include "TestRegistry.h"
#include "net/transport/HostSession.h"

#include <QProcess>
#include <QTest>
#include <QTextEdit>

using namespace tarvex;
using namespace tarvex::test;

namespace {

QByteArray ClientKeys(quint16 port) {
    return "CHOST=127.0.0.1\nCPORT=" + QByteArray::number(port) + "\nCNAME=Bob\n";
}

} // namespace

// Joining from the start-up window: refusals, the countdown, the hand-over to the client
// window and how a session ends there.
class JoinTest : public QObject {
    Q_OBJECT

private slots:
    void refusedAttemptKeepsTheDialog_data() {
        QTest::addColumn<QString>("host_password");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("message");
        QTest::newRow("wrong password") << "gate" << 12 << "Gate"
                                        << "Invalid Password";
        QTest::newRow("full") << "" << 1 << ""
                              << "Session Full";
    }
    void refusedAttemptKeepsTheDialog() {
        QFETCH(QString, host_password);
        QFETCH(int, limit);
        QFETCH(QString, password);
        QFETCH(QString, message);
        HostSession host(nullptr);
        const quint16 port = FreeUdpPort();
        QVERIFY(host.InitServer(QStringLiteral("Cup"), limit, port, host_password));

        App app(ClientKeys(port));
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ClientCMD");
        app.Type("passwordTXT", password);
        app.Click("ConnectCMD");
        QVERIFY(!app.Control<QLineEdit>("IPtxt")->isEnabled());
        QTRY_COMPARE(app.Status(), message);

        // Editable again, no countdown, the hidden client window gone, the program running.
        for (const char* name : {"IPtxt", "PORTtxt", "nicknameTXT", "passwordTXT"}) {
            QVERIFY2(app.Control<QLineEdit>(name)->isEnabled(), name);
        }
        QVERIFY(app.Control<QPushButton>("ConnectCMD")->isEnabled());
        QVERIFY(!app.Control<QPushButton>("ServerCMD")->isEnabled());
        QVERIFY(!app.Logic().CountdownRunning());
        QTRY_VERIFY(!app.start_up->ClientForm());
        QVERIFY(app.start_up->ConnectForm()->isVisible());
        QCOMPARE(app.start_up->ConnectForm()->windowTitle(), QStringLiteral("Connect as Client"));
        QCOMPARE(app.ends, 0);
        QVERIFY(app.fake.dialogs->messages.isEmpty());
        // Settings were saved when the attempt started; the password never is.
        QVERIFY(app.Ini().contains(QStringLiteral("CNAME=Bob")));
        QVERIFY(password.isEmpty() || !app.Ini().contains(password));
    }

    void countdownThenTimedOut() {
        App app(ClientKeys(FreeUdpPort())); // nothing listens there
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ClientCMD");
        app.Click("ConnectCMD");
        QCOMPARE(app.Status(), QStringLiteral("Connecting to Server (30)"));
        QVERIFY(app.Logic().CountdownRunning());
        QVERIFY(app.start_up->ClientForm());
        QVERIFY(!app.start_up->ClientForm()->isVisible());

        for (int left = 29; left >= 0; --left) {
            app.Logic().ConnectTimer_Timer();
            QCOMPARE(app.Status(), QStringLiteral("Connecting to Server (%1)").arg(left));
            QVERIFY(!app.Control<QPushButton>("ConnectCMD")->isEnabled());
        }
        app.Logic().ConnectTimer_Timer();
        QCOMPARE(app.Status(), QStringLiteral("Connection Timed Out"));
        QCOMPARE(app.Logic().ConnectTicks(), 0);
        QVERIFY(!app.Logic().CountdownRunning());
        QVERIFY(app.Control<QPushButton>("ConnectCMD")->isEnabled());
        QVERIFY(!app.tarvex->client().IsConnecting());
        QTRY_VERIFY(!app.start_up->ClientForm());
        QTest::qWait(100);
        QCOMPARE(app.Status(), QStringLiteral("Connection Timed Out"));
        QVERIFY(app.fake.dialogs->messages.isEmpty());
        QCOMPARE(app.ends, 0);
    }

    void closingWhileConnectingEndsTheProgram() {
        App app(ClientKeys(FreeUdpPort()));
        QVERIFY(app.start_up->Start(QString()));
        app.Click("ClientCMD");
        app.Click("ConnectCMD");
        app.start_up->ConnectForm()->close();
        QCOMPARE(app.ends, 1);
    }

    // The hand-over from a quick start, then a host that vanishes. (A host that ends the
    // session is the race windows' kick test.)
    void lostSessionShowsInTheConsole() {
        const quint16 port = FreeUdpPort();
        QProcess host_process;
        host_process.start(QStringLiteral(TARVEX_TEST_PEER),
                           {QStringLiteral("host"), QString::number(port)});
        QVERIFY(QTest::qWaitFor(
            [&] { return host_process.readAllStandardOutput().contains("ready"); }, 10000));

        App app;
        QVERIFY(app.start_up->Start(QStringLiteral("-2:127.0.0.1:%1:Bob:").arg(port)));
        QCOMPARE(app.tarvex->settings.ClientHost, QStringLiteral("127.0.0.1"));
        QCOMPARE(app.tarvex->settings.ClientName, QStringLiteral("Bob"));
        QTRY_VERIFY(app.tarvex->client().IsConnected());
        ClientFRM* client = app.start_up->ClientForm();
        QVERIFY(client && !client->isVisible());
        // The welcome message (its handler calls this) completes the hand-over.
        client->WelcomeReceived();
        QVERIFY(client->isVisible());
        QTRY_VERIFY(!app.start_up->ConnectForm());
        QCOMPARE(app.Logic().Caption(), QStringLiteral("Connected"));
        QCOMPARE(app.ends, 0);

        host_process.kill();
        host_process.waitForFinished();
        auto* console = client->findChild<QTextEdit*>(QStringLiteral("MainTXT"));
        QTRY_COMPARE_WITH_TIMEOUT(console->toPlainText(), QStringLiteral("* Connection Lost"),
                                  15000);
        QVERIFY(client->findChild<QLabel*>(QStringLiteral("lblServerName"))->text().isEmpty());
        QVERIFY(client->isVisible());
        QCOMPARE(app.ends, 0);

        // Once welcomed, closing the client window ends the program.
        client->close();
        QCOMPARE(app.ends, 1);
    }

    // What other players name things is shown as typed, never read as markup.
    void namesFromTheHostAreShownAsTyped() {
        HostSession host(nullptr);
        const quint16 port = FreeUdpPort();
        QVERIFY(host.InitServer(QStringLiteral("<b>Dune</b> Cup"), 12, port, QString()));
        App app(ClientKeys(port));
        QVERIFY(app.start_up->Start(QStringLiteral("-2")));
        QTRY_VERIFY(app.tarvex->client().IsConnected());
        ClientFRM* client = app.start_up->ClientForm();
        client->WelcomeReceived();
        auto* label = client->findChild<QLabel*>(QStringLiteral("lblServerName"));
        QCOMPARE(label->text(), QStringLiteral("Server Name: <b>Dune</b> Cup"));
        QCOMPARE(label->textFormat(), Qt::PlainText);

        auto* console = client->findChild<QTextEdit*>(QStringLiteral("MainTXT"));
        client->AddLine(QStringLiteral("<i>Bob</i>: hi"));
        client->AddLine(QStringLiteral("* Join: (<table><tr><td>x)"));
        QCOMPARE(console->toPlainText(),
                 QStringLiteral("<i>Bob</i>: hi\n* Join: (<table><tr><td>x)"));
        client->close();
    }

    void quickStartPassword() {
        // A password on the command line is used but never stored; empty fields keep the
        // stored values.
        HostSession host(nullptr);
        const quint16 port = FreeUdpPort();
        QVERIFY(host.InitServer(QStringLiteral("Cup"), 12, port, QStringLiteral("s3same")));
        App join("CNAME=Stored\n");
        QVERIFY(join.start_up->Start(QStringLiteral("-2:127.0.0.1:%1::s3same").arg(port)));
        QCOMPARE(join.tarvex->SessionPassword, QStringLiteral("s3same"));
        QTRY_VERIFY(join.tarvex->client().IsConnected());
        QCOMPARE(join.tarvex->MyName, QStringLiteral("Stored"));
        QVERIFY(!join.Ini().contains(QStringLiteral("s3same")));
        QVERIFY(join.Ini().contains(QStringLiteral("CPORT=%1").arg(port)));
    }
};

TARVEX_TEST(JoinTest);
#include "JoinTest.moc"
