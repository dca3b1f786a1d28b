// Traits of Attribute and of a SET OF Attribute. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/attribute.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/pkix1_explicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_Attribute_traits
    : OpenRecordTraits<asn1data::ASN1T_Attribute, asn1data::ASN1C_Attribute,
                       asn1data::asn1Copy_Attribute, asn1data::asn1DTC_Attribute> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value);
    static void get(const ASN1_T& record, CAttribute& value);
};

struct ASN1T_Attributes_traits
    : ListTypeTraits<asn1data::ASN1T_SignedAttributes, asn1data::ASN1C_SignedAttributes, kTagSetOf,
                     ASN1T_Attribute_traits, CAttribute, CAttributes> {};

} // namespace Halcyon::ASN1
