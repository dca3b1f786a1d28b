// The members of the SET OF that the libraries are compared by.
#pragma once

#include <array>
#include <cstdint>

using Member = std::array<unsigned char, 4>;

inline Member member(std::int64_t i) {
    return {static_cast<unsigned char>(i >> 24), static_cast<unsigned char>(i >> 16),
            static_cast<unsigned char>(i >> 8), static_cast<unsigned char>(i)};
}
