#pragma once

#include "Game.h"
#include "platform/ProcessMemory.h"
#include "platform/Shell.h"
#include "platform/fake/FakeDesktop.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>

namespace tarvex::test {

// One player's machine in an in-process race: the stand-in game's logic on an address space of
// its own, which that player's Tarvex reaches only through its platform, as it would reach the
// real game: the game window on the player's desktop, the game's memory behind ProcessMemory,
// and the game started by opening its executable through the shell. Keys sent while the game
// window is in front reach the game; its hook clicks reach the button they are addressed to.
class GameMachine : public QObject, public Shell {
    Q_OBJECT

public:
    // `game_folder` is laid out as an installed game (physics archive, CARS); the executable
    // Tarvex opens is "DuneholtRally" in it.
    GameMachine(std::shared_ptr<FakeDesktop> desktop, std::uint32_t first_pid, QString game_folder,
                sim::Options options);
    ~GameMachine() override;

    QString GamePath() const;
    sim::Options& options() { return m_options; }
    // Game seconds per real second: a race runs faster than real time, Tarvex's own timers not.
    void SetTimeScale(double scale) { m_scale = scale; }
    double TimeScale() const { return m_scale; }
    // Milliseconds between frames (20 unless set).
    void SetFrameInterval(int ms) { m_frames.setInterval(ms); }

    bool Running() const { return m_game != nullptr; }
    sim::Game* game() const { return m_game.get(); }
    sim::AddressSpace* memory() const { return m_memory.get(); }
    std::uint32_t Pid() const { return m_pid; }
    WindowHandle Window() const { return m_window; }
    int Launches() const { return m_launches; }

    // Starts the game as its executable would; the player can also start it by hand.
    void StartGame();
    // The game goes away without being asked, as after a crash.
    void Crash();

    // Runs after every frame of a running game.
    std::function<void(GameMachine&)> after_frame;

    // The game's memory as Tarvex reaches it, by the process id of the game run.
    std::shared_ptr<ProcessMemory> ProcessMemoryOf() const { return m_process_memory; }

    // Shell
    bool Open(const QString& target, const QString& working_folder) override;

private:
    void Frame();
    void EndGame();

    std::shared_ptr<FakeDesktop> m_desktop;
    QString m_folder;
    sim::Options m_options;
    std::unique_ptr<sim::AddressSpace> m_memory;
    std::shared_ptr<ProcessMemory> m_process_memory;
    std::unique_ptr<sim::Game> m_game;
    std::uint32_t m_next_pid;
    std::uint32_t m_pid = 0;
    WindowHandle m_window = 0;
    int m_launches = 0;
    double m_scale = 1.0;
    QTimer m_frames;
    QElapsedTimer m_since_frame;
};

// Lays out a game folder as the installer leaves it: the physics archive and the car folders.
void LayOutGameFolder(const QString& folder);

} // namespace tarvex::test
