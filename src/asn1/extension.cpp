#include <chronoseal/asn1/extension.h>

#include <algorithm>
#include <string_view>

#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>

namespace Halcyon::ASN1 {

bool operator==(const CExtension& a, const CExtension& b) noexcept {
    return a.get_critical() == b.get_critical() &&
           std::string_view(a.get_extnID()) == b.get_extnID() &&
           a.get_extnValue() == b.get_extnValue();
}

CBlob CExtension::encode() const {
    return asn1Encode<ASN1T_Extension_traits, CExtension>(*this);
}

void CExtension::decode(const CBlob& der) {
    asn1Decode<ASN1T_Extension_traits, CExtension>(der, *this);
}

CExtensions::iterator CExtensions::find(const char* oid) {
    return std::find_if(begin(), end(), findByOid(oid));
}

CExtensions::const_iterator CExtensions::find(const char* oid) const {
    return std::find_if(begin(), end(), findByOid(oid));
}

void CExtensions::erase(const char* oid) {
    const auto found = find(oid);
    if (found != end()) {
        erase(found);
    }
}

void CExtensions::insert(const CExtension& extension) {
    const auto found = find(extension.get_extnID());
    if (found == end()) {
        push_back(extension);
    } else {
        *found = extension;
    }
}

CBlob CExtensions::encode() const {
    return asn1Encode<ASN1T_Extensions_traits, CExtensions>(*this);
}

void CExtensions::decode(const CBlob& der) {
    asn1Decode<ASN1T_Extensions_traits, CExtensions>(der, *this);
}

// Extension ::= SEQUENCE {
//     extnID     OBJECT IDENTIFIER,
//     critical   BOOLEAN DEFAULT FALSE,
//     extnValue  OCTET STRING }

void ASN1T_Extension_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CExtension& value) {
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.extnID, value.get_extnID());
    local.critical = value.get_critical();
    Asn1TObject_traits::set(ctxt, local.extnValue, value.get_extnValue());
    copy_checked(ctxt, local, record);
}

void ASN1T_Extension_traits::get(const ASN1_T& record, CExtension& value) {
    CBlob octets;
    Asn1TObject_traits::get(record.extnValue, octets);
    value = CExtension(CExtValue(toOID(record.extnID).c_str(), octets), record.critical != 0);
}

} // namespace Halcyon::ASN1
