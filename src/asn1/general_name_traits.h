// Traits of GeneralName and GeneralNames. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/general_names.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_GeneralName_traits
    : CCodeClassT<asn1data::ASN1T_GeneralName, asn1data::ASN1C_GeneralName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value);
    static void get(const ASN1_T& record, CGeneralName& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

using ASN1T_GeneralNames_traits =
    ListTypeTraits<asn1data::ASN1T_GeneralNames, asn1data::ASN1C_GeneralNames, tagSequenceOf,
                   asn1data::ASN1T_GeneralName, ASN1T_GeneralName_traits, CGeneralName,
                   CGeneralNames>;

} // namespace Halcyon::ASN1
