#include <chronoseal/asn1/extension.h>

#include <string_view>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>

namespace Halcyon::ASN1 {

bool operator==(const CExtension& a, const CExtension& b) noexcept {
    return a.get_critical() == b.get_critical() &&
           std::string_view(a.get_extnID()) == b.get_extnID() &&
           a.get_extnValue() == b.get_extnValue();
}

template class Encodable<CExtension, ASN1T_Extension_traits>;
template class Encodable<CExtensions, ASN1T_Extensions_traits>;

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
