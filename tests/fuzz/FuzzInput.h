#pragma once

#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCoreApplication>
#include <QDir>
#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarvex::fuzz {

// Timers, signals and files want an application object, once per process.
inline void StartQt(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
}

// A whole copy of Tarvex on fakes, as the dispatch targets feed it.
struct Copy {
    FakePlatform platform;
    Tarvex tarvex{platform.AsPlatform(), QDir::tempPath()};
};

// A fuzz input read as a series of messages, each behind a one-byte length, so that one input
// can drive a dispatcher through a whole exchange (a welcome, then what follows it).
class MessageStream {
public:
    MessageStream(const std::uint8_t* data, std::size_t size)
        : m_data(data)
        , m_size(size) {}

    bool Next(QByteArray& message) {
        if (m_pos >= m_size) {
            return false;
        }
        const std::size_t announced = m_data[m_pos];
        ++m_pos;
        const std::size_t length = std::min(announced, m_size - m_pos);
        message = QByteArray(reinterpret_cast<const char*>(m_data + m_pos), qsizetype(length));
        m_pos += length;
        return true;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

} // namespace tarvex::fuzz
