// The message object of a time-stamp request: TimeStampReq of RFC 3161, 2.4.1, in and out of DER. A
// plain value that owns its data; one thread at a time. Failures are thrown as CAtlException:
// 0x80093101 for an encoding that isn't a request and for values that can't be encoded.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/extension.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::PKI::TSP {

class CRequest {
public:
    // Empty, for decoding.
    CRequest() = default;
    // Version 1, with an imprint and the wish for certificates.
    CRequest(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CBlob& hashedMessage,
             bool certReq);

    // Dotted text.
    void put_reqPolicy(const char* oid);
    // Null takes the nonce away; else a copy is kept.
    void put_nonce(const ASN1::CBigInteger* nonce);
    // Takes the value over, and gives away the one that it had; empty: none.
    void swap_nonce(ASN1::CBigInteger& nonce);

    CBlob encode() const;
    // Replaces the value; if it fails the value stays as it was.
    void decode(const CBlob& der);

    bool get_certReq() const noexcept { return cert_req_; }
    // Null when absent, as with the policy and the extensions.
    const ASN1::CBigInteger* get_nonce() const noexcept { return nonce_ ? &*nonce_ : nullptr; }
    const char* get_reqPolicy() const noexcept { return policy_ ? policy_->c_str() : nullptr; }
    // Whoever knows the platform's number of the algorithm may note it in `cachedAlgId`.
    ASN1::CAlgorithmIdentifierEx& get_hashAlgorithm() const noexcept { return hash_algorithm_; }
    const CBlob& get_hashedMessage() const noexcept { return hashed_message_; }
    const ASN1::CExtensions* get_extensions() const noexcept {
        return extensions_ ? &*extensions_ : nullptr;
    }

private:
    friend struct TimeStampReqTraits;

    mutable ASN1::CAlgorithmIdentifierEx hash_algorithm_;
    CBlob hashed_message_;
    bool cert_req_ = false;
    std::optional<std::string> policy_;
    std::optional<ASN1::CBigInteger> nonce_;
    std::optional<ASN1::CExtensions> extensions_;
};

} // namespace Halcyon::PKI::TSP
