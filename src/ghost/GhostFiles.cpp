#include "ghost/GhostFiles.h"

#include "app/Settings.h"
#include "game/GameProcess.h"

#include <QDir>
#include <QFile>

namespace tarvex {

namespace {

// L per build 1..4: the model slot is at (value at ((value at L) + 0x70)) + 0x18.
constexpr std::uint32_t kModelLocation[5] = {0, 0x7C9CD8, 0x7E4F38, 0x7EA678, 0x7EC7B8};

// The entry of `folder` named `name` ignoring case, or `name` itself when there is none.
QString ExistingName(const QDir& folder, const QString& name) {
    for (const QString& entry : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0) {
            return entry;
        }
    }
    return name;
}

} // namespace

bool ExtractResource(std::uint16_t id, const QString& type, const QString& path) {
    QFile resource(QStringLiteral(":/%1/%2").arg(type).arg(id));
    if (!resource.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray data = resource.readAll();
    // Read-write leaves an existing file's length alone (write-only would truncate it).
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        return false;
    }
    return file.write(data) == data.size();
}

GhostFiles::GhostFiles(GameProcess& game, const Settings& settings)
    : m_game(game)
    , m_settings(settings) {}

QString GhostFiles::GhostFolder(const QString& game_folder) {
    QDir folder(game_folder.isEmpty() ? QDir::currentPath() : game_folder);
    for (const QString& part : {QStringLiteral("CARS"), QStringLiteral("GHOST")}) {
        const QString name = ExistingName(folder, part);
        folder.mkdir(name); // an existing folder is fine
        folder.setPath(folder.filePath(name));
    }
    return folder.path() + u'/';
}

void GhostFiles::InstallGhostFiles() {
    const QString folder = GhostFolder(m_game.GetGameExePath());
    for (std::uint16_t id = 1; id <= 4; ++id) {
        ExtractResource(id, QStringLiteral("GHOST"), folder + QLatin1String(kFileNames[id]));
    }
}

void GhostFiles::WriteGhostModel() {
    if (!m_game.IsGameRunning()) {
        return;
    }
    const GameBuild build = m_game.GetGameBuild();
    if (build < 1 || build > 4) {
        return;
    }
    const bool shown = m_settings.ShowGhost == 1 && m_settings.GhostsDisabled == 0;
    const std::uint32_t value = shown ? m_settings.GhostModel : kNoGhosts;
    const std::uint32_t a = m_game.ReadGamePointer(kModelLocation[build]);
    const std::uint32_t b = a ? m_game.ReadGamePointer(a + 0x70) : 0;
    if (b != 0) {
        m_game.WriteGameLong(b + 0x18, std::int32_t(value));
    }
}

} // namespace tarvex
