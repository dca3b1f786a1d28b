// Encodable: the DER of a value class through its traits. A class says who its traits are; its
// source instantiates Encodable beside them.
#pragma once

#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// `Traits` is what codec.h calls a traits class, or one that has yet to be defined. Both functions
// throw CAtlException: 0x80093101 for what can't be written or read, 0x80093106 without memory, and
// what the traits throw.
template <class Value, class Traits>
class Encodable {
public:
    // The DER.
    CBlob encode() const;
    // Replaces the value. Bytes behind the first complete element aren't looked at. What can't be
    // read leaves the value as it was.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
