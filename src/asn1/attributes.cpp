#include "asn1/attributes.h"

#include "asn1/attribute_traits.h"
#include "asn1/codec.h"
#include "asn1/find_by_oid.h"

namespace Halcyon::ASN1 {

CAttributes::iterator CAttributes::find(const char* oid) {
    return findElementByOid(*this, oid, &CAttribute::get_oid);
}

CAttributes::const_iterator CAttributes::find(const char* oid) const {
    return findElementByOid(*this, oid, &CAttribute::get_oid);
}

void CAttributes::erase(const char* oid) {
    const auto found = find(oid);
    if (found != end())
        erase(found);
}

CBlob CAttributes::encode() const {
    return asn1Encode<ASN1T_Attributes_traits, CAttributes>(*this);
}

void CAttributes::decode(const CBlob& der) {
    asn1Decode<ASN1T_Attributes_traits, CAttributes>(der, *this);
}

} // namespace Halcyon::ASN1
