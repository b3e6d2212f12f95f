#pragma once

#include "net/Roster.h"

#include <QString>
#include <array>
#include <functional>

namespace tarvex {

// A fixed-width cell: the text padded with spaces to `width` characters, or cut to them.
QString PadCell(const QString& text, int width);

// What the board needs beyond the roster: the current race's results row and the race flags.
struct BoardInput {
    // Finish time per slot in seconds; 0 or 10000 while the player has not finished.
    std::array<float, RowCount> finish{};
    // Progress per slot in percent, from the same results row.
    std::array<std::uint8_t, RowCount> progress{};
    float stage_length = 0;
    bool start_given = false;
    bool is_host = false;
    // The host has sent its own finish time.
    bool finish_sent = false;
    // Seconds to the race-time text the rest of the program uses.
    std::function<QString(float)> format_time;
};

// The player board drawn in the game while Tab is held: a header, the host's hint line, and one
// line per player, finished players by time first, then the others by progress. Lines are
// joined with a line feed.
QString StandingsBoard(const Roster& roster, const BoardInput& input);

} // namespace tarvex
