// DuneholtRally: the stand-in rally game. A separate process with a real X11 window and its
// memory at the real game's addresses, reached by Tarvex only from outside.

#include "Game.h"
#include "LaunchOptions.h"
#include "Layout.h"
#include "NativeAddressSpace.h"
#include "Renderer.h"
#include "X11Window.h"

#include <QGuiApplication>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

std::string ExecutableFolder() {
    std::error_code error;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : exe.parent_path().string();
}

// Milliseconds of CLOCK_MONOTONIC: the one clock that every game on a machine shares, so that
// status lines of several games can be laid side by side (how far apart did they start?).
long long MonotonicMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool ScreenshotDue(const sim::LaunchOptions& options, const sim::Game& game, long frames) {
    if (options.screenshot_race_time <= 0) {
        return frames == options.screenshot_frames;
    }
    const sim::Status status = game.GetStatus();
    // A ghost with its name above it stands in front of the camera; a driver who leads all
    // the way gets the picture at the finish instead.
    return status.race_time >= options.screenshot_race_time &&
           (!status.name_tag.empty() || status.finished);
}

double Since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The intro video: its own process and window, as the real game's video player is, so that
// a program waiting for the game window can find it and end it.
int RunVideoPlayer(double seconds) {
    sim::X11Window window;
    if (!window.Open("DHRVideoPlayer", "DHRVideoPlayerDS", "Duneholt Rally Intro", 640, 480)) {
        std::fprintf(stderr, "DuneholtRally: cannot open the display\n");
        return 1;
    }
    const auto start = Clock::now();
    while (Since(start) < seconds) {
        if (!window.ProcessEvents({})) {
            return 0;
        }
        window.FillProgress(std::min(1.0, Since(start) / std::max(0.001, seconds)));
        ::poll(nullptr, 0, 50);
    }
    return 0;
}

bool ShowIntro(double seconds) {
    const pid_t child = ::fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        const std::string value = std::to_string(seconds);
        const char* args[] = {"DuneholtRally", "--video-player", value.c_str(), nullptr};
        ::execv("/proc/self/exe", const_cast<char* const*>(args));
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return true;
}

bool MapMemory(sim::NativeAddressSpace& memory) {
    if (!memory.MapRegion(sim::ImageBase, sim::ImageEnd - sim::ImageBase) ||
        !memory.MapRegion(sim::ModuleBase, sim::ModuleSize) ||
        !memory.MapRegion(sim::ArenaBase, sim::ArenaSize)) {
        std::fprintf(stderr, "DuneholtRally: cannot map the game image at its address: %s\n",
                     std::strerror(errno));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 2 && args[0] == "--video-player") {
        return RunVideoPlayer(std::atof(args[1].c_str()));
    }
    const std::string folder = ExecutableFolder();
    sim::LaunchOptions options =
        sim::ParseLaunchOptions(sim::ReadConfigFile(folder + "/DuneholtRally.cfg"), args);
    for (const std::string& error : options.errors) {
        std::fprintf(stderr, "DuneholtRally: %s\n", error.c_str());
    }
    if (!options.errors.empty()) {
        return 2;
    }
    options.game.game_folder = folder;

    // Debuggers and trainers of the same user may attach, as on the game's home platform.
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0);
    ::signal(SIGPIPE, SIG_IGN);

    if (options.intro_seconds > 0) {
        ShowIntro(options.intro_seconds);
    }

    // Fonts for drawing; the window itself is plain X11.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int qt_argc = 1;
    char* qt_argv[] = {argv[0], nullptr};
    QGuiApplication app(qt_argc, qt_argv);

    sim::NativeAddressSpace memory;
    if (!MapMemory(memory)) {
        return 1;
    }
    sim::Game game(memory, options.game);
    if (!memory.ProtectCode(sim::ImageBase, sim::ImageCodeEnd - sim::ImageBase) ||
        !memory.ProtectCode(sim::ModuleBase, sim::ModuleSize)) {
        std::fprintf(stderr, "DuneholtRally: cannot protect the code pages\n");
        return 1;
    }

    sim::X11Window window;
    if (!window.Open("DuneholtRally", "D3D Window", "Duneholt Rally", sim::Renderer::Width,
                     sim::Renderer::Height)) {
        std::fprintf(stderr, "DuneholtRally: cannot open the display\n");
        return 1;
    }
    game.SetHookClickHandler([&window](std::uint32_t handle) { window.SendClick(handle); });

    FILE* status = nullptr;
    // Appended: Tarvex starts the game afresh for every race, and one file then tells the
    // whole session.
    if (!options.status_file.empty()) {
        status = std::fopen(options.status_file.c_str(), "a");
    }
    std::string last_status;
    sim::Renderer renderer;
    const double frame = 1.0 / options.fps;
    auto previous = Clock::now();
    long frames = 0;
    bool screenshot_taken = false;
    for (;;) {
        const bool open = window.ProcessEvents([&game](int key, bool down) {
            if (down) {
                game.KeyDown(key);
            } else {
                game.KeyUp(key);
            }
        });
        if (!open) {
            break;
        }
        const auto now = Clock::now();
        const double dt = std::min(0.25, std::chrono::duration<double>(now - previous).count());
        previous = now;
        game.Tick(dt);
        const QImage image = renderer.Render(game);
        window.Show(image);
        ++frames;
        if (status) {
            const std::string line = game.StatusJson();
            if (line != last_status) {
                last_status = line;
                std::fprintf(status, "{\"t\":%lld,%s\n", MonotonicMilliseconds(), line.c_str() + 1);
                std::fflush(status);
            }
        }
        if (!options.screenshot_file.empty() && !screenshot_taken &&
            ScreenshotDue(options, game, frames)) {
            image.save(QString::fromStdString(options.screenshot_file), "PNG");
            screenshot_taken = true;
        }
        if (options.frames > 0 && frames >= options.frames) {
            break;
        }
        const double spent = Since(now);
        pollfd fd = {window.Fd(), POLLIN, 0};
        ::poll(&fd, 1, int(std::max(0.0, frame - spent) * 1000.0));
    }
    if (status) {
        std::fclose(status);
    }
    return 0;
}
