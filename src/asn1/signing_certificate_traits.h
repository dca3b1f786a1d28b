// Traits of SigningCertificate. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/signing_certificate.h"
#include "asn1data/extended_security_services.h"

namespace Halcyon::ASN1 {

struct ASN1T_SigningCertificate_traits
    : CCodeClassT<asn1data::ASN1T_SigningCertificate, asn1data::ASN1C_SigningCertificate> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttrSigningCertificate& value);
    static void get(const ASN1_T& record, CAttrSigningCertificate& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
