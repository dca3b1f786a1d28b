// CExtValue, CExtension and CExtensions: an extension's type with its value, with its mark of
// criticality, and the list of such (RFC 5280, 4.1.2.9).
#pragma once

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/typed_list.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_Extension_traits;
struct ASN1T_Extensions_traits;

// The type is dotted text; the value is its DER without the OCTET STRING around it. Not
// polymorphic.
class CExtValue {
public:
    CExtValue() : oid_("") {}
    explicit CExtValue(const char* oid) : oid_(oid) {}
    CExtValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

    const char* get_oid() const noexcept { return oid_.c_str(); }
    const CBlob& get_value() const noexcept { return value_; }
    CBlob& value() noexcept { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

class CExtension : public Encodable<CExtension, ASN1T_Extension_traits> {
public:
    CExtension() = default;
    CExtension(const CExtValue& value, bool critical) : value_(value), critical_(critical) {}

    const char* get_extnID() const noexcept { return value_.get_oid(); }
    // The DER without the OCTET STRING around it.
    const CBlob& get_extnValue() const noexcept { return value_.get_value(); }
    bool get_critical() const noexcept { return critical_; }

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for a value that
    // doesn't fit a known type.
    using Encodable::encode;

private:
    CExtValue value_;
    bool critical_ = false;
};

// The marks, then types and values byte for byte.
bool operator==(const CExtension& a, const CExtension& b) noexcept;

// Through `insert` a type stands once at most.
class CExtensions : public TypedList<CExtension>,
                    public Encodable<CExtensions, ASN1T_Extensions_traits> {
public:
    using TypedList::TypedList;

    // The DER. Throws as `CExtension`.
    using Encodable::encode;
};

} // namespace Halcyon::ASN1
