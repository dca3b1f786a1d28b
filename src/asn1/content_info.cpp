#include "asn1/content_info.h"

#include "asn1/codec.h"
#include "asn1/content_info_traits.h"
#include "asn1/heap_copy.h"
#include "asn1/object_identifier.h"

namespace Halcyon::ASN1 {

CContentInfo::CContentInfo() : contentType_("") {}

CContentInfo::CContentInfo(const char* contentType, const CBlob& content)
    : contentType_(contentType), content_(content) {}

void CContentInfo::put_contentType(const char* contentType) {
    contentType_ = CStringProxy(contentType);
}

void CContentInfo::put_content(const CBlob& content) {
    content_ = content;
}

CBlob CContentInfo::encode() const {
    return asn1Encode<ASN1T_ContentInfo_traits, CContentInfo>(*this);
}

void CContentInfo::decode(const CBlob& der) {
    asn1Decode<ASN1T_ContentInfo_traits, CContentInfo>(der, *this);
}

// ContentInfo ::= SEQUENCE {
//     contentType  OBJECT IDENTIFIER,
//     content      [0] EXPLICIT ANY DEFINED BY contentType }

void ASN1T_ContentInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value) {
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.contentType, value.get_contentType());
    heapOctets(ctxt, local.content, value.get_content());
    ASN1BERDecodeBuffer check;
    if (asn1data::asn1DTC_ContentInfo(check.getCtxtPtr(), &local) != 0)
        failCodec();
    copy(ctxt, local, record);
}

void ASN1T_ContentInfo_traits::get(const ASN1_T& record, CContentInfo& value) {
    value.put_contentType(toOID(record.contentType).c_str());
    value.put_content(CBlob(record.content.data, record.content.numocts));
}

void ASN1T_ContentInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der) {
    asn1DecodeT<ASN1T_ContentInfo_traits>(der, ctxt, record);
}

void ASN1T_ContentInfo_traits::get(const ASN1_T& record, CBlob& der) {
    der = asn1EncodeT<ASN1T_ContentInfo_traits>(record);
}

void ASN1T_ContentInfo_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_ContentInfo(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
