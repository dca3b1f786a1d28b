// CAttrValue: an attribute's type with one encoded value, the base of the typed attributes.
#pragma once

#include <list>

#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// The type is dotted text, the value is DER. Not polymorphic: a typed attribute that is copied into
// one keeps its encoded form only.
class CAttrValue {
public:
    CAttrValue();
    explicit CAttrValue(const char* oid);
    CAttrValue(const char* oid, const CBlob& value);

    const char* get_oid() const noexcept { return oid_.c_str(); }
    const CBlob& get_value() const noexcept { return value_; }
    CBlob& value() noexcept { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

// Type and value byte for byte.
bool operator==(const CAttrValue& a, const CAttrValue& b) noexcept;
inline bool operator!=(const CAttrValue& a, const CAttrValue& b) noexcept {
    return !(a == b);
}

// In the order of the encoding or of insertion. Equal pairwise in that order.
class CAttrValueList : public std::list<CAttrValue> {
public:
    using std::list<CAttrValue>::list;
};

} // namespace Halcyon::ASN1
