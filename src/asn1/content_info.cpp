#include <chronoseal/asn1/content_info.h>

#include <chronoseal/asn1/content_info_traits.h>
#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/object_identifier.h>

namespace Halcyon::ASN1 {

template class Encodable<CContentInfo, ASN1T_ContentInfo_traits>;

// ContentInfo ::= SEQUENCE {
//     contentType  OBJECT IDENTIFIER,
//     content      [0] EXPLICIT ANY DEFINED BY contentType }

void ASN1T_ContentInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value) {
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.contentType, value.get_contentType());
    heap_octets(ctxt, local.content, value.get_content());
    copy_checked(ctxt, local, record);
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

} // namespace Halcyon::ASN1
