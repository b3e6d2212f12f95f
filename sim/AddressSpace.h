#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sim {

// The game's 32-bit address space as its own logic sees it. Every value the game keeps where
// Tarvex can reach it lives here, at a fixed 32-bit address, and the game reads it back from
// here every frame: what another program writes is what the game acts on.
//
// Two kinds exist: MemoryAddressSpace (plain heap memory, for in-process tests and the
// multi-instance harness) and NativeAddressSpace (the executable's real mapping at the same
// addresses). Reads and writes of bytes outside the mapped ranges fail and change nothing.
class AddressSpace {
public:
    virtual ~AddressSpace() = default;

    virtual bool Read(std::uint32_t address, void* buffer, std::size_t size) const = 0;
    // Writes ignore page protection: the game's own patched routines write into their code
    // pages, as the real patched game does after Tarvex made them writable.
    virtual bool Write(std::uint32_t address, const void* data, std::size_t size) = 0;

    // Convenience accessors; a failed read yields 0.
    std::uint8_t U8(std::uint32_t address) const;
    std::uint32_t U32(std::uint32_t address) const;
    std::int32_t I32(std::uint32_t address) const { return std::int32_t(U32(address)); }
    float F32(std::uint32_t address) const;
    std::vector<std::uint8_t> Bytes(std::uint32_t address, std::size_t size) const;
    // 16-bit text (UTF-16, low byte first) up to its 16-bit terminator or max_chars, as UTF-8.
    // A unit of half a surrogate pair that has no other half reads as '?'.
    std::string Text16(std::uint32_t address, std::size_t max_chars = 1024) const;
    // 8-bit text up to a zero byte or max_chars.
    std::string Text8(std::uint32_t address, std::size_t max_chars = 260) const;

    void SetU8(std::uint32_t address, std::uint8_t value);
    void SetU32(std::uint32_t address, std::uint32_t value);
    void SetF32(std::uint32_t address, float value);
    // Hexadecimal text, two characters per byte ("9090" writes two bytes 0x90).
    void SetHex(std::uint32_t address, const std::string& hex);
    void SetText8(std::uint32_t address, const std::string& text, bool terminate);
    void SetText16(std::uint32_t address, const std::string& text);
};

// Heap-backed address space. Ranges are declared with Map; pages are allocated on first write,
// so twelve games in one test process cost only the pages they touch.
class MemoryAddressSpace : public AddressSpace {
public:
    void Map(std::uint32_t address, std::uint32_t size);

    bool Read(std::uint32_t address, void* buffer, std::size_t size) const override;
    bool Write(std::uint32_t address, const void* data, std::size_t size) override;

private:
    static constexpr std::uint32_t PageSize = 4096;
    bool Mapped(std::uint32_t address, std::size_t size) const;

    std::map<std::uint32_t, std::uint32_t> m_ranges; // start -> size
    std::map<std::uint32_t, std::unique_ptr<std::uint8_t[]>> m_pages;
};

std::vector<std::uint8_t> HexBytes(const std::string& hex);

} // namespace sim
