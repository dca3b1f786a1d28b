// The records in which value records hold strings and open types: a count and a pointer that owns
// nothing. They are trivial, can stand in unions and in zeroed blocks, and can be filled by hand. A
// pointer with a count of 0 may be null.
#pragma once

#include <cstdint>

struct ASN1TDynOctStr {
    std::uint32_t numocts;
    const unsigned char* data;
};

struct ASN1TDynBitStr {
    std::uint32_t numbits;
    const unsigned char* data;
};

// One complete encoded element, tag and length included.
struct ASN1TOpenType {
    std::uint32_t numocts;
    const unsigned char* data;
};

// An open type whose content the schema may know: `decoded` is a record of that type, or null.
struct Asn1TObject : ASN1TOpenType {
    void* decoded;
};

// BMPString and UniversalString: characters in host order.
struct ASN1TBMPText {
    std::uint32_t nchars;
    const std::uint16_t* data;
};

struct ASN1TUniversalText {
    std::uint32_t nchars;
    const std::uint32_t* data;
};
