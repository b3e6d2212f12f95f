#pragma once

#include "Game.h"
#include "TempFolder.h"
#include "platform/Platform.h"
#include "platform/fake/FakePlatform.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

namespace tarvex::test {

// The stand-in game running inside the test process, as one player's machine: the game's logic
// on an address space of its own, which Tarvex reaches only through the fake platform (memory
// by process id, the game window, keys to the focused window, hook clicks, closing).
//
// Time is virtual: while the test runs the event loop (RunUntil, or any wait inside Tarvex),
// every pass moves the fake clock on by one frame and runs one game frame, so Tarvex's WaitMs
// and the game advance together, many times faster than real time and the same on every run.
// Tarvex's own QTimers run on real time; a test drives them on virtual time with Every.
class InProcessGame : public QObject {
    Q_OBJECT

public:
    static constexpr std::uint32_t kPid = 4242;
    static constexpr std::uint32_t kFrameMs = 10;

    // Starts the game: its window appears and takes the focus. Its folder (with the executable's
    // path) is a private temporary folder, where it looks for the ghost car files.
    explicit InProcessGame(sim::Options options = {});
    ~InProcessGame() override;

    // The platform Tarvex runs on for this machine.
    Platform TarvexPlatform() const;
    FakePlatform& Fake() { return m_fake; }
    const TempFolder& Folder() const { return m_folder; }

    sim::Game& Game() { return *m_game; }
    sim::AddressSpace& Memory() { return *m_memory; }
    sim::Status Status() const { return m_game->GetStatus(); }
    WindowHandle Window() const { return m_window; }
    bool Running() const { return m_window != 0; }
    // Virtual milliseconds since the game started.
    std::uint32_t NowMs() const { return m_fake.clock->NowMs(); }

    // Runs `tick` every `interval_ms` of virtual time from now on, as a QTimer of that interval
    // would; a tick that is still running (waiting inside) is not started again.
    void Every(std::uint32_t interval_ms, std::function<void()> tick);
    // Runs the event loop (and so the game) until `done` holds or `limit_ms` of virtual time
    // have passed; true when `done` held.
    bool RunUntil(const std::function<bool()>& done, std::uint32_t limit_ms);

private:
    void Frame();
    void End();

    FakePlatform m_fake;
    std::shared_ptr<ProcessMemory> m_process_memory;
    TempFolder m_folder;
    std::unique_ptr<sim::MemoryAddressSpace> m_memory;
    std::unique_ptr<sim::Game> m_game;
    WindowHandle m_window = 0;
    QTimer m_frames;
    std::vector<std::unique_ptr<QTimer>> m_ticks;
};

} // namespace tarvex::test
