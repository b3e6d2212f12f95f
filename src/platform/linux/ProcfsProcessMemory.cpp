#include "platform/linux/ProcfsProcessMemory.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <climits>
#include <fcntl.h>
#include <signal.h>
#include <sys/uio.h>
#include <unistd.h>

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

// Grouped calls hand the kernel this many pieces at a time, from arrays on the stack: the car
// pose and a ghost's matrix fit in one call, and nothing is allocated per call.
constexpr std::size_t GroupChunk = 16;

void* LocalBytes(const MemoryRegion& region) {
    return region.buffer;
}
void* LocalBytes(const MemoryWrite& piece) {
    return const_cast<void*>(piece.data);
}

// Describes `pieces` to the kernel a chunk at a time and hands each chunk to `call` with the
// byte count a whole transfer returns and the index of its first piece; stops at the first
// chunk `call` refuses.
template <class Piece, class Call>
bool InChunks(std::span<const Piece> pieces, const Call& call) {
    for (std::size_t first = 0; first < pieces.size(); first += GroupChunk) {
        const std::size_t count = std::min(GroupChunk, pieces.size() - first);
        std::array<iovec, GroupChunk> local;
        std::array<iovec, GroupChunk> remote;
        ssize_t total = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Piece& piece = pieces[first + i];
            local[i] = {LocalBytes(piece), piece.size};
            remote[i] = {reinterpret_cast<void*>(std::uintptr_t(piece.address)), piece.size};
            total += ssize_t(piece.size);
        }
        if (!call(local.data(), remote.data(), count, total, first)) {
            return false;
        }
    }
    return true;
}

} // namespace

ProcfsProcessMemory::~ProcfsProcessMemory() {
    CloseMemFile();
}

bool ProcfsProcessMemory::Read(std::uint32_t pid, std::uint32_t address, void* buffer,
                               std::size_t size) {
    const MemoryRegion region{address, buffer, size};
    return ReadGroup(pid, {&region, 1});
}

bool ProcfsProcessMemory::ReadGroup(std::uint32_t pid, std::span<const MemoryRegion> regions) {
    if (!IsProcessId(pid) || regions.empty()) {
        return false;
    }
    // The call stops at the first region it cannot read and reports what it did read, so a
    // short count means some region is missing.
    return InChunks(regions, [&](const iovec* local, const iovec* remote, std::size_t count,
                                 ssize_t total, std::size_t) {
        return process_vm_readv(pid_t(pid), local, count, remote, count, 0) == total;
    });
}

bool ProcfsProcessMemory::Write(std::uint32_t pid, std::uint32_t address, const void* data,
                                std::size_t size) {
    if (!IsProcessId(pid)) {
        return false;
    }
    if (size == 0) {
        return true;
    }
    for (const bool reopen : {false, true}) {
        const int fd = MemFile(pid, reopen);
        if (fd < 0) {
            return false;
        }
        const ssize_t written = ::pwrite(fd, data, size, off_t(address));
        // Nothing at all written, with no error, is how the kernel answers for a process whose
        // memory is gone: the descriptor belonged to a process that has ended or replaced its
        // program, and the pid may stand for a new one now.
        if (written != 0) {
            return written == ssize_t(size);
        }
    }
    return false;
}

bool ProcfsProcessMemory::WriteGroup(std::uint32_t pid, std::span<const MemoryWrite> pieces) {
    if (!IsProcessId(pid)) {
        return false;
    }
    return InChunks(pieces, [&](const iovec* local, const iovec* remote, std::size_t count,
                                ssize_t total, std::size_t first) {
        if (process_vm_writev(pid_t(pid), local, count, remote, count, 0) == total) {
            return true;
        }
        // A read-only page stops the call part way; writing the same bytes again is harmless.
        for (const MemoryWrite& piece : pieces.subspan(first, count)) {
            if (!Write(pid, piece.address, piece.data, piece.size)) {
                return false;
            }
        }
        return true;
    });
}

void ProcfsProcessMemory::Release(std::uint32_t pid) {
    if (pid == m_mem_pid) {
        CloseMemFile();
    }
}

int ProcfsProcessMemory::MemFile(std::uint32_t pid, bool reopen) {
    if (pid != m_mem_pid || reopen) {
        CloseMemFile();
        m_mem_fd = ::open(ProcFile(pid, "mem").constData(), O_WRONLY | O_CLOEXEC);
        m_mem_pid = m_mem_fd >= 0 ? pid : 0;
    }
    return m_mem_fd;
}

void ProcfsProcessMemory::CloseMemFile() {
    if (m_mem_fd >= 0) {
        ::close(m_mem_fd);
    }
    m_mem_fd = -1;
    m_mem_pid = 0;
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
