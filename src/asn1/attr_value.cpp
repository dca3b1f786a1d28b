#include "asn1/attr_value.h"

#include <cstring>

namespace Halcyon::ASN1 {

CAttrValue::CAttrValue() : oid_("") {}

CAttrValue::CAttrValue(char const* oid) : oid_(oid) {}

CAttrValue::CAttrValue(char const* oid, CBlob const& value) : oid_(oid), value_(value) {}

bool operator==(CAttrValue const& a, CAttrValue const& b) noexcept {
    return std::strcmp(a.get_oid(), b.get_oid()) == 0 && a.get_value() == b.get_value();
}

} // namespace Halcyon::ASN1
