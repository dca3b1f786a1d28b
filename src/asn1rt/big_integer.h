// Unbounded integers between text (radix 2, 8, 10, 16) and bytes. Failures are latched on the
// context and returned: -12 no memory or more decimal digits than limits.h allows, -17 output too
// small, -18 malformed text, -30 unusable radix. A number whose parse failed is of no use but can
// still be freed.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;

// Sign and magnitude. A caller may lend storage: mag and allocated set, dynamic clear. A number
// that outgrows it moves to the type heap and becomes dynamic.
struct rtBigInt {
    std::int32_t numocts; // bytes in use in mag
    unsigned char* mag;   // most significant byte first, without leading zero bytes
    std::int32_t sign;    // 1, -1, or 0 for zero
    std::int32_t allocated;
    unsigned char dynamic; // 1: mag is a block of the context's type heap
};

extern "C" {

CHRONOSEAL_API void rtBigIntInit(rtBigInt* number);

// Parses `text`. Blanks (0x20 only) in front are skipped. Radix 0 means 10 unless "0b", "0o" or
// "0x" says otherwise; with a given radix a prefix isn't known. "-" is taken in radix 8 and 10
// only; "+" is never taken. In radix 2, 8 and 16 a text whose first digit isn't "0", and which sets
// the top bit of its first byte, is a negative number in two's complement: "0x80" is -128, "0x080"
// is 128. In radix 8 and 10 the digits are read in pairs, counted from the end, and the first
// character of a pair may be a blank or a sign in the place of a digit ("1+5" is 105).
CHRONOSEAL_API int rtBigIntSetStr(ASN1CTXT* ctxt, rtBigInt* number, const char* text, int radix);

// Bytes of the two's complement form, at least 1.
CHRONOSEAL_API int rtBigIntGetDataLen(const rtBigInt* number);

// Writes the two's complement form, most significant byte first. Answers the bytes written, or -17.
CHRONOSEAL_API int rtBigIntGetData(ASN1CTXT* ctxt, const rtBigInt* number, unsigned char* out,
                                   int capacity);

// An upper bound of the digits in this radix, without sign and terminator. 0 for a radix that isn't
// one of the four.
CHRONOSEAL_API int rtBigIntDigitsNum(const rtBigInt* number, int radix);

// Writes the number as text with its terminator, without a prefix: 0, or -17 or -30. Radix 2 and 16
// show the two's complement bytes in full (-1 is "FF" in radix 16), 8 and 10 a "-" and the digits.
CHRONOSEAL_API int rtBigIntToString(ASN1CTXT* ctxt, const rtBigInt* number, int radix, char* out,
                                    int capacity);

// Gives a dynamic magnitude back to the type heap.
CHRONOSEAL_API void rtBigIntFree(ASN1CTXT* ctxt, rtBigInt* number);

// Compares two texts as numbers, each with its own prefix: negative, 0 or positive. Texts that
// don't parse count as 0, and the failure is latched.
CHRONOSEAL_API int rtBigIntStrCompare(ASN1CTXT* ctxt, const char* a, const char* b);

} // extern "C"
