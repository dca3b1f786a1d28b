// CPKIFailureInfo: the bits that say why a request was refused (RFC 3161, 2.4.2).
#pragma once

#include "base/blob.h"

namespace Halcyon::ASN1 {

// Bit n of the number, 1 << n, stands for bit n of the BIT STRING.
class CPKIFailureInfo {
public:
    explicit CPKIFailureInfo(unsigned int value) noexcept : value_(value) {}

    unsigned int get_value() const noexcept { return value_; }
    void put_value(unsigned int value) noexcept { value_ = value; }
    // Throw CAtlException 0x80070057 for a bit number of 32 or more.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    // The DER BIT STRING, without trailing zero bits.
    CBlob encode() const;
    // Throws 0x80093101, for a string of more than 32 bits too.
    void decode(const CBlob& der);

private:
    unsigned int value_;
};

inline bool operator==(const CPKIFailureInfo& a, const CPKIFailureInfo& b) noexcept {
    return a.get_value() == b.get_value();
}
inline bool operator!=(const CPKIFailureInfo& a, const CPKIFailureInfo& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
