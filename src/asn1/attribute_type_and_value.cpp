#include "asn1/attribute_type_and_value.h"

#include <cstring>
#include <string>

#include "asn1/attribute_type_register.h"
#include "asn1/codec.h"
#include "asn1/name_traits.h"
#include "asn1/object_identifier.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

CAttributeTypeAndValue::CAttributeTypeAndValue() : type_("") {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const CAttrValue& value)
    : type_(value.get_oid()), value_(value.get_value()) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const char* oid, const CBlob& der)
    : type_(oid), value_(der) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value,
                                               StringType stringType)
    : CAttributeTypeAndValue(CATAVRegister::makeATAV(type, value, stringType)) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* text, StringType stringType)
    : CAttributeTypeAndValue(CATAVRegister::makeATAV(text, stringType)) {}

CWStringProxy CAttributeTypeAndValue::get_type_str() const {
    return CATAVRegister::typeToStr(get_type());
}

CWStringProxy CAttributeTypeAndValue::get_value_str() const {
    return CATAVRegister::valueToStr(get_type(), value_);
}

void CAttributeTypeAndValue::put_type(const char* oid) {
    type_ = CStringProxy(oid);
}

void CAttributeTypeAndValue::put_type_str(const wchar_t* type) {
    type_ = CATAVRegister::typeFromStr(type);
}

void CAttributeTypeAndValue::put_value(const CBlob& der) {
    value_ = der;
}

void CAttributeTypeAndValue::put_value_str(const wchar_t* value, StringType stringType) {
    value_ = CATAVRegister::valueFromStr(get_type(), value, stringType);
}

CWStringProxy CAttributeTypeAndValue::toString() const {
    std::wstring text = get_type_str().c_str();
    text += L'=';
    text += get_value_str().c_str();
    return CWStringProxy(text.c_str());
}

void CAttributeTypeAndValue::fromString(const wchar_t* text, StringType stringType) {
    *this = CATAVRegister::makeATAV(text, stringType);
}

bool operator==(const CAttributeTypeAndValue& a, const CAttributeTypeAndValue& b) noexcept {
    return std::strcmp(a.get_type(), b.get_type()) == 0 && a.value_ == b.value_;
}

CBlob CAttributeTypeAndValue::encode() const {
    return asn1Encode<ASN1T_AttributeTypeAndValue_traits, CAttributeTypeAndValue>(*this);
}

void CAttributeTypeAndValue::decode(const CBlob& der) {
    asn1Decode<ASN1T_AttributeTypeAndValue_traits, CAttributeTypeAndValue>(der, *this);
}

// AttributeTypeAndValue ::= SEQUENCE {
//     type   OBJECT IDENTIFIER,
//     value  ANY DEFINED BY type }

void ASN1T_AttributeTypeAndValue_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                             const CAttributeTypeAndValue& value) {
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.type, value.get_type());
    Asn1TObject_traits::set(ctxt, local.value, value.get_value());
    ASN1BERDecodeBuffer check;
    if (asn1data::asn1DTC_AttributeTypeAndValue(check.getCtxtPtr(), &local) != 0)
        failCodec();
    copy(ctxt, local, record);
}

void ASN1T_AttributeTypeAndValue_traits::get(const ASN1_T& record, CAttributeTypeAndValue& value) {
    value.put_type(toOID(record.type).c_str());
    CBlob der;
    Asn1TObject_traits::get(record.value, der);
    value.put_value(der);
}

void ASN1T_AttributeTypeAndValue_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_AttributeTypeAndValue(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
