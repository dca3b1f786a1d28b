// Traits of ContentInfo. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/content_info.h"
#include "asn1data/cryptographic_message_syntax.h"

namespace Halcyon::ASN1 {

// As a value, or as the DER of the whole, which is decoded by `set`.
struct ASN1T_ContentInfo_traits
    : CCodeClassT<asn1data::ASN1T_ContentInfo, asn1data::ASN1C_ContentInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CContentInfo& value);
    static void get(const ASN1_T& record, CContentInfo& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der);
    static void get(const ASN1_T& record, CBlob& der);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
