// The values that the libraries are compared by.
#pragma once

#include <cstddef>
#include <string>

inline constexpr int kSmallInteger = 1234567;
inline constexpr std::size_t kLargeOctets = 65536;
inline constexpr const char* kSmallOid = "1.2.840.113549.1.9.16";
inline constexpr const char* kShortText = "An organisation with a name of forty ch.";

// 2048 bits as hexadecimal digits, the top bit set.
inline std::string large_integer() {
    std::string digits;
    for (int i = 0; i < 64; ++i) {
        digits += "c3d25a17";
    }
    return digits;
}
