// Traits of PrivateKeyUsagePeriod. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/private_key_usage_period.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_PrivateKeyUsagePeriod_traits
    : CCodeClassT<asn1data::ASN1T_PrivateKeyUsagePeriod, asn1data::ASN1C_PrivateKeyUsagePeriod> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtPrivateKeyUsagePeriod& value);
    static void get(const ASN1_T& record, CExtPrivateKeyUsagePeriod& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
