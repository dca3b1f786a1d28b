// CAttrSigningCertificateV2: the attribute SigningCertificateV2 (RFC 5035, 3).
#pragma once

#include "asn1/ess_cert_id_v2.h"
#include "asn1/signing_certificate_base.h"

namespace Halcyon::ASN1 {

// The decoded form beside the encoded one of the base. The type is 1.2.840.113549.1.9.16.2.47.
class CAttrSigningCertificateV2 : public CAttrSigningCertificateT<CESSCertIDv2List> {
public:
    // Without certificates and without an encoded form.
    CAttrSigningCertificateV2();
    explicit CAttrSigningCertificateV2(const CESSCertIDv2List& certs);
    // Throws 0x80093101 if `der` isn't the attribute's value.
    explicit CAttrSigningCertificateV2(const CBlob& der);

    // The encoded form from the fields. An empty list of policies isn't encoded. Throws 0x80093101,
    // and 0x80070057 for a text that is no identifier.
    void encode();
    // The fields from the encoded form. Throws 0x80093101.
    void decode();

    // Encodes at once.
    void put_certs(const CESSCertIDv2List& certs);
    // Null makes the field absent. The encoded form stays as it was until `encode`.
    void put_policies(const CPolicyInformationList* policies);

private:
    friend struct ASN1T_SigningCertificateV2_traits;
};

} // namespace Halcyon::ASN1
