// Traits of Extension and Extensions. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/extension.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/pkix1_explicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_Extension_traits
    : OpenRecordTraits<asn1data::ASN1T_Extension, asn1data::ASN1C_Extension,
                       asn1data::asn1Copy_Extension, asn1data::asn1DTC_Extension> {
    // Throws 0x80070057 for a type that is no identifier, 0x80093101 for a value that doesn't fit a
    // known type, 0x80093106 without memory.
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value);
    static void get(const ASN1_T& record, CExtension& value);
};

struct ASN1T_Extensions_traits
    : ListTypeTraits<asn1data::ASN1T_Extensions, asn1data::ASN1C_Extensions, kTagSequenceOf,
                     ASN1T_Extension_traits, CExtension, CExtensions> {};

} // namespace Halcyon::ASN1
