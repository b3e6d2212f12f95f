#pragma once

#include "GameMachine.h"
#include "SessionHarness.h"

#include <QString>
#include <vector>

namespace tarvex::test {

// How one driver's game drives under its autopilot.
struct Driver {
    QString name;
    double pace = 1.0;
    std::uint32_t seed = 1;
    bool false_start = false;
    // Chooses "Vote Restart" in the game's menu after the finish.
    bool vote = false;
};

// A host and its clients in one process, each with a stand-in game on a machine of its own,
// racing over loopback. Games run at `time_scale` game seconds per real second, so a stage is
// driven in a few seconds while Tarvex's own timers keep their real intervals.
class RaceHarness {
public:
    explicit RaceHarness(double time_scale = 3.0);

    // Hosts with the short "Rally Yard" stage chosen; false when no port could be opened.
    bool StartHost(const Driver& driver, int player_limit = 12);
    Player& Join(const Driver& driver);

    Player& Host() { return session.Host(); }
    // The host first, then the clients in joining order.
    std::vector<Player*> Everyone();

    // Ticks the Ready box of each player, and waits until the host sees them Ready.
    bool AllReady(const std::vector<Player*>& players);
    // Presses "Start" on the host.
    void Start();

    // Until the host has given the start signal; until every listed player has finished.
    bool WaitForStart(int timeout_ms = 60000);
    bool WaitForFinish(const std::vector<Player*>& players, int timeout_ms = 120000);

    // Whether this player's game drives its menus to the start line on its own.
    void SetMenusDriven(Player& player, bool driven);

    SessionHarness session;

private:
    void PreparePlatform(Player& player, Platform& platform);
    void WireGame(Player& player);

    double m_time_scale;
    std::uint32_t m_next_pid = 5000;
    Driver m_pending;
};

} // namespace tarvex::test
