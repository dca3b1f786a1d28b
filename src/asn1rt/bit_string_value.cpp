// Single bits.
#include <chronoseal/asn1rt/bit_string_value.h>

#include <bit>

#include <chronoseal/asn1rt/status.h>

namespace {

unsigned char mask_of(std::uint32_t index) {
    return static_cast<unsigned char>(0x80U >> (index % 8));
}

} // namespace

int rtSetBit(unsigned char* bytes, std::uint32_t count, std::uint32_t index) {
    if (index >= count) {
        return rtStatusBitIndex;
    }
    const int previous = bytes[index / 8] & mask_of(index);
    bytes[index / 8] |= mask_of(index);
    return previous;
}

int rtClearBit(unsigned char* bytes, std::uint32_t count, std::uint32_t index) {
    if (index >= count) {
        return rtStatusBitIndex;
    }
    const int previous = bytes[index / 8] & mask_of(index);
    bytes[index / 8] &= static_cast<unsigned char>(~mask_of(index));
    return previous;
}

int rtTestBit(const unsigned char* bytes, std::uint32_t count, std::uint32_t index) {
    return index < count ? bytes[index / 8] & mask_of(index) : 0;
}

int rtOctetBitLen(unsigned char octet) {
    return octet == 0 ? 0 : 8 - std::countr_zero(octet);
}
