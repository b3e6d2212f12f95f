#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace tarvex {

class GameProcess;

// Text as the game draws it: UTF-16, low byte first, and a 16-bit terminator. A plain ASCII
// character becomes its byte and a zero; names and chat in any script reach the game as they
// were typed.
QByteArray WidenForGame(const QString& text);

// The one way text reaches the game as 16-bit characters (menu entries, the information text,
// the overlay, the name tag): widened, then written in one go. Returns the write's result.
std::int32_t WriteGameText(GameProcess& game, std::uint32_t address, const QString& text);

} // namespace tarvex
