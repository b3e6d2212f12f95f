#pragma once

#include <QString>
#include <QStringList>

class QTextStream;

namespace tarvex {

class Dialogs;
class GameProcess;

// What the physics check needs of the race window when a check fails.
class FairPlayWindow {
public:
    virtual ~FairPlayWindow() = default;
    // Unticks the Ready box as a click would, so the window reports the player's new status.
    virtual void UntickReady() = 0;
};

// Checks a game folder (ending in a separator or not) for stock physics: physics.dhz must be
// there with every member's recorded CRC-32 stock, and no loose "physics" file or folder may
// sit beside the executable (the game would read it instead of the archive). Returns the
// reason's lines, empty when the folder passes. Names are matched ignoring case, as the game
// finds its files under Wine.
QStringList PhysicsArchiveProblem(const QString& game_folder);

// The message box text for a failed check: the notice, an empty line, "ERROR:", the reason;
// CR LF between lines.
QString PhysicsFailureMessage(const QStringList& reason);

// The check of a game run, while the host demands stock physics. On a failure it ends the game,
// unticks Ready through the window, lets the pending events run and shows why. True when the
// game may go on (also when the check is off).
bool CheckPhysicsArchive(bool cheat_protection, GameProcess& game, Dialogs& dialogs,
                         FairPlayWindow& window);

// `tarvex --check-game-files FOLDER`: the same check on a folder, for a host to tell a player
// what is wrong before a race. Prints "game files: ok" or the reason's lines; returns the exit
// code (0 ok, 1 failed).
int CheckGameFiles(QTextStream& out, const QString& game_folder);

} // namespace tarvex
