#include "chat/Handover.h"

#include "platform/Shell.h"
#include "platform/Sound.h"

namespace tarvex {

QString FolderPart(const QString& path) {
    const qsizetype cut = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
    return cut < 0 ? QString() : path.left(cut);
}

bool ShellOpen(Shell& shell, const QString& target, const QString& game_path) {
    return shell.Open(target, FolderPart(game_path));
}

void PlayCue(Sound& sound, bool go) {
    sound.Play(go ? QStringLiteral("GO") : QStringLiteral("TEST"));
}

} // namespace tarvex
