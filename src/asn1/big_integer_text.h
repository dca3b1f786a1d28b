// The text form in which schema records carry an INTEGER of any size: "0x" and two upper-case
// hexadecimal digits a byte. Failures are thrown as CAtlException.
#pragma once

#include <chronoseal/asn1/big_integer.h>

struct ASN1CTXT;

namespace Halcyon::ASN1 {

// Reads the text form. Throws 0x80093101, `result` being unchanged, if it is shorter than three
// characters or doesn't begin with "0x". An odd number of digits is filled up with a zero in front
// if the first digit is 0; otherwise the last digit is lost: 0x123 gives the one byte 12. Reading
// ends silently at anything that isn't a pair of digits.
void StringToBigInteger(const char* text, CBigInteger& result);
// The same under the name that goes with schema records.
void ASN1StringToBigInteger(const char* text, CBigInteger& result);

// Writes the text form with its terminating zero, which counts in the length of `text`.
void BigIntegerToString(const CBigInteger& value, CBlob& text);

// The text form on the context's heap, where it lives as long as the heap. Throws 0x80093106
// without memory.
const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value);

// The text form of four bytes, leading zeros included, on the context's heap. A value from
// 0x80000000 up is a negative INTEGER on the wire. Throws 0x8007000E without memory.
const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value);

// Folds the bytes of a text form by result * 11 + byte: the inverse of the function above only for
// numbers of one byte. Throws 0x80070057 for more than four bytes, and as `StringToBigInteger`.
unsigned int ASN1BigIntegerToDWORD(const char* text);

} // namespace Halcyon::ASN1
