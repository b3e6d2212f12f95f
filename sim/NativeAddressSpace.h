#pragma once

#include "AddressSpace.h"

#include <vector>

namespace sim {

// The executable's own memory at the game's real addresses. Regions are mapped with
// MAP_FIXED_NOREPLACE; code regions are made read+execute once their stock bytes are in, so
// another process can only change them by forcing through page protection (as a debugger
// does), and the game itself writes into them the same way, through /proc/self/mem.
class NativeAddressSpace : public AddressSpace {
public:
    NativeAddressSpace();
    ~NativeAddressSpace() override;

    // Maps a read/write region; false (with errno) when the range is taken.
    bool MapRegion(std::uint32_t address, std::uint32_t size);
    // Makes [address, address + size) read+execute.
    bool ProtectCode(std::uint32_t address, std::uint32_t size);

    bool Read(std::uint32_t address, void* buffer, std::size_t size) const override;
    bool Write(std::uint32_t address, const void* data, std::size_t size) override;

private:
    struct Region {
        std::uint32_t address, size;
    };
    bool Mapped(std::uint32_t address, std::size_t size) const;
    bool Protected(std::uint32_t address, std::size_t size) const;

    std::vector<Region> m_regions;
    std::vector<Region> m_code;
    int m_self_mem = -1;
};

} // namespace sim
