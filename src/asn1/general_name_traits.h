// Traits of GeneralName and GeneralNames. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/pkix1_implicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_GeneralName_traits
    : RecordTraits<asn1data::ASN1T_GeneralName, asn1data::ASN1C_GeneralName,
                   asn1data::asn1Copy_GeneralName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value);
    static void get(const ASN1_T& record, CGeneralName& value);
};

struct ASN1T_GeneralNames_traits
    : ListTypeTraits<asn1data::ASN1T_GeneralNames, asn1data::ASN1C_GeneralNames, kTagSequenceOf,
                     ASN1T_GeneralName_traits, CGeneralName, CGeneralNames> {};

} // namespace Halcyon::ASN1
