#include "asn1/issuer_serial.h"

#include "asn1/big_integer_text.h"
#include "asn1/codec.h"
#include "asn1/general_name_traits.h"
#include "asn1/issuer_serial_traits.h"

namespace Halcyon::ASN1 {

CIssuerSerial::CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber)
    : issuer_(issuer), serialNumber_(serialNumber) {}

bool operator==(const CIssuerSerial& a, const CIssuerSerial& b) noexcept {
    return a.get_issuer() == b.get_issuer() && a.get_serialNumber() == b.get_serialNumber();
}

CBlob CIssuerSerial::encode() const {
    return asn1Encode<ASN1T_IssuerSerial_traits, CIssuerSerial>(*this);
}

void CIssuerSerial::decode(const CBlob& der) {
    asn1Decode<ASN1T_IssuerSerial_traits, CIssuerSerial>(der, *this);
}

// IssuerSerial ::= SEQUENCE {
//     issuer        GeneralNames,
//     serialNumber  CertificateSerialNumber,
//     issuerUID     UniqueIdentifier OPTIONAL }
//
// The last field belongs to attribute certificates: it isn't held.

void ASN1T_IssuerSerial_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value) {
    record.m = {};
    ASN1T_GeneralNames_traits::set(ctxt, record.issuer, value.get_issuer());
    record.serialNumber = BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void ASN1T_IssuerSerial_traits::get(const ASN1_T& record, CIssuerSerial& value) {
    CGeneralNames issuer;
    ASN1T_GeneralNames_traits::get(record.issuer, issuer);
    value.put_issuer(issuer);
    CBigInteger serialNumber;
    ASN1StringToBigInteger(record.serialNumber, serialNumber);
    value.put_serialNumber(serialNumber);
}

void ASN1T_IssuerSerial_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_IssuerSerial(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
