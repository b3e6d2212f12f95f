#pragma once

#include <QString>

namespace tarvex {

class Shell;

// Starts the game as a user double-clicking it would: the executable opened through the shell,
// detached, with its own folder as working folder (the game finds its data and its
// DuneholtRally.cfg there). False when there is no path or the shell refuses.
bool OpenGameExecutable(Shell& shell, const QString& game_path);

} // namespace tarvex
