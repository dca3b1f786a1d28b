// CExtCertificateIssuer: the CRL entry extension certificateIssuer (RFC 5280, 5.3.3).
#pragma once

#include "asn1/ext_value.h"
#include "asn1/general_names.h"

namespace Halcyon::ASN1 {

// The names beside the encoded form of the base. The type is 2.5.29.29.
class CExtCertificateIssuer : public CExtValue {
public:
    // No names and no encoded form.
    CExtCertificateIssuer();
    explicit CExtCertificateIssuer(const CGeneralNames& issuer);
    // Throws as `CGeneralNames::decode`.
    explicit CExtCertificateIssuer(const CBlob& der);

    void encode();
    void decode();

    const CGeneralNames& get_issuer() const noexcept { return issuer_; }
    // Encodes at once.
    void put_issuer(const CGeneralNames& issuer);

private:
    CGeneralNames issuer_;
};

} // namespace Halcyon::ASN1
