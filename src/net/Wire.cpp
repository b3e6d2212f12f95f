#include "net/Wire.h"

#include "net/TextRules.h"
#include "net/transport/BufferString.h"

#include <bit>
#include <cstring>

namespace tarvex {

void WireWriter::U8(std::uint8_t value) {
    m_bytes.append(char(value));
}

void WireWriter::I16(std::int16_t value) {
    const auto bits = std::uint16_t(value);
    m_bytes.append(char(bits & 0xFF));
    m_bytes.append(char(bits >> 8));
}

void WireWriter::I32(std::int32_t value) {
    const auto bits = std::uint32_t(value);
    for (int shift = 0; shift < 32; shift += 8) {
        m_bytes.append(char((bits >> shift) & 0xFF));
    }
}

void WireWriter::F32(float value) {
    I32(std::bit_cast<std::int32_t>(value));
}

void WireWriter::Raw(QByteArrayView bytes) {
    m_bytes.append(bytes);
}

void WireWriter::Text(const QString& text) {
    AppendBufferString(m_bytes, text);
}

const std::uint8_t* WireReader::Take(std::size_t size) {
    if (!m_ok || size > std::size_t(m_bytes.size()) - m_pos) {
        m_ok = false;
        return nullptr;
    }
    const auto* data = reinterpret_cast<const std::uint8_t*>(m_bytes.data()) + m_pos;
    m_pos += size;
    return data;
}

std::uint8_t WireReader::U8() {
    const std::uint8_t* data = Take(1);
    return data ? data[0] : 0;
}

std::int16_t WireReader::I16() {
    const std::uint8_t* data = Take(2);
    return data ? std::int16_t(std::uint16_t(data[0] | (data[1] << 8))) : 0;
}

std::int32_t WireReader::I32() {
    const std::uint8_t* data = Take(4);
    if (!data) {
        return 0;
    }
    return std::int32_t(std::uint32_t(data[0]) | (std::uint32_t(data[1]) << 8) |
                        (std::uint32_t(data[2]) << 16) | (std::uint32_t(data[3]) << 24));
}

float WireReader::F32() {
    return std::bit_cast<float>(I32());
}

void WireReader::Raw(void* out, std::size_t size) {
    const std::uint8_t* data = Take(size);
    if (data) {
        std::memcpy(out, data, size);
    } else {
        std::memset(out, 0, size);
    }
}

QString WireReader::Text(int max_chars) {
    const auto size = std::uint16_t(I16());
    if (size > MaxUtf8Bytes(max_chars)) {
        m_ok = false;
        return {};
    }
    const std::uint8_t* data = Take(size);
    if (!data) {
        return {};
    }
    QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), size);
    if (text.size() > max_chars) {
        m_ok = false;
        return {};
    }
    return text;
}

void WireReader::Skip(std::size_t size) {
    Take(size);
}

} // namespace tarvex
