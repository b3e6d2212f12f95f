#include "game/GameBridge.h"

#include "InProcessGame.h"
#include "RaceReadySettings.h"
#include "TestRegistry.h"
#include "app/GhostMenu.h"
#include "ghost/GhostFiles.h"

#include <QDir>
#include <QFile>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>
#include <set>

using namespace tarvex;
using test::InProcessGame;

namespace {

constexpr std::uint32_t kStartLineLimitMs = 30000;

sim::Options OfBuild(int build) {
    sim::Options options;
    options.build = build;
    return options;
}

// One player's machine: the stand-in game in-process, and Tarvex's game bridge for it.
struct Machine {
    explicit Machine(int build, bool host = true)
        : game(OfBuild(build))
        , is_host(host) {
        stored.settings.GhostModel = 3;
        hook = platform.desktop->CreateHookButton([this] { ++hook_clicks; });
    }

    // What the race window does for a fresh game: the patches once, the automation every 100 ms.
    bool DriveToStartLine() {
        game.Every(100, [this] { bridge.MenuTick(); });
        if (!bridge.ApplyGamePatches(hook)) {
            return false;
        }
        return game.RunUntil(
            [this] {
                const sim::Status s = game.Status();
                return s.in_stage && s.countdown == 7.0f;
            },
            kStartLineLimitMs);
    }
    void Key(int key) {
        platform.desktop->SendKey(key, true);
        platform.desktop->SendKey(key, false);
    }
    // The driver picks an entry of the pause menu with the arrow keys.
    void ChooseInPauseMenu(int entry) {
        Key(27);
        for (int i = 0; i < entry; ++i) {
            Key(40);
        }
        Key(13);
    }

    InProcessGame game;
    Platform platform = game.TarvexPlatform();
    StoredSettings stored = test::RaceReadySettings(2);
    bool is_host;
    GameProcess process{platform};
    GhostFiles ghost{process, stored.settings};
    GameBridge bridge{platform, process, stored, is_host, ghost};
    WindowHandle hook = 0;
    int hook_clicks = 0;
};

QByteArray Bytes(sim::AddressSpace& memory, std::uint32_t address, int size) {
    const std::vector<std::uint8_t> bytes = memory.Bytes(address, std::size_t(size));
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
}

QByteArray Le32(std::uint32_t value) {
    QByteArray bytes;
    for (int i = 0; i < 4; ++i) {
        bytes.append(char((value >> (8 * i)) & 0xFF));
    }
    return bytes;
}

} // namespace

class GameBridgeTest : public QObject {
    Q_OBJECT

private slots:
    void drivesAFreshGameOntoTheStartLine_data() {
        QTest::addColumn<int>("build");
        QTest::addColumn<bool>("host");
        QTest::addColumn<int>("car");
        QTest::addColumn<QString>("car_name");
        QTest::addColumn<int>("stage");
        QTest::addColumn<QString>("preset");
        QTest::addColumn<int>("transmission");
        QTest::addColumn<int>("tyre");
        // condition, humidity, wear, damage
        QTest::addColumn<QList<int>>("event");
        const struct {
            int car;
            const char* name;
            int stage;
            const char* preset;
        } cars[] = {{0, "Citroen Xsara", 10, "10O_N_nosnow_lightcloud"},
                    {1, "Hyundai Accent", 21, "21O_E_heavyrain_heavycloud"},
                    {2, "MG ZR Super 1600", 31, "31E_crisp_clear"},
                    {3, "Mitsubishi Lancer Evo VII", 45, "45O_N_lightfog_heavycloud"},
                    {4, "Peugeot 206", 56, "56M_crisp_clear"},
                    {5, "Subaru Impreza 2003", 63, "63N_hazy_clear"},
                    {6, "Toyota Corolla", 4, "04M_hazy_lightcloud"},
                    {7, "Subaru Impreza 2000", 66, "66E_hazy_partcloud"}};
        for (int build : {3, 4}) {
            for (const auto& c : cars) {
                const bool host = (c.car + build) % 2 == 0;
                QTest::addRow("build %d car %d %s", build, c.car, host ? "host" : "client")
                    << build << host << c.car << QString::fromLatin1(c.name) << c.stage
                    << QString::fromLatin1(c.preset) << c.car % 2 << (c.car + build) % 7
                    << QList<int>{(c.car % 2) * 2, c.car % 3, (c.car + 1) % 3, c.car % 4};
            }
        }
    }

    void drivesAFreshGameOntoTheStartLine() {
        QFETCH(int, build);
        QFETCH(bool, host);
        QFETCH(int, car);
        QFETCH(QString, car_name);
        QFETCH(int, stage);
        QFETCH(QString, preset);
        QFETCH(int, transmission);
        QFETCH(int, tyre);
        QFETCH(QList<int>, event);
        Machine m(build, host);
        RaceSettings& race = m.stored.race;
        race.StageId = std::uint8_t(stage);
        race.WeatherPresetName = preset;
        race.WeatherCondition = std::uint8_t(event[0]);
        race.Humidity = std::uint8_t(event[1]);
        race.TyreWear = std::uint8_t(event[2]);
        race.Damage = std::uint8_t(event[3]);
        const CarSelection chosen{std::uint8_t(car), std::uint8_t(transmission),
                                  std::uint8_t(tyre)};
        // The other role's car differs in everything, so using the wrong one shows.
        const CarSelection other{std::uint8_t((car + 3) % 8), std::uint8_t(1 - transmission),
                                 std::uint8_t((tyre + 1) % 7)};
        m.stored.host_car = host ? chosen : other;
        m.stored.client_car = host ? other : chosen;
        QSignalSpy loading(&m.bridge, &GameBridge::LoadingReached);

        QVERIFY(m.DriveToStartLine());
        const sim::Status s = m.game.Status();
        QCOMPARE(s.stage_id, stage);
        QCOMPARE(QString::fromStdString(s.car_name), car_name);
        QCOMPARE(s.setup_car, car);
        QCOMPARE(s.transmission, transmission - 1); // -1 automatic, 0 manual
        QCOMPARE(s.tyre, tyre);
        QCOMPARE(QString::fromStdString(s.weather), preset);
        QCOMPARE((QList<int>{s.condition, s.humidity, s.wear, s.damage}), event);
        QCOMPARE(s.profile, 3); // PROID 2 picks the third slot
        QCOMPARE(s.menu_state, 0);
        QCOMPARE(loading.count(), 1);
        QCOMPARE(m.stored.settings.GhostModel, 5);
        // Every Enter is a full stroke, the car menu's too: a key left down would repeat.
        int downs = 0;
        int ups = 0;
        for (const FakeDesktop::KeyEvent& key : m.game.Fake().desktop->keys) {
            (key.down ? downs : ups) += key.virtual_key == 13 ? 1 : 0;
        }
        QVERIFY(downs > 0);
        QCOMPARE(downs, ups);
    }

    // The automation stops where the player takes over; what the player then does by hand
    // (the highlighted "Start stage", or a profile picked with the arrows) reaches the stage.
    void stopsWhereThePlayerTakesOver_data() {
        QTest::addColumn<bool>("setups");
        QTest::addColumn<int>("menu");
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<int>("profile");
        QTest::newRow("setups allowed: the service screen") << true << 12 << QList<int>{13} << 3;
        QTest::newRow("profile by hand: the profile menu")
            << false << 82 << QList<int>{40, 13} << 2;
    }

    void stopsWhereThePlayerTakesOver() {
        QFETCH(bool, setups);
        QFETCH(int, menu);
        QFETCH(QList<int>, keys);
        QFETCH(int, profile);
        Machine m(3);
        m.stored.race.SetupsAllowed = setups ? 1 : 0;
        m.stored.settings.BypassProfile = setups ? 1 : 0;
        const float value_a = m.game.Memory().F32(0x1660E10);
        QVERIFY(!m.DriveToStartLine());
        const sim::Status s = m.game.Status();
        QCOMPARE(s.menu, menu);
        QVERIFY(!s.loading && !s.in_stage);
        QCOMPARE(s.menu_flag, 1u);
        // The player takes over a keyboard with no key held: a held key would repeat.
        QVERIFY(!m.game.Fake().desktop->IsKeyDown(13));
        if (setups) {
            // The menus get their transition times back for the player.
            QCOMPARE(m.game.Memory().F32(0x1660E10), value_a);
        }
        for (int key : keys) {
            m.Key(key);
        }
        QVERIFY(m.game.RunUntil([&m] { return m.game.Status().in_stage; }, kStartLineLimitMs));
        QCOMPARE(m.game.Status().stage_id, int(m.stored.race.StageId));
        QCOMPARE(m.game.Status().profile, profile);
    }

    void patchesFollowTheSettings_data() {
        QTest::addColumn<int>("build");
        QTest::addColumn<bool>("ghosts");
        QTest::addColumn<bool>("clock");
        QTest::addColumn<bool>("split");
        for (int build : {3, 4}) {
            for (int mask = 0; mask < 8; ++mask) {
                const bool ghosts = mask & 1, clock = mask & 2, split = mask & 4;
                QTest::addRow("build %d ghosts %d clock %d split %d", build, ghosts, clock, split)
                    << build << ghosts << clock << split;
            }
        }
    }

    void patchesFollowTheSettings() {
        QFETCH(int, build);
        QFETCH(bool, ghosts);
        QFETCH(bool, clock);
        QFETCH(bool, split);
        Machine m(build);
        Settings& s = m.stored.settings;
        s.GhostsDisabled = ghosts ? 0 : 1;
        s.ClockWhenPaused = clock ? 1 : 0;
        s.ShowSplits = split ? 0 : 1;
        sim::AddressSpace& memory = m.game.Memory();
        const bool b3 = build == 3;
        const std::uint32_t engine = b3 ? 0x7EA6A8 : 0x7EC7E8;
        const QByteArray handle = Le32(m.hook);
        // Location, bytes when the row applies, and whether it applies.
        struct Expect {
            const char* what;
            std::uint32_t address;
            QByteArray bytes;
            bool applies;
        };
        const std::vector<Expect> expected = {
            {"row 1", b3 ? 0x4AA236u : 0x4AA5B6u, Le32(b3 ? 0x893888 : 0x8859C8), true},
            {"row 10", b3 ? 0x466968u : 0x468518u, Le32(b3 ? 0x7FA140 : 0x7EB140), ghosts},
            {"row 14", b3 ? 0x466AB1u : 0x468661u, Le32(b3 ? 0x7FA140 : 0x7EB140), ghosts},
            {"row 16", b3 ? 0x482AFFu : 0x48455Cu, QByteArray::fromHex("e975feffff"), clock},
            {"rows 23 and 24", b3 ? 0x493976u : 0x494374u,
             QByteArray::fromHex("6A006A0068F500000068") + handle +
                 QByteArray::fromHex(b3 ? "FF15e4967200" : "FF15b4c67100"),
             ghosts},
            {"row 29 end", 0x40022F,
             QByteArray::fromHex(b3 ? "BF40A77F00E9021E1B00" : "BF40b77E00E942731A00"), true},
            {"row 36 last", b3 ? 0x5793EBu : 0x56F508u, QByteArray::fromHex("9090"), true},
            {"row 37 n1", b3 ? 0x746884u : 0x569C13u, Le32(0x43B90000), true}, // 370.0
            {"row 38", b3 ? 0x572E4Eu : 0x569265u,
             QByteArray::fromHex(b3 ? "9090909090909090" : "90909090909090909090"), split},
            {"row 43", b3 ? 0x573FDDu : 0x56A36Au, Le32(0x43DC0000), true}, // 440.0
            {"row 46", b3 ? 0x573FCFu : 0x56A35Cu, QByteArray::fromHex("12"), true},
            {"row 48", 0x400A00, Le32(0), true},
            {"row 53", b3 ? 0x58BEE0u : 0x581AB0u,
             QByteArray::fromHex("C705080A400001000000C20800"), true},
            {"ghost path", b3 ? 0x7FA140u : 0x7EB140u, "CARS\\GHOST\\GHOSTCAR.INI", ghosts},
        };
        std::vector<QByteArray> before;
        for (const Expect& e : expected) {
            before.push_back(Bytes(memory, e.address, int(e.bytes.size())));
        }

        QVERIFY(m.bridge.ApplyGamePatches(m.hook));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const Expect& e = expected[i];
            QVERIFY2(Bytes(memory, e.address, int(e.bytes.size())) ==
                         (e.applies ? e.bytes : before[i]),
                     e.what);
        }
        // The module rows land at M + offset, M as the game published it.
        const std::uint32_t module = memory.U32(memory.U32(engine) + 0x14);
        QCOMPARE(Bytes(memory, module + (b3 ? 0x7F0CE : 0x7DB7C), 1) == QByteArray::fromHex("8B"),
                 ghosts);
        QCOMPARE(QDir(m.game.Folder().File(QStringLiteral("CARS"))).exists(), ghosts);

        // The game sees exactly the rows the settings call for.
        std::set<int> rows = {1,  17, 18, 19, 20, 21, 25, 26, 27, 28, 29, 30, 31, 32, 33,
                              34, 35, 36, 39, 40, 41, 42, 43, 44, 45, 46, 47, 49, 51, 53};
        if (ghosts) {
            rows.insert({2, 3, 4, 5, 10, 11, 12, 13, 14, 23, 24});
        }
        if (clock) {
            rows.insert({15, 16});
        }
        if (split) {
            rows.insert(38);
        }
        m.game.RunUntil([] { return false; }, 100);
        const sim::Status status = m.game.Status();
        QCOMPARE(std::set<int>(status.patches.begin(), status.patches.end()), rows);
        QCOMPARE(status.flags, (std::array<std::uint32_t, 3>{0, 0, 0}));
        QCOMPARE(status.box, GameBridge::kNormalBox);
        QCOMPARE(m.hook_clicks > 0, ghosts); // the game posts clicks once the hook is in

        // Every set-up writes the respawn-penalty bytes, both ways.
        const std::uint32_t penalty = b3 ? 0x576819 : 0x56CA51;
        m.stored.race.PenaltiesDisabled = 1;
        m.bridge.WriteRaceSetup();
        QCOMPARE(Bytes(memory, penalty, b3 ? 8 : 6), QByteArray(b3 ? 8 : 6, char(0x90)));
        m.stored.race.PenaltiesDisabled = 0;
        m.bridge.WriteRaceSetup();
        QCOMPARE(Bytes(memory, penalty, b3 ? 8 : 6),
                 QByteArray::fromHex(b3 ? "F30F118640010000" : "d99e40010000"));
    }

    void patchingEndsWhenTheGameGoes() {
        // Closed before it published what the patches wait for: no endless wait, nothing done.
        Machine m(3);
        m.game.Every(500, [&m] { m.game.Fake().desktop->CloseWindow(m.game.Window()); });
        QVERIFY(!m.bridge.ApplyGamePatches(m.hook));
        QVERIFY(!m.game.Running());
        QVERIFY(m.game.NowMs() < 1500);
    }

    void inRaceEntriesActOnTheirChoice_data() {
        QTest::addColumn<int>("build");
        QTest::newRow("build 3") << 3;
        QTest::newRow("build 4") << 4;
    }

    void inRaceEntriesActOnTheirChoice() {
        QFETCH(int, build);
        Machine m(build);
        QVERIFY(m.DriveToStartLine());
        QSignalSpy votes(&m.bridge, &GameBridge::VoteRestartChosen);
        const auto poll = [&m] {
            m.bridge.PollMenuFlags(); // as the game tick does while the game is in front
            m.game.RunUntil([] { return false; }, 100);
        };

        m.Key(27);
        poll();
        std::vector<std::string> captions;
        for (const sim::MenuEntryView& entry : m.game.Status().race_entries) {
            captions.push_back(entry.caption);
        }
        QCOMPARE(captions, (std::vector<std::string>{"Continue", "Respawn", "Vote Restart",
                                                     "Save Data", "Exit To Tarvex"}));
        QVERIFY(m.game.Status().attached);
        m.Key(27);

        // Each choice is reported once and closes the menu; the flag is ready for the next.
        for (int choice = 1; choice <= 2; ++choice) {
            m.ChooseInPauseMenu(2);
            poll();
            poll();
            QCOMPARE(votes.count(), choice);
            QCOMPARE(m.game.Status().race_menu, -1);
            QCOMPARE(m.game.Memory().U32(0x400A00), 0u);
        }

        m.ChooseInPauseMenu(3);
        poll();
        sim::Status s = m.game.Status();
        QCOMPARE(s.race_menu, 17);
        for (int slot = 0; slot < int(s.save_slots.size()); ++slot) {
            QVERIFY2(s.save_slots[std::size_t(slot)].enabled ==
                         (slot == 4 || slot == 8 || slot == 9),
                     qPrintable(QString::number(slot)));
        }
        QCOMPARE(m.game.Memory().U32(0x400A04), 0u);
        m.Key(27);

        QVERIFY(!m.bridge.GameClosing());
        m.ChooseInPauseMenu(4);
        poll();
        QVERIFY(!m.game.Running());
        QVERIFY(m.bridge.GameClosing());
        m.bridge.ResetGameClosing();
        QVERIFY(!m.bridge.GameClosing());
    }

    void ghostCarLoadsAndFollowsTheGhostMenu() {
        Machine m(3);
        // Leftovers of an earlier run are overwritten in place.
        QDir(m.game.Folder().Path()).mkpath(QStringLiteral("cars/Ghost"));
        m.game.Folder().Write(QStringLiteral("cars/Ghost/ghost.ini"), QByteArray(8, 'x'));
        QVERIFY(m.DriveToStartLine());

        const QString assets = qEnvironmentVariable("TARVEX_SOURCE_DIR") + "/assets/ghost/";
        for (const char* name : {"ghost.sgc", "ghost.ini", "ghost_shaders.ini", "ghostcar.ini"}) {
            QFile asset(assets + name);
            QVERIFY(asset.open(QIODevice::ReadOnly));
            QCOMPARE(m.game.Folder().Read(QStringLiteral("cars/Ghost/") + name), asset.readAll());
        }
        QVERIFY(!QDir(m.game.Folder().File(QStringLiteral("CARS"))).exists());
        // The game reads all four in our asset format.
        const sim::Status loaded = m.game.Status();
        QCOMPARE(loaded.ghost_files.size(), std::size_t(4));
        for (const auto& [role, verdict] : loaded.ghost_files) {
            QVERIFY2(verdict == "ok", (role + ": " + verdict).c_str());
        }
        QVERIFY(loaded.ghosts_loaded);

        // A ghost placed at the car is drawn.
        sim::AddressSpace& memory = m.game.Memory();
        const std::uint32_t r = memory.U32(0x7EA6A8);
        const std::uint32_t g =
            memory.U32(memory.U32(memory.U32(memory.U32(r + 0x18) + 0x258) + 0x98)) + 0x40;
        const float identity[16] = {1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 5, 0, 20, 1};
        for (int i = 0; i < 16; ++i) {
            if (i % 4 != 3) {
                memory.SetF32(g + 4 * std::uint32_t(i), identity[i]);
            }
        }
        m.game.RunUntil([] { return false; }, 100);
        QCOMPARE(m.game.Status().ghosts.size(), std::size_t(1));

        // The Ghost menu: the current model checked, a choice written into the game at once.
        QWidget window;
        QMenu* menu = AddGhostMenu(window, m.stored.settings, m.ghost);
        QCOMPARE(menu->objectName(), QStringLiteral("mnuGhost"));
        QStringList captions;
        for (QAction* action : menu->actions()) {
            captions << action->text();
        }
        QCOMPARE(captions,
                 (QStringList{"Citroen Xsara", "Hyundai Accent", "MG ZR Super 1600",
                              "Mitsubishi Lancer Evo VII", "Peugeot 206", "Subaru Impreza 2003",
                              "Toyota Corolla", "Subaru Impreza 2000"}));
        QCOMPARE(menu->actions()[4]->objectName(), QStringLiteral("mnuG5"));
        QVERIFY(menu->actions()[4]->isChecked()); // the automation chose model 5
        menu->actions()[6]->trigger();
        QCOMPARE(m.stored.settings.GhostModel, 7);
        m.game.RunUntil([] { return false; }, 50);
        QCOMPARE(m.game.Status().ghost_model, 7);
        emit menu->aboutToShow();
        QVERIFY(menu->actions()[6]->isChecked() && !menu->actions()[4]->isChecked());

        // A player who hides ghosts gets the hiding value on the next poll.
        m.stored.settings.ShowGhost = 0;
        m.bridge.PollMenuFlags();
        m.game.RunUntil([] { return false; }, 50);
        QCOMPARE(std::uint32_t(m.game.Status().ghost_model), GhostFiles::kNoGhosts);
    }

    void ghostFilesFailQuietly() {
        // A game folder where the ghost folder cannot be made (a file is in the way): no files,
        // yet the game is still pointed at them and the patches complete.
        Machine m(4);
        m.game.Folder().Write(QStringLiteral("CARS"), "not a folder");
        QVERIFY(m.bridge.ApplyGamePatches(m.hook));
        QCOMPARE(m.game.Folder().Read(QStringLiteral("CARS")), QByteArray("not a folder"));
        QVERIFY(!m.game.Status().ghosts_loaded);
        QCOMPARE(QString::fromStdString(m.game.Memory().Text8(0x7EB140, 23)),
                 QStringLiteral("CARS\\GHOST\\GHOSTCAR.INI"));
        QVERIFY(!ExtractResource(9, QStringLiteral("GHOST"), m.game.Folder().File("x")));
    }
};

TARVEX_TEST(GameBridgeTest);
#include "GameBridgeTest.moc"
