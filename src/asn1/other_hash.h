// COtherHash: the CHOICE of a plain SHA-1 hash and a hash with its algorithm (RFC 5126, 5.8.1).
#pragma once

#include <memory>

#include "asn1/other_hash_alg_and_value.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

class COtherHashImpl;

// Kind 0 is nothing, 1 sha1Hash, 2 otherHash.
class COtherHash {
public:
    COtherHash();
    explicit COtherHash(const CBlob& sha1);
    explicit COtherHash(const COtherHashAlgAndValue& hash);
    COtherHash(const COtherHash& other);
    COtherHash& operator=(const COtherHash& other);
    virtual ~COtherHash();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;
    // Null for another kind.
    const CBlob* get_sha1Hash() const noexcept;
    const COtherHashAlgAndValue* get_otherHash() const noexcept;
    void put_sha1Hash(const CBlob& sha1);
    void put_otherHash(const COtherHashAlgAndValue& hash);

    // True if the kinds are equal and the hashes too, whatever the algorithms.
    bool compare_hashValue(const COtherHash& other) const noexcept;

    // The DER. Throws 0x80093101, for kind 0 too.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<COtherHashImpl> impl_;
};

// Kinds and values, algorithms with their parameters included. Two empty ones are equal.
bool operator==(const COtherHash& a, const COtherHash& b) noexcept;
inline bool operator!=(const COtherHash& a, const COtherHash& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
