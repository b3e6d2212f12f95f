#include "InProcessGame.h"

#include "GameMemory.h"

#include <QCoreApplication>

namespace tarvex::test {

InProcessGame::InProcessGame(sim::Options options) {
    m_memory = sim::NewMemorySpace();
    options.game_folder = m_folder.Path().toStdString();
    m_game = std::make_unique<sim::Game>(*m_memory, options);
    m_process_memory = std::make_shared<GameMemory>(
        [this](std::uint32_t pid) { return pid == kPid && Running() ? m_memory.get() : nullptr; },
        [this] { return m_folder.File(QStringLiteral("DuneholtRally")); }, [this] { End(); });

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
