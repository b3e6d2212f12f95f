#include "Game.h"
#include "Renderer.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <cmath>

using simtest::Machine;
using simtest::StatusOf;
using simtest::TarvexPart;

namespace {

QJsonObject Parse(const QByteArray& json) {
    return QJsonDocument::fromJson(json).object();
}

struct Row3 {
    float x, y, z;
};

// The rows of the rotation of a quaternion, row-vector convention (the reference formula).
void QuaternionRows(const float q[4], Row3 rows[3]) {
    const float x = q[0], y = q[1], z = q[2], w = q[3];
    rows[0] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)};
    rows[1] = {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)};
    rows[2] = {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)};
}

// What Tarvex writes for a remote car: its body pose shifted 0.4 forward, second and third axes
// swapped.
void GhostMatrixFromBody(const sim::AddressSpace& memory, std::uint32_t body, float out[16],
                         float expected[3]) {
    float q[4];
    for (int i = 0; i < 4; ++i) {
        q[i] = memory.F32(body + 0x100 + 4 * std::uint32_t(i));
    }
    Row3 r[3];
    QuaternionRows(q, r);
    const float p[3] = {memory.F32(body + 0x140) + 0.4f * r[2].x,
                        memory.F32(body + 0x144) + 0.4f * r[2].y,
                        memory.F32(body + 0x148) + 0.4f * r[2].z};
    const float m[16] = {r[0].x, r[0].z, r[0].y, 0, r[2].x, r[2].z, r[2].y, 0,
                         r[1].x, r[1].z, r[1].y, 0, p[0],   p[2],   p[1],   1};
    std::copy(m, m + 16, out);
    std::copy(p, p + 3, expected);
}

void Press(sim::Game& game, int key) {
    game.KeyDown(key);
    game.KeyUp(key);
}

} // namespace

class GameMemoryTest : public QObject {
    Q_OBJECT

private slots:
    void everyWriteShowsInTheStatus_data();
    void everyWriteShowsInTheStatus();
    void inRaceMenuFollowsThePatches_data();
    void inRaceMenuFollowsThePatches();
    void ghostCarFilesAreChecked_data();
    void ghostCarFilesAreChecked();
    void poseCameraAndGhost_data();
    void poseCameraAndGhost();
    void textsFollowTarvexsTicks();
    void screenshotShowsGhostAndOverlay();
};

void GameMemoryTest::everyWriteShowsInTheStatus_data() {
    simtest::BuildRows({1, 2, 3, 4});
}

// Tarvex's writes as the game reads them back: each shown value differs from the game's stock
// value before, and equals what Tarvex wrote (at its own addresses) after.
void GameMemoryTest::everyWriteShowsInTheStatus() {
    QFETCH(int, build);
    const bool full = build >= 3;
    Machine machine(build);
    TarvexPart& tarvex = machine.tarvex;
    sim::AddressSpace& m = *machine.memory;
    const simtest::Addresses& a = tarvex.a;
    std::vector<std::uint32_t> clicks;
    machine.game.SetHookClickHandler([&clicks](std::uint32_t handle) { clicks.push_back(handle); });
    TarvexPart::WriteGhostFiles(machine.folder.path().toStdString());
    tarvex.Wait(0.9);
    const char build_bytes[] = {0, 0x10, char(0x8B), char(0xE8), 0};
    QCOMPARE(char(m.U8(0x4860F5)), build_bytes[build]);
    if (full) {
        // The module base and the text-pointer block appear only after a while.
        QVERIFY(m.U32(a.engine) != 0);
        QCOMPARE(m.U32(m.U32(a.engine) + 0x14), 0u);
        QCOMPARE(m.U32(a.text_block), 0u);
    }
    tarvex.Wait(1.1);
    const QJsonObject before = StatusOf(machine.game);
    QCOMPARE(before["patches"].toArray(), QJsonArray()); // no stock byte reads as a patch

    tarvex.ApplyGamePatches(0x04A00007);
    if (full) {
        tarvex.InitGhostSlots();
        const float east_to_north[16] = {-1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 12.5f, 1.5f, -4, 1};
        tarvex.WriteGhost(3, east_to_north);
        m.SetText16(a.info, "Position 1/2\nBob 40/100");
        m.SetU32(tarvex.RaceBlock() + 0x060, a.info);
        m.SetU32(tarvex.RaceBlock() + 0x054, a.info);
        m.SetF32(tarvex.RaceBlock() + 0x238, 99.0f);
    }
    tarvex.WriteGhostModel(5);
    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.SaveDataMenu();
    tarvex.SetMessageBoxPlacement({104, 353, 640, 10, 600, 60});
    tarvex.WriteNameTag("Bob", 200, 300, 0, 5, 0.8f);
    m.SetU32(tarvex.RaceBlock() + 0x12C, a.overlay);
    m.SetText16(a.overlay, "Anna: hi\nBob: go\n\n\n>typing");
    m.SetU8(tarvex.RaceBlock() + 0x138, 1);
    m.SetF32(tarvex.RaceBlock() + 0x2D0, 5.0f);
    m.SetU32(a.keep, 2);
    machine.game.Tick(0.1);
    const QJsonObject after = StatusOf(machine.game);

    QJsonObject expected = Parse(R"({
        "menus": [{"m": 0, "ctx": 0, "ret": -1, "entry": 0, "sel": [0, 0]},
                  {"m": 2, "ctx": 8000, "ret": -1, "entry": 0, "sel": [10, 10]},
                  {"m": 10, "ctx": 8000, "ret": 82, "entry": 0, "sel": [4, 4]},
                  {"m": 11, "ctx": 0, "ret": -1, "entry": 0, "sel": [0, 0]},
                  {"m": 12, "ctx": 8000, "ret": 12, "entry": 6, "sel": [3, 3]},
                  {"m": 82, "ctx": 8000, "ret": -1, "entry": 0, "sel": [0, 0], "slot": 2}],
        "race_menus": [{"m": 17, "ctx": 8001, "ret": -1, "entry": 0, "sel": [4, 4]}],
        "race_menu": 17,
        "menu_values": [0, 0, 0, 0],
        "race_menu_values": [0, 0, 0, 0],
        "ghost_model": 5,
        "box": [104, 353, 640, 10, 600, 60],
        "tag_placement": [0, -1, -1, 201, 305, 5, 18],
        "tag_opacity": 0.8,
        "name_tag": "Bob",
        "overlay_text": "Anna: hi\nBob: go\n\n\n>typing",
        "attached": true})");
    if (a.box_copy[0] != 0) {
        expected["box_copy"] = QJsonArray{104, 353};
    }
    if (full) {
        const QJsonObject more = Parse(R"({
            "setup": {"stage": 10, "preset": "10O_N_hazy_partcloud", "condition": 0,
                      "humidity": 0, "wear": 0, "car": 0, "transmission": -1, "tyre": 6,
                      "damage": 0, "constant": 1},
            "patches": [1, 2, 3, 4, 5, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 23, 24,
                        25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 38, 39, 40, 41, 42, 43,
                        44, 45, 46, 47, 49, 51, 53],
            "flags": [0, 0, 0],
            "race_menu_layout": [80, 250, 440, 250, 450, 18],
            "ghost_files": {"entry": "ok", "model": "ok", "description": "ok", "shaders": "ok"},
            "ghost_mesh": [8, 12],
            "ghosts_loaded": true,
            "ghost_colours": [[234, 49, 52], [35, 51, 234], [234, 234, 35], [37, 234, 37],
                              [248, 192, 228], [242, 163, 60], [45, 237, 233],
                              [209, 209, 209], [181, 126, 9], [190, 110, 221], [0, 0, 0],
                              [168, 237, 171]],
            "ghosts": [{"k": 3, "x": 12.5, "y": -4, "z": 1.5, "h": 90,
                        "rows": [-1, 0, 0, 0, 0, 1, 0, 1, 0], "rgb": [37, 234, 37]}],
            "info_time": 99,
            "info_text": "Position 1/2\nBob 40/100",
            "hook_handle": 77594631})");
        for (auto field = more.begin(); field != more.end(); ++field) {
            expected[field.key()] = field.value();
        }
        expected["info_pointers"] = QJsonArray{double(a.info), double(a.info)};
    }
    for (auto field = expected.begin(); field != expected.end(); ++field) {
        QVERIFY2(after[field.key()] == field.value(),
                 qPrintable(field.key() + ": " +
                            QJsonDocument(QJsonArray{after[field.key()]}).toJson()));
        QVERIFY2(before[field.key()] != field.value(), qPrintable(field.key() + " is stock"));
    }
    if (full) {
        QVERIFY(!clicks.empty());
        QCOMPARE(clicks, std::vector<std::uint32_t>(clicks.size(), 0x04A00007));
        QCOMPARE(after["hook_clicks"].toInt(), int(clicks.size()));
    } else {
        QCOMPARE(after["setup"], QJsonValue(QJsonValue::Null));
        QCOMPARE(after["flags"], before["flags"]); // builds 1 and 2 get no patches
    }
}

void GameMemoryTest::inRaceMenuFollowsThePatches_data() {
    simtest::BuildRows({3, 4});
}

void GameMemoryTest::inRaceMenuFollowsThePatches() {
    QFETCH(int, build);
    Machine machine(build);
    TarvexPart& tarvex = machine.tarvex;
    sim::Game& game = machine.game;
    sim::AddressSpace& m = *machine.memory;
    tarvex.Wait(2);
    auto captions = [&game] {
        QStringList list;
        for (const auto& entry : game.GetStatus().race_entries) {
            list << QString::fromStdString(entry.caption);
        }
        return list;
    };
    QCOMPARE(captions(), QStringList({"Continue", "Respawn"}));
    // The routines alone are not enough: the texts must be reachable too.
    const std::uint32_t routines[2][3] = {{0x58BD80, 0x58D940, 0x58BEE0},
                                          {0x581950, 0x583500, 0x581AB0}};
    const char* const setting_flags[3] = {
        "C705000A400001000000C20800", "C705040A400001000000C20800", "C705080A400001000000C20800"};
    for (int i = 0; i < 3; ++i) {
        m.SetHex(routines[build - 3][i], setting_flags[i]);
    }
    QCOMPARE(captions(), QStringList({"Continue", "Respawn"}));
    tarvex.ApplyGamePatches(0);
    QCOMPARE(captions(),
             QStringList({"Continue", "Respawn", "Vote Restart", "Save Data", "Exit To Tarvex"}));
    // The captions are read from the buffers, whatever they hold.
    m.SetText16(tarvex.a.entry_text[2], "Leave");
    QCOMPARE(captions().last(), QString("Leave"));

    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.Wait(3);
    const std::uint32_t flags[3] = {0x400A00, 0x400A04, 0x400A08};
    for (int chosen = 0; chosen < 3; ++chosen) {
        tarvex.PressEscape();
        for (int i = 0; i < chosen + 2; ++i) {
            Press(game, 40);
        }
        tarvex.PressEnter();
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(m.U32(flags[i]), i == chosen ? 1u : 0u);
        }
        QVERIFY(game.GetStatus().paused); // Tarvex answers; the menu stays until then
        m.SetU32(flags[chosen], 0);
        tarvex.PressEscape();
        QVERIFY(!game.GetStatus().paused);
    }

    tarvex.SaveDataMenu();
    tarvex.Wait(0.1);
    QCOMPARE(game.GetStatus().race_menu, 17);
    // Slot 6 (entry 5) stays locked; slot 5 (entry 4) saves and closes the menu.
    const std::uint32_t menu = tarvex.MenuAt(17, true);
    m.SetU32(menu + 0x14, 5);
    tarvex.PressEnter();
    QCOMPARE(game.GetStatus().race_menu, 17);
    m.SetU32(menu + 0x14, 4);
    tarvex.PressEnter();
    QCOMPARE(game.GetStatus().race_menu, -1);
}

void GameMemoryTest::ghostCarFilesAreChecked_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content"); // empty: the file is removed
    QTest::addColumn<bool>("late");          // the files arrive after the game was pointed
    QTest::addColumn<QByteArray>("outcome");
    const QMap<QString, QByteArray> files = TarvexPart::GhostFiles();
    const QByteArray all_ok =
        R"({"entry": "ok", "model": "ok", "description": "ok", "shaders": "ok"})";
    auto entry_wrong = [](const char* why) {
        return QByteArray(R"({"entry": "wrong ghostcar.ini: )") + why + "\"}";
    };
    auto wrong = [](const char* role, const char* why) {
        return QByteArray(R"({"entry": "ok", "model": "ok", "description": "ok", "shaders": "ok",
                              ")") +
               role + R"(": ")" + why + "\"}";
    };
    QByteArray mesh = files["ghost.sgc"];
    QTest::newRow("Tarvex's files") << QString() << QByteArray() << false << all_ok;
    QTest::newRow("written after the path")
        << QString() << QByteArray() << true
        << QByteArray(R"({"entry": "missing CARS\\GHOST\\GHOSTCAR.INI"})");
    QTest::newRow("no entry file")
        << "ghostcar.ini" << QByteArray() << false
        << QByteArray(R"({"entry": "missing CARS\\GHOST\\GHOSTCAR.INI"})");
    QTest::newRow("entry of another format")
        << "ghostcar.ini" << QByteArray("[ghost]\r\nmodel=ghost.sgc\r\n") << false
        << entry_wrong("first line is not [DHRAsset]");
    QTest::newRow("entry with LF line ends")
        << "ghostcar.ini" << QByteArray(files["ghostcar.ini"]).replace("\r\n", "\n") << false
        << entry_wrong("line ends are not CR LF");
    QTest::newRow("entry of another kind")
        << "ghostcar.ini" << QByteArray(files["ghostcar.ini"]).replace("GhostCar", "GhostCab")
        << false << entry_wrong("Kind is not GhostCar");
    QTest::newRow("no mesh") << "ghost.sgc" << QByteArray() << false
                             << wrong("model", "missing ghost.sgc");
    QTest::newRow("mesh of another format")
        << "ghost.sgc" << QByteArray("o car\nv 0 0 0\n") << false
        << wrong("model", "wrong ghost.sgc: no DHRSGC header");
    QTest::newRow("mesh cut short") << "ghost.sgc" << mesh.left(mesh.size() - 2) << false
                                    << wrong("model", "wrong ghost.sgc: size 182, expected 184");
    QTest::newRow("mesh index past its vertices")
        << "ghost.sgc" << mesh.left(mesh.size() - 2).append("\x08\x00", 2) << false
        << wrong("model", "wrong ghost.sgc: triangle 11 refers to vertex 8");
    QTest::newRow("description of another kind")
        << "ghost.ini" << QByteArray(files["ghost.ini"]).replace("Description", "Shaders") << false
        << wrong("description", "wrong ghost.ini: second line is not Kind=GhostDescription");
    QTest::newRow("shaders of another version")
        << "ghost_shaders.ini" << QByteArray(files["ghost_shaders.ini"]).replace("=1", "=2")
        << false << wrong("shaders", "wrong ghost_shaders.ini: third line is not Version=1");
}

void GameMemoryTest::ghostCarFilesAreChecked() {
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(bool, late);
    QFETCH(QByteArray, outcome);
    Machine machine(4);
    TarvexPart& tarvex = machine.tarvex;
    const QString folder = machine.folder.filePath("CARS/GHOST/");
    if (!late) {
        TarvexPart::WriteGhostFiles(machine.folder.path().toStdString());
    }
    if (!file.isEmpty()) {
        QFile::remove(folder + file);
        QFile replaced(folder + file);
        QVERIFY(content.isEmpty() ||
                (replaced.open(QIODevice::WriteOnly) && replaced.write(content) == content.size()));
    }
    tarvex.ApplyGamePatches(0);
    tarvex.InitGhostSlots();
    tarvex.WriteGhostModel(5);
    const float placed[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 2, 6, 1};
    tarvex.WriteGhost(0, placed);
    machine.game.Tick(0.1);
    if (late) {
        TarvexPart::WriteGhostFiles(machine.folder.path().toStdString());
        machine.game.Tick(0.1);
    }
    const QJsonObject status = StatusOf(machine.game);
    QCOMPARE(status["ghost_files"].toObject(), Parse(outcome));
    const QJsonObject files = Parse(outcome);
    const bool ok = files.size() == 4 && std::all_of(files.begin(), files.end(),
                                                     [](auto v) { return v == QJsonValue("ok"); });
    QCOMPARE(status["ghosts_loaded"].toBool(), ok);
    QCOMPARE(status["ghosts"].toArray().size(), ok ? 1 : 0);
    if (!ok) {
        return;
    }
    // Drawn only while shown, above the parking depth and with the module patches in place.
    tarvex.WriteGhostModel(0x19999999);
    QVERIFY(machine.game.GetStatus().ghosts.empty());
    tarvex.WriteGhostModel(3);
    const float low[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, -1000.5f, 6, 1};
    tarvex.WriteGhost(0, low);
    QVERIFY(machine.game.GetStatus().ghosts.empty());
    tarvex.WriteGhost(0, placed);
    QCOMPARE(machine.game.GetStatus().ghosts.size(), std::size_t(1));
    const std::uint32_t module = machine.memory->U32(machine.memory->U32(tarvex.a.engine) + 0x14);
    machine.memory->SetHex(module + 0x7DB6C, "92");
    QVERIFY(!machine.game.GetStatus().ghosts_loaded);
    QVERIFY(machine.game.GetStatus().ghosts.empty());
}

void GameMemoryTest::poseCameraAndGhost_data() {
    simtest::BuildRows({3, 4});
}

// A player drives by hand, without Tarvex, on the stage the stock set-up block names; another
// game shows that car as ghost 1 from the matrix Tarvex makes of its body pose.
void GameMemoryTest::poseCameraAndGhost() {
    QFETCH(int, build);
    Machine remote(build);
    sim::Game& game = remote.game;
    sim::AddressSpace& m = *remote.memory;
    remote.tarvex.Wait(2);
    for (int i = 0; i < 8; ++i) {
        remote.tarvex.PressEnter();
        remote.tarvex.Wait(1);
        if (game.GetStatus().menu == 12) {
            for (int d = 0; d < 6; ++d) {
                Press(game, 40);
            }
        }
    }
    QVERIFY(game.GetStatus().in_stage);
    QCOMPARE(game.GetStatus().stage_id, 12);
    remote.tarvex.Wait(9.5);
    game.KeyDown(38);
    remote.tarvex.Wait(8);
    const std::uint32_t body = m.U32(remote.tarvex.a.car_body);
    const float before[3] = {m.F32(body + 0x140), m.F32(body + 0x144), m.F32(body + 0x148)};
    game.Tick(0.1);
    const float after[3] = {m.F32(body + 0x140), m.F32(body + 0x144), m.F32(body + 0x148)};
    float q[4];
    for (int i = 0; i < 4; ++i) {
        q[i] = m.F32(body + 0x100 + 4 * std::uint32_t(i));
    }
    Row3 r[3];
    QuaternionRows(q, r);
    const float move[2] = {after[0] - before[0], after[1] - before[1]};
    const float length = std::hypot(move[0], move[1]);
    QVERIFY(length > 0.5f);
    // The third row is the direction of travel, the second row points up (z-up world).
    QVERIFY(std::fabs(r[2].x - move[0] / length) < 0.02f);
    QVERIFY(std::fabs(r[2].y - move[1] / length) < 0.02f);
    QVERIFY(std::fabs(r[1].z - 1.0f) < 1e-4f);
    // The chase camera: above and behind, looking at the car.
    const std::uint32_t c = m.U32(m.U32(remote.tarvex.RaceBlock() + 0x758) + 0x10);
    const float eye[3] = {m.F32(c + 0xF0), m.F32(c + 0xF4), m.F32(c + 0xF8)};
    const float view[3] = {m.F32(c + 0xD8), m.F32(c + 0xDC), m.F32(c + 0xE0)};
    const float to_car[3] = {after[0] - eye[0], after[1] - eye[1], after[2] - eye[2]};
    const float distance =
        std::sqrt(to_car[0] * to_car[0] + to_car[1] * to_car[1] + to_car[2] * to_car[2]);
    QVERIFY(distance > 4.0f && distance < 12.0f);
    QVERIFY(eye[2] > after[2]);
    QVERIFY((to_car[0] * view[0] + to_car[1] * view[1] + to_car[2] * view[2]) / distance > 0.95f);

    Machine local(build);
    TarvexPart::WriteGhostFiles(local.folder.path().toStdString());
    local.tarvex.ApplyGamePatches(0);
    local.tarvex.InitGhostSlots();
    local.tarvex.WriteGhostModel(5);
    float matrix[16], expected[3];
    GhostMatrixFromBody(m, body, matrix, expected);
    local.tarvex.WriteGhost(1, matrix);
    local.game.Tick(0.1);
    const sim::Status s = local.game.GetStatus();
    QCOMPARE(int(s.ghosts.size()), 1);
    QCOMPARE(s.ghosts[0].index, 1);
    QVERIFY(std::fabs(s.ghosts[0].x - expected[0]) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].y - expected[1]) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].z - expected[2]) < 1e-3f);
    // It is 0.4 ahead of the body, along the road, upright.
    const float dx = expected[0] - after[0], dy = expected[1] - after[1];
    QVERIFY(std::fabs(std::hypot(dx, dy) - 0.4f) < 1e-3f);
    QVERIFY(std::fabs(std::atan2(dy, dx) - s.ghosts[0].heading) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].up.z - 1.0f) < 1e-4f);
}

// What the game takes back from Tarvex's ticks: the message box's text-ready byte and display
// time, the keep-alive value; and what hides the texts.
void GameMemoryTest::textsFollowTarvexsTicks() {
    Machine machine(3);
    TarvexPart& tarvex = machine.tarvex;
    sim::Game& game = machine.game;
    sim::AddressSpace& m = *machine.memory;
    tarvex.Wait(0.5);
    const std::uint32_t rb = tarvex.RaceBlock();
    m.SetU32(rb + 0x060, 0x7F9140);
    m.SetText16(0x7F9140, "Position 1/2");
    QCOMPARE(game.GetStatus().info_text, std::string()); // box time 0: not shown

    m.SetF32(rb + 0x2D0, 3.0f);
    m.SetU32(rb + 0x12C, 0x7FA740);
    m.SetText16(0x7FA740, "Anna: hi");
    m.SetU8(rb + 0x138, 1);
    game.Tick(0.1);
    QCOMPARE(game.GetStatus().overlay_text, std::string("Anna: hi"));
    QCOMPARE(m.U8(rb + 0x138), 0); // taken
    m.SetText16(0x7FA740, "Bob: go");
    tarvex.Wait(1.0);
    QCOMPARE(game.GetStatus().overlay_text, std::string("Anna: hi")); // no new text until ready
    tarvex.Wait(2.0);
    QCOMPARE(game.GetStatus().overlay_text, std::string()); // display time over

    tarvex.WriteNameTag("Bob", 200, 300, 0, 5, 0.8f);
    QCOMPARE(game.GetStatus().tag_y, 200.0f);
    QCOMPARE(game.GetStatus().tag_x, 640.0f - 300.0f - 30.0f);
    tarvex.WriteNameTag("Bob", -480, -640, 18, 0, 0); // the hidden placement
    QCOMPARE(game.GetStatus().name_tag, std::string());

    QVERIFY(!game.GetStatus().attached);
    for (int i = 0; i < 6; ++i) {
        m.SetU32(0x892EEC, 2);
        tarvex.Wait(0.5);
        QVERIFY(game.GetStatus().attached);
    }
    tarvex.Wait(2.5);
    QVERIFY(!game.GetStatus().attached);
}

void GameMemoryTest::screenshotShowsGhostAndOverlay() {
    Machine machine(4);
    TarvexPart& tarvex = machine.tarvex;
    sim::Game& game = machine.game;
    sim::AddressSpace& m = *machine.memory;
    TarvexPart::WriteGhostFiles(machine.folder.path().toStdString());
    tarvex.setup.stage = 41;
    tarvex.setup.weather = "41M_crisp_clear";
    tarvex.ApplyGamePatches(0);
    tarvex.InitGhostSlots();
    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.Wait(9.2);
    game.KeyDown(38);
    tarvex.Wait(6);
    game.KeyUp(38);
    tarvex.WriteGhostModel(5);
    // Slot 0's ghost (red) 12 m ahead of the car on the road.
    const sim::RoadPoint ahead = game.road().At(game.GetStatus().distance + 12.0f);
    const float c = std::cos(ahead.heading), s = std::sin(ahead.heading);
    const float ghost[16] = {-s,      0, c, 0, c, 0, s, 0, 0, 1, 0, 0, ahead.x, ahead.z + 0.5f,
                             ahead.y, 1};
    tarvex.WriteGhost(0, ghost);
    const std::uint32_t rb = tarvex.RaceBlock();
    m.SetF32(rb + 0x2D0, 8.0f);
    m.SetU32(rb + 0x12C, tarvex.a.overlay);
    m.SetText16(tarvex.a.overlay, "Anna: see you at the finish\nBob: go go go\n\n\n");
    m.SetU8(rb + 0x138, 1);
    m.SetU32(tarvex.a.keep, 2);
    game.Tick(0.05);
    QCOMPARE(int(game.GetStatus().ghosts.size()), 1);

    sim::Renderer renderer;
    const QImage shown = renderer.Render(game);
    tarvex.WriteGhostModel(0x19999999);
    const QImage hidden = renderer.Render(game);
    // The ghost is drawn in its colour somewhere the hidden frame is not red.
    int red_pixels = 0;
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            const QColor a = shown.pixelColor(x, y), b = hidden.pixelColor(x, y);
            if (a != b && a.red() > 100 && a.green() < 90 && a.blue() < 90) {
                ++red_pixels;
            }
        }
    }
    QVERIFY2(red_pixels > 200, qPrintable(QString::number(red_pixels)));
    const QString out = qEnvironmentVariable("TARVEX_BINARY_DIR", QDir::tempPath());
    QVERIFY(shown.save(out + "/sim-ghost-overlay.png", "PNG"));
}

TARVEX_TEST(GameMemoryTest);
#include "GameMemoryTest.moc"
