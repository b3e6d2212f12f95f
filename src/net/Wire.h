#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <cstddef>
#include <cstdint>

namespace tarvex {

// Builds a message: every number little-endian, assembled byte by byte so the host's own byte
// order never leaks onto the wire.
class WireWriter {
public:
    void U8(std::uint8_t value);
    void I16(std::int16_t value);
    void I32(std::int32_t value);
    void F32(float value);
    void Raw(QByteArrayView bytes);
    // The transport's text field: unsigned 16-bit byte count, then the UTF-8 bytes; a text too
    // long for the count is cut on a character boundary.
    void Text(const QString& text);

    const QByteArray& Bytes() const { return m_bytes; }
    QByteArray Take() { return std::move(m_bytes); }

private:
    QByteArray m_bytes;
};

// Reads a message from a peer we do not trust. Every read is bounds-checked: a read past the end
// yields zero (or empty), and from then on `ok()` is false and every further read yields zero
// too, so a decoder reads all its fields and checks once at the end.
class WireReader {
public:
    explicit WireReader(QByteArrayView bytes)
        : m_bytes(bytes) {}

    std::uint8_t U8();
    std::int16_t I16();
    std::int32_t I32();
    float F32();
    // Copies `size` bytes into `out`; on a short read `out` is zero-filled.
    void Raw(void* out, std::size_t size);
    // A text longer than the bytes left, or longer than `max_chars` UTF-16 units, is a broken
    // message: the reader is marked broken, and nothing is allocated for a count that cannot
    // fit.
    QString Text(int max_chars);
    void Skip(std::size_t size);

    bool ok() const { return m_ok; }
    std::size_t Remaining() const { return m_ok ? std::size_t(m_bytes.size()) - m_pos : 0; }
    bool AtEnd() const { return Remaining() == 0; }

private:
    // The bytes [pos, pos + size) when they are all there; marks the reader broken otherwise.
    const std::uint8_t* Take(std::size_t size);

    QByteArrayView m_bytes;
    std::size_t m_pos = 0;
    bool m_ok = true;
};

} // namespace tarvex
