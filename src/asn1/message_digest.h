// CAttrMessageDigest: the attribute MessageDigest (RFC 5652, 11.2).
#pragma once

#include "asn1/attr_value.h"

namespace Halcyon::ASN1 {

// The digest beside the encoded form of the base. The type is 1.2.840.113549.1.9.4.
class CAttrMessageDigest : public CAttrValue {
public:
    // Without a digest and without an encoded form.
    CAttrMessageDigest();
    // Takes the encoded form, not the digest. Throws 0x80093101 if `der` isn't an OCTET STRING.
    explicit CAttrMessageDigest(const CBlob& der);

    void encode();
    // Throws 0x80093101, for an empty encoded form too.
    void decode();

    const CBlob& get_messageDigest() const noexcept { return messageDigest_; }
    // Encodes at once.
    void put_messageDigest(const CBlob& digest);

private:
    CBlob messageDigest_;
};

} // namespace Halcyon::ASN1
