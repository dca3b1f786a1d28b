// COtherHashAlgAndValue: a hash with its algorithm (RFC 5126, 5.8.1).
#pragma once

#include "asn1/algorithm_identifier.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

class COtherHashAlgAndValue {
public:
    COtherHashAlgAndValue() = default;
    COtherHashAlgAndValue(CBlob const& hashValue, CAlgorithmIdentifier const& hashAlgorithm);

    CAlgorithmIdentifier const& get_hashAlgorithm() const noexcept { return hashAlgorithm_; }
    CBlob const& get_hashValue() const noexcept { return hashValue_; }
    void put_hashAlgorithm(CAlgorithmIdentifier const& algorithm) { hashAlgorithm_ = algorithm; }
    void put_hashValue(CBlob const& hashValue) { hashValue_ = hashValue; }

    // True if the hashes are equal, whatever the algorithms.
    bool compare_hashValue(COtherHashAlgAndValue const& other) const noexcept {
        return hashValue_ == other.hashValue_;
    }

    // The DER. Throws as `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    CAlgorithmIdentifier hashAlgorithm_;
    CBlob hashValue_;
};

bool operator==(COtherHashAlgAndValue const& a, COtherHashAlgAndValue const& b) noexcept;
inline bool operator!=(COtherHashAlgAndValue const& a, COtherHashAlgAndValue const& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
