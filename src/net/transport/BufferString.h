#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace tarvex {

// Text fields inside session messages and the listing datagram: an unsigned 16-bit
// little-endian byte count, then that many bytes of UTF-8. The count makes the field
// self-delimiting, so fields may follow it directly.

// The longest text a field can carry, in UTF-8 bytes; longer texts are cut at a character
// boundary rather than refused, because callers have no way to report a failed send.
inline constexpr int MaxBufferStringBytes = 0xFFFF;

void AppendBufferString(QByteArray& buffer, const QString& text);

// Reads the text field that starts at `pos` and moves `pos` past it. Returns nothing (and
// leaves `pos` alone) when the buffer ends before the field does.
std::optional<QString> ReadBufferString(const QByteArray& buffer, qsizetype& pos);

} // namespace tarvex
