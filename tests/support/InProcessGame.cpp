#include "InProcessGame.h"

#include <QCoreApplication>

namespace tarvex::test {

namespace {

// The game's address space as another process's memory: only its own pid reaches it, and only
// while the game runs.
class GameMemory final : public ProcessMemory {
public:
    GameMemory(sim::AddressSpace& space, QString executable, std::function<bool()> running,
               std::function<void()> terminate)
        : m_space(space)
        , m_executable(std::move(executable))
        , m_running(std::move(running))
        , m_terminate(std::move(terminate)) {}

    bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) override {
        return Reaches(pid) && m_space.Read(address, buffer, size);
    }
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override {
        for (const MemoryRegion& region : regions) {
            if (!Read(pid, region.address, region.buffer, region.size)) {
                return false;
            }
        }
        return true;
    }
    bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
               std::size_t size) override {
        return Reaches(pid) && m_space.Write(address, data, size);
    }
    QString ExecutablePath(std::uint32_t pid) override {
        return Reaches(pid) ? m_executable : QString();
    }
    bool Terminate(std::uint32_t pid) override {
        if (!Reaches(pid)) {
            return false;
        }
        m_terminate();
        return true;
    }

private:
    bool Reaches(std::uint32_t pid) const { return pid == InProcessGame::kPid && m_running(); }

    sim::AddressSpace& m_space;
    QString m_executable;
    std::function<bool()> m_running;
    std::function<void()> m_terminate;
};

} // namespace

InProcessGame::InProcessGame(sim::Options options) {
    m_memory = sim::NewMemorySpace();
    options.game_folder = m_folder.Path().toStdString();
    m_game = std::make_unique<sim::Game>(*m_memory, options);
    m_process_memory = std::make_shared<GameMemory>(
        *m_memory, m_folder.File(QStringLiteral("DuneholtRally")), [this] { return Running(); },
        [this] { End(); });

    FakeDesktop& desktop = *m_fake.desktop;
    m_window = desktop.AddWindow(QStringLiteral("D3D Window"), kPid);
    desktop.SetForeground(m_window);
    // Simulated keys reach only the focused window.
    desktop.on_key = [this](int key, bool down) {
        if (Running() && m_fake.desktop->ForegroundWindow() == m_window) {
            down ? m_game->KeyDown(key) : m_game->KeyUp(key);
        }
    };
    desktop.on_close = [this](WindowHandle window) {
        if (window == m_window) {
            End();
        }
    };
    m_game->SetHookClickHandler(
        [this](std::uint32_t handle) { m_fake.desktop->ClickHookButton(WindowHandle(handle)); });

    m_frames.setInterval(0);
    connect(&m_frames, &QTimer::timeout, this, &InProcessGame::Frame);
    m_frames.start();
}

InProcessGame::~InProcessGame() = default;

Platform InProcessGame::TarvexPlatform() const {
    Platform platform = m_fake.AsPlatform();
    platform.memory = m_process_memory;
    return platform;
}

void InProcessGame::Frame() {
    m_fake.clock->Advance(kFrameMs);
    if (Running()) {
        m_game->Tick(kFrameMs / 1000.0);
    }
}

void InProcessGame::End() {
    m_fake.desktop->RemoveWindow(m_window);
    m_window = 0;
}

void InProcessGame::Every(std::uint32_t interval_ms, std::function<void()> tick) {
    // A QTimer of its own per tick: Qt never starts a timer's handler again while it runs, so a
    // tick that waits inside lets the frames (another timer) go on, as the real timers do.
    auto timer = std::make_unique<QTimer>();
    timer->setInterval(0);
    auto due = std::make_shared<std::uint32_t>(NowMs() + interval_ms);
    connect(timer.get(), &QTimer::timeout, this, [this, due, interval_ms, tick] {
        if (NowMs() >= *due) {
            *due = NowMs() + interval_ms;
            tick();
        }
    });
    timer->start();
    m_ticks.push_back(std::move(timer));
}

bool InProcessGame::RunUntil(const std::function<bool()>& done, std::uint32_t limit_ms) {
    const std::uint32_t end = NowMs() + limit_ms;
    while (!done()) {
        if (NowMs() >= end) {
            return false;
        }
        QCoreApplication::processEvents();
    }
    return true;
}

} // namespace tarvex::test
