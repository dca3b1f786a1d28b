#include <chronoseal/asn1/typed_attribute.h>

#include <chronoseal/asn1/attribute_type_register.h>
#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {

// ContentType ::= OBJECT IDENTIFIER

template <>
void TypedAttribute<CStringProxy, kContentType>::encode() {
    value() = asn1Encode<ASN1TObjId_traits, const char*>(field_.c_str());
}

template <>
void TypedAttribute<CStringProxy, kContentType>::decode() {
    asn1Decode<ASN1TObjId_traits, CStringProxy>(get_value(), field_);
}

// MessageDigest ::= OCTET STRING

template <>
void TypedAttribute<CBlob, kMessageDigest>::encode() {
    value() = toOctetString(field_);
}

template <>
void TypedAttribute<CBlob, kMessageDigest>::decode() {
    field_ = fromOctetString(get_value());
}

// SigningTime ::= Time

template <>
void TypedAttribute<Owned<CTimeChoice>, kSigningTime>::encode() {
    value() = field_->encode();
}

template <>
void TypedAttribute<Owned<CTimeChoice>, kSigningTime>::decode() {
    field_->decode(get_value());
}

CAttrStringValue::CAttrStringValue(const char* oid, const char* text)
    : CAttrStringValue(oid, towstring(text).c_str()) {}

CAttrStringValue::CAttrStringValue(const char* oid, const wchar_t* text)
    : CAttrValue(oid, CATAVRegister::valueFromStr(oid, text, stringTypeDefault)) {}

} // namespace Halcyon::ASN1
