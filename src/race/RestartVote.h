#pragma once

#include <cstdint>

namespace tarvex {

class Roster;
class ServerSide;
struct SessionFlags;
struct Settings;

// Votes a race of `participants` drivers needs for a restart: a majority, n / 2 + 1 with a
// half rounded to the even neighbour (so five drivers need four votes, seven need four).
std::uint8_t VotesNeeded(int participants);

// The host's count of restart votes in the current race. Every vote received counts once: each
// driver's own program keeps it to one vote per run of the stage.
class RestartVote {
public:
    RestartVote(ServerSide& side, const Roster& roster, const SessionFlags& flags,
                const Settings& settings);

    int Votes() const { return m_votes; }
    void Reset() { m_votes = 0; }

    // Counts the vote of the driver in `slot` and tells everyone how it stands. True when this
    // vote carried the restart; the caller then orders it, before the line announcing it goes
    // out.
    bool DoVote(int slot);
    // The line announcing a carried vote, for after the restart has been ordered.
    void AnnounceRestart(int slot);

private:
    ServerSide& m_side;
    const Roster& m_roster;
    const SessionFlags& m_flags;
    const Settings& m_settings;
    int m_votes = 0;
};

} // namespace tarvex
