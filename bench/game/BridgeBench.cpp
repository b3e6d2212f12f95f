// What preparing a race costs on a real stand-in game (run it under an X server: xvfb-run):
//
// - seconds from starting the game to its car standing on the start line, driven by the
//   patches and MenuTick on its timer; the floor is the same game brought there by the
//   shortest path the game allows (patches, then one jump to the service screen and Enter);
// - the cost of ApplyGamePatches once the game has published what the patches wait for (so no
//   waits), with and without the ghost car; the floor is the same writes as bare pwrite calls
//   on an open /proc/PID/mem.

#include "app/Settings.h"
#include "game/GameBridge.h"
#include "game/GameMap.h"
#include "game/GameProcess.h"
#include "ghost/GhostFiles.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <vector>

using namespace tarvex;
using Steady = std::chrono::steady_clock;

namespace {

double Seconds(Steady::time_point from) {
    return std::chrono::duration<double>(Steady::now() - from).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Runs the event loop until `done` holds; false after `limit` seconds.
bool RunUntil(const std::function<bool()>& done, double limit) {
    const auto start = Steady::now();
    while (!done()) {
        if (Seconds(start) > limit) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
    return true;
}

// Passes every access on, keeping the writes of the last recording for the floor.
class RecordingMemory final : public ProcessMemory {
public:
    explicit RecordingMemory(std::shared_ptr<ProcessMemory> inner)
        : m_inner(std::move(inner)) {}
    struct Recorded {
        std::uint32_t address;
        QByteArray bytes;
    };
    bool recording = false;
    std::vector<Recorded> writes;

    bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) override {
        return m_inner->Read(pid, address, buffer, size);
    }
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override {
        return m_inner->ReadGroup(pid, regions);
    }
    bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
               std::size_t size) override {
        if (recording) {
            writes.push_back(
                {address, QByteArray(static_cast<const char*>(data), qsizetype(size))});
        }
        return m_inner->Write(pid, address, data, size);
    }
    QString ExecutablePath(std::uint32_t pid) override { return m_inner->ExecutablePath(pid); }
    bool Terminate(std::uint32_t pid) override { return m_inner->Terminate(pid); }

private:
    std::shared_ptr<ProcessMemory> m_inner;
};

// One player's Tarvex side and a freshly started game in a folder of its own.
struct Run {
    Run(const Platform& platform, int build)
        : game(platform)
        , ghost(game, stored.settings)
        , bridge(platform, game, stored, is_host, ghost) {
        Settings& s = stored.settings;
        s.ShowGhost = 1;
        s.ClockWhenPaused = 1;
        s.ShowSplits = 1;
        s.BypassProfile = 1;
        stored.race.StageId = 41;
        stored.race.WeatherPresetName = QStringLiteral("41M_crisp_clear");
        QFile::copy(QStringLiteral(DHR_EXECUTABLE),
                    folder.filePath(QStringLiteral("DuneholtRally")));
        process.setWorkingDirectory(folder.path());
        started = Steady::now();
        process.start(folder.filePath(QStringLiteral("DuneholtRally")),
                      {QStringLiteral("--build"), QString::number(build)});
        race_block_location = gamemap::RaceBlockLocation(build);
    }
    ~Run() {
        process.kill();
        process.waitForFinished(5000);
    }
    bool WaitForWindow() {
        return RunUntil([this] { return game.IsGameRunning(); }, 20) &&
               RunUntil(
                   [this] {
                       game.FindGame();
                       return game.IsGameForeground();
                   },
                   20);
    }
    bool AtStartLine() {
        const std::uint32_t block = game.ReadGamePointer(race_block_location);
        return block != 0 && game.ReadGameLong(block + gamemap::kMenuState) == 0 &&
               game.ReadGameSingle(block + 0x244) == 7.0f;
    }

    QTemporaryDir folder;
    QProcess process;
    Steady::time_point started;
    StoredSettings stored;
    bool is_host = true;
    GameProcess game;
    GhostFiles ghost;
    GameBridge bridge;
    std::uint32_t race_block_location = 0;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    Platform platform = Platform::Native();
    auto recorder = std::make_shared<RecordingMemory>(platform.memory);
    platform.memory = recorder;
    const WindowHandle hook = platform.desktop->CreateHookButton([] {});
    if (hook == 0) {
        std::fprintf(stderr, "needs an X server (run under xvfb-run)\n");
        return 1;
    }

    for (int build : {3, 4}) {
        std::vector<double> window, patched, menus, floor;
        for (int round = 0; round < 3; ++round) {
            Run run(platform, build);
            if (!run.WaitForWindow()) {
                std::fprintf(stderr, "the game did not come up\n");
                return 1;
            }
            window.push_back(Seconds(run.started));
            run.bridge.mnuTimer().start();
            run.bridge.ApplyGamePatches(hook);
            patched.push_back(Seconds(run.started));
            if (!RunUntil([&run] { return run.AtStartLine(); }, 60)) {
                std::fprintf(stderr, "the car did not reach the start line\n");
                return 1;
            }
            menus.push_back(Seconds(run.started));
        }
        for (int round = 0; round < 3; ++round) {
            Run run(platform, build);
            run.WaitForWindow();
            run.bridge.ApplyGamePatches(hook);
            run.bridge.WriteRaceSetup();
            run.bridge.GotoMenu(GameBridge::kService, GameBridge::kService, 3, 6, 0, 0, 0, 0, true);
            run.bridge.PressEnter();
            RunUntil([&run] { return run.AtStartLine(); }, 60);
            floor.push_back(Seconds(run.started));
        }
        std::printf("build %d: start to start line under MenuTick   %6.2f s (window %.2f s, "
                    "patched %.2f s)\n",
                    build, Median(menus), Median(window), Median(patched));
        std::printf("build %d: floor, one jump to the service screen %6.2f s   ratio %.2f\n", build,
                    Median(floor), Median(menus) / Median(floor));
    }

    // The patches again and again on a game that has published everything: no waits.
    Run run(platform, 3);
    run.WaitForWindow();
    run.bridge.ApplyGamePatches(hook);
    const std::uint32_t pid = run.game.ProcessId();
    for (bool ghosts : {true, false}) {
        run.stored.settings.GhostsDisabled = ghosts ? 0 : 1;
        recorder->writes.clear();
        recorder->recording = true;
        run.bridge.ApplyGamePatches(hook);
        recorder->recording = false;
        const std::vector<RecordingMemory::Recorded> writes = recorder->writes;
        std::vector<double> full, bare;
        for (int i = 0; i < 31; ++i) {
            const auto start = Steady::now();
            run.bridge.ApplyGamePatches(hook);
            full.push_back(Seconds(start) * 1e6);
        }
        const int fd = ::open(("/proc/" + std::to_string(pid) + "/mem").c_str(), O_WRONLY);
        for (int i = 0; i < 31; ++i) {
            const auto start = Steady::now();
            for (const RecordingMemory::Recorded& w : writes) {
                if (::pwrite(fd, w.bytes.constData(), size_t(w.bytes.size()), off_t(w.address)) <
                    0) {
                    std::perror("pwrite");
                }
            }
            bare.push_back(Seconds(start) * 1e6);
        }
        ::close(fd);
        std::printf("ApplyGamePatches, ghosts %-3s (%3zu writes) %8.0f us   floor (bare pwrite) "
                    "%6.0f us   ratio %.1f\n",
                    ghosts ? "on" : "off", writes.size(), Median(full), Median(bare),
                    Median(full) / Median(bare));
    }
    platform.desktop->DestroyHookButton(hook);
    return 0;
}
