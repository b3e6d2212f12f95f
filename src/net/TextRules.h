#pragma once

#include <QString>

// What a peer's text may be. Names and chat lines come from people we do not know and end up
// in every console, row, board and welcome, so they are kept to one line and to a length that
// every layout and every packet has room for.
namespace tarvex {

// Lengths in UTF-16 units, the unit a text box counts in.
inline constexpr int MaxNameChars = 32;
inline constexpr int MaxChatChars = 255;
// The session's name travels in the join handshake and heads the client's window.
inline constexpr int MaxSessionNameChars = 255;
// A UTF-16 unit never takes more than three bytes of UTF-8 (a surrogate pair, two units,
// takes four), so a text field of n units needs at most this many bytes.
constexpr int MaxUtf8Bytes(int chars) {
    return 3 * chars;
}

// A peer's text as one line: every control character (TAB, CR, LF, ...) and every line or
// paragraph separator becomes a space, so a name or a chat line cannot start lines of its own
// that pass for someone else's words or for the program's own.
QString OneLine(QString text);

// The first `max_chars` units of `text`, never ending in half a surrogate pair.
QString Capped(QString text, int max_chars);

// A nickname as the session seats it, and a chat line as it is sent.
inline QString SeatedName(const QString& name) {
    return Capped(OneLine(name), MaxNameChars);
}
inline QString ChatText(const QString& text) {
    return Capped(OneLine(text), MaxChatChars);
}

} // namespace tarvex
