#include "asn1/string_attribute.h"

#include "asn1/attribute_type_register.h"
#include "asn1/text_width.h"

namespace Halcyon::ASN1 {

CAttrStringValue::CAttrStringValue(const char* oid, const char* text)
    : CAttrStringValue(oid, towstring(text).c_str()) {}

CAttrStringValue::CAttrStringValue(const char* oid, const wchar_t* text)
    : CAttrValue(oid, CATAVRegister::valueFromStr(oid, text, stringTypeDefault)) {}

} // namespace Halcyon::ASN1
