// CExtension: an extension with its mark of criticality (RFC 5280, 4.1.2.9).
#pragma once

#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

class CExtension {
public:
    CExtension() = default;
    CExtension(CExtValue const& value, bool critical);

    char const* get_extnID() const noexcept { return value_.get_oid(); }
    // The DER without the OCTET STRING around it.
    CBlob const& get_extnValue() const noexcept { return value_.get_value(); }
    bool get_critical() const noexcept { return critical_; }

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for a value that
    // doesn't fit a known type.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    CExtValue value_;
    bool critical_ = false;
};

// The marks, then types and values byte for byte.
bool operator==(CExtension const& a, CExtension const& b) noexcept;
inline bool operator!=(CExtension const& a, CExtension const& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
