// A bounds-checked cursor over BER: definite lengths of any form, indefinite lengths, tags of any
// number. It copies nothing; every element is a view into the bytes it was made of. Faults:
// CRYPT_E_ASN1_EOD when the bytes end too soon, CRYPT_E_ASN1_BADTAG for another tag than wanted,
// CRYPT_E_ASN1_LARGE when indefinite lengths are nested deeper than 32, CRYPT_E_ASN1_CORRUPT for
// the rest. After a fault the reader isn't used again.
#pragma once

#include <basalt/coding/fault.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

namespace basalt {

using Bytes = std::span<const BYTE>;

/// Identifier octets of the universal types, constructed where DER has them so.
namespace tag {
inline constexpr BYTE kBoolean = 0x01;
inline constexpr BYTE kInteger = 0x02;
inline constexpr BYTE kBitString = 0x03;
inline constexpr BYTE kOctetString = 0x04;
inline constexpr BYTE kNull = 0x05;
inline constexpr BYTE kOid = 0x06;
inline constexpr BYTE kEnumerated = 0x0A;
inline constexpr BYTE kUtcTime = 0x17;
inline constexpr BYTE kGeneralizedTime = 0x18;
inline constexpr BYTE kSequence = 0x30;
inline constexpr BYTE kSet = 0x31;
constexpr BYTE context(unsigned number) {
    return static_cast<BYTE>(0x80 | number);
}
constexpr BYTE context_constructed(unsigned number) {
    return static_cast<BYTE>(0xA0 | number);
}
} // namespace tag

/// One element: its first identifier octet, its contents, and all its bytes with header and end
/// marks.
struct Element {
    BYTE tag = 0;
    bool indefinite = false;
    Bytes contents;
    Bytes whole;

    bool constructed() const { return (tag & 0x20) != 0; }
};

class DerReader {
public:
    explicit DerReader(Bytes bytes) : rest_(bytes) {}

    bool at_end() const { return rest_.empty(); }
    Bytes rest() const { return rest_; }

    /// The next identifier octet, or 0 at the end.
    BYTE peek() const { return rest_.empty() ? BYTE{0} : rest_[0]; }

    /// Takes the next element whatever it is; the cursor stands behind it.
    Element take();

    /// Takes the next element, which has this identifier octet.
    Element take(BYTE wanted);

    /// Takes the next element if it has this identifier octet; else gives an element of tag 0 and
    /// stays.
    Element take_if(BYTE wanted);

    void expect_end() const { require(at_end(), CRYPT_E_ASN1_CORRUPT); }

private:
    Bytes rest_;
};

/// The only element of the bytes.
Element sole_element(Bytes bytes);
Element sole_element(Bytes bytes, BYTE wanted);

/// The dotted text of an OBJECT IDENTIFIER's contents. Arcs up to 2^64-1.
std::string oid_text(Bytes contents);

/// Appends the dotted text to `out`: at most 4 characters for a byte of contents and 2 more.
void append_oid_text(Bytes contents, std::string& out);

/// The contents of an OCTET STRING (or an implicitly tagged one) whose pieces are put together.
/// `storage` is used only for strings in pieces; the result is a view into it or into the element.
Bytes octets_of(const Element& element, std::string& storage);

/// A BIT STRING's bits and the count of unused ones at their end.
struct Bits {
    Bytes bytes;
    DWORD unused = 0;
};
Bits bits_of(Bytes contents);

/// An INTEGER's contents without superfluous sign bytes; CORRUPT when there are none at all.
Bytes minimal_integer(Bytes contents);

/// A small non-negative INTEGER; CORRUPT when it is negative or doesn't fit into 31 bits.
DWORD small_integer(Bytes contents);

bool boolean_of(Bytes contents);

/// UTCTime or GeneralizedTime in UTC (with Z, or an offset) as FILETIME. Fractions of a second are
/// taken to 100 ns. Years of UTCTime are 1950 to 2049.
FILETIME time_of(const Element& element);

inline bool same_bytes(Bytes a, Bytes b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

} // namespace basalt
