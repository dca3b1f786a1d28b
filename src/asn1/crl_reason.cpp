#include "asn1/crl_reason.h"

#include "asn1/codec.h"
#include "asn1/crl_reason_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidCRLReason[] = "2.5.29.21";

} // namespace

CExtCRLReason::CExtCRLReason() : CExtValue(oidCRLReason) {}

CExtCRLReason::CExtCRLReason(CrlReason reason) : CExtCRLReason() {
    put_reason(reason);
}

CExtCRLReason::CExtCRLReason(const CBlob& der) : CExtValue(oidCRLReason, der) {
    decode();
}

// CRLReason ::= ENUMERATED { unspecified (0), keyCompromise (1), ..., aACompromise (10) }

void CExtCRLReason::encode() {
    value() = asn1Encode<ASN1T_CRLReason_traits, CrlReason>(reason_);
}

void CExtCRLReason::decode() {
    asn1Decode<ASN1T_CRLReason_traits, CrlReason>(get_value(), reason_);
}

void CExtCRLReason::put_reason(CrlReason reason) {
    reason_ = reason;
    encode();
}

} // namespace Halcyon::ASN1
