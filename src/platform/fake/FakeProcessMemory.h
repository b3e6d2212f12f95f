#pragma once

#include "platform/ProcessMemory.h"

#include <QByteArray>
#include <QMap>
#include <cstring>
#include <memory>

namespace tarvex {

// Sparse address spaces for fake processes: a test maps ranges of bytes into a pid and then
// reads and writes them as the game bridge would. Reads of unmapped bytes fail as they would on
// a real process; `fail_reads` makes every read fail, as after the game has quit. A pid can
// instead be attached to memory that lives elsewhere (a stand-in game running in the test
// process): accesses are counted here and carried out there.
class FakeProcessMemory : public ProcessMemory {
public:
    void Map(std::uint32_t pid, std::uint32_t address, std::size_t size) {
        m_spaces[pid].insert(address, QByteArray(qsizetype(size), '\0'));
    }
    void Attach(std::uint32_t pid, std::shared_ptr<ProcessMemory> memory) {
        m_attached.insert(pid, std::move(memory));
    }
    void SetExecutablePath(std::uint32_t pid, const QString& path) { m_paths[pid] = path; }
    bool Terminated(std::uint32_t pid) const { return m_terminated.contains(pid); }

    bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) override {
        ++read_calls;
        if (fail_reads) {
            return false;
        }
        if (auto attached = m_attached.value(pid)) {
            return attached->Read(pid, address, buffer, size);
        }
        QByteArray* range = Range(pid, address, size);
        if (!range) {
            return false;
        }
        std::memcpy(buffer, range->constData() + (address - Start(pid, address)), size);
        return true;
    }
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override {
        ++group_calls;
        for (const MemoryRegion& region : regions) {
            if (!Read(pid, region.address, region.buffer, region.size)) {
                return false;
            }
            --read_calls;
        }
        return true;
    }
    bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
               std::size_t size) override {
        ++write_calls;
        if (fail_writes) {
            return false;
        }
        if (auto attached = m_attached.value(pid)) {
            return attached->Write(pid, address, data, size);
        }
        QByteArray* range = Range(pid, address, size);
        if (!range) {
            return false;
        }
        std::memcpy(range->data() + (address - Start(pid, address)), data, size);
        return true;
    }
    bool WriteGroup(std::uint32_t pid, std::span<const MemoryWrite> pieces) override {
        ++write_group_calls;
        for (const MemoryWrite& piece : pieces) {
            if (!Write(pid, piece.address, piece.data, piece.size)) {
                return false;
            }
            --write_calls;
        }
        return true;
    }
    QString ExecutablePath(std::uint32_t pid) override { return m_paths.value(pid); }
    bool Terminate(std::uint32_t pid) override {
        m_terminated.insert(pid, true);
        return m_spaces.contains(pid) || m_paths.contains(pid);
    }

    int read_calls = 0;
    int group_calls = 0;
    int write_calls = 0;
    int write_group_calls = 0;
    bool fail_reads = false;
    bool fail_writes = false;

private:
    std::uint32_t Start(std::uint32_t pid, std::uint32_t address) const {
        const auto& space = m_spaces[pid];
        return (--space.upperBound(address)).key();
    }
    QByteArray* Range(std::uint32_t pid, std::uint32_t address, std::size_t size) {
        auto space = m_spaces.find(pid);
        if (space == m_spaces.end()) {
            return nullptr;
        }
        auto it = space->upperBound(address);
        if (it == space->begin()) {
            return nullptr;
        }
        --it;
        const std::uint64_t end = std::uint64_t(it.key()) + std::uint64_t(it->size());
        if (std::uint64_t(address) + size > end) {
            return nullptr;
        }
        return &*it;
    }

    QMap<std::uint32_t, QMap<std::uint32_t, QByteArray>> m_spaces;
    QMap<std::uint32_t, std::shared_ptr<ProcessMemory>> m_attached;
    QMap<std::uint32_t, QString> m_paths;
    QMap<std::uint32_t, bool> m_terminated;
};

} // namespace tarvex
