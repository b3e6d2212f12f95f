#include "game/GameText.h"

#include "game/GameProcess.h"

namespace tarvex {

QByteArray WidenForGame(const QString& text) {
    const QByteArray ansi = text.toLatin1();
    QByteArray wide(2 * ansi.size() + 2, '\0');
    for (qsizetype i = 0; i < ansi.size(); ++i) {
        wide[2 * i] = ansi[i];
    }
    return wide;
}

std::int32_t WriteGameText(GameProcess& game, std::uint32_t address, const QString& text) {
    // WriteGameString writes one byte per character, so the widened bytes go through it as
    // Latin-1 characters, zeros included.
    return game.WriteGameString(address, QString::fromLatin1(WidenForGame(text)));
}

} // namespace tarvex
