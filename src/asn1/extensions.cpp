#include "asn1/extensions.h"

#include "asn1/codec.h"
#include "asn1/extension_traits.h"
#include "asn1/find_by_oid.h"

namespace Halcyon::ASN1 {

CExtensions::iterator CExtensions::find(const char* oid) {
    return findElementByOid(*this, oid, &CExtension::get_extnID);
}

CExtensions::const_iterator CExtensions::find(const char* oid) const {
    return findElementByOid(*this, oid, &CExtension::get_extnID);
}

void CExtensions::erase(const char* oid) {
    const auto found = find(oid);
    if (found != end())
        erase(found);
}

void CExtensions::insert(const CExtension& extension) {
    const auto found = find(extension.get_extnID());
    if (found == end())
        push_back(extension);
    else
        *found = extension;
}

CBlob CExtensions::encode() const {
    return asn1Encode<ASN1T_Extensions_traits, CExtensions>(*this);
}

void CExtensions::decode(const CBlob& der) {
    asn1Decode<ASN1T_Extensions_traits, CExtensions>(der, *this);
}

} // namespace Halcyon::ASN1
