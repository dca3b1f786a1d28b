// The message object of an answer: TimeStampResp of RFC 3161, 2.4.2, for reading. A plain value
// that owns its data; one thread at a time.
#pragma once

#include <memory>

#include <chronoseal/asn1/status_info.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/core/token.h>

namespace Halcyon::PKI::TSP {

class CResponse {
public:
    CResponse();

    // Reads status and token. Throws CAtlException 0x80093101 for bytes that aren't an answer with
    // either no token or one that CToken::decode takes.
    void decode(const CBlob& der) { decode(der.pbData(), der.cbData()); }
    void decode(const unsigned char* der, unsigned long size);

    // Never null.
    const ASN1::CPKIStatusInfo* get_status() const noexcept { return &status_; }
    // Null when the answer has none.
    const CToken* get_timeStampToken() const noexcept { return token_.get(); }
    // Shared with the answer; null when it has none.
    std::shared_ptr<const CToken> share_token() const noexcept { return token_; }

private:
    friend struct TimeStampRespRawTraits;

    ASN1::CPKIStatusInfo status_;
    std::shared_ptr<const CToken> token_;
};

} // namespace Halcyon::PKI::TSP
