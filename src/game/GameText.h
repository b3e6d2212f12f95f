#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace tarvex {

class GameProcess;

// Text as the game draws it: every character widened to two bytes (the ANSI character, then
// 0) and a 16-bit terminator. Characters outside Latin-1 become '?', as the ANSI conversion
// would make them.
QByteArray WidenForGame(const QString& text);

// The one way text reaches the game as 16-bit characters (menu entries, the information text,
// the overlay, the name tag): widened, then written in one go. Returns the write's result.
std::int32_t WriteGameText(GameProcess& game, std::uint32_t address, const QString& text);

} // namespace tarvex
