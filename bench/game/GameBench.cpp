// Costs of the game bridge's accesses against a real process and a real X server: one grouped
// read of the car pose's seven values, single reads, writes (data and code pages, a write
// against a bare pwrite on a descriptor kept open) and the game window lookup. Run it under an X
// server (xvfb-run) to include the lookup.

#include "BenchSupport.h"
#include "game/GameProcess.h"
#include "platform/Platform.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDesktop.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

using namespace tarvex;

namespace {

constexpr std::uint32_t kBase = 0x3B000000;
constexpr std::uint32_t kCode = kBase + 0x1000;
constexpr std::uint32_t kBody = kBase + 0x200;

// A process with a data page and a read+execute page at the game's kind of addresses.
pid_t StartTarget() {
    return bench::StartTarget([] {
        void* page =
            mmap(reinterpret_cast<void*>(std::uintptr_t(kBase)), 0x2000, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        return page != MAP_FAILED &&
               mprotect(static_cast<char*>(page) + 0x1000, 0x1000, PROT_READ | PROT_EXEC) == 0;
    });
}

using bench::Measure;

void Report(const char* what, double microseconds) {
    std::printf("%-44s %9.2f us\n", what, microseconds);
}

// A stand-in for the game's window, among some decoys as a real desktop would hold.
struct Windows {
    xcb_connection_t* xcb = nullptr;
    explicit Windows(pid_t pid) {
        xcb = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(xcb)) {
            xcb_disconnect(xcb);
            xcb = nullptr;
            return;
        }
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data->root;
        xcb_intern_atom_reply_t* atom =
            xcb_intern_atom_reply(xcb, xcb_intern_atom(xcb, 0, 11, "_NET_WM_PID"), nullptr);
        for (int i = 0; i <= 40; ++i) {
            const xcb_window_t window = xcb_generate_id(xcb);
            xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, root, 0, 0, 10, 10, 0,
                              XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
            const QByteArray name =
                i == 40 ? QByteArray("game\0D3D Window\0", 16) : QByteArray("decoy\0Decoy\0", 12);
            xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                                XCB_ATOM_STRING, 8, uint32_t(name.size()), name.constData());
            const std::uint32_t value = std::uint32_t(pid);
            xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, atom->atom, XCB_ATOM_CARDINAL,
                                32, 1, &value);
        }
        std::free(atom);
        std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    }
    ~Windows() {
        if (xcb) {
            xcb_disconnect(xcb);
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const pid_t pid = StartTarget();
    if (pid <= 0) {
        std::fprintf(stderr, "cannot start the target process\n");
        return 1;
    }
    Platform platform = Platform::Native();
    Windows windows(pid);
    GameProcess game(platform);
    game.FindGame();
    if (game.ProcessId() != std::uint32_t(pid)) {
        std::printf("(no X server: the lookup is not measured, memory goes to the target)\n");
    }

    // Without a window the game record has no pid; give the memory benchmarks one directly.
    struct Direct {
        std::shared_ptr<ProcessMemory> memory;
        std::uint32_t pid;
    } direct{platform.memory, std::uint32_t(pid)};

    const int calls = 20000;
    float sink = 0;
    if (game.ProcessId() == std::uint32_t(pid)) {
        Report("FindGame (game window seen before)", Measure(500, [&] { game.FindGame(); }));
        // A class no window has: after the first walk of the 41 top-level windows, the answer
        // stands until a window appears, and the server is not asked again.
        Report("lookup of a class no window has", Measure(500, [&] {
                   sink += float(platform.desktop->FindWindowByClass(QStringLiteral("None")));
               }));
        Report("IsGameForeground", Measure(2000, [&] { sink += game.IsGameForeground(); }));
        Report("ReadGameSingle", Measure(calls, [&] { sink += game.ReadGameSingle(kBody); }));
        Report("ReadCarPose (7 values, one call)",
               Measure(calls, [&] { sink += game.ReadCarPose(kBody)[6]; }));
        Report("7 x ReadGameSingle", Measure(calls / 7, [&] {
                   for (int i = 0; i < 7; ++i) {
                       sink += game.ReadGameSingle(kBody + 4 * i);
                   }
               }));
        // The floor for a write: pwrite on a /proc/PID/mem descriptor opened once.
        const int mem = open(QByteArray("/proc/" + QByteArray::number(pid) + "/mem").constData(),
                             O_WRONLY | O_CLOEXEC);
        const std::int32_t two = 2;
        const double floor = Measure(
            calls, [&] { sink += float(pwrite(mem, &two, sizeof two, off_t(kBase + 0x10))); });
        close(mem);
        const double ours = Measure(calls, [&] { game.WriteGameLong(kBase + 0x10, 2); });
        Report("pwrite, descriptor kept (floor)", floor);
        Report("WriteGameLong (data page)", ours);
        std::printf("%-44s %9.2fx\n", "  WriteGameLong / floor", ours / floor);
        Report("WriteGameHex 8 bytes (code page)", Measure(calls, [&] {
                   game.WriteGameHex(kCode, QStringLiteral("F30F118640010000"));
               }));
    } else {
        std::uint32_t value = 0;
        Report("Read 4 bytes",
               Measure(calls, [&] { direct.memory->Read(direct.pid, kBody, &value, 4); }));
        Report("Write 4 bytes (data page)",
               Measure(calls, [&] { direct.memory->Write(direct.pid, kBase + 0x10, &value, 4); }));
    }
    std::printf("(checksum %g)\n", double(sink));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    return 0;
}
