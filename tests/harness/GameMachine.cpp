#include "GameMachine.h"

#include "GameMemory.h"
#include "PhysicsArchive.h"

#include <QDir>
#include <QFile>
#include <algorithm>

namespace tarvex::test {

namespace {

// A frame every 20 ms: finer than Tarvex's polling, as a real game's frames are.
constexpr int kFrameMs = 20;

} // namespace

GameMachine::GameMachine(std::shared_ptr<FakeDesktop> desktop, std::uint32_t first_pid,
                         QString game_folder, sim::Options options)
    : m_desktop(std::move(desktop))
    , m_folder(std::move(game_folder))
    , m_options(std::move(options))
    , m_process_memory(std::make_shared<GameMemory>(
          [this](std::uint32_t pid) { return m_game && pid == m_pid ? m_memory.get() : nullptr; },
          [this] { return GamePath(); }, [this] { EndGame(); }))
    , m_next_pid(first_pid) {
    m_frames.setInterval(kFrameMs);
    m_frames.setTimerType(Qt::PreciseTimer);
    connect(&m_frames, &QTimer::timeout, this, &GameMachine::Frame);
    m_desktop->on_key = [this](int key, bool down) {
        if (m_game && m_desktop->ForegroundWindow() == m_window) {
            down ? m_game->KeyDown(key) : m_game->KeyUp(key);
        }
    };
    // Asked to close, the game closes at the end of its frame.
    m_desktop->on_close = [this](WindowHandle window) {
        if (window == m_window && m_window != 0) {
            QMetaObject::invokeMethod(this, &GameMachine::EndGame, Qt::QueuedConnection);
        }
    };
}

GameMachine::~GameMachine() {
    m_desktop->on_key = nullptr;
    m_desktop->on_close = nullptr;
}

QString GameMachine::GamePath() const {
    return QDir(m_folder).filePath(QStringLiteral("DuneholtRally"));
}

void GameMachine::StartGame() {
    if (m_game) {
        return;
    }
    m_options.game_folder = m_folder.toStdString();
    m_memory = sim::NewMemorySpace();
    m_game = std::make_unique<sim::Game>(*m_memory, m_options);
    m_pid = m_next_pid++;
    ++m_launches;
    m_game->SetHookClickHandler(
        [this](std::uint32_t handle) { m_desktop->ClickHookButton(WindowHandle(handle)); });
    m_window = m_desktop->AddWindow(QStringLiteral("D3D Window"), m_pid);
    // The game takes the keyboard when its window comes up.
    m_desktop->SetForeground(m_window);
    m_since_frame.start();
    m_frames.start();
}

void GameMachine::Crash() {
    EndGame();
}

void GameMachine::EndGame() {
    m_frames.stop();
    if (m_window != 0) {
        m_desktop->RemoveWindow(m_window);
    }
    m_window = 0;
    m_pid = 0;
    m_game.reset();
    m_memory.reset();
}

void GameMachine::Frame() {
    if (!m_game) {
        return;
    }
    const double seconds = std::min(0.25, m_since_frame.restart() / 1000.0) * m_scale;
    m_game->Tick(seconds);
    if (m_game && after_frame) {
        after_frame(*this);
    }
}

bool GameMachine::Open(const QString& target, const QString&) {
    if (QDir::cleanPath(target) != QDir::cleanPath(GamePath())) {
        return false;
    }
    StartGame();
    return true;
}

void LayOutGameFolder(const QString& folder) {
    QDir dir(folder);
    dir.mkpath(QStringLiteral("CARS"));
    QFile archive(dir.filePath(QStringLiteral("physics.dhz")));
    if (archive.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        const std::string bytes = sim::BuildPhysicsArchive();
        archive.write(bytes.data(), qint64(bytes.size()));
    }
    for (const char* car :
         {"XSARA", "ACCENT", "MGZR", "LANCER", "P206", "IMPREZA00", "IMPREZA03", "COROLLA"}) {
        dir.mkpath(QStringLiteral("CARS/") + QLatin1String(car));
    }
}

} // namespace tarvex::test
