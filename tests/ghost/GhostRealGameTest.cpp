#include "FreePort.h"
#include "RealMachine.h"
#include "TestRegistry.h"
#include "app/Tarvex.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>
#include <QTimer>

using namespace tarvex;

namespace {

bool DrawsGhostOf(const test::Machine& machine, int slot) {
    for (const QJsonValue& ghost : machine.Status().value(QStringLiteral("ghosts")).toArray()) {
        if (ghost.toObject().value(QStringLiteral("k")).toInt() == slot) {
            return true;
        }
    }
    return false;
}

} // namespace

class GhostRealGameTest : public QObject {
    Q_OBJECT

private slots:
    // Anna hosts, Bob joins, each on a machine of his own with a real game. Tarvex patches the
    // games, drives them to the start line and exchanges the car states over the session;
    // Bob's game draws Anna's ghost, and the screen shows it.
    void ghostOnAnotherMachinesScreen() {
        const QString built = test::BuiltGame();
        if (built.isEmpty()) {
            QSKIP("the stand-in game is not built");
        }
        const QStringList drive = {QStringLiteral("--autopilot"), QStringLiteral("--fps"),
                                   QStringLiteral("30"), QStringLiteral("--pace")};
        test::Machine anna(built,
                           drive + QStringList{QStringLiteral("1.1"), QStringLiteral("--seed"),
                                               QStringLiteral("5")});
        test::Machine bob(built,
                          drive + QStringList{QStringLiteral("0.9"), QStringLiteral("--seed"),
                                              QStringLiteral("6")});
        if (!anna.Started() || !bob.Started()) {
            QSKIP("could not start the X servers and games");
        }
        for (test::Machine* machine : {&anna, &bob}) {
            Settings& s = machine->tarvex->settings;
            s.GhostModel = 5;
            s.ShowNameTag = 1;
            s.NameHeight = 1;
            s.NameOpacity = 8;
            s.DataInterval = 150;
        }
        Tarvex& host = *anna.tarvex;
        Tarvex& client = *bob.tarvex;
        host.IsHost = true;
        host.MyName = QStringLiteral("Anna");
        client.MyName = QStringLiteral("Bob");
        const quint16 port = test::FreeUdpPort();
        QVERIFY(host.server().InitServer(QStringLiteral("Ghosts"), 4, port, {}));
        QVERIFY(client.client().Connect(QStringLiteral("127.0.0.1"), port, client.MyName, {}));
        QTRY_VERIFY_WITH_TIMEOUT(client.client_side().Welcomed(), 10000);

        // Until both cars stand at the line, each countdown is held just below its start, as the
        // game tick holds it before the start signal (race block of build 3 at 0x165FC68: the
        // countdown at +0x244, the pre-start clock at +0x1F4); then both run at once.
        bool released = false;
        QTimer hold;
        QObject::connect(&hold, &QTimer::timeout, [&] {
            for (Tarvex* t : {&host, &client}) {
                const std::uint32_t block = t->game().ReadGamePointer(0x165FC68);
                if (!released && block != 0 && t->game().ReadGameSingle(block + 0x244) < 7.0f &&
                    t->game().ReadGameSingle(block + 0x1F4) < 0.0f) {
                    t->game().WriteGameSingle(block + 0x244, 6.99f);
                }
            }
        });
        hold.start(20);
        for (Tarvex* t : {&host, &client}) {
            QTRY_VERIFY_WITH_TIMEOUT(t->game().IsGameRunning(), 10000);
            t->game().FindGame();
            QVERIFY(t->bridge().ApplyGamePatches(0));
            t->ghost_files().WriteGhostModel();
            t->bridge().mnuTimer().start();
        }
        for (test::Machine* m : {&anna, &bob}) {
            QTRY_VERIFY_WITH_TIMEOUT(
                m->Status().value(QStringLiteral("countdown")).toDouble() == 6.99, 60000);
        }
        released = true;
        host.server_side().SendGameStatus(PlayerStatus::Driving);
        client.client_side().SendGameStatus(PlayerStatus::Driving);
        QTRY_VERIFY(host.roster[1].Status == 4 && client.roster[0].Status == 4 &&
                    client.roster[1].Status == 4);

        // What the game tick and the hook button do while the race runs.
        QTimer tick, frame;
        QObject::connect(&tick, &QTimer::timeout, [&] {
            for (Tarvex* t : {&host, &client}) {
                t->ghosts().SendCarState(0, 0);
                t->ghosts().GhostTick();
            }
        });
        QObject::connect(&frame, &QTimer::timeout, [&] {
            host.ghosts().GhostTick();
            client.ghosts().GhostTick();
        });
        tick.start(150);
        frame.start(20);

        QCOMPARE(bob.Status().value(QStringLiteral("stage_id")),
                 anna.Status().value(QStringLiteral("stage_id")));
        // Once Anna is a little ahead, Bob sees her ghost with her name above it.
        auto ahead = [&] {
            return anna.Status().value(QStringLiteral("distance")).toDouble() -
                   bob.Status().value(QStringLiteral("distance")).toDouble();
        };
        // Anna's ghost is drawn in her red: nothing else on the stage is that colour. Bob's own
        // car may stand in front of it for a moment, so the screen is looked at until it shows.
        QImage screen;
        auto red_on_screen = [&] {
            screen = test::Screenshot(bob.Display());
            int red = 0;
            for (int y = 0; y < screen.height(); ++y) {
                const QRgb* line = reinterpret_cast<const QRgb*>(screen.constScanLine(y));
                for (int x = 0; x < screen.width(); ++x) {
                    red += qRed(line[x]) > 150 && qGreen(line[x]) < 100 && qBlue(line[x]) < 100;
                }
            }
            return red > 100;
        };
        const bool seen = QTest::qWaitFor(
            [&] {
                return ahead() > 10 && DrawsGhostOf(bob, 0) &&
                       bob.Status().value(QStringLiteral("name_tag")) == QStringLiteral("Anna") &&
                       red_on_screen();
            },
            60000);
        const QString out = qEnvironmentVariable("TARVEX_BINARY_DIR", QDir::tempPath());
        QVERIFY(screen.save(out + QStringLiteral("/ghost-real-pair.png"), "PNG"));
        QVERIFY2(seen, qPrintable(QStringLiteral("%1 m ahead").arg(ahead())));
        QVERIFY(!DrawsGhostOf(bob, 1));
        QVERIFY(!DrawsGhostOf(anna, 0));
    }
};

TARVEX_TEST(GhostRealGameTest);
#include "GhostRealGameTest.moc"
