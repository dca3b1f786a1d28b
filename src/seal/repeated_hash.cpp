// Hashing by the platform with a provider that stays open.
#include <chronoseal/seal/repeated_hash.h>

#include <algorithm>
#include <cstring>

#include <basalt/hash.h>
#include <basalt/oid_information.h>
#include <chronoseal/atl/default_csp.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

RepeatedHash::RepeatedHash(const HashAlgorithm& algorithm)
    : algorithm_(algorithm), number_(CertOIDToAlgId(algorithm.oid().c_str())) {
    guarded("hash", [&] { *provider_.put() = Halcyon::HYGetDefaultCSPThrow(number_, 0); });
    if (provider_.get() == 0) {
        throw error_of_last("hash");
    }
}

void RepeatedHash::into(std::byte* target, std::initializer_list<ByteView> pieces) {
    constexpr std::size_t kMost = std::size_t{1} << 30; // the platform counts in 32 bits
    ATL::CCryptHash hash;
    if (CryptCreateHash(provider_.get(), number_, 0, 0, hash.put()) == 0) {
        throw error_of_last("hash");
    }
    for (ByteView rest : pieces) {
        while (!rest.empty()) {
            const ByteView piece = rest.first(std::min(rest.size(), kMost));
            if (CryptHashData(hash.get(), octets(piece), static_cast<DWORD>(piece.size()), 0) ==
                0) {
                throw error_of_last("hash");
            }
            rest = rest.subspan(piece.size());
        }
    }
    auto length = static_cast<DWORD>(algorithm_.size());
    if (CryptGetHashParam(hash.get(), HP_HASHVAL, reinterpret_cast<BYTE*>(target), &length, 0) ==
        0) {
        throw error_of_last("hash");
    }
}

Bytes RepeatedHash::of(std::initializer_list<ByteView> pieces) {
    Bytes value(algorithm_.size());
    into(value.data(), pieces);
    return value;
}

Bytes RepeatedHash::of_sorted(std::vector<ByteView> hashes) {
    if (hashes.size() == 1) {
        return copy_of(hashes.front());
    }
    std::ranges::sort(hashes, less);
    Bytes joined;
    joined.reserve(hashes.size() * algorithm_.size());
    for (const ByteView hash : hashes) {
        joined.insert(joined.end(), hash.begin(), hash.end());
    }
    return of({joined});
}

bool less(ByteView a, ByteView b) {
    const std::size_t common = std::min(a.size(), b.size());
    const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
    return order != 0 ? order < 0 : a.size() < b.size();
}

bool same(ByteView a, ByteView b) {
    return std::ranges::equal(a, b);
}

} // namespace chronoseal
