// Digests and running hashes.
#include <algorithm>
#include <optional>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_hasher {
    std::optional<Hasher> running; // none once it is finished
};

namespace {

Hasher& running(chronoseal_hasher* hasher) {
    auto& handle = needed(hasher, "hasher");
    if (!handle.running) {
        throw Error(Category::misuse, "hash_finished", 0, "the hash is finished",
                    "make a hasher for each hash");
    }
    return *handle.running;
}

} // namespace

namespace chronoseal::c_interface {

HashAlgorithm algorithm_of(const char* name) {
    return HashAlgorithm::by_name(name != nullptr ? name : "SHA-256");
}

Digest digest_of(const chronoseal_digest* digest) {
    const chronoseal_digest& given = needed(digest, "digest");
    const auto* const end = std::ranges::find(given.algorithm, '\0');
    const auto algorithm = HashAlgorithm::by_name(std::string_view(given.algorithm, end));
    const auto value = std::as_bytes(std::span(given.value));
    // A size beyond the room is told as what it is: not the algorithm's.
    const auto size = std::min(given.size, value.size() + 1);
    Bytes bytes(value.begin(),
                value.begin() + static_cast<std::ptrdiff_t>(std::min(size, value.size())));
    bytes.resize(size);
    return Digest(algorithm, std::move(bytes));
}

chronoseal_digest digest_of(const Digest& digest) {
    chronoseal_digest result{};
    const std::string& name = digest.algorithm().name();
    const Bytes& value = digest.value();
    if (name.size() >= sizeof result.algorithm || value.size() > sizeof result.value) {
        throw Error(Category::misuse, "buffer_too_small", 0, "the hash has no room in a digest",
                    "choose another algorithm");
    }
    std::ranges::copy(name, result.algorithm);
    std::memcpy(result.value, value.data(), value.size());
    result.size = value.size();
    return result;
}

std::vector<Digest> digests_of(const chronoseal_digest* first, std::size_t count,
                               const char* name) {
    std::vector<Digest> all;
    if (count != 0) {
        needed(first, name);
    }
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back(digest_of(first + i));
    }
    return all;
}

} // namespace chronoseal::c_interface

chronoseal_status chronoseal_hash(const char* algorithm, const void* data, size_t size,
                                  chronoseal_digest* digest, chronoseal_error** error) {
    return give(digest, "digest", error, [&] {
        return digest_of(Digest::of(needed_bytes(data, size, "data"), algorithm_of(algorithm)));
    });
}

chronoseal_status chronoseal_hash_file(const char* algorithm, const char* path,
                                       const chronoseal_control* control, chronoseal_digest* digest,
                                       chronoseal_error** error) {
    return give(digest, "digest", error, [&] {
        Watch watch(control);
        return digest_of(Digest::of_file(needed_text(path, "path"), algorithm_of(algorithm),
                                         watch.progress(), watch.stop()));
    });
}

chronoseal_status
chronoseal_hash_algorithms(int (*each)(void* user, const chronoseal_hash_algorithm* algorithm),
                           void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        for (const HashAlgorithm& algorithm : HashAlgorithm::all()) {
            const chronoseal_hash_algorithm view{algorithm.name().c_str(), algorithm.oid().c_str(),
                                                 algorithm.size(), algorithm.weak() ? 1 : 0};
            if (each(user, &view) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_hasher_new(const char* algorithm, chronoseal_hasher** hasher,
                                        chronoseal_error** error) {
    return give_new(hasher, "hasher", error, [&] { return Hasher(algorithm_of(algorithm)); });
}

chronoseal_status chronoseal_hasher_update(chronoseal_hasher* hasher, const void* data, size_t size,
                                           chronoseal_error** error) {
    return call(error, [&] {
        running(hasher).update(needed_bytes(data, size, "data"));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_hasher_finish(chronoseal_hasher* hasher, chronoseal_digest* digest,
                                           chronoseal_error** error) {
    return give(digest, "digest", error, [&] {
        Hasher last = std::move(running(hasher));
        hasher->running.reset();
        return digest_of(last.finish());
    });
}

void chronoseal_hasher_free(chronoseal_hasher** hasher) {
    release(hasher);
}

chronoseal_status chronoseal_time_text(chronoseal_time time, int local, char* out, size_t room,
                                       chronoseal_error** error) {
    return call(error, [&] {
        needed(out, "out");
        const Time point = needed_time(time, "time");
        const std::string text = local != 0 ? local_text(point) : utc_text(point);
        if (text.size() >= room) {
            throw Error(Category::misuse, "buffer_too_small", 0, "the time has no room in 'out'",
                        "give room for CHRONOSEAL_TIME_ROOM bytes");
        }
        std::memcpy(out, text.c_str(), text.size() + 1);
        return CHRONOSEAL_OK;
    });
}
