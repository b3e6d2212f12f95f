// Ghost cars: what sending our car state and writing eleven ghosts cost against a real process
// holding the game's memory at its real addresses, beside the bare system calls they are made
// of; and how far a ghost is from the remote car it shows, over a whole autopilot stage, at two
// data intervals with and without lost car states.

#include "AddressSpace.h"
#include "BenchSupport.h"
#include "Game.h"
#include "LocalGame.h"
#include "NativeAddressSpace.h"
#include "Pose.h"
#include "TarvexPart.h"
#include "app/Settings.h"
#include "game/GameProcess.h"
#include "ghost/GhostExchange.h"
#include "net/Roster.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/ProcfsProcessMemory.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <signal.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace tarvex;

namespace {

using bench::Measure;

void Report(const char* what, double microseconds, double floor = 0) {
    if (floor > 0) {
        std::printf("%-48s %9.2f us  (%.2fx the floor)\n", what, microseconds,
                    microseconds / floor);
    } else {
        std::printf("%-48s %9.2f us\n", what, microseconds);
    }
}

// The game's memory, laid out by the stand-in game at the real addresses in a process of its
// own, with the car standing somewhere on a slope.
pid_t StartGameMemory() {
    return bench::StartTarget([] {
        // Kept for the life of the process, which ends by being killed.
        auto* memory = new sim::NativeAddressSpace;
        if (!memory->MapRegion(sim::ImageBase, sim::ImageEnd - sim::ImageBase) ||
            !memory->MapRegion(sim::ModuleBase, sim::ModuleSize) ||
            !memory->MapRegion(sim::ArenaBase, sim::ArenaSize)) {
            return false;
        }
        const sim::Game* game = new sim::Game(*memory, sim::Options{});
        const std::uint32_t body = game->CarBodyAddress();
        const float pose[7] = {0.0873f, 0.0f, 0.3f, 0.95f, 812.5f, -233.25f, 41.0f};
        return memory->Write(body + 0x100, pose, 16) && memory->Write(body + 0x140, pose + 4, 12);
    });
}

// Tarvex's side of one machine, with the game found in the given process.
struct Side {
    FakePlatform fake;
    Platform platform;
    std::unique_ptr<GameProcess> game;
    Roster roster;
    Settings settings;
    std::unique_ptr<GhostExchange> ghosts;

    explicit Side(std::shared_ptr<ProcessMemory> memory, std::uint32_t pid) {
        platform = fake.AsPlatform();
        platform.memory = std::move(memory);
        fake.desktop->AddWindow(QStringLiteral("D3D Window"), pid);
        game = std::make_unique<GameProcess>(platform);
        game->FindGame();
        ghosts = std::make_unique<GhostExchange>(*game, *fake.clock, roster, settings);
    }
};

void Costs() {
    const pid_t pid = StartGameMemory();
    if (pid <= 0) {
        std::printf("(cannot lay the game's memory out in a process: costs not measured)\n");
        return;
    }
    auto memory = std::make_shared<ProcfsProcessMemory>();
    Side side(memory, std::uint32_t(pid));
    CarStateMsg last;
    side.ghosts->SetSender([&last](const CarStateMsg& msg) { last = msg; });
    const int calls = 20000;

    // The floor: one bare process_vm_readv of the seven pose singles.
    std::uint32_t body = 0;
    memory->Read(std::uint32_t(pid), 0x8EF660, &body, 4);
    float pose[7];
    iovec local[2] = {{pose, 16}, {pose + 4, 12}};
    iovec remote[2] = {{reinterpret_cast<void*>(std::uintptr_t(body + 0x100)), 16},
                       {reinterpret_cast<void*>(std::uintptr_t(body + 0x140)), 12}};
    const double read_floor =
        Measure(calls, [&] { process_vm_readv(pid, local, 2, remote, 2, 0); });
    Report("floor: process_vm_readv of the pose", read_floor);
    for (std::uint8_t level : {0, 5}) {
        side.settings.Compression = level;
        const double send = Measure(calls, [&] { side.ghosts->SendCarState(400.0f, 7); });
        Report(level == 0 ? "SendCarState, level 0 (2 reads, encode)"
                          : "SendCarState, level 5 (2 reads, encode)",
               send, read_floor);
    }

    // Eleven drivers standing in a row, each shown after four samples.
    side.roster.LocalSlot = 0;
    for (int slot = 0; slot < 12; ++slot) {
        side.roster[slot].Status = std::uint8_t(PlayerStatus::Driving);
        side.roster[slot].Name = QStringLiteral("Driver %1").arg(slot);
    }
    for (int i = 0; i < 4; ++i) {
        for (int slot = 1; slot < 12; ++slot) {
            CarStateMsg msg;
            msg.slot = std::uint8_t(slot);
            msg.sent_at = 100 * i;
            msg.quaternion = {0, 0, 0, 1};
            msg.position = {10.0f * float(slot), float(i), 1};
            side.ghosts->ReceiveCarState(msg);
        }
        side.fake.clock->Advance(100);
    }
    std::vector<std::uint32_t> objects;
    for (int slot = 1; slot < 12; ++slot) {
        objects.push_back(side.ghosts->GhostObject(slot));
    }
    const float rows[4][3] = {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}, {5, 1, 5}};
    const double write_floor = Measure(calls / 11, [&] {
        for (std::uint32_t g : objects) {
            iovec from[4], to[4];
            for (int r = 0; r < 4; ++r) {
                from[r] = {const_cast<float*>(rows[r]), 12};
                to[r] = {reinterpret_cast<void*>(std::uintptr_t(g + 0x10 * std::uint32_t(r))), 12};
            }
            process_vm_writev(pid, from, 4, to, 4, 0);
        }
    });
    Report("floor: 11 x process_vm_writev of 12 singles", write_floor);
    Report("11 ghosts as 132 single writes (one call each)",
           Measure(calls / 132,
                   [&] {
                       for (std::uint32_t g : objects) {
                           for (int r = 0; r < 4; ++r) {
                               for (int c = 0; c < 3; ++c) {
                                   side.game->WriteGameSingle(g + 0x10 * std::uint32_t(r) +
                                                                  4 * std::uint32_t(c),
                                                              rows[r][c]);
                               }
                           }
                       }
                   }),
           write_floor);
    side.settings.ShowNameTag = 0;
    Report("GhostTick writing 11 ghosts",
           Measure(calls / 11,
                   [&] {
                       side.fake.clock->Advance(1);
                       side.ghosts->GhostTick();
                   }),
           write_floor);
    side.settings.ShowNameTag = 1;
    // The camera of a game that is not on a stage sees nothing: the tag stays hidden, so this
    // is the tag's four reads (its writes happen only when a value changes).
    Report("GhostTick writing 11 ghosts, name tag on",
           Measure(calls / 11,
                   [&] {
                       side.fake.clock->Advance(1);
                       side.ghosts->GhostTick();
                   }),
           write_floor);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

struct Error {
    double rms = 0, max = 0;
    int frames = 0;
};

// Anna drives a whole stage under the autopilot; her car states reach Bob's copy at once (no
// transport delay: this is the error of the motion alone) unless they are lost. Each 10 ms
// frame Bob's copy ticks as the game's hook click would make it, and the ghost's position in
// Bob's game is compared with where Anna's car (its ghost point) is at that very moment.
Error Follow(int interval_ms, double loss, int stage) {
    QTemporaryDir folder;
    auto anna_memory = sim::NewMemorySpace();
    sim::Options anna_options;
    anna_options.autopilot = true;
    anna_options.seed = 3;
    sim::Game anna_game(*anna_memory, anna_options);
    simtest::TarvexPart anna_part(*anna_memory, anna_game);
    anna_part.setup.stage = stage;
    anna_part.DriveMenusToStage();

    auto bob_memory = sim::NewMemorySpace();
    sim::Game bob_game(*bob_memory, sim::Options{});
    Side anna(test::SpaceAsProcess(*anna_memory), 1), bob(test::SpaceAsProcess(*bob_memory), 2);
    anna.fake.clock->Set(7000000);
    bob.fake.clock->Set(123456);
    anna.roster.LocalSlot = 0;
    bob.roster.LocalSlot = 1;
    for (Side* side : {&anna, &bob}) {
        side->roster[0].Status = side->roster[1].Status = std::uint8_t(PlayerStatus::Driving);
    }
    std::mt19937 random(11);
    std::bernoulli_distribution lost(loss);
    anna.ghosts->SetSender([&](const CarStateMsg& msg) {
        if (!lost(random)) {
            const QByteArray bytes = Encode(msg);
            WireReader reader(bytes);
            reader.U8();
            bob.ghosts->ReceiveCarState(*CarStateMsg::decode(reader, msg.compression));
        }
    });

    Error error;
    double squares = 0;
    const std::uint32_t race_block = anna_memory->U32(0x165FC68);
    for (int frame = 0; frame < 1000000; ++frame) {
        anna_game.Tick(0.01);
        anna.fake.clock->Advance(10);
        bob.fake.clock->Advance(10);
        const sim::Status s = anna_game.GetStatus();
        if (frame % (interval_ms / 10) == 0) {
            anna.ghosts->SendCarState(s.distance, 0);
        }
        bob.ghosts->GhostTick();
        const bool racing = anna_memory->F32(race_block + 0x140) > 0.0f;
        if (s.finished) {
            break;
        }
        if (!racing || !bob.ghosts->Motion(0).Shown()) {
            continue;
        }
        const std::uint32_t body = anna_game.CarBodyAddress();
        const sim::Quat q{anna_memory->F32(body + 0x100), anna_memory->F32(body + 0x104),
                          anna_memory->F32(body + 0x108), anna_memory->F32(body + 0x10C)};
        const sim::Vec3 car =
            sim::Vec3{anna_memory->F32(body + 0x140), anna_memory->F32(body + 0x144),
                      anna_memory->F32(body + 0x148)} +
            sim::RowsFromQuat(q)[2] * 0.4f;
        const std::uint32_t g = bob.ghosts->GhostObject(0);
        const sim::Vec3 ghost{bob_memory->F32(g + 0x30), bob_memory->F32(g + 0x38),
                              bob_memory->F32(g + 0x34)};
        const sim::Vec3 d = ghost - car;
        const double distance = std::sqrt(double(sim::Dot(d, d)));
        squares += distance * distance;
        error.max = std::max(error.max, distance);
        ++error.frames;
    }
    error.rms = error.frames ? std::sqrt(squares / error.frames) : 0;
    return error;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    Costs();
    const int stage = 23; // Shepherds Shield, 4800 m
    std::printf("\nghost distance from the remote car, whole stage %d under the autopilot, "
                "10 ms frames, no transport delay:\n",
                stage);
    for (int interval : {150, 50}) {
        for (double loss : {0.0, 0.1}) {
            const Error e = Follow(interval, loss, stage);
            std::printf("  interval %3d ms, %2.0f %% lost: RMS %.3f m, max %.3f m over %d frames\n",
                        interval, loss * 100, e.rms, e.max, e.frames);
        }
    }
    return 0;
}
