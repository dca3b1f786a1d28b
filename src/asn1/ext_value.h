// CExtValue: an extension's type with its encoded value, the base of the typed extensions.
#pragma once

#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// The type is dotted text; the value is its DER without the OCTET STRING around it. Not
// polymorphic.
class CExtValue {
public:
    CExtValue();
    explicit CExtValue(const char* oid);
    CExtValue(const char* oid, const CBlob& value);

    const char* get_oid() const noexcept { return oid_.c_str(); }
    const CBlob& get_value() const noexcept { return value_; }
    CBlob& value() noexcept { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

} // namespace Halcyon::ASN1
