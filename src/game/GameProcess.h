#pragma once

#include "platform/Desktop.h"
#include "platform/ProcessMemory.h"

#include <QByteArray>
#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace tarvex {

class Clock;
struct Platform;

// Which of the four supported game executables runs; 0 when the build byte is not one of theirs.
// Many game addresses differ between builds; 3 and 4 get the full race set-up.
using GameBuild = int;

// The running game as Tarvex reaches it: its window and process, and every read and write of
// its memory. Game access never reports failure to the caller: a read that fails returns what
// the last successful read of the same width returned (0 before the first), a write that fails
// changes nothing. Callers that must not act on stale values ask IsGameRunning first.
class GameProcess {
public:
    static constexpr const char* kWindowClass = "D3D Window";
    static constexpr std::uint32_t kBuildByteAddress = 0x4860F5;

    explicit GameProcess(const Platform& platform);

    // Looks the game window up afresh and remembers it and its process.
    void FindGame();
    // Whether a game window exists right now; the remembered window is left as it is.
    bool IsGameRunning();
    bool IsGameForeground();
    GameBuild GetGameBuild();
    static GameBuild BuildFromByte(std::uint8_t build_byte);

    std::uint8_t ReadGameByte(std::uint32_t address);
    std::int32_t ReadGameLong(std::uint32_t address);
    float ReadGameSingle(std::uint32_t address);
    // A 32-bit address stored in the game; 0 when the read fails, so that a chain of pointers
    // never goes on from a stale value.
    std::uint32_t ReadGamePointer(std::uint32_t address);
    // Several singles in one access (the car pose's seven values). When the access fails every
    // value is the last single read, as seven failed single reads would give.
    void ReadGameSingles(std::span<const std::uint32_t> addresses, std::span<float> values);
    // The local car's pose from its physics block in one access: the orientation quaternion
    // x, y, z, w at +0x100 and the position x, y, z at +0x140.
    std::array<float, 7> ReadCarPose(std::uint32_t car_body);

    void WriteGameByte(std::uint32_t address, std::uint8_t value);
    void WriteGameLong(std::uint32_t address, std::int32_t value);
    // The same four bytes as WriteGameLong, for the game's float fields.
    void WriteGameSingle(std::uint32_t address, float value);
    // Several pieces in one access where the system allows (a ghost's world matrix); returns
    // the result as WriteGameValue does.
    std::int32_t WriteGameGroup(std::span<const MemoryWrite> pieces);
    // As WriteGameLong; returns the result of the write (non-zero on success).
    std::int32_t WriteGameValue(std::uint32_t address, std::int32_t value);
    // One byte per character (Latin-1; others become '?'), no terminator added.
    std::int32_t WriteGameString(std::uint32_t address, const QString& text, int* length = nullptr);
    std::int32_t WriteGameHex(std::uint32_t address, const QString& hex, int* length = nullptr);
    static QByteArray HexToBytes(const QString& hex);

    // Returns once `milliseconds` have passed on the clock, running the event loop meanwhile so
    // windows, timers and the session go on (other ticks may run inside the wait).
    void WaitMs(float milliseconds);

    // The folder of the game's executable, ending in a separator; empty when it cannot be told.
    QString GetGameExePath();
    void TerminateWindowProcess(WindowHandle window);
    // Brings one of Tarvex's own windows to the top.
    void ReshowWindow(WindowHandle window);

    WindowHandle Window() const { return m_window; }
    std::uint32_t ProcessId() const { return m_process_id; }
    std::int32_t LastResult() const { return m_last_result; }

private:
    bool Read(std::uint32_t address, void* buffer, std::size_t size);
    std::int32_t Write(std::uint32_t address, const void* data, std::size_t size);

    std::shared_ptr<Desktop> m_desktop;
    std::shared_ptr<ProcessMemory> m_memory;
    std::shared_ptr<Clock> m_clock;

    WindowHandle m_window = 0;
    std::uint32_t m_process_id = 0;
    std::int32_t m_last_result = 0;
    // One result per width: a failed read hands back what its width last read.
    std::uint8_t m_byte = 0;
    std::int32_t m_long = 0;
    float m_single = 0.0f;
};

} // namespace tarvex
