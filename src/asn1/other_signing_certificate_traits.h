// Traits of OtherSigningCertificate. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/other_signing_certificate.h"
#include "asn1data/ets_electronic_signature.h"

namespace Halcyon::ASN1 {

struct ASN1T_OtherSigningCertificate_traits : CCodeClassT<asn1data::ASN1T_OtherSigningCertificate,
                                                          asn1data::ASN1C_OtherSigningCertificate> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttrOtherSigningCertificate& value);
    static void get(const ASN1_T& record, CAttrOtherSigningCertificate& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
