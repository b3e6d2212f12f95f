#include "game/GameText.h"

#include "game/GameProcess.h"

namespace tarvex {

QByteArray WidenForGame(const QString& text) {
    QByteArray wide(2 * text.size() + 2, '\0');
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        wide[2 * i] = char(unit & 0xFF);
        wide[2 * i + 1] = char(unit >> 8);
    }
    return wide;
}

std::int32_t WriteGameText(GameProcess& game, std::uint32_t address, const QString& text) {
    // WriteGameString writes one byte per character, so the widened bytes go through it as
    // Latin-1 characters, zeros included.
    return game.WriteGameString(address, QString::fromLatin1(WidenForGame(text)));
}

} // namespace tarvex
