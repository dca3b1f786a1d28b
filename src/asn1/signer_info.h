// CSignerInfo: what one signer of a CMS message is known by (RFC 5652, 5.3), for reading only.
#pragma once

#include <chronoseal/asn1/algorithm_identifier.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// Filled from a schema record by `ASN1T_SignerInfo_get` (signer_info_traits.h). `issuer` is the DER
// of the Name. Signers that are named by a key identifier aren't supported.
class CSignerInfo {
public:
    CSignerInfo() = default;

    unsigned int get_version() const noexcept { return version_; }
    const CBlob& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    const CAlgorithmIdentifier& get_signatureAlgorithm() const noexcept {
        return signatureAlgorithm_;
    }
    const CAlgorithmIdentifier& get_digestAlgorithm() const noexcept { return digestAlgorithm_; }
    const CBlob& get_signature() const noexcept { return signature_; }

    void put_version(unsigned int version) noexcept { version_ = version; }
    void put_issuer(const CBlob& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serial) { serialNumber_ = serial; }
    void put_signatureAlgorithm(const CAlgorithmIdentifier& algorithm) {
        signatureAlgorithm_ = algorithm;
    }
    void put_digestAlgorithm(const CAlgorithmIdentifier& algorithm) {
        digestAlgorithm_ = algorithm;
    }
    void put_signature(const CBlob& signature) { signature_ = signature; }

private:
    unsigned int version_ = 0;
    CBlob issuer_;
    CBigInteger serialNumber_;
    CAlgorithmIdentifier signatureAlgorithm_;
    CAlgorithmIdentifier digestAlgorithm_;
    CBlob signature_;
};

// All fields; the serial numbers by value.
bool operator==(const CSignerInfo& a, const CSignerInfo& b) noexcept;

} // namespace Halcyon::ASN1
