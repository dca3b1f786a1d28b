// Digests: of bytes, of files, of data in pieces.
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <basalt/error_codes.h>
#include <basalt/hash.h>
#include <chronoseal/atl/default_csp.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>

namespace chronoseal {

RunningHash::RunningHash(std::uint32_t algorithm) {
    guarded("hash", [&] {
        *provider_.put() = Halcyon::HYGetDefaultCSPThrow(algorithm, 0);
        if (provider_.get() == 0 ||
            CryptCreateHash(provider_.get(), algorithm, 0, 0, hash_.put()) == 0) {
            throw error_of_last("hash");
        }
    });
}

std::size_t RunningHash::size() const {
    DWORD length = 0;
    DWORD room = sizeof length;
    if (CryptGetHashParam(hash_.get(), HP_HASHSIZE, reinterpret_cast<BYTE*>(&length), &room, 0) ==
        0) {
        throw error_of_last("hash");
    }
    return length;
}

void RunningHash::update(ByteView data) {
    constexpr std::size_t kMost = std::size_t{1} << 30; // the platform counts in 32 bits
    while (!data.empty()) {
        const ByteView piece = data.first(std::min(data.size(), kMost));
        if (CryptHashData(hash_.get(), octets(piece), static_cast<DWORD>(piece.size()), 0) == 0) {
            throw error_of_last("hash");
        }
        data = data.subspan(piece.size());
    }
}

Bytes RunningHash::finish() {
    Bytes value(size());
    auto length = static_cast<DWORD>(value.size());
    if (CryptGetHashParam(hash_.get(), HP_HASHVAL, reinterpret_cast<BYTE*>(value.data()), &length,
                          0) == 0) {
        throw error_of_last("hash");
    }
    return value;
}

struct Hasher::Running {
    explicit Running(const HashAlgorithm& which) : algorithm(which), hash(which.number_) {}

    HashAlgorithm algorithm;
    RunningHash hash;
};

Hasher::Hasher(const HashAlgorithm& algorithm)
    : running_(within_memory("hash", [&] { return std::make_unique<Running>(algorithm); })) {}
Hasher::Hasher(Hasher&& other) noexcept = default;
Hasher& Hasher::operator=(Hasher&& other) noexcept = default;
Hasher::~Hasher() = default;

void Hasher::update(ByteView data) {
    if (running_ == nullptr) {
        throw Error(Category::misuse, "hash_finished", 0, "the hash is finished",
                    "begin a new one");
    }
    running_->hash.update(data);
}

Digest Hasher::finish() {
    return within_memory("hash", [&] {
        update({});
        const std::unique_ptr<Running> running = std::move(running_);
        return Digest(running->algorithm, running->hash.finish());
    });
}

Digest::Digest(HashAlgorithm algorithm, Bytes value)
    : algorithm_(std::move(algorithm)), value_(std::move(value)) {
    if (value_.size() != algorithm_.size()) {
        throw Error(Category::misuse, "digest_malformed", 0,
                    "a digest by " + algorithm_.name() + " has " +
                        std::to_string(algorithm_.size()) + " bytes, not " +
                        std::to_string(value_.size()),
                    "give the whole digest, by the right algorithm");
    }
}

Digest Digest::from_hex(const HashAlgorithm& algorithm, std::string_view digits) {
    return within_memory("hash", [&] { return Digest(algorithm, chronoseal::from_hex(digits)); });
}

Digest Digest::of(ByteView data, const HashAlgorithm& algorithm) {
    return within_memory("hash", [&] {
        Hasher hasher(algorithm);
        hasher.update(data);
        return hasher.finish();
    });
}

void hash_file(const std::filesystem::path& path, std::span<Hasher> hashers,
               const Progress& progress, std::stop_token stop) {
    const FileBytes file(path, std::move(stop));
    std::uint64_t done = 0;
    const PieceRoom room(std::size_t{256} << 10, file.size());
    const auto piece = room.get();
    while (const std::size_t count = file.read(piece)) {
        for (Hasher& hasher : hashers) {
            hasher.update(piece.first(count));
        }
        done += count;
        if (progress) {
            progress(done, file.size());
        }
        if (done == file.size() && count < piece.size()) {
            break; // the end, as announced
        }
    }
}

Digest Digest::of_file(const std::filesystem::path& path, const HashAlgorithm& algorithm,
                       const Progress& progress, std::stop_token stop) {
    return within_memory("hash", [&] {
        Hasher hasher(algorithm);
        hash_file(path, std::span(&hasher, 1), progress, std::move(stop));
        return hasher.finish();
    });
}

} // namespace chronoseal
