#include "asn1/cert_id.h"

#include "asn1/big_integer_text.h"
#include "asn1/cert_id_traits.h"
#include "asn1/general_name_traits.h"

namespace Halcyon::ASN1 {

CCertId::CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber)
    : issuer_(issuer), serialNumber_(serialNumber) {}

// CertId ::= SEQUENCE {
//     issuer        GeneralName,
//     serialNumber  INTEGER }

void ASN1T_CertId_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value) {
    ASN1T_GeneralName_traits::set(ctxt, record.issuer, value.get_issuer());
    record.serialNumber = BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void ASN1T_CertId_traits::get(const ASN1_T& record, CCertId& value) {
    CGeneralName issuer;
    ASN1T_GeneralName_traits::get(record.issuer, issuer);
    value.put_issuer(issuer);
    CBigInteger serialNumber;
    ASN1StringToBigInteger(record.serialNumber, serialNumber);
    value.put_serialNumber(serialNumber);
}

void ASN1T_CertId_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_CertId(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
