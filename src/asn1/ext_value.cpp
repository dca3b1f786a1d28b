#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

CExtValue::CExtValue() : oid_("") {}

CExtValue::CExtValue(char const* oid) : oid_(oid) {}

CExtValue::CExtValue(char const* oid, CBlob const& value) : oid_(oid), value_(value) {}

} // namespace Halcyon::ASN1
