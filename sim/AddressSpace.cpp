#include "AddressSpace.h"

#include <cstring>

namespace sim {

std::vector<std::uint8_t> HexBytes(const std::string& hex) {
    auto nibble = [](char c) -> int {
        if (c >= '0' && c <= '9') {
            return c - '0';
        }
        if (c >= 'a' && c <= 'f') {
            return c - 'a' + 10;
        }
        if (c >= 'A' && c <= 'F') {
            return c - 'A' + 10;
        }
        return 0;
    };
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(std::uint8_t(nibble(hex[i]) * 16 + nibble(hex[i + 1])));
    }
    return bytes;
}

std::uint8_t AddressSpace::U8(std::uint32_t address) const {
    std::uint8_t value = 0;
    Read(address, &value, 1);
    return value;
}

std::uint32_t AddressSpace::U32(std::uint32_t address) const {
    std::uint8_t b[4] = {};
    if (!Read(address, b, 4)) {
        return 0;
    }
    return std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 |
           std::uint32_t(b[3]) << 24;
}

float AddressSpace::F32(std::uint32_t address) const {
    const std::uint32_t bits = U32(address);
    float value;
    std::memcpy(&value, &bits, 4);
    return value;
}

std::vector<std::uint8_t> AddressSpace::Bytes(std::uint32_t address, std::size_t size) const {
    std::vector<std::uint8_t> bytes(size);
    if (!Read(address, bytes.data(), size)) {
        return {};
    }
    return bytes;
}

std::string AddressSpace::Text16(std::uint32_t address, std::size_t max_chars) const {
    std::vector<char16_t> units;
    for (std::size_t i = 0; i < max_chars; ++i) {
        std::uint8_t c[2] = {};
        if (!Read(address + std::uint32_t(2 * i), c, 2)) {
            break;
        }
        const char16_t unit = char16_t(c[0] | (c[1] << 8));
        if (unit == 0) {
            break;
        }
        units.push_back(unit);
    }
    std::string text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        std::uint32_t code = units[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
            units[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (units[++i] - 0xDC00);
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = '?';
        }
        if (code < 0x80) {
            text.push_back(char(code));
        } else if (code < 0x800) {
            text.push_back(char(0xC0 | (code >> 6)));
            text.push_back(char(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            text.push_back(char(0xE0 | (code >> 12)));
            text.push_back(char(0x80 | ((code >> 6) & 0x3F)));
            text.push_back(char(0x80 | (code & 0x3F)));
        } else {
            text.push_back(char(0xF0 | (code >> 18)));
            text.push_back(char(0x80 | ((code >> 12) & 0x3F)));
            text.push_back(char(0x80 | ((code >> 6) & 0x3F)));
            text.push_back(char(0x80 | (code & 0x3F)));
        }
    }
    return text;
}

std::string AddressSpace::Text8(std::uint32_t address, std::size_t max_chars) const {
    std::string text;
    for (std::size_t i = 0; i < max_chars; ++i) {
        const std::uint8_t c = U8(address + std::uint32_t(i));
        if (c == 0) {
            break;
        }
        text.push_back(char(c));
    }
    return text;
}

void AddressSpace::SetU8(std::uint32_t address, std::uint8_t value) {
    Write(address, &value, 1);
}

void AddressSpace::SetU32(std::uint32_t address, std::uint32_t value) {
    const std::uint8_t b[4] = {std::uint8_t(value), std::uint8_t(value >> 8),
                               std::uint8_t(value >> 16), std::uint8_t(value >> 24)};
    Write(address, b, 4);
}

void AddressSpace::SetF32(std::uint32_t address, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    SetU32(address, bits);
}

void AddressSpace::SetHex(std::uint32_t address, const std::string& hex) {
    const std::vector<std::uint8_t> bytes = HexBytes(hex);
    Write(address, bytes.data(), bytes.size());
}

void AddressSpace::SetText8(std::uint32_t address, const std::string& text, bool terminate) {
    Write(address, text.data(), text.size());
    if (terminate) {
        SetU8(address + std::uint32_t(text.size()), 0);
    }
}

void AddressSpace::SetText16(std::uint32_t address, const std::string& text) {
    std::vector<std::uint8_t> wide;
    for (char c : text) {
        wide.push_back(std::uint8_t(c));
        wide.push_back(0);
    }
    wide.push_back(0);
    wide.push_back(0);
    Write(address, wide.data(), wide.size());
}

void MemoryAddressSpace::Map(std::uint32_t address, std::uint32_t size) {
    m_ranges[address] = size;
}

bool MemoryAddressSpace::Mapped(std::uint32_t address, std::size_t size) const {
    auto it = m_ranges.upper_bound(address);
    if (it == m_ranges.begin()) {
        return false;
    }
    --it;
    return std::uint64_t(address) + size <= std::uint64_t(it->first) + it->second;
}

bool MemoryAddressSpace::Read(std::uint32_t address, void* buffer, std::size_t size) const {
    if (!Mapped(address, size)) {
        return false;
    }
    auto* out = static_cast<std::uint8_t*>(buffer);
    while (size > 0) {
        const std::uint32_t page = address & ~(PageSize - 1);
        const std::uint32_t offset = address - page;
        const std::size_t chunk = std::min<std::size_t>(size, PageSize - offset);
        auto it = m_pages.find(page);
        if (it == m_pages.end()) {
            std::memset(out, 0, chunk);
        } else {
            std::memcpy(out, it->second.get() + offset, chunk);
        }
        out += chunk;
        address += std::uint32_t(chunk);
        size -= chunk;
    }
    return true;
}

bool MemoryAddressSpace::Write(std::uint32_t address, const void* data, std::size_t size) {
    if (!Mapped(address, size)) {
        return false;
    }
    const auto* in = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        const std::uint32_t page = address & ~(PageSize - 1);
        const std::uint32_t offset = address - page;
        const std::size_t chunk = std::min<std::size_t>(size, PageSize - offset);
        auto& bytes = m_pages[page];
        if (!bytes) {
            bytes = std::make_unique<std::uint8_t[]>(PageSize);
            std::memset(bytes.get(), 0, PageSize);
        }
        std::memcpy(bytes.get() + offset, in, chunk);
        in += chunk;
        address += std::uint32_t(chunk);
        size -= chunk;
    }
    return true;
}

} // namespace sim
