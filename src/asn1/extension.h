// CExtension: an extension with its mark of criticality (RFC 5280, 4.1.2.9).
#pragma once

#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

class CExtension {
public:
    CExtension() = default;
    CExtension(const CExtValue& value, bool critical);

    const char* get_extnID() const noexcept { return value_.get_oid(); }
    // The DER without the OCTET STRING around it.
    const CBlob& get_extnValue() const noexcept { return value_.get_value(); }
    bool get_critical() const noexcept { return critical_; }

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for a value that
    // doesn't fit a known type.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CExtValue value_;
    bool critical_ = false;
};

// The marks, then types and values byte for byte.
bool operator==(const CExtension& a, const CExtension& b) noexcept;
inline bool operator!=(const CExtension& a, const CExtension& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
