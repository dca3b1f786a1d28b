// The message object of a time-stamp token: a CMS SignedData over a TSTInfo (RFC 3161, 2.4.2; RFC
// 5652, 5), for reading. It keeps the exact bytes that it was decoded from. A plain value that owns
// its data; one thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include <basalt/message.h>
#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/extension.h>
#include <chronoseal/asn1/signer_info.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/date_time.h>
#include <chronoseal/core/tsa_name.h>

namespace Halcyon::PKI::TSP {

class CToken {
public:
    // Empty, for decoding.
    CToken() = default;

    // Takes a ContentInfo with signed data apart, BER with indefinite lengths included; the type of
    // the content isn't compared with that of a TSTInfo, which is the verifier's part. Throws
    // CAtlException 0x80093101 for anything else: no content, a content that isn't a TSTInfo, no
    // signer, or one that is named by a key identifier; and for what would be read as something
    // else, or in no bounded room: see message_bounds.h. Throws 0x8007076D for a genTime that RFC
    // 3161 doesn't allow. If it fails the value may be half replaced.
    void decode(CBlob der);
    // The bytes that were decoded.
    const CBlob& encode() const noexcept { return encoded_; }

    int get_version() const noexcept { return info_.version; }
    // Null, or seconds, milliseconds and microseconds.
    const std::uint32_t* get_accuracy() const noexcept {
        return info_.accuracy ? info_.accuracy->data() : nullptr;
    }
    CDateTime get_genTime() const noexcept { return info_.genTime; }
    const ASN1::CAlgorithmIdentifierEx& get_hashAlgorithm() const noexcept {
        return info_.hashAlgorithm;
    }
    const CBlob& get_hashedMessage() const noexcept { return info_.hashedMessage; }
    const ASN1::CBigInteger* get_nonce() const noexcept {
        return info_.nonce ? &*info_.nonce : nullptr;
    }
    bool get_ordering() const noexcept { return info_.ordering; }
    // Dotted text, never null.
    const char* get_policy() const noexcept { return info_.policy.c_str(); }
    const ASN1::CBigInteger& get_serialNumber() const noexcept { return info_.serialNumber; }
    // The first signer.
    const ASN1::CSignerInfo& get_signerInfo() const noexcept { return signer_info_; }
    // Null when absent, or of a kind that CGeneralName can't hold.
    const TsaName* get_tsa() const noexcept { return info_.tsa ? &*info_.tsa : nullptr; }
    const ASN1::CExtensions* get_extensions() const noexcept {
        return info_.extensions ? &*info_.extensions : nullptr;
    }
    // Null, or each certificate as it came, in the order of the message. Attribute certificates and
    // other entries of the set aren't among them.
    const CBlobList* get_certificates() const noexcept {
        return certificates_ ? &*certificates_ : nullptr;
    }

    // True when the token has one signer, who is the one that the encoded certificate names, and
    // the signature verifies with its key over the signed attributes and by them over the content.
    // `message` may be a handle that holds this very token, which saves opening one; it stays the
    // caller's.
    bool verify(const CBlob& certificate, HCRYPTMSG message = nullptr) const;
    // The same with a certificate that has been taken apart already.
    bool verify(const _CERT_CONTEXT* certificate, HCRYPTMSG message) const;

private:
    friend struct TSTInfoTraits;

    struct Info {
        int version = 0;
        std::string policy;
        ASN1::CAlgorithmIdentifierEx hashAlgorithm;
        CBlob hashedMessage;
        ASN1::CBigInteger serialNumber;
        bool has_allowed_time = false;
        CDateTime genTime = CDateTime(0L, 0);
        std::optional<std::array<std::uint32_t, 3>> accuracy;
        bool ordering = false;
        std::optional<ASN1::CBigInteger> nonce;
        std::optional<TsaName> tsa;
        std::optional<ASN1::CExtensions> extensions;
    };

    CBlob encoded_;
    Info info_;
    ASN1::CSignerInfo signer_info_;
    std::optional<CBlobList> certificates_;
};

} // namespace Halcyon::PKI::TSP
