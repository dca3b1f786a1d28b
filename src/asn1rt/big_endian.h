// Characters of 16 and 32 bits between host order and the big-endian order of the encodings.
#pragma once

#include <bit>
#include <cstdint>

namespace asn1rt {

inline std::uint16_t big_endian(std::uint16_t value) {
    return std::endian::native == std::endian::little ? __builtin_bswap16(value) : value;
}

inline std::uint32_t big_endian(std::uint32_t value) {
    return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
}

} // namespace asn1rt
