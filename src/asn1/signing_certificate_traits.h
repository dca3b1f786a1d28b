// Traits of SigningCertificate. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/signing_certificate.h"
#include "asn1data/extended_security_services.h"

namespace Halcyon::ASN1 {

struct ASN1T_SigningCertificate_traits
    : CCodeClassT<asn1data::ASN1T_SigningCertificate, asn1data::ASN1C_SigningCertificate> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, CAttrSigningCertificate const& value);
    static void get(ASN1_T const& record, CAttrSigningCertificate& value);
    static void copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
