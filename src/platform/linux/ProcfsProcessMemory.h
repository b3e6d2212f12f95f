#pragma once

#include "platform/ProcessMemory.h"

namespace tarvex {

// Another process of the same user, through the kernel's cross-process calls: reads with
// process_vm_readv (a whole group in one system call), writes through /proc/PID/mem, which
// writes read-only and code pages as the debugger interface does and leaves their protection
// as it was (so patched code stays executable). A group of writes goes in one
// process_vm_writev call, which only reaches writable pages; pieces it cannot write go
// through /proc/PID/mem one by one.
class ProcfsProcessMemory final : public ProcessMemory {
public:
    bool Read(std::uint32_t pid, std::uint32_t address, void* buffer, std::size_t size) override;
    bool ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) override;
    bool Write(std::uint32_t pid, std::uint32_t address, const void* data,
               std::size_t size) override;
    bool WriteGroup(std::uint32_t pid, std::span<const MemoryWrite> pieces) override;
    QString ExecutablePath(std::uint32_t pid) override;
    bool Terminate(std::uint32_t pid) override;
};

} // namespace tarvex
