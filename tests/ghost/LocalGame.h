#pragma once

#include "Game.h"
#include "platform/fake/FakePlatform.h"

#include <memory>

namespace tarvex::test {

// A stand-in game's address space as another process's memory: the game runs in the test
// process, Tarvex reaches it as it would reach the real one.
class SimProcessMemory final : public ProcessMemory {
public:
    explicit SimProcessMemory(sim::AddressSpace& space)
        : m_space(space) {}

    bool Read(std::uint32_t, std::uint32_t address, void* buffer, std::size_t size) override {
        return m_space.Read(address, buffer, size);
    }
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override {
        for (const MemoryRegion& region : regions) {
            if (!Read(pid, region.address, region.buffer, region.size)) {
                return false;
            }
        }
        return true;
    }
    bool Write(std::uint32_t, std::uint32_t address, const void* data, std::size_t size) override {
        return m_space.Write(address, data, size);
    }
    QString ExecutablePath(std::uint32_t) override { return {}; }
    bool Terminate(std::uint32_t) override { return false; }

private:
    sim::AddressSpace& m_space;
};

// One player's game, in process: its window in front on the player's fake desktop, the keys
// Tarvex sends reaching it, its memory behind the player's fake process memory.
class LocalGame {
public:
    LocalGame(FakePlatform& platform, std::uint32_t pid, sim::Options options)
        : memory(sim::NewMemorySpace())
        , game(*memory, std::move(options))
        , pid(pid) {
        platform.memory->Attach(pid, std::make_shared<SimProcessMemory>(*memory));
        window = platform.desktop->AddWindow(QStringLiteral("D3D Window"), pid);
        platform.desktop->SetForeground(window);
        platform.desktop->on_key = [this](int key, bool down) {
            down ? game.KeyDown(key) : game.KeyUp(key);
        };
    }
    LocalGame(const LocalGame&) = delete;
    LocalGame& operator=(const LocalGame&) = delete;

    std::unique_ptr<sim::MemoryAddressSpace> memory;
    sim::Game game;
    std::uint32_t pid;
    WindowHandle window = 0;
};

} // namespace tarvex::test
