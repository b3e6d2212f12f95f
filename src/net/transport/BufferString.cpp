#include "net/transport/BufferString.h"

namespace tarvex {

void AppendBufferString(QByteArray& buffer, const QString& text) {
    QByteArray utf8 = text.toUtf8();
    if (utf8.size() > MaxBufferStringBytes) {
        qsizetype cut = MaxBufferStringBytes;
        // Step back over continuation bytes so the field never ends inside a character.
        while (cut > 0 && (static_cast<unsigned char>(utf8[cut]) & 0xC0) == 0x80) {
            --cut;
        }
        utf8.truncate(cut);
    }
    const auto count = static_cast<quint16>(utf8.size());
    buffer.append(static_cast<char>(count & 0xFF));
    buffer.append(static_cast<char>(count >> 8));
    buffer.append(utf8);
}

std::optional<QString> ReadBufferString(const QByteArray& buffer, qsizetype& pos) {
    if (pos < 0 || buffer.size() - pos < 2) {
        return std::nullopt;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(buffer.constData());
    const qsizetype count = bytes[pos] | (bytes[pos + 1] << 8);
    if (buffer.size() - pos - 2 < count) {
        return std::nullopt;
    }
    QString text = QString::fromUtf8(buffer.constData() + pos + 2, count);
    pos += 2 + count;
    return text;
}

} // namespace tarvex
