#include "chat/Handover.h"

#include "platform/Shell.h"
#include "platform/Sound.h"

#include <algorithm>

namespace tarvex {

QString FolderPart(const QString& path) {
    const qsizetype cut = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
    return cut < 0 ? QString() : path.left(cut);
}

bool ShellOpen(Shell& shell, const QString& target, const QString& game_path) {
    return shell.Open(target, FolderPart(game_path));
}

std::optional<QString> LinkTarget(const QString& word) {
    if (!word.startsWith(QLatin1String("www"), Qt::CaseInsensitive) &&
        !word.startsWith(QLatin1String("http"), Qt::CaseInsensitive)) {
        return std::nullopt;
    }
    return QString(word).remove(u' ');
}

std::pair<qsizetype, qsizetype> WordAt(const QString& line, qsizetype position) {
    position = std::clamp<qsizetype>(position, 0, line.size());
    qsizetype start = position;
    while (start > 0 && !line[start - 1].isSpace()) {
        --start;
    }
    qsizetype end = position;
    while (end < line.size() && !line[end].isSpace()) {
        ++end;
    }
    return {start, end - start};
}

void PlayCue(Sound& sound, bool go) {
    sound.Play(go ? QStringLiteral("GO") : QStringLiteral("TEST"));
}

} // namespace tarvex
