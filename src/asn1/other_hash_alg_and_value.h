// COtherHashAlgAndValue: a hash with its algorithm (RFC 5126, 5.8.1).
#pragma once

#include "asn1/algorithm_identifier.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

class COtherHashAlgAndValue {
public:
    COtherHashAlgAndValue() = default;
    COtherHashAlgAndValue(const CBlob& hashValue, const CAlgorithmIdentifier& hashAlgorithm);

    const CAlgorithmIdentifier& get_hashAlgorithm() const noexcept { return hashAlgorithm_; }
    const CBlob& get_hashValue() const noexcept { return hashValue_; }
    void put_hashAlgorithm(const CAlgorithmIdentifier& algorithm) { hashAlgorithm_ = algorithm; }
    void put_hashValue(const CBlob& hashValue) { hashValue_ = hashValue; }

    // True if the hashes are equal, whatever the algorithms.
    bool compare_hashValue(const COtherHashAlgAndValue& other) const noexcept {
        return hashValue_ == other.hashValue_;
    }

    // The DER. Throws as `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

bool operator==(const COtherHashAlgAndValue& a, const COtherHashAlgAndValue& b) noexcept;
inline bool operator!=(const COtherHashAlgAndValue& a, const COtherHashAlgAndValue& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
