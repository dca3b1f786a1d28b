#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

CExtValue::CExtValue() : oid_("") {}

CExtValue::CExtValue(const char* oid) : oid_(oid) {}

CExtValue::CExtValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

} // namespace Halcyon::ASN1
