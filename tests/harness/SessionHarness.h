#pragma once

#include "TempFolder.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QString>
#include <functional>
#include <memory>
#include <vector>

namespace tarvex {
class ClientFRM;
class ServerFRM;
} // namespace tarvex

namespace tarvex::test {

class GameMachine;

// One copy of Tarvex as a test runs it: a whole context with its own fake platform and its own
// settings folder.
struct Player {
    FakePlatform platform;
    TempFolder folder;
    // The player's game, when the test races (see RaceHarness).
    std::shared_ptr<GameMachine> machine;
    std::unique_ptr<Tarvex> tarvex;

    Tarvex* operator->() { return tarvex.get(); }
    Tarvex& operator*() { return *tarvex; }
};

// A host and its clients in one process, talking over real ENet sockets on the loopback
// address. Every copy shows join and quit lines, so consoles can be compared.
class SessionHarness {
public:
    explicit SessionHarness(QString session_name = QStringLiteral("Harness"));
    ~SessionHarness();

    // Opens the session; false when no port could be opened.
    bool StartHost(const QString& name, int player_limit = 12, const QString& password = {});
    // Connects a new client and waits until the host's welcome has seated it. The player is
    // returned either way; `Welcomed()` on its client side tells whether it got in.
    // `prepare` runs on the new copy before it connects (to open its windows, say).
    Player& Join(const QString& name, const QString& password = {},
                 const std::function<void(Player&)>& prepare = {});
    // The client closes its session; waits until the host has freed its slot.
    bool Leave(Player& player);

    // The race windows as the players have them open; closing one does not delete it. The
    // host's is made ready for the session; a client's opens before it joins, after `prepare`.
    std::unique_ptr<ServerFRM> OpenHostWindow();
    Player& JoinWithWindow(const QString& name, std::unique_ptr<ClientFRM>& window,
                           const std::function<void(Player&)>& prepare = {});

    Player& Host() { return *m_host; }
    const std::vector<std::unique_ptr<Player>>& Clients() const { return m_clients; }

    // Runs for each new copy before its Tarvex is made: a test may put parts of its own into
    // the platform (a game to race with, a real clock).
    std::function<void(Player&, Platform&)> prepare_platform;
    quint16 Port() const { return m_port; }

    // Runs the event loop until `done` holds or `timeout_ms` passes.
    static bool WaitFor(const std::function<bool()>& done, int timeout_ms = 10000);

private:
    std::unique_ptr<Player> NewPlayer(const QString& name);

    QString m_session_name;
    quint16 m_port = 0;
    std::unique_ptr<Player> m_host;
    std::vector<std::unique_ptr<Player>> m_clients;
};

} // namespace tarvex::test
