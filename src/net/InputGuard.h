#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace tarvex {

// What the host lets each client send it. Every kind of message has a budget that refills at
// a steady rate up to a burst; a message that finds its budget spent is dropped before any
// work is done for it. The budgets lie far above what a player does (quick messages mashed,
// car states at a 50 ms data interval) and far below what a flood needs to hurt the session.
// A client that keeps having messages dropped, for being over budget or for being broken, for
// several seconds in a row is not one of ours: the host removes it.
class InputGuard {
public:
    enum class Kind { Chat, CarState, Other };
    // Seconds in a row with dropped messages after which a client is removed.
    static constexpr int StrikeSeconds = 3;

    // A second's account of one client's dropped messages.
    struct Report {
        int slot = 0;
        int over_budget = 0;
        int broken = 0;
        bool remove = false;
    };

    static Kind KindOf(std::uint8_t type);

    // A new player in the slot starts with full budgets and a clean record.
    void Reset(int slot);
    // True when the message may be handled; false when it is dropped (and counted).
    bool Admit(int slot, Kind kind, std::int64_t now_ms, int data_interval_ms);
    // A message that was handled and found broken, or that spoke for another slot.
    void CountBroken(int slot);
    // Clients already being removed: everything they still send is ignored uncounted.
    bool Removed(int slot) const { return m_clients[std::size_t(slot)].removed; }
    void MarkRemoved(int slot) { m_clients[std::size_t(slot)].removed = true; }

    // Ends the current second: one report per client that had messages dropped in it.
    std::vector<Report> CloseSecond();
    // True while a client has dropped messages or strikes left to watch.
    bool Watching() const;

private:
    struct Budget {
        double tokens = 0;
        std::int64_t refilled_at_ms = -1; // never used: full
    };
    struct Client {
        std::array<Budget, 3> budgets;
        int over_budget = 0;
        int broken = 0;
        int strikes = 0;
        bool removed = false;
    };

    std::array<Client, 13> m_clients;
};

} // namespace tarvex
