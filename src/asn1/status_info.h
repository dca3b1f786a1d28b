// CPKIStatusInfo: status, texts and failure bits of an answer (RFC 3161, 2.4.2).
#pragma once

#include "asn1/failure_info.h"
#include "asn1/free_text.h"
#include "asn1/pki_status.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

// Failure bits of 0 and an empty list of texts stand for absent fields.
class CPKIStatusInfo {
public:
    explicit CPKIStatusInfo(PKIStatusEnum status) noexcept;

    PKIStatusEnum get_pkiStatus() const noexcept { return pkiStatus_; }
    const CPKIFailureInfo& get_failureInfo() const noexcept { return failureInfo_; }
    const CPKIFreeText& get_statusString() const noexcept { return statusString_; }
    void put_pkiStatus(PKIStatusEnum status) noexcept { pkiStatus_ = status; }
    void put_failureInfo(const CPKIFailureInfo& info) noexcept { failureInfo_ = info; }
    void put_statusString(const CPKIFreeText& text) { statusString_ = text; }

    // The DER. Throws 0x80093101.
    CBlob encode() const;
    // An encoding without texts leaves the texts that the object held. Throws 0x80093101,
    // 0x8009310E for a text that isn't UTF-8, and 0x80070057 for a language mark without its end.
    void decode(const CBlob& der);

private:
    PKIStatusEnum pkiStatus_;
    CPKIFailureInfo failureInfo_;
    CPKIFreeText statusString_;
};

} // namespace Halcyon::ASN1
