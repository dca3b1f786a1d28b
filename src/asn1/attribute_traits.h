// Traits of Attribute and of a SET OF Attribute. See codec.h for what traits are.
#pragma once

#include "asn1/attributes.h"
#include "asn1/code_class.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1data/cryptographic_message_syntax.h"
#include "asn1data/pkix1_explicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_Attribute_traits : CCodeClassT<asn1data::ASN1T_Attribute, asn1data::ASN1C_Attribute> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value);
    static void get(const ASN1_T& record, CAttribute& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

using ASN1T_Attributes_traits =
    ListTypeTraits<asn1data::ASN1T_SignedAttributes, asn1data::ASN1C_SignedAttributes, tagSetOf,
                   asn1data::ASN1T_Attribute, ASN1T_Attribute_traits, CAttribute, CAttributes>;

} // namespace Halcyon::ASN1
