#pragma once

class QTextStream;

namespace tarvex {

struct Platform;

// `tarvex --probe-game`: finds the game as the race windows do and prints one line,
// "game: pid=<pid> build=<n> folder=<folder/> foreground=<yes|no>" or "game: none", so a user
// can check that Tarvex sees the game without starting a session. Returns the exit code (0).
int ProbeGame(QTextStream& out, const Platform& platform);

} // namespace tarvex
