#include "asn1/attr_value.h"

#include <cstring>

namespace Halcyon::ASN1 {

CAttrValue::CAttrValue() : oid_("") {}

CAttrValue::CAttrValue(const char* oid) : oid_(oid) {}

CAttrValue::CAttrValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

bool operator==(const CAttrValue& a, const CAttrValue& b) noexcept {
    return std::strcmp(a.get_oid(), b.get_oid()) == 0 && a.get_value() == b.get_value();
}

} // namespace Halcyon::ASN1
