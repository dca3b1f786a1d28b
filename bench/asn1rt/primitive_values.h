// The values that the libraries are compared by.
#pragma once

#include <cstddef>
#include <string>

inline constexpr int small_integer = 1234567;
inline constexpr std::size_t large_octets = 65536;
inline constexpr const char* small_oid = "1.2.840.113549.1.9.16";
inline constexpr const char* short_text = "An organisation with a name of forty ch.";

// 2048 bits as hexadecimal digits, the top bit set.
inline std::string large_integer() {
    std::string digits;
    for (int i = 0; i < 64; ++i)
        digits += "c3d25a17";
    return digits;
}
