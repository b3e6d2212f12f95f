#include "FreePort.h"
#include "RaceReadySettings.h"
#include "TempFolder.h"
#include "TestRegistry.h"
#include "XvfbServer.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/MonotonicClock.h"
#include "platform/linux/ProcfsProcessMemory.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDesktop.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <memory>
#include <xcb/xcb.h>

using namespace tarvex;

namespace {

// One player's machine: an X server of its own, a real DuneholtRally in a game folder of its
// own, and a whole copy of Tarvex reaching that game through the native platform.
class Machine {
public:
    Machine(const QString& executable, const QStringList& arguments) {
        if (m_server.Display().isEmpty()) {
            return;
        }
        QFile::copy(executable, m_game_folder.File(QStringLiteral("DuneholtRally")));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_server.Display());
        m_game.setProcessEnvironment(environment);
        m_game.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_game.start(m_game_folder.File(QStringLiteral("DuneholtRally")),
                     arguments + QStringList{QStringLiteral("--status"), StatusFile()});
        m_game.waitForStarted(5000);

        FakePlatform fake;
        Platform platform = fake.AsPlatform();
        platform.clock = std::make_shared<MonotonicClock>();
        platform.memory = std::make_shared<ProcfsProcessMemory>();
        platform.desktop =
            std::make_shared<XcbDesktop>(std::make_shared<XcbConnection>(m_server.Display()));
        tarvex = std::make_unique<Tarvex>(platform, m_config.Path());
        tarvex->stored = test::RaceReadySettings();
        Settings& s = tarvex->settings;
        s.GhostModel = 5;
        s.ShowNameTag = 1;
        s.NameHeight = 1;
        s.NameOpacity = 8;
        s.DataInterval = 150;
        s.BroadcastAddress = QStringLiteral("127.0.0.1");
    }
    ~Machine() {
        tarvex.reset();
        m_game.kill();
        m_game.waitForFinished(5000);
    }

    bool Started() const { return !m_server.Display().isEmpty() && m_game.processId() != 0; }
    QString StatusFile() const { return m_game_folder.File(QStringLiteral("status.json")); }
    // The game's last reported state.
    QJsonObject Status() const {
        const QList<QByteArray> lines =
            m_game_folder.Read(QStringLiteral("status.json")).split('\n');
        for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
            if (!line->isEmpty()) {
                return QJsonDocument::fromJson(*line).object();
            }
        }
        return {};
    }
    bool DrawsGhostOf(int slot) const {
        for (const QJsonValue& ghost : Status().value(QStringLiteral("ghosts")).toArray()) {
            if (ghost.toObject().value(QStringLiteral("k")).toInt() == slot) {
                return true;
            }
        }
        return false;
    }
    // What the X server shows, as a picture.
    QImage Screen() const {
        xcb_connection_t* xcb = xcb_connect(m_server.Display().toLatin1().constData(), nullptr);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data;
        xcb_get_image_reply_t* reply = xcb_get_image_reply(
            xcb,
            xcb_get_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                          screen->width_in_pixels, screen->height_in_pixels, ~0u),
            nullptr);
        QImage image;
        if (reply) {
            image = QImage(xcb_get_image_data(reply), screen->width_in_pixels,
                           screen->height_in_pixels, QImage::Format_RGB32)
                        .copy();
            std::free(reply);
        }
        xcb_disconnect(xcb);
        return image;
    }

    std::unique_ptr<Tarvex> tarvex;

private:
    test::XvfbServer m_server;
    test::TempFolder m_game_folder;
    test::TempFolder m_config;
    QProcess m_game;
};

} // namespace

class GhostRealGameTest : public QObject {
    Q_OBJECT

private slots:
    // Anna hosts, Bob joins, each on a machine of his own with a real game. Tarvex patches the
    // games, drives them to the start line and exchanges the car states over the session;
    // Bob's game draws Anna's ghost, and the screen shows it.
    void ghostOnAnotherMachinesScreen() {
        const QString built =
            qEnvironmentVariable("TARVEX_BINARY_DIR") + QStringLiteral("/sim/DuneholtRally");
        if (!QFile::exists(built)) {
            QSKIP("the stand-in game is not built");
        }
        const QStringList drive = {QStringLiteral("--autopilot"), QStringLiteral("--fps"),
                                   QStringLiteral("30"), QStringLiteral("--pace")};
        Machine anna(built, drive + QStringList{QStringLiteral("1.1"), QStringLiteral("--seed"),
                                                QStringLiteral("5")});
        Machine bob(built, drive + QStringList{QStringLiteral("0.9"), QStringLiteral("--seed"),
                                               QStringLiteral("6")});
        if (!anna.Started() || !bob.Started()) {
            QSKIP("could not start the X servers and games");
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
        for (Machine* m : {&anna, &bob}) {
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
            screen = bob.Screen();
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
                return ahead() > 10 && bob.DrawsGhostOf(0) &&
                       bob.Status().value(QStringLiteral("name_tag")) == QStringLiteral("Anna") &&
                       red_on_screen();
            },
            60000);
        const QString out = qEnvironmentVariable("TARVEX_BINARY_DIR", QDir::tempPath());
        QVERIFY(screen.save(out + QStringLiteral("/ghost-real-pair.png"), "PNG"));
        QVERIFY2(seen, qPrintable(QStringLiteral("%1 m ahead").arg(ahead())));
        QVERIFY(!bob.DrawsGhostOf(1));
        QVERIFY(!anna.DrawsGhostOf(0));
    }
};

TARVEX_TEST(GhostRealGameTest);
#include "GhostRealGameTest.moc"
