// Many small hashes by one algorithm: of nodes of a tree, of tokens.
#pragma once

#include <initializer_list>

#include <chronoseal/atl/crypt_hash.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/evidence.hpp>

namespace chronoseal {

// Belongs to one thread. Throws Error.
class RepeatedHash {
public:
    explicit RepeatedHash(const HashAlgorithm& algorithm);
    RepeatedHash(const RepeatedHash&) = delete;
    RepeatedHash& operator=(const RepeatedHash&) = delete;

    const HashAlgorithm& algorithm() const noexcept { return algorithm_; }
    // Of the pieces, one behind the other; `target` has the size of the digest.
    void into(std::byte* target, std::initializer_list<ByteView> pieces);
    Bytes of(std::initializer_list<ByteView> pieces);
    // Of hashes in ascending order. One alone is passed on as it is.
    Bytes of_sorted(std::vector<ByteView> hashes);

private:
    HashAlgorithm algorithm_;
    std::uint32_t number_;
    ATL::CCryptProv provider_;
};

// Order of octet strings of the same length.
bool less(ByteView a, ByteView b);
bool same(ByteView a, ByteView b);

} // namespace chronoseal
