// CCertificateValue and CCertificateValues: certificates carried in a long-term signature (RFC
// 5126, 6.3.3).
#pragma once

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

struct ASN1T_Certificate_traits;
struct ASN1T_CertificateValues_traits;

// The DER of one certificate.
class CCertificateValue : public CBlob,
                          public Encodable<CCertificateValue, ASN1T_Certificate_traits> {
public:
    CCertificateValue() = default;
    CCertificateValue(const CBlob& der) : CBlob(der) {}

    // The certificate, decoded and encoded again: throws 0x80093101 for bytes that aren't one.
    using Encodable::encode;
};

// The blobs of the certificates in the order of the encoding.
class CCertificateValues : public CBlobList,
                           public Encodable<CCertificateValues, ASN1T_CertificateValues_traits> {
public:
    using CBlobList::CBlobList;

    // As for one certificate.
    using Encodable::encode;
};

} // namespace Halcyon::ASN1
