// Traits of AccessDescription and AuthorityInfoAccessSyntax. See codec.h for what traits are.
#pragma once

#include "asn1/access_description.h"
#include "asn1/code_class.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_AccessDescription_traits
    : CCodeClassT<asn1data::ASN1T_AccessDescription, asn1data::ASN1C_AccessDescription> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAccessDescription& value);
    static void get(const ASN1_T& record, CAccessDescription& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

using ASN1T_AuthorityInfoAccessSyntax_traits =
    ListTypeTraits<asn1data::ASN1T_AuthorityInfoAccessSyntax,
                   asn1data::ASN1C_AuthorityInfoAccessSyntax, tagSequenceOf,
                   asn1data::ASN1T_AccessDescription, ASN1T_AccessDescription_traits,
                   CAccessDescription, CAuthorityInfoAccessSyntax>;

} // namespace Halcyon::ASN1
