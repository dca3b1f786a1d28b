// Traits of PolicyInformation. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/policy_information.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/pkix1_implicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_PolicyInformation_traits
    : RecordTraits<asn1data::ASN1T_PolicyInformation, asn1data::ASN1C_PolicyInformation,
                   asn1data::asn1Copy_PolicyInformation> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPolicyInformation& value);
    static void get(const ASN1_T& record, CPolicyInformation& value);
};

} // namespace Halcyon::ASN1
