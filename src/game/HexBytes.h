#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvex {

// The value of one hex digit, either case; -1 for any other character.
constexpr int HexDigitValue(char16_t c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// Bytes for the game written in the source as hex text, the way patch listings give them, and
// decoded when the program is compiled: "9090"_hex is a span of two 0x90 bytes. Text of odd
// length or with a character that is no hex digit does not compile.
template <std::size_t N>
struct HexText {
    std::array<std::uint8_t, (N - 1) / 2> bytes{};

    consteval HexText(const char (&text)[N]) {
        if ((N - 1) % 2 != 0) {
            throw "hex text of odd length";
        }
        for (std::size_t i = 0; i + 1 < N; i += 2) {
            bytes[i / 2] = std::uint8_t(Digit(text[i]) * 16 + Digit(text[i + 1]));
        }
    }

    static consteval int Digit(char c) {
        const int value = HexDigitValue(c);
        if (value < 0) {
            throw "not a hex digit";
        }
        return value;
    }
};

template <HexText Text>
consteval std::span<const std::uint8_t> operator""_hex() {
    return Text.bytes;
}

} // namespace tarvex
