#include "asn1/extension.h"

#include <cstring>

#include "asn1/codec.h"
#include "asn1/extension_traits.h"
#include "asn1/heap_copy.h"
#include "asn1/object_identifier.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

CExtension::CExtension(const CExtValue& value, bool critical)
    : value_(value), critical_(critical) {}

bool operator==(const CExtension& a, const CExtension& b) noexcept {
    return a.get_critical() == b.get_critical() &&
           std::strcmp(a.get_extnID(), b.get_extnID()) == 0 &&
           a.get_extnValue() == b.get_extnValue();
}

CBlob CExtension::encode() const {
    return asn1Encode<ASN1T_Extension_traits, CExtension>(*this);
}

void CExtension::decode(const CBlob& der) {
    asn1Decode<ASN1T_Extension_traits, CExtension>(der, *this);
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
    ASN1BERDecodeBuffer check;
    if (asn1data::asn1DTC_Extension(check.getCtxtPtr(), &local) != 0)
        failCodec();
    copy(ctxt, local, record);
}

void ASN1T_Extension_traits::get(const ASN1_T& record, CExtension& value) {
    CBlob octets;
    Asn1TObject_traits::get(record.extnValue, octets);
    value = CExtension(CExtValue(toOID(record.extnID).c_str(), octets), record.critical != 0);
}

void ASN1T_Extension_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_Extension(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
