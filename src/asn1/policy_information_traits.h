// Traits of PolicyInformation. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/policy_information.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_PolicyInformation_traits
    : CCodeClassT<asn1data::ASN1T_PolicyInformation, asn1data::ASN1C_PolicyInformation> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPolicyInformation& value);
    static void get(const ASN1_T& record, CPolicyInformation& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
