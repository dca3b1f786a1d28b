// Traits of CertId. See codec.h for what traits are.
#pragma once

#include "asn1/cert_id.h"
#include "asn1/code_class.h"
#include "asn1data/pkix_crmf.h"

namespace Halcyon::ASN1 {

struct ASN1T_CertId_traits : CCodeClassT<asn1data::ASN1T_CertId, asn1data::ASN1C_CertId> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value);
    static void get(const ASN1_T& record, CCertId& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
