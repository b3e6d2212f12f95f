#include "fairplay/PhysicsCheck.h"

#include "fairplay/PhysicsArchive.h"
#include "game/GameProcess.h"
#include "platform/Dialogs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

namespace tarvex {

namespace {

const QString kArchiveName = QStringLiteral("physics.dhz");
const QString kLooseName = QStringLiteral("physics");

// The entry of `folder` with `name` ignoring case: the exact name when it exists, else the
// first that matches; empty when there is none.
QString FindEntry(const QString& folder, const QString& name) {
    const QDir dir(folder);
    if (dir.exists(name)) {
        return dir.filePath(name);
    }
    const QStringList entries =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0) {
            return dir.filePath(entry);
        }
    }
    return {};
}

} // namespace

QStringList PhysicsArchiveProblem(const QString& game_folder) {
    QString folder = game_folder;
    // A folder that cannot be told leaves only the root, where no archive is found.
    if (!folder.endsWith(u'/') && !folder.endsWith(u'\\')) {
        folder += u'/';
    }
    const QString archive = FindEntry(folder, kArchiveName);
    if (archive.isEmpty() || !QFileInfo(archive).isFile()) {
        return {QStringLiteral("Tarvex cannot obtain the EXE path from the Process ID"),
                QStringLiteral("or your 'Physics.dhz' file is missing.")};
    }
    const QString modified = FindModifiedMember(archive);
    if (!modified.isEmpty()) {
        return {QStringLiteral("The file '") + modified + QStringLiteral("' in 'Physics.dhz'"),
                QStringLiteral("appears to be modified, this is not allowed.")};
    }
    if (!FindEntry(folder, kLooseName).isEmpty()) {
        return {QStringLiteral("There appears to be a 'Physics' folder in your Duneholt Rally "
                               "root folder, this is not allowed.")};
    }
    return {};
}

QString PhysicsFailureMessage(const QStringList& reason) {
    const QStringList lines =
        QStringList{QStringLiteral("This Server has enabled cheat protection."), QString(),
                    QStringLiteral("ERROR:")} +
        reason;
    return lines.join(QStringLiteral("\r\n"));
}

bool CheckPhysicsArchive(bool cheat_protection, GameProcess& game, Dialogs& dialogs,
                         FairPlayWindow& window) {
    if (!cheat_protection) {
        return true;
    }
    const QStringList reason = PhysicsArchiveProblem(game.GetGameExePath());
    if (reason.isEmpty()) {
        return true;
    }
    game.TerminateWindowProcess(game.Window());
    window.UntickReady();
    // The status change goes out before the box holds the window up.
    QCoreApplication::processEvents();
    dialogs.MessageBox(QStringLiteral("Tarvex"), PhysicsFailureMessage(reason),
                       Dialogs::Icon::None);
    return false;
}

int CheckGameFiles(QTextStream& out, const QString& game_folder) {
    const QStringList reason = PhysicsArchiveProblem(game_folder);
    if (reason.isEmpty()) {
        out << "game files: ok\n";
        return 0;
    }
    for (const QString& line : reason) {
        out << line << '\n';
    }
    return 1;
}

} // namespace tarvex
