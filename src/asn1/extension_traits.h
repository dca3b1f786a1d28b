// Traits of Extension and Extensions. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/extensions.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1data/pkix1_explicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_Extension_traits : CCodeClassT<asn1data::ASN1T_Extension, asn1data::ASN1C_Extension> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value);
    static void get(const ASN1_T& record, CExtension& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

using ASN1T_Extensions_traits =
    ListTypeTraits<asn1data::ASN1T_Extensions, asn1data::ASN1C_Extensions, tagSequenceOf,
                   asn1data::ASN1T_Extension, ASN1T_Extension_traits, CExtension, CExtensions>;

} // namespace Halcyon::ASN1
