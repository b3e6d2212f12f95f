#include "platform/qt/QtShell.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace tarvex {

bool QtShell::Open(const QString& target, const QString& working_folder) {
    if (target.isEmpty()) {
        return false;
    }
    const QFileInfo info(target);
    if (info.isFile() && info.isExecutable()) {
        return QProcess::startDetached(info.absoluteFilePath(), {}, working_folder);
    }
    const QUrl url = info.exists() ? QUrl::fromLocalFile(info.absoluteFilePath())
                                   : QUrl::fromUserInput(target, working_folder);
    return url.isValid() && QDesktopServices::openUrl(url);
}

} // namespace tarvex
