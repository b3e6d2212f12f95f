#include "platform/linux/ProcfsProcessMemory.h"

#include <QFile>
#include <climits>
#include <fcntl.h>
#include <signal.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace tarvex {

namespace {

// pid 0 and negative pids mean "this process" or "a process group" to several of these calls;
// a game pid is always a real process.
bool IsProcessId(std::uint32_t pid) {
    return pid > 0 && pid <= std::uint32_t(INT_MAX);
}

QByteArray ProcFile(std::uint32_t pid, const char* name) {
    return "/proc/" + QByteArray::number(pid) + '/' + name;
}

} // namespace

bool ProcfsProcessMemory::Read(std::uint32_t pid, std::uint32_t address, void* buffer,
                               std::size_t size) {
    const MemoryRegion region{address, buffer, size};
    return ReadGroup(pid, {&region, 1});
}

bool ProcfsProcessMemory::ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) {
    if (!IsProcessId(pid) || regions.empty() || regions.size() > IOV_MAX) {
        return false;
    }
    std::vector<iovec> local(regions.size());
    std::vector<iovec> remote(regions.size());
    ssize_t total = 0;
    for (size_t i = 0; i < regions.size(); ++i) {
        local[i] = {regions[i].buffer, regions[i].size};
        remote[i] = {reinterpret_cast<void*>(std::uintptr_t(regions[i].address)), regions[i].size};
        total += ssize_t(regions[i].size);
    }
    // The call stops at the first region it cannot read and reports what it did read, so a
    // short count means some region is missing.
    return process_vm_readv(pid_t(pid), local.data(), local.size(), remote.data(), remote.size(),
                            0) == total;
}

bool ProcfsProcessMemory::Write(std::uint32_t pid, std::uint32_t address, const void* data,
                                std::size_t size) {
    if (!IsProcessId(pid)) {
        return false;
    }
    if (size == 0) {
        return true;
    }
    const int fd = ::open(ProcFile(pid, "mem").constData(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const ssize_t written = ::pwrite(fd, data, size, off_t(address));
    ::close(fd);
    return written == ssize_t(size);
}

bool ProcfsProcessMemory::WriteGroup(std::uint32_t pid, std::span<const MemoryWrite> pieces) {
    if (!IsProcessId(pid)) {
        return false;
    }
    if (pieces.empty()) {
        return true;
    }
    if (pieces.size() <= IOV_MAX) {
        std::vector<iovec> local(pieces.size());
        std::vector<iovec> remote(pieces.size());
        ssize_t total = 0;
        for (size_t i = 0; i < pieces.size(); ++i) {
            local[i] = {const_cast<void*>(pieces[i].data), pieces[i].size};
            remote[i] = {reinterpret_cast<void*>(std::uintptr_t(pieces[i].address)),
                         pieces[i].size};
            total += ssize_t(pieces[i].size);
        }
        if (process_vm_writev(pid_t(pid), local.data(), local.size(), remote.data(), remote.size(),
                              0) == total) {
            return true;
        }
    }
    // A read-only page stops the call part way; writing the same bytes again is harmless.
    for (const MemoryWrite& piece : pieces) {
        if (!Write(pid, piece.address, piece.data, piece.size)) {
            return false;
        }
    }
    return true;
}

QString ProcfsProcessMemory::ExecutablePath(std::uint32_t pid) {
    if (!IsProcessId(pid)) {
        return {};
    }
    char target[PATH_MAX];
    const ssize_t length = ::readlink(ProcFile(pid, "exe").constData(), target, sizeof target);
    if (length <= 0 || length >= ssize_t(sizeof target)) {
        return {};
    }
    QByteArray path(target, int(length));
    // A game replaced on disk while it runs still has its folder.
    static const QByteArray kDeleted = " (deleted)";
    if (path.endsWith(kDeleted)) {
        path.chop(kDeleted.size());
    }
    return QFile::decodeName(path);
}

bool ProcfsProcessMemory::Terminate(std::uint32_t pid) {
    return IsProcessId(pid) && ::kill(pid_t(pid), SIGKILL) == 0;
}

} // namespace tarvex
