#include "game/GameProcess.h"

#include "game/HexBytes.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "platform/ProcessMemory.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <bit>
#include <cmath>
#include <cstring>

namespace tarvex {

GameProcess::GameProcess(const Platform& platform)
    : m_desktop(platform.desktop)
    , m_memory(platform.memory)
    , m_clock(platform.clock) {}

void GameProcess::FindGame() {
    const std::uint32_t previous = m_process_id;
    m_window = m_desktop->FindWindowByClass(QString::fromLatin1(kWindowClass));
    m_process_id = m_window != 0 ? m_desktop->WindowProcessId(m_window) : 0;
    if (previous != 0 && previous != m_process_id) {
        m_memory->Release(previous);
    }
}

bool GameProcess::IsGameRunning() {
    return m_desktop->FindWindowByClass(QString::fromLatin1(kWindowClass)) != 0;
}

bool GameProcess::IsGameForeground() {
    // With no game found, "no foreground window" must not count as the game being in front.
    return m_window != 0 && m_desktop->ForegroundWindow() == m_window;
}

GameBuild GameProcess::BuildFromByte(std::uint8_t build_byte) {
    switch (build_byte) {
    case 0x10:
        return 1;
    case 0x8B:
        return 2;
    case 0xE8:
        return 3;
    case 0x00:
        return 4;
    default:
        return 0;
    }
}

GameBuild GameProcess::GetGameBuild() {
    // Looked up again on every use, so a game that was restarted is followed.
    FindGame();
    return BuildFromByte(ReadGameByte(kBuildByteAddress));
}

bool GameProcess::Read(std::uint32_t address, void* buffer, std::size_t size) {
    const bool ok = m_process_id != 0 && m_memory->Read(m_process_id, address, buffer, size);
    m_last_result = ok ? 1 : 0;
    return ok;
}

std::uint8_t GameProcess::ReadGameByte(std::uint32_t address) {
    std::uint8_t value = 0;
    if (Read(address, &value, sizeof value)) {
        m_byte = value;
    }
    return m_byte;
}

std::int32_t GameProcess::ReadGameLong(std::uint32_t address) {
    std::int32_t value = 0;
    if (Read(address, &value, sizeof value)) {
        m_long = value;
    }
    return m_long;
}

std::uint32_t GameProcess::ReadGamePointer(std::uint32_t address) {
    const std::int32_t value = ReadGameLong(address);
    return m_last_result != 0 ? std::uint32_t(value) : 0;
}

float GameProcess::ReadGameSingle(std::uint32_t address) {
    float value = 0.0f;
    if (Read(address, &value, sizeof value)) {
        m_single = value;
    }
    return m_single;
}

void GameProcess::ReadGameSingles(std::span<const std::uint32_t> addresses,
                                  std::span<float> values) {
    const size_t count = std::min(addresses.size(), values.size());
    if (count == 0) {
        return;
    }
    // Read straight into the caller's values, a stack array of regions at a time; a failure
    // anywhere overwrites them all below.
    constexpr size_t Chunk = 16; // the game tick reads nine fields: one system call
    bool ok = m_process_id != 0;
    for (size_t first = 0; ok && first < count; first += Chunk) {
        const size_t chunk = std::min(Chunk, count - first);
        std::array<MemoryRegion, Chunk> regions;
        for (size_t i = 0; i < chunk; ++i) {
            regions[i] = {addresses[first + i], &values[first + i], sizeof(float)};
        }
        ok = m_memory->ReadGroup(m_process_id, std::span(regions.data(), chunk));
    }
    m_last_result = ok ? 1 : 0;
    if (ok) {
        m_single = values[count - 1];
    } else {
        std::fill_n(values.begin(), count, m_single);
    }
}

std::array<float, 7> GameProcess::ReadCarPose(std::uint32_t car_body) {
    const std::array<std::uint32_t, 7> addresses{
        car_body + 0x100, car_body + 0x104, car_body + 0x108, car_body + 0x10C,
        car_body + 0x140, car_body + 0x144, car_body + 0x148};
    std::array<float, 7> pose{};
    ReadGameSingles(addresses, pose);
    return pose;
}

std::int32_t GameProcess::Write(std::uint32_t address, const void* data, std::size_t size) {
    // The platform's write goes through page protection itself, so the code pages the patches
    // land on keep their execute permission.
    const bool ok = m_process_id != 0 && m_memory->Write(m_process_id, address, data, size);
    m_last_result = ok ? 1 : 0;
    return m_last_result;
}

std::int32_t GameProcess::WriteGameGroup(std::span<const MemoryWrite> pieces) {
    const bool ok = m_process_id != 0 && m_memory->WriteGroup(m_process_id, pieces);
    m_last_result = ok ? 1 : 0;
    return m_last_result;
}

void GameProcess::WriteGameByte(std::uint32_t address, std::uint8_t value) {
    Write(address, &value, sizeof value);
}

void GameProcess::WriteGameLong(std::uint32_t address, std::int32_t value) {
    Write(address, &value, sizeof value);
}

void GameProcess::WriteGameSingle(std::uint32_t address, float value) {
    WriteGameLong(address, std::bit_cast<std::int32_t>(value));
}

std::int32_t GameProcess::WriteGameValue(std::uint32_t address, std::int32_t value) {
    return Write(address, &value, sizeof value);
}

std::int32_t GameProcess::WriteGameString(std::uint32_t address, const QString& text, int* length) {
    // Callers pass 16-bit text already widened into one character per byte, NULs included, so
    // each character must become exactly one byte.
    const QByteArray bytes = text.toLatin1();
    if (length) {
        *length = int(bytes.size());
    }
    return Write(address, bytes.constData(), size_t(bytes.size()));
}

std::int32_t GameProcess::WriteGameHex(std::uint32_t address, const QString& hex, int* length) {
    const QByteArray bytes = HexToBytes(hex);
    if (length) {
        *length = int(bytes.size());
    }
    return Write(address, bytes.constData(), size_t(bytes.size()));
}

std::int32_t GameProcess::WriteGameBytes(std::uint32_t address,
                                         std::span<const std::uint8_t> bytes) {
    return Write(address, bytes.data(), bytes.size());
}

QByteArray GameProcess::HexToBytes(const QString& hex) {
    QByteArray bytes;
    bytes.reserve((hex.size() + 1) / 2);
    for (qsizetype i = 0; i < hex.size(); i += 2) {
        // A pair is read as a number up to its first character that is no hex digit; an odd
        // last character stands alone.
        int value = 0;
        for (qsizetype j = i; j < std::min(i + 2, hex.size()); ++j) {
            const int digit = HexDigitValue(hex[j].unicode());
            if (digit < 0) {
                break;
            }
            value = value * 16 + digit;
        }
        bytes.append(char(value));
    }
    return bytes;
}

void GameProcess::WaitMs(float milliseconds) {
    // Elapsed time is taken as the unsigned difference of two readings, which stays right when
    // the 32-bit tick count wraps.
    const std::uint32_t start = m_clock->NowMs();
    const std::uint32_t wait =
        milliseconds > 0.0f ? std::uint32_t(std::ceil(double(milliseconds))) : 0u;
    QTimer wake;
    wake.setSingleShot(true);
    wake.setTimerType(Qt::PreciseTimer);
    for (;;) {
        const std::uint32_t elapsed = m_clock->NowMs() - start;
        if (elapsed >= wait) {
            return;
        }
        if (!QCoreApplication::instance()) {
            QThread::msleep(wait - elapsed);
            continue;
        }
        // Sleep in the event loop until something happens or the time is up, instead of
        // spinning: the game and the other Tarvex windows need the processor meanwhile.
        wake.start(int(std::min<std::uint32_t>(wait - elapsed, 1000u)));
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

QString GameProcess::GetGameExePath() {
    const QString path = m_memory->ExecutablePath(m_process_id);
    const qsizetype cut = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
    return cut < 0 ? QString() : path.left(cut + 1);
}

void GameProcess::TerminateWindowProcess(WindowHandle window) {
    if (window == 0) {
        return;
    }
    const std::uint32_t pid = m_desktop->WindowProcessId(window);
    if (pid > 0 && m_desktop->IsWindow(window)) {
        m_memory->Terminate(pid);
    }
}

void GameProcess::ReshowWindow(WindowHandle window) {
    m_desktop->RaiseWindow(window);
}

} // namespace tarvex
