// CBigInteger: an ASN.1 INTEGER of any size, kept as its content octets, and the source of random
// ones, from which nonces are made. Failures are thrown as CAtlException.
#pragma once

#include <compare>

#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// A big-endian two's-complement number in a blob. The blob's own operations are open to the caller
// (`pbData`, `cbData`, assignment of bytes); comparison is by value and not by bytes. Leading sign
// bytes are kept as they were put. An empty value stands for a number that isn't set. A plain
// value: one thread at a time.
class CBigInteger : public CBlob {
public:
    CBigInteger() noexcept = default;
    // A copy of `size` bytes, most significant first.
    CBigInteger(const unsigned char* data, unsigned long size) : CBlob(data, size) {}
    // The value 0 in `size` bytes.
    explicit CBigInteger(unsigned long size) : CBlob(size) {}
    // The bytes of a blob, too.
    using CBlob::operator=;

    // Adds one. The carry stops at the byte with the index `lowestIndex` (0 is the most
    // significant) and is lost there, so that all ones wrap to all zeros. An empty value stays
    // empty.
    void increment(int lowestIndex) noexcept;
    CBigInteger& operator++() noexcept;
    CBigInteger operator++(int);

    // Adds a number of the same size in place, without regard to signs; the size never grows.
    // Returns the carry out of the first byte, 0 or 1. Throws 0x80070057 if the sizes differ.
    int add(const CBigInteger& other);

    // Below, equal to or above 0 as this value is less than, equal to or greater than `other`.
    // Redundant sign bytes don't count: 00 01 equals 01. An empty value stands at zero, but just
    // below a 0 that has bytes. Of two negative numbers that differ in length once their sign bytes
    // are gone, the longer one counts as the greater, against arithmetic: FF 00 00 is above FF 00.
    int compare(const CBigInteger& other) const noexcept;

    // A copy with the top bit of the first byte cleared: not the arithmetic absolute value, FF
    // gives 7F.
    CBigInteger abs() const;

    // The DER INTEGER. Throws 0x80093101 for an empty value.
    CBlob encode() const;
    // Throws 0x80093101 if `der` doesn't begin with an INTEGER; the value stays as it was then.
    void decode(const CBlob& der);
};

inline bool operator==(const CBigInteger& a, const CBigInteger& b) noexcept {
    return a.compare(b) == 0;
}
inline std::strong_ordering operator<=>(const CBigInteger& a, const CBigInteger& b) noexcept {
    return a.compare(b) <=> 0;
}

// `size` random bytes, as they come: the top bit isn't cleared (see `CBigInteger::abs`) and a first
// byte of zero stays. `hProv` is a provider handle that stays the caller's; 0 takes a provider of
// its own for the call (type 75, verification only). Throws the platform's last error as a result
// code.
CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long size);

// The step under `CBigInteger::increment`, on `size` bytes. A size of 0 or below does nothing.
void ASN1T_BigInt_inc(unsigned char* bytes, int size, int lowestIndex) noexcept;

} // namespace Halcyon::ASN1
