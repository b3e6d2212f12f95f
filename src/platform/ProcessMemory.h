#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvex {

// One piece of a grouped read: `size` bytes at `address` into `buffer`.
struct MemoryRegion {
    std::uint32_t address;
    void* buffer;
    std::size_t size;
};

// One piece of a grouped write: `size` bytes from `data` to `address`.
struct MemoryWrite {
    std::uint32_t address;
    const void* data;
    std::size_t size;
};

// Another process's memory, addressed with the game's 32-bit addresses. Writes go through page
// protection (the game's code pages are patched this way).
class ProcessMemory {
public:
    virtual ~ProcessMemory() = default;
    virtual bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) = 0;
    // Reads every region in one go; true only when all of them were read completely.
    virtual bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) = 0;
    virtual bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
                       std::size_t size) = 0;
    // Writes every piece, in one go where the system allows; true only when all of them were
    // written completely. Without a grouped call of its own, piece by piece.
    virtual bool WriteGroup(std::uint32_t pid, std::span<const MemoryWrite> pieces) {
        for (const MemoryWrite& piece : pieces) {
            if (!Write(pid, piece.address, piece.data, piece.size)) {
                return false;
            }
        }
        return true;
    }
    // Full path of the process's executable, or empty.
    virtual QString ExecutablePath(std::uint32_t pid) = 0;
    virtual bool Terminate(std::uint32_t pid) = 0;
};

} // namespace tarvex
