// Traits of RevAnnContent. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/rev_ann_content.h"
#include "asn1data/pkix_cmp.h"

namespace Halcyon::ASN1 {

struct ASN1T_RevAnnContent_traits
    : CCodeClassT<asn1data::ASN1T_RevAnnContent, asn1data::ASN1C_RevAnnContent> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CRevAnnContent& value);
    static void get(const ASN1_T& record, CRevAnnContent& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
