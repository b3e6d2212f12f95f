#pragma once

#include "game/GameProcess.h"
#include "ghost/GhostMotion.h"
#include "ghost/NameTag.h"
#include "net/Messages.h"

#include <array>
#include <cstdint>
#include <functional>

namespace tarvex {

class Clock;
class Roster;
struct Settings;

// The other players as ghost cars in the local game, one exchange per copy of Tarvex: the
// local car's pose goes out several times a second as a car state, and the car states of the
// others move up to eleven ghost objects inside the game, with the name of the nearest one in
// front of the camera shown above it.
//
// Entry points, all on the user-interface thread:
//   SendCarState     every game-polling tick while ghosts are enabled and the game runs in
//                    front (before the tick derives its race events);
//   GhostTick        right after SendCarState on that tick, and on every click the patched
//                    game sends to the race window's hook button;
//   ReceiveCarState  for every car state the session delivers (Tarvex connects both sides);
//   ClearGhostsReady when the game is found gone, or the player is refused and the game closed.
// The ghost objects are located by the first car state that arrives once the local player
// drives (Driving or Finished) in a new game run.
class GhostExchange {
public:
    // Hands our car state to the session: the host's side sends it to every player on the
    // stage and the progress to the others, a client's side sends it to the host.
    using Sender = std::function<void(const CarStateMsg&)>;

    GhostExchange(GameProcess& game, const Clock& clock, const Roster& roster,
                  const Settings& settings);

    void SetSender(Sender sender) { m_send = std::move(sender); }
    // While this answers true (Tarvex is closing the game) no car state goes out.
    void SetGameClosing(std::function<bool()> closing) { m_game_closing = std::move(closing); }

    // Samples the local car and sends it with the distance and percentage the game tick
    // reports: the distance driven and the progress percent until the finish has been sent,
    // the stage length and 100 after it. Nothing is sent when the game cannot be read or its
    // pose is not a number.
    void SendCarState(float distance, std::uint8_t percent);
    // Takes in another player's car state; states for our own slot, for no player, with a
    // pose that is not a number, or from a slot beyond the roster change nothing.
    void ReceiveCarState(const CarStateMsg& msg);
    // Advances every racing player's blend and writes the ghosts into the game.
    void GhostTick();

    bool GhostsReady() const { return m_ghosts_ready; }
    void ClearGhostsReady() { m_ghosts_ready = false; }

    // The last car state of a slot (for our own slot, the last one sent) and its motion.
    const CarStateMsg& Record(int slot) const { return m_records[std::size_t(slot)]; }
    const GhostMotion& Motion(int slot) const { return m_motion[std::size_t(slot)]; }
    // Where ghost object k sits in the game, 0 when it was not found.
    std::uint32_t GhostObject(int k) const { return m_objects[std::size_t(k)]; }

    static constexpr int GhostSlots = 12;
    static constexpr int GhostObjects = 13;

private:
    bool IsRacing(int slot) const;
    void InitGhostSlots();
    void WriteGhosts();
    void UpdateNameTag();

    GameProcess& m_game;
    const Clock& m_clock;
    const Roster& m_roster;
    const Settings& m_settings;
    Sender m_send;
    std::function<bool()> m_game_closing;

    std::array<CarStateMsg, GhostSlots> m_records{};
    std::array<GhostMotion, GhostSlots> m_motion{};
    std::array<std::uint32_t, GhostObjects> m_objects{};
    NameTagWriter m_name_tag;
    GameBuild m_build = 0;
    // The build of the game we last sent from; it cannot change while that process runs.
    std::uint32_t m_send_process = 0;
    GameBuild m_send_build = 0;
    bool m_ghosts_ready = false;
    bool m_ticked = false;
    std::uint32_t m_last_tick = 0;
};

} // namespace tarvex
