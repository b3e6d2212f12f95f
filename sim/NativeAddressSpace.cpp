#include "NativeAddressSpace.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace sim {

NativeAddressSpace::NativeAddressSpace() {
    m_self_mem = ::open("/proc/self/mem", O_RDWR);
}

NativeAddressSpace::~NativeAddressSpace() {
    if (m_self_mem >= 0) {
        ::close(m_self_mem);
    }
    for (const Region& region : m_regions) {
        ::munmap(reinterpret_cast<void*>(std::uintptr_t(region.address)), region.size);
    }
}

bool NativeAddressSpace::MapRegion(std::uint32_t address, std::uint32_t size) {
    void* wanted = reinterpret_cast<void*>(std::uintptr_t(address));
    void* got = ::mmap(wanted, size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (got == MAP_FAILED) {
        return false;
    }
    if (got != wanted) { // kernels without MAP_FIXED_NOREPLACE treat it as a hint
        ::munmap(got, size);
        return false;
    }
    m_regions.push_back({address, size});
    return true;
}

bool NativeAddressSpace::ProtectCode(std::uint32_t address, std::uint32_t size) {
    if (::mprotect(reinterpret_cast<void*>(std::uintptr_t(address)), size, PROT_READ | PROT_EXEC) !=
        0) {
        return false;
    }
    m_code.push_back({address, size});
    return true;
}

bool NativeAddressSpace::Mapped(std::uint32_t address, std::size_t size) const {
    for (const Region& region : m_regions) {
        if (address >= region.address &&
            std::uint64_t(address) + size <= std::uint64_t(region.address) + region.size) {
            return true;
        }
    }
    return false;
}

bool NativeAddressSpace::Protected(std::uint32_t address, std::size_t size) const {
    for (const Region& region : m_code) {
        if (std::uint64_t(address) + size > region.address &&
            address < std::uint64_t(region.address) + region.size) {
            return true;
        }
    }
    return false;
}

bool NativeAddressSpace::Read(std::uint32_t address, void* buffer, std::size_t size) const {
    if (!Mapped(address, size)) {
        return false;
    }
    std::memcpy(buffer, reinterpret_cast<const void*>(std::uintptr_t(address)), size);
    return true;
}

bool NativeAddressSpace::Write(std::uint32_t address, const void* data, std::size_t size) {
    if (!Mapped(address, size)) {
        return false;
    }
    if (Protected(address, size)) {
        return m_self_mem >= 0 && ::pwrite(m_self_mem, data, size, off_t(address)) == ssize_t(size);
    }
    std::memcpy(reinterpret_cast<void*>(std::uintptr_t(address)), data, size);
    return true;
}

} // namespace sim
