// Traits of SigningCertificateV2. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/signing_certificate_v2.h"
#include "asn1data/extended_security_services.h"

namespace Halcyon::ASN1 {

struct ASN1T_SigningCertificateV2_traits
    : CCodeClassT<asn1data::ASN1T_SigningCertificateV2, asn1data::ASN1C_SigningCertificateV2> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttrSigningCertificateV2& value);
    static void get(const ASN1_T& record, CAttrSigningCertificateV2& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
