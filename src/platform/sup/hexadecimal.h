// Bytes as hexadecimal digits, for the platform libraries. Two digits a byte, nothing between.
#pragma once

#include <span>
#include <string>

namespace basalt {

enum class HexCase { kLower, kUpper };

template <class Octet>
std::string hexadecimal(std::span<Octet> bytes, HexCase letters = HexCase::kLower) {
    static_assert(sizeof(Octet) == 1);
    const char* const digits = letters == HexCase::kLower ? "0123456789abcdef" : "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const Octet octet : bytes) {
        const auto value = static_cast<unsigned char>(octet);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}

} // namespace basalt
