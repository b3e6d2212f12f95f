#pragma once

#include "AddressSpace.h"
#include "platform/ProcessMemory.h"

#include <QString>
#include <functional>
#include <memory>

namespace tarvex::test {

// A stand-in game's address space as another process's memory. `reach` names the address space
// a process id reaches: the running game's, or none (another pid, or the game has gone).
class GameMemory final : public ProcessMemory {
public:
    using Reach = std::function<sim::AddressSpace*(std::uint32_t pid)>;

    GameMemory(Reach reach, std::function<QString()> executable, std::function<void()> terminate)
        : m_reach(std::move(reach))
        , m_executable(std::move(executable))
        , m_terminate(std::move(terminate)) {}

    bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) override {
        sim::AddressSpace* space = m_reach(pid);
        return space && space->Read(address, buffer, size);
    }
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override {
        for (const MemoryRegion& region : regions) {
            if (!Read(pid, region.address, region.buffer, region.size)) {
                return false;
            }
        }
        return true;
    }
    bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
               std::size_t size) override {
        sim::AddressSpace* space = m_reach(pid);
        return space && space->Write(address, data, size);
    }
    QString ExecutablePath(std::uint32_t pid) override {
        return m_reach(pid) ? m_executable() : QString();
    }
    bool Terminate(std::uint32_t pid) override {
        if (!m_reach(pid)) {
            return false;
        }
        m_terminate();
        return true;
    }

private:
    Reach m_reach;
    std::function<QString()> m_executable;
    std::function<void()> m_terminate;
};

// A game that is always there, whatever the process id, and cannot be ended.
inline std::shared_ptr<GameMemory> SpaceAsProcess(sim::AddressSpace& space) {
    return std::make_shared<GameMemory>([&space](std::uint32_t) { return &space; },
                                        [] { return QString(); }, [] {});
}

} // namespace tarvex::test
