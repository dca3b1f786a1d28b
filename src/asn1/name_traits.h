// Traits of Name and of what it is made of. See codec.h for what traits are.
#pragma once

#include <string>

#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/pkix1_explicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_AttributeTypeAndValue_traits
    : OpenRecordTraits<asn1data::ASN1T_AttributeTypeAndValue, asn1data::ASN1C_AttributeTypeAndValue,
                       asn1data::asn1Copy_AttributeTypeAndValue,
                       asn1data::asn1DTC_AttributeTypeAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAttributeTypeAndValue& value);
    static void get(const ASN1_T& record, CAttributeTypeAndValue& value);
};

struct ASN1T_RelativeDistinguishedName_traits
    : ListTypeTraits<asn1data::ASN1T_RelativeDistinguishedName,
                     asn1data::ASN1C_RelativeDistinguishedName, kTagSetOf,
                     ASN1T_AttributeTypeAndValue_traits, CAttributeTypeAndValue,
                     CRelativeDistinguishedName> {};

// A name as a value or as its DER, which is decoded by `set`.
struct ASN1T_Name_traits
    : RecordTraits<asn1data::ASN1T_Name, asn1data::ASN1C_Name, asn1data::asn1Copy_Name> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value);
    static void get(const ASN1_T& record, CName& value);
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der);
    static void get(const ASN1_T& record, CBlob& der);
};

// The text form of a name straight from its record: that of `CName::toString`, without a value made
// for each level and part. Throws as that.
std::wstring name_text(const asn1data::ASN1T_Name& record);

} // namespace Halcyon::ASN1
