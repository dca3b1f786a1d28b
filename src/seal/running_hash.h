// A hash of the platform that is under way.
#pragma once

#include <optional>
#include <string>

#include <chronoseal/atl/crypt_hash.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Belongs to one thread. Throws Error.
class RunningHash {
public:
    // By the platform's number.
    explicit RunningHash(std::uint32_t algorithm);
    RunningHash(const RunningHash&) = delete;
    RunningHash& operator=(const RunningHash&) = delete;

    std::size_t size() const; // of the finished hash
    void update(ByteView data);
    Bytes finish();

private:
    ATL::CCryptProv provider_;
    ATL::CCryptHash hash_;
};

struct HashAlgorithmAccess {
    // Nothing where the platform can't compute it.
    static std::optional<HashAlgorithm> find(const std::string& oid);
};

// Reads a file or a pipe once for all of these. Throws as `Digest::of_file`.
void hash_file(const std::filesystem::path& path, std::span<Hasher> hashers,
               const Progress& progress, std::stop_token stop);

} // namespace chronoseal
