// Single bits of a BIT STRING's bytes. Bit 0 is the most significant bit of the first byte,
// everywhere. The counts are in bits; none of the functions touches a bit at or behind the count.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

extern "C" {

// Set or clear one bit, and answer its previous value in place (0, or the bit's mask). -29 when
// `index` is at or behind `count`.
CHRONOSEAL_API int rtSetBit(unsigned char* bytes, std::uint32_t count, std::uint32_t index);
CHRONOSEAL_API int rtClearBit(unsigned char* bytes, std::uint32_t count, std::uint32_t index);

// The bit in place (0, or its mask); 0 when `index` is at or behind `count`.
CHRONOSEAL_API int rtTestBit(const unsigned char* bytes, std::uint32_t count, std::uint32_t index);

// The length in bits of a string that ends in this byte, counted from the byte's first bit: the
// position of its lowest set bit plus one. 0x80 gives 1, 0x01 gives 8, 0x00 gives 0.
CHRONOSEAL_API int rtOctetBitLen(unsigned char octet);

} // extern "C"
