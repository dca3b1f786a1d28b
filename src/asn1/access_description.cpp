#include <chronoseal/asn1/access_description.h>

#include <cstring>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1data/pkix1_implicit.h>

namespace Halcyon::ASN1 {

// AccessDescription ::= SEQUENCE {
//     accessMethod    OBJECT IDENTIFIER,
//     accessLocation  GeneralName }

struct ASN1T_AccessDescription_traits
    : RecordTraits<asn1data::ASN1T_AccessDescription, asn1data::ASN1C_AccessDescription,
                   asn1data::asn1Copy_AccessDescription> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAccessDescription& value) {
        ASN1TObjId_traits::set(ctxt, record.accessMethod, value.get_accessMethod());
        ASN1T_GeneralName_traits::set(ctxt, record.accessLocation, value.get_accessLocation());
    }

    static void get(const ASN1_T& record, CAccessDescription& value) {
        value.put_accessMethod(toOID(record.accessMethod).c_str());
        CGeneralName location;
        ASN1T_GeneralName_traits::get(record.accessLocation, location);
        value.put_accessLocation(location);
    }
};

struct ASN1T_AuthorityInfoAccessSyntax_traits
    : ListTypeTraits<asn1data::ASN1T_AuthorityInfoAccessSyntax,
                     asn1data::ASN1C_AuthorityInfoAccessSyntax, kTagSequenceOf,
                     ASN1T_AccessDescription_traits, CAccessDescription,
                     CAuthorityInfoAccessSyntax> {};

bool operator==(const CAccessDescription& a, const CAccessDescription& b) noexcept {
    return std::strcmp(a.get_accessMethod(), b.get_accessMethod()) == 0 &&
           a.get_accessLocation() == b.get_accessLocation();
}

template class Encodable<CAccessDescription, ASN1T_AccessDescription_traits>;
template class Encodable<CAuthorityInfoAccessSyntax, ASN1T_AuthorityInfoAccessSyntax_traits>;

} // namespace Halcyon::ASN1
