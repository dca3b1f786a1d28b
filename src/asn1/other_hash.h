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
    explicit COtherHash(CBlob const& sha1);
    explicit COtherHash(COtherHashAlgAndValue const& hash);
    COtherHash(COtherHash const& other);
    COtherHash& operator=(COtherHash const& other);
    virtual ~COtherHash();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;
    // Null for another kind.
    CBlob const* get_sha1Hash() const noexcept;
    COtherHashAlgAndValue const* get_otherHash() const noexcept;
    void put_sha1Hash(CBlob const& sha1);
    void put_otherHash(COtherHashAlgAndValue const& hash);

    // True if the kinds are equal and the hashes too, whatever the algorithms.
    bool compare_hashValue(COtherHash const& other) const noexcept;

    // The DER. Throws 0x80093101, for kind 0 too.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<COtherHashImpl> impl_;
};

// Kinds and values, algorithms with their parameters included. Two empty ones are equal.
bool operator==(COtherHash const& a, COtherHash const& b) noexcept;
inline bool operator!=(COtherHash const& a, COtherHash const& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
