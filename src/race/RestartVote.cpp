#include "race/RestartVote.h"

#include "app/Settings.h"
#include "net/ServerSide.h"
#include "net/SessionFlags.h"

#include <cmath>

namespace tarvex {

namespace {

// The slot host-made lines carry when they speak for nobody.
constexpr std::uint8_t kNobody = 12;

} // namespace

std::uint8_t VotesNeeded(int participants) {
    // Alone on the stage, a driver's own vote is enough.
    if (participants <= 1) {
        return 1;
    }
    return std::uint8_t(std::nearbyint(double(participants) / 2.0 + 1.0));
}

RestartVote::RestartVote(ServerSide& side, const Roster& roster, const SessionFlags& flags,
                         const Settings& settings)
    : m_side(side)
    , m_roster(roster)
    , m_flags(flags)
    , m_settings(settings) {}

bool RestartVote::DoVote(int slot) {
    if (slot < 0 || slot > 11) {
        return false;
    }
    if (m_settings.VoteAllowed == 0) {
        // Only the voter hears of it: the others did nothing.
        m_side.SendChatTo(slot, kNobody,
                          QStringLiteral("/me Vote restart has been disabled on this server."));
        return false;
    }
    ++m_votes;
    const int participants = m_flags.ParticipantCount;
    const int needed = VotesNeeded(participants);
    if (participants == 1 || m_votes >= needed) {
        return true;
    }
    m_side.SendChatLine(std::uint8_t(slot), QStringLiteral("/me voted to restart (") +
                                                QString::number(needed - m_votes) +
                                                QStringLiteral(" needed)"));
    return false;
}

void RestartVote::AnnounceRestart(int slot) {
    m_side.SendChatLine(kNobody,
                        QStringLiteral("/me Stage restarts in 5 seconds.  Final vote by: ") +
                            m_roster[slot].Name);
}

} // namespace tarvex
