#include "asn1/certificate_issuer.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidCertificateIssuer[] = "2.5.29.29";

} // namespace

CExtCertificateIssuer::CExtCertificateIssuer() : CExtValue(oidCertificateIssuer) {}

CExtCertificateIssuer::CExtCertificateIssuer(const CGeneralNames& issuer)
    : CExtCertificateIssuer() {
    put_issuer(issuer);
}

CExtCertificateIssuer::CExtCertificateIssuer(const CBlob& der)
    : CExtValue(oidCertificateIssuer, der) {
    decode();
}

// CertificateIssuer ::= GeneralNames

void CExtCertificateIssuer::encode() {
    value() = issuer_.encode();
}

void CExtCertificateIssuer::decode() {
    issuer_.decode(get_value());
}

void CExtCertificateIssuer::put_issuer(const CGeneralNames& issuer) {
    issuer_ = issuer;
    encode();
}

} // namespace Halcyon::ASN1
