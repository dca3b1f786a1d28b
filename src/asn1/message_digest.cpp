#include "asn1/message_digest.h"

#include "asn1/octet_string.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidMessageDigest[] = "1.2.840.113549.1.9.4";

} // namespace

CAttrMessageDigest::CAttrMessageDigest() : CAttrValue(oidMessageDigest) {}

CAttrMessageDigest::CAttrMessageDigest(const CBlob& der) : CAttrValue(oidMessageDigest, der) {
    decode();
}

// MessageDigest ::= OCTET STRING

void CAttrMessageDigest::encode() {
    value() = toOctetString(messageDigest_);
}

void CAttrMessageDigest::decode() {
    messageDigest_ = fromOctetString(get_value());
}

void CAttrMessageDigest::put_messageDigest(const CBlob& digest) {
    messageDigest_ = digest;
    encode();
}

} // namespace Halcyon::ASN1
