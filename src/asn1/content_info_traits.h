// Traits of ContentInfo. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/content_info.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/cryptographic_message_syntax.h>

namespace Halcyon::ASN1 {

// As a value, or as the DER of the whole, which is decoded by `set`.
struct ASN1T_ContentInfo_traits
    : OpenRecordTraits<asn1data::ASN1T_ContentInfo, asn1data::ASN1C_ContentInfo,
                       asn1data::asn1Copy_ContentInfo, asn1data::asn1DTC_ContentInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value);
    static void get(const ASN1_T& record, CContentInfo& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der);
    static void get(const ASN1_T& record, CBlob& der);
};

} // namespace Halcyon::ASN1
