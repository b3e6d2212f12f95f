#pragma once

#include "TempFolder.h"
#include "XvfbServer.h"
#include "platform/Platform.h"
#include "platform/Shell.h"
#include "platform/fake/FakePlatform.h"

#include <QImage>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <memory>

namespace tarvex {
class Tarvex;
}

namespace tarvex::test {

// The stand-in game as the build made it; empty when it was not built.
QString BuiltGame();

// The native parts of a platform that reach a display and a process: the clock, process memory,
// the desktop and the keyboard hook on `display`. The rest is taken from `base`.
Platform NativeOn(const QString& display, Platform base = {});

// The stand-in game started on a display, from its own folder as working folder, as Tarvex
// starts it. With a status file, the game reports its state there.
class RunningGame {
public:
    RunningGame(const QString& executable, const QString& display, const QStringList& arguments,
                const QString& status_file = {});
    ~RunningGame();
    std::uint32_t Pid() const { return std::uint32_t(m_process.processId()); }
    QProcess& Process() { return m_process; }

private:
    QProcess m_process;
};

// The game's last reported state.
QJsonObject LastStatus(const QString& status_file);

// What an X server shows, as a picture.
QImage Screenshot(const QString& display);

// One player's machine: an X server of its own, a game folder of its own with the stand-in game,
// and a whole copy of Tarvex reaching that game through the native platform. The game starts
// when Tarvex opens its executable, as the launch of a race does; dialogs and sounds stay
// fakes, so the test can read what they were asked.
class Machine : public Shell {
public:
    // `arguments` are the game's own options, as a game folder's configuration gives them.
    Machine(const QString& executable, QStringList arguments);
    ~Machine() override;

    bool Started() const { return tarvex != nullptr; }
    QString Display() const { return m_server.Display(); }
    // The game's last reported state.
    QJsonObject Status() const;
    bool GameRunning() const;

    // A game slow to come up: opened while held, it starts only when released.
    void HoldLaunch() { m_held = true; }
    void ReleaseLaunch();

    // Shell
    bool Open(const QString& target, const QString& working_folder) override;

    FakePlatform fake;
    std::unique_ptr<Tarvex> tarvex;

private:
    void StartGame();

    XvfbServer m_server;
    TempFolder m_game_folder;
    TempFolder m_config;
    QStringList m_arguments;
    bool m_held = false;
    bool m_pending = false;
    std::unique_ptr<RunningGame> m_game;
};

} // namespace tarvex::test
