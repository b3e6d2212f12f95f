#pragma once

#include <QString>
#include <optional>
#include <utility>

namespace tarvex {

class Shell;
class Sound;

// The folder of the game executable: everything before the last path separator, either kind,
// since a path taken from the game's registry entry uses backslashes.
QString FolderPart(const QString& path);

// Opens a link, a document or the game itself, started in the game's folder as the game
// expects.
bool ShellOpen(Shell& shell, const QString& target, const QString& game_path);

// What a double-click on a console word opens: a word that starts with "www" or "http" in any
// letter case, with its spaces taken out; nothing for any other word.
std::optional<QString> LinkTarget(const QString& word);
// The word a double-click at `position` picks in a line: the run of non-blank characters around
// it, so that a whole address is one word however many dots, colons and slashes it holds.
// Returns the start and the length; length 0 on a blank.
std::pair<qsizetype, qsizetype> WordAt(const QString& line, qsizetype position);

// The launch countdown's cues: "TEST" on each count, "GO" when the game starts.
void PlayCue(Sound& sound, bool go);

} // namespace tarvex
