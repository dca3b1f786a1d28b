// Traits of ESSCertIDv2. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/ess_cert_id_v2.h"
#include "asn1data/extended_security_services.h"

namespace Halcyon::ASN1 {

struct ASN1T_ESSCertIDv2_traits
    : CCodeClassT<asn1data::ASN1T_ESSCertIDv2, asn1data::ASN1C_ESSCertIDv2> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value);
    static void get(const ASN1_T& record, CESSCertIDv2& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
