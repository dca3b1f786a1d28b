// CCertificateValue and CCertificateValues: certificates carried in a long-term signature (RFC
// 5126, 6.3.3).
#pragma once

#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// The DER of one certificate.
class CCertificateValue : public CBlob {
public:
    CCertificateValue() = default;
    CCertificateValue(const CBlob& der) : CBlob(der) {}

    // The certificate, decoded and encoded again: throws 0x80093101 for bytes that aren't one.
    CBlob encode() const;
    // Throws 0x80093101.
    void decode(const CBlob& der);
};

// The blobs of the certificates in the order of the encoding.
class CCertificateValues : public CBlobList {
public:
    using CBlobList::CBlobList;

    // As for one certificate.
    CBlob encode() const;
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
