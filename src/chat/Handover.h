#pragma once

#include <QString>

namespace tarvex {

class Shell;
class Sound;

// The folder of the game executable: everything before the last path separator, either kind,
// since a path taken from the game's registry entry uses backslashes.
QString FolderPart(const QString& path);

// Opens a link, a document or the game itself, started in the game's folder as the game
// expects.
bool ShellOpen(Shell& shell, const QString& target, const QString& game_path);

// The launch countdown's cues: "TEST" on each count, "GO" when the game starts.
void PlayCue(Sound& sound, bool go);

} // namespace tarvex
