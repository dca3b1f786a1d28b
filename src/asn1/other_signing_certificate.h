// CAttrOtherSigningCertificate: the attribute OtherSigningCertificate (RFC 5126, 5.7.3.3).
#pragma once

#include "asn1/other_cert_id.h"
#include "asn1/signing_certificate_base.h"

namespace Halcyon::ASN1 {

// The decoded form beside the encoded one of the base. The type is 1.2.840.113549.1.9.16.2.19.
class CAttrOtherSigningCertificate : public CAttrSigningCertificateT<COtherCertIDList> {
public:
    // Without certificates and without an encoded form.
    CAttrOtherSigningCertificate();
    explicit CAttrOtherSigningCertificate(const COtherCertIDList& certs);
    // Throws 0x80093101 if `der` isn't the attribute's value.
    explicit CAttrOtherSigningCertificate(const CBlob& der);

    // The encoded form from the fields. An empty list of policies isn't encoded. Throws 0x80093101,
    // and 0x80070057 for a text that is no identifier.
    void encode();
    // The fields from the encoded form. Throws 0x80093101.
    void decode();

    // Encodes at once.
    void put_certs(const COtherCertIDList& certs);
    // Null makes the field absent. Encodes at once, unlike the two sister classes.
    void put_policies(const CPolicyInformationList* policies);

private:
    friend struct ASN1T_OtherSigningCertificate_traits;
};

} // namespace Halcyon::ASN1
