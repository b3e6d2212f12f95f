#include "Game.h"
#include "Renderer.h"
#include "TarvexPart.h"
#include "TestRegistry.h"

#include <QDir>
#include <QTest>
#include <cmath>

using simtest::TarvexPart;

namespace {

sim::Options Build(int build) {
    sim::Options o;
    o.build = build;
    return o;
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
void GhostMatrixFromBody(const sim::AddressSpace& body_memory, std::uint32_t body, float out[16],
                         float expected[3]) {
    float q[4];
    for (int i = 0; i < 4; ++i) {
        q[i] = body_memory.F32(body + 0x100 + 4 * i);
    }
    Row3 r[3];
    QuaternionRows(q, r);
    const float p[3] = {body_memory.F32(body + 0x140) + 0.4f * r[2].x,
                        body_memory.F32(body + 0x144) + 0.4f * r[2].y,
                        body_memory.F32(body + 0x148) + 0.4f * r[2].z};
    const float m[16] = {r[0].x, r[0].z, r[0].y, 0, r[2].x, r[2].z, r[2].y, 0,
                         r[1].x, r[1].z, r[1].y, 0, p[0],   p[2],   p[1],   1};
    std::copy(m, m + 16, out);
    std::copy(p, p + 3, expected);
}

} // namespace

class GameMemoryTest : public QObject {
    Q_OBJECT

private slots:
    void buildsLayOutTheirLocations_data();
    void buildsLayOutTheirLocations();
    void codeHoldsStockBytes();
    void textBlockAndModuleAppearLate_data();
    void textBlockAndModuleAppearLate();
    void inRaceEntriesNeedPatchesAndTexts();
    void inRaceEntriesSetTheirFlags_data();
    void inRaceEntriesSetTheirFlags();
    void saveDataMenuOffersTheEnabledSlots();
    void ghostsFollowTheirMatrices();
    void ghostsNeedPatchesAndModel();
    void carBodyAndCameraDescribeTheChaseView();
    void textsComeFromGameMemory();
    void keepValueShowsAttached();
    void hookClicksGoToTheWrittenHandle();
    void screenshotShowsGhostAndOverlay();
};

void GameMemoryTest::buildsLayOutTheirLocations_data() {
    QTest::addColumn<int>("build");
    QTest::addColumn<int>("build_byte");
    QTest::addColumn<uint>("race_block");
    QTest::addColumn<uint>("stage_data");
    QTest::addColumn<uint>("menu_base");
    QTest::addColumn<uint>("race_menu_base");
    QTest::addColumn<uint>("car_body");
    QTest::addColumn<uint>("model");
    QTest::addColumn<uint>("reload");
    QTest::newRow("build 1") << 1 << 0x10 << 0x163F2C0u << 0x16387E4u << 0x163F0A8u << 0x163F2A0u
                             << 0x8CECC0u << 0x7C9CD8u << 0x7CA2A0u;
    QTest::newRow("build 2") << 2 << 0x8B << 0x165A520u << 0x1653A44u << 0x165A308u << 0x165A500u
                             << 0x8E9F20u << 0x7E4F38u << 0x7E5508u;
    QTest::newRow("build 3") << 3 << 0xE8 << 0x165FC68u << 0x1659184u << 0x165FA48u << 0x165FC48u
                             << 0x8EF660u << 0x7EA678u << 0x7EAC48u;
    QTest::newRow("build 4") << 4 << 0x00 << 0x1651C68u << 0x164B184u << 0x1651A48u << 0x1651C48u
                             << 0x8E1658u << 0x7EC7B8u << 0x7ECD88u;
}

void GameMemoryTest::buildsLayOutTheirLocations() {
    QFETCH(int, build);
    QFETCH(int, build_byte);
    QFETCH(uint, race_block);
    QFETCH(uint, stage_data);
    QFETCH(uint, menu_base);
    QFETCH(uint, race_menu_base);
    QFETCH(uint, car_body);
    QFETCH(uint, model);
    QFETCH(uint, reload);
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(build));
    game.Tick(0.1);
    QCOMPARE(int(memory->U8(0x4860F5)), build_byte);
    const std::uint32_t rb = memory->U32(race_block);
    QVERIFY(rb != 0);
    QCOMPARE(memory->I32(rb + 0x144), 1); // menus shown
    QCOMPARE(memory->F32(rb + 0x244), 7.0f);
    QVERIFY(memory->U32(stage_data) != 0);
    QVERIFY(memory->U32(race_menu_base) != 0);
    QVERIFY(memory->U32(car_body) != 0);
    QVERIFY(memory->U32(reload) != 0);
    // The front end shows menu 0, found in the manager's table.
    const std::uint32_t b = memory->U32(menu_base);
    QCOMPARE(memory->U32(b + 0x08), memory->U32(b + 0x78));
    const std::uint32_t slot = memory->U32(memory->U32(model) + 0x70) + 0x18;
    memory->SetU32(slot, 7);
    QCOMPARE(game.GetStatus().ghost_model, 7);
    QCOMPARE(game.GetStatus().build, build);
}

void GameMemoryTest::codeHoldsStockBytes() {
    auto memory = sim::NewMemorySpace();
    sim::Game game3(*memory, Build(3));
    QCOMPARE(memory->Bytes(0x576819, 8), sim::HexBytes("F30F118640010000"));
    QVERIFY(memory->Bytes(0x58BD80, 13) != sim::HexBytes("C705000A400001000000C20800"));
    QVERIFY(memory->Bytes(0x482AF2, 6) != sim::HexBytes("0f8581feffff"));
    QVERIFY(game3.GetStatus().patches.empty());
    auto memory4 = sim::NewMemorySpace();
    sim::Game game4(*memory4, Build(4));
    QCOMPARE(memory4->Bytes(0x56CA51, 6), sim::HexBytes("d99e40010000"));
    QVERIFY(game4.GetStatus().patches.empty());
}

void GameMemoryTest::textBlockAndModuleAppearLate_data() {
    QTest::addColumn<int>("build");
    QTest::addColumn<uint>("text_block");
    QTest::addColumn<uint>("engine");
    QTest::newRow("build 3") << 3 << 0x8935D8u << 0x7EA6A8u;
    QTest::newRow("build 4") << 4 << 0x885728u << 0x7EC7E8u;
}

void GameMemoryTest::textBlockAndModuleAppearLate() {
    QFETCH(int, build);
    QFETCH(uint, text_block);
    QFETCH(uint, engine);
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(build));
    for (int i = 0; i < 9; ++i) {
        game.Tick(0.1);
    }
    QCOMPARE(memory->U32(text_block), 0u);
    QVERIFY(memory->U32(engine) != 0);
    QCOMPARE(memory->U32(memory->U32(engine) + 0x14), 0u);
    for (int i = 0; i < 11; ++i) {
        game.Tick(0.1);
    }
    QVERIFY(memory->U32(text_block) != 0);
    QVERIFY(memory->U32(memory->U32(engine) + 0x14) != 0);
}

void GameMemoryTest::inRaceEntriesNeedPatchesAndTexts() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(3));
    TarvexPart tarvex(*memory, game);
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
    memory->SetHex(0x58BD80, "C705000A400001000000C20800");
    memory->SetHex(0x58D940, "C705040A400001000000C20800");
    memory->SetHex(0x58BEE0, "C705080A400001000000C20800");
    QCOMPARE(captions(), QStringList({"Continue", "Respawn"}));
    tarvex.ApplyGamePatches(0);
    QCOMPARE(captions(),
             QStringList({"Continue", "Respawn", "Vote Restart", "Save Data", "Exit To Tarvex"}));
    // The captions are read from the buffers, whatever they hold.
    memory->SetText16(0x7FA040, "Leave");
    QCOMPARE(captions().last(), QString("Leave"));
}

void GameMemoryTest::inRaceEntriesSetTheirFlags_data() {
    QTest::addColumn<int>("downs");
    QTest::addColumn<uint>("flag");
    QTest::newRow("Vote Restart") << 2 << 0x400A00u;
    QTest::newRow("Save Data") << 3 << 0x400A04u;
    QTest::newRow("Exit To Tarvex") << 4 << 0x400A08u;
}

void GameMemoryTest::inRaceEntriesSetTheirFlags() {
    QFETCH(int, downs);
    QFETCH(uint, flag);
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(3));
    TarvexPart tarvex(*memory, game);
    tarvex.ApplyGamePatches(0);
    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.Wait(3);
    tarvex.PressEscape();
    for (int i = 0; i < downs; ++i) {
        game.KeyDown(40);
    }
    tarvex.PressEnter();
    for (uint address : {0x400A00u, 0x400A04u, 0x400A08u}) {
        QCOMPARE(memory->U32(address), address == flag ? 1u : 0u);
    }
    QVERIFY(game.GetStatus().paused); // Tarvex answers; the menu stays until then
}

void GameMemoryTest::saveDataMenuOffersTheEnabledSlots() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(3));
    TarvexPart tarvex(*memory, game);
    tarvex.ApplyGamePatches(0);
    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.Wait(3);
    tarvex.GotoMenu(17, -1, 4, -1, true, true);
    const std::uint32_t menu = memory->U32(memory->U32(0x165FC48) + 0x80 + 4 * 17);
    for (int entry : {4, 8, 9}) {
        memory->SetU32(memory->U32(memory->U32(menu + 0x0C) + 4 * entry) + 0x08, 0);
    }
    tarvex.Wait(0.1);
    QCOMPARE(game.GetStatus().race_menu, 17);
    QVERIFY(game.GetStatus().paused);
    // Slot 6 (entry 5) stays locked; slot 5 (entry 4) saves and closes the menu.
    memory->SetU32(menu + 0x14, 5);
    tarvex.PressEnter();
    QCOMPARE(game.GetStatus().race_menu, 17);
    memory->SetU32(menu + 0x14, 4);
    tarvex.PressEnter();
    QCOMPARE(game.GetStatus().race_menu, -1);
}

void GameMemoryTest::ghostsFollowTheirMatrices() {
    QTemporaryDir folder;
    QDir(folder.path()).mkpath("CARS/GHOST");
    QFile file(folder.filePath("CARS/GHOST/ghostcar.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[ghost]\n");
    file.close();

    // Two games: the remote one drives, the local one shows it as ghost 1.
    auto remote_memory = sim::NewMemorySpace();
    sim::Game remote(*remote_memory, Build(3));
    TarvexPart remote_tarvex(*remote_memory, remote);
    remote_tarvex.setup.stage = 31;
    remote_tarvex.ApplyGamePatches(0);
    QVERIFY(remote_tarvex.DriveMenusToStage());
    remote_tarvex.Wait(9.2);
    remote.KeyDown(38);
    remote_tarvex.Wait(12);

    auto memory = sim::NewMemorySpace();
    sim::Options options = Build(3);
    options.game_folder = folder.path().toStdString();
    sim::Game game(*memory, options);
    TarvexPart tarvex(*memory, game);
    tarvex.ApplyGamePatches(0);
    memory->SetU32(memory->U32(memory->U32(0x7EA678) + 0x70) + 0x18, 5);
    for (int k = 0; k < 13; ++k) {
        const float parked[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -10000, 0, 1};
        tarvex.WriteGhost(k, parked);
    }
    float matrix[16], expected[3];
    GhostMatrixFromBody(*remote_memory, remote_memory->U32(0x8EF660), matrix, expected);
    tarvex.WriteGhost(1, matrix);
    const std::uint32_t g1 =
        memory->U32(
            memory->U32(memory->U32(memory->U32(memory->U32(0x7EA6A8) + 0x18) + 0x258) + 0x98) +
            4) +
        0x40;
    memory->SetF32(g1 + 0x1A0, 35 / 255.0f);
    memory->SetF32(g1 + 0x1A4, 51 / 255.0f);
    memory->SetF32(g1 + 0x1A8, 234 / 255.0f);
    game.Tick(0.1);

    const sim::Status s = game.GetStatus();
    QVERIFY(s.ghosts_loaded);
    QCOMPARE(int(s.ghosts.size()), 1);
    QCOMPARE(s.ghosts[0].index, 1);
    QVERIFY(std::fabs(s.ghosts[0].x - expected[0]) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].y - expected[1]) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].z - expected[2]) < 1e-3f);
    QVERIFY(std::fabs(s.ghosts[0].blue - 234 / 255.0f) < 1e-6f);
    // It is 0.4 ahead of the remote car's body, along the remote road.
    const float dx = expected[0] - remote_memory->F32(remote_memory->U32(0x8EF660) + 0x140);
    const float dy = expected[1] - remote_memory->F32(remote_memory->U32(0x8EF660) + 0x144);
    QVERIFY(std::fabs(std::hypot(dx, dy) - 0.4f) < 1e-3f);
    QVERIFY(std::fabs(std::atan2(dy, dx) - s.ghosts[0].heading) < 1e-3f);
}

void GameMemoryTest::ghostsNeedPatchesAndModel() {
    QTemporaryDir folder;
    QDir(folder.path()).mkpath("CARS/GHOST");
    auto memory = sim::NewMemorySpace();
    sim::Options options = Build(3);
    options.game_folder = folder.path().toStdString();
    sim::Game game(*memory, options);
    TarvexPart tarvex(*memory, game);
    tarvex.ApplyGamePatches(0);
    const float placed[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 2, 6, 1};
    tarvex.WriteGhost(0, placed);
    QVERIFY(!game.GetStatus().ghosts_loaded); // the ghost car file is missing
    QFile file(folder.filePath("CARS/GHOST/GHOSTCAR.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(game.GetStatus().ghosts_loaded);
    QCOMPARE(int(game.GetStatus().ghosts.size()), 1);
    QCOMPARE(game.GetStatus().ghosts[0].z, 2.0f);
    const std::uint32_t slot = memory->U32(memory->U32(0x7EA678) + 0x70) + 0x18;
    memory->SetU32(slot, 0x19999999);
    QVERIFY(game.GetStatus().ghosts.empty());
    memory->SetU32(slot, 3);
    const float low[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, -1000.5f, 6, 1};
    tarvex.WriteGhost(0, low);
    QVERIFY(game.GetStatus().ghosts.empty());
    // Without the module patches the game never loads the ghost car.
    tarvex.WriteGhost(0, placed);
    memory->SetHex(memory->U32(memory->U32(0x7EA6A8) + 0x14) + 0x7F0AB, "8A");
    QVERIFY(!game.GetStatus().ghosts_loaded);
    QVERIFY(game.GetStatus().ghosts.empty());
}

void GameMemoryTest::carBodyAndCameraDescribeTheChaseView() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(4));
    TarvexPart tarvex(*memory, game);
    tarvex.Wait(2);
    // Build 4 has no Tarvex part written here; a player drives the menus by hand.
    for (int i = 0; i < 8; ++i) {
        tarvex.PressEnter();
        tarvex.Wait(1);
        if (game.GetStatus().menu == 12) {
            for (int d = 0; d < 6; ++d) {
                game.KeyDown(40);
                game.KeyUp(40);
            }
        }
    }
    QVERIFY(game.GetStatus().in_stage);
    tarvex.Wait(9.5);
    game.KeyDown(38);
    tarvex.Wait(8);
    const std::uint32_t body = memory->U32(0x8E1658);
    const float before[3] = {memory->F32(body + 0x140), memory->F32(body + 0x144),
                             memory->F32(body + 0x148)};
    game.Tick(0.1);
    const float after[3] = {memory->F32(body + 0x140), memory->F32(body + 0x144),
                            memory->F32(body + 0x148)};
    float q[4];
    for (int i = 0; i < 4; ++i) {
        q[i] = memory->F32(body + 0x100 + 4 * i);
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

    const std::uint32_t rb = memory->U32(0x1651C68);
    const std::uint32_t c = memory->U32(memory->U32(rb + 0x758) + 0x10);
    const float eye[3] = {memory->F32(c + 0xF0), memory->F32(c + 0xF4), memory->F32(c + 0xF8)};
    const float view[3] = {memory->F32(c + 0xD8), memory->F32(c + 0xDC), memory->F32(c + 0xE0)};
    const float to_car[3] = {after[0] - eye[0], after[1] - eye[1], after[2] - eye[2]};
    const float distance =
        std::sqrt(to_car[0] * to_car[0] + to_car[1] * to_car[1] + to_car[2] * to_car[2]);
    QVERIFY(distance > 4.0f && distance < 12.0f);
    QVERIFY(eye[2] > after[2]); // above and behind, looking at the car
    QVERIFY((to_car[0] * view[0] + to_car[1] * view[1] + to_car[2] * view[2]) / distance > 0.95f);
}

void GameMemoryTest::textsComeFromGameMemory() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(3));
    TarvexPart tarvex(*memory, game);
    tarvex.ApplyGamePatches(0);
    const std::uint32_t rb = tarvex.RaceBlock();

    memory->SetU32(rb + 0x060, 0x7F9140);
    memory->SetU32(rb + 0x054, 0x7F9140);
    memory->SetText16(0x7F9140, "Position 1/2\nAnna 40/100");
    QCOMPARE(game.GetStatus().info_text, std::string()); // box time 0: not shown
    memory->SetF32(rb + 0x238, 99.0f);
    QCOMPARE(game.GetStatus().info_text, std::string("Position 1/2\nAnna 40/100"));

    memory->SetF32(rb + 0x2D0, 3.0f);
    memory->SetU32(rb + 0x12C, 0x7FA740);
    memory->SetText16(0x7FA740, "Anna: hi\nBob: go\n\n\n>typing");
    memory->SetU8(rb + 0x138, 1);
    game.Tick(0.1);
    QCOMPARE(game.GetStatus().overlay_text, std::string("Anna: hi\nBob: go\n\n\n>typing"));
    QCOMPARE(memory->U8(rb + 0x138), 0); // taken
    tarvex.Wait(3.0);
    QCOMPARE(game.GetStatus().overlay_text, std::string()); // display time over
    QCOMPARE(game.GetStatus().box[0], 370.0f);
    QCOMPARE(game.GetStatus().box[1], 87.0f);

    memory->SetText16(0x7F9040, "Bob");
    memory->SetU32(rb + 0xB4, 0x7F9040);
    memory->SetF32(0x575430, 200.0f + 1.0f);
    memory->SetF32(0x575435, 300.0f + 5.0f);
    memory->SetF32(rb + 0x168, 0.8f);
    sim::Status s = game.GetStatus();
    QCOMPARE(s.name_tag, std::string("Bob"));
    QCOMPARE(s.tag_y, 200.0f);
    QCOMPARE(s.tag_x, 640.0f - 300.0f - 30.0f);
    QCOMPARE(s.tag_opacity, 0.8f);
    memory->SetF32(0x575430, -480.0f + 1.0f); // the hidden placement
    QCOMPARE(game.GetStatus().name_tag, std::string());
}

void GameMemoryTest::keepValueShowsAttached() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(4));
    TarvexPart tarvex(*memory, game);
    tarvex.Wait(0.5);
    QVERIFY(!game.GetStatus().attached);
    for (int i = 0; i < 10; ++i) {
        memory->SetU32(0x88502C, 2);
        tarvex.Wait(0.5);
        QVERIFY(game.GetStatus().attached);
    }
    tarvex.Wait(2.5);
    QVERIFY(!game.GetStatus().attached);
}

void GameMemoryTest::hookClicksGoToTheWrittenHandle() {
    auto memory = sim::NewMemorySpace();
    sim::Game game(*memory, Build(3));
    std::vector<std::uint32_t> clicks;
    game.SetHookClickHandler([&clicks](std::uint32_t handle) { clicks.push_back(handle); });
    TarvexPart tarvex(*memory, game);
    tarvex.Wait(2);
    QVERIFY(clicks.empty());
    // The call bytes alone still post to the game's own window.
    memory->SetHex(0x493976, "6A006A0068F500000068FC084000FF15e4967200");
    tarvex.Wait(0.5);
    QVERIFY(clicks.empty());
    memory->SetU32(0x493980, 0x04A00007);
    for (int i = 0; i < 5; ++i) {
        game.Tick(0.016);
    }
    QCOMPARE(clicks, std::vector<std::uint32_t>(5, 0x04A00007));
    QCOMPARE(game.GetStatus().hook_clicks, 5);
}

void GameMemoryTest::screenshotShowsGhostAndOverlay() {
    QTemporaryDir folder;
    QDir(folder.path()).mkpath("CARS/GHOST");
    QFile file(folder.filePath("CARS/GHOST/ghostcar.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    auto memory = sim::NewMemorySpace();
    sim::Options options = Build(3);
    options.game_folder = folder.path().toStdString();
    sim::Game game(*memory, options);
    TarvexPart tarvex(*memory, game);
    tarvex.setup.stage = 41;
    tarvex.ApplyGamePatches(0);
    QVERIFY(tarvex.DriveMenusToStage());
    tarvex.Wait(9.2);
    game.KeyDown(38);
    tarvex.Wait(6);
    game.KeyUp(38);
    const std::uint32_t slot = memory->U32(memory->U32(0x7EA678) + 0x70) + 0x18;
    memory->SetU32(slot, 5);
    // A ghost 12 m ahead of the car on the road, red as slot 0.
    const sim::Road& road = game.road();
    const sim::RoadPoint ahead = road.At(game.GetStatus().distance + 12.0f);
    const float c = std::cos(ahead.heading), s = std::sin(ahead.heading);
    const float ghost[16] = {-s,      0, c, 0, c, 0, s, 0, 0, 1, 0, 0, ahead.x, ahead.z + 0.5f,
                             ahead.y, 1};
    tarvex.WriteGhost(0, ghost);
    const std::uint32_t g0 =
        memory->U32(
            memory->U32(memory->U32(memory->U32(memory->U32(0x7EA6A8) + 0x18) + 0x258) + 0x98)) +
        0x40;
    memory->SetF32(g0 + 0x1A0, 234 / 255.0f);
    memory->SetF32(g0 + 0x1A4, 49 / 255.0f);
    memory->SetF32(g0 + 0x1A8, 52 / 255.0f);
    const std::uint32_t rb = tarvex.RaceBlock();
    memory->SetF32(rb + 0x2D0, 8.0f);
    memory->SetU32(rb + 0x12C, 0x7FA740);
    memory->SetText16(0x7FA740, "Anna: see you at the finish\nBob: go go go\n\n\n");
    memory->SetU8(rb + 0x138, 1);
    memory->SetU32(0x892EEC, 2);
    game.Tick(0.05);
    QCOMPARE(int(game.GetStatus().ghosts.size()), 1);

    sim::Renderer renderer;
    const QImage shown = renderer.Render(game);
    memory->SetU32(slot, 0x19999999);
    const QImage hidden = renderer.Render(game);
    // The ghost is drawn in its colour somewhere the hidden frame is not red.
    int red_pixels = 0;
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            const QColor a = shown.pixelColor(x, y), b = hidden.pixelColor(x, y);
            if (a != b && a.red() > 120 && a.green() < 90 && a.blue() < 90) {
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
