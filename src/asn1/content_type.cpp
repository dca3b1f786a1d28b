#include "asn1/content_type.h"

#include "asn1/codec.h"
#include "asn1/object_identifier.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidContentType[] = "1.2.840.113549.1.9.3";

} // namespace

CAttrContentType::CAttrContentType(const char* contentType)
    : CAttrValue(oidContentType), contentType_(contentType) {
    encode();
}

CAttrContentType::CAttrContentType(const CBlob& der)
    : CAttrValue(oidContentType, der), contentType_("") {
    decode();
}

// ContentType ::= OBJECT IDENTIFIER

void CAttrContentType::encode() {
    value() = asn1Encode<ASN1TObjId_traits, const char*>(get_contentType());
}

void CAttrContentType::decode() {
    asn1Decode<ASN1TObjId_traits, CStringProxy>(get_value(), contentType_);
}

void CAttrContentType::put_contentType(const char* contentType) {
    contentType_ = CStringProxy(contentType);
    encode();
}

} // namespace Halcyon::ASN1
