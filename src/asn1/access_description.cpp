#include "asn1/access_description.h"

#include <cstring>

#include "asn1/access_description_traits.h"
#include "asn1/codec.h"
#include "asn1/general_name_traits.h"
#include "asn1/object_identifier.h"

namespace Halcyon::ASN1 {

CAccessDescription::CAccessDescription() : accessMethod_("") {}

CAccessDescription::CAccessDescription(const char* accessMethod, const CGeneralName& accessLocation)
    : accessMethod_(accessMethod), accessLocation_(accessLocation) {}

void CAccessDescription::put_accessMethod(const char* accessMethod) {
    accessMethod_ = CStringProxy(accessMethod);
}

void CAccessDescription::put_accessLocation(const CGeneralName& accessLocation) {
    accessLocation_ = accessLocation;
}

bool operator==(const CAccessDescription& a, const CAccessDescription& b) noexcept {
    return std::strcmp(a.get_accessMethod(), b.get_accessMethod()) == 0 &&
           a.get_accessLocation() == b.get_accessLocation();
}

CBlob CAccessDescription::encode() const {
    return asn1Encode<ASN1T_AccessDescription_traits, CAccessDescription>(*this);
}

void CAccessDescription::decode(const CBlob& der) {
    asn1Decode<ASN1T_AccessDescription_traits, CAccessDescription>(der, *this);
}

CBlob CAuthorityInfoAccessSyntax::encode() const {
    return asn1Encode<ASN1T_AuthorityInfoAccessSyntax_traits, CAuthorityInfoAccessSyntax>(*this);
}

void CAuthorityInfoAccessSyntax::decode(const CBlob& der) {
    asn1Decode<ASN1T_AuthorityInfoAccessSyntax_traits, CAuthorityInfoAccessSyntax>(der, *this);
}

// AccessDescription ::= SEQUENCE {
//     accessMethod    OBJECT IDENTIFIER,
//     accessLocation  GeneralName }

void ASN1T_AccessDescription_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                         const CAccessDescription& value) {
    ASN1TObjId_traits::set(ctxt, record.accessMethod, value.get_accessMethod());
    ASN1T_GeneralName_traits::set(ctxt, record.accessLocation, value.get_accessLocation());
}

void ASN1T_AccessDescription_traits::get(const ASN1_T& record, CAccessDescription& value) {
    value.put_accessMethod(toOID(record.accessMethod).c_str());
    CGeneralName location;
    ASN1T_GeneralName_traits::get(record.accessLocation, location);
    value.put_accessLocation(location);
}

void ASN1T_AccessDescription_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_AccessDescription(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
