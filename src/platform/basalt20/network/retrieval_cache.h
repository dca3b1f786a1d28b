// Fetched objects on disk, one file each, in ~/.cache/basalt/retrieved (or under XDG_CACHE_HOME).
// Nothing here fails loudly: an object that can't be read isn't in the cache, one that can't be
// written stays out of it. Set-uid programs and processes without a home folder have no cache.
// Writers replace files whole, so readers never see half of one. The folder is bounded by number
// (512) and by bytes (32 MiB): the oldest go when there are too many, the largest when they are too
// large together, and objects over 16 MiB stay out.
#pragma once

#include <basalt/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace basalt {

struct CachedObject {
    std::chrono::system_clock::time_point fetched;
    std::vector<BYTE> bytes;
};

// `key` is any text that tells the object from all others: its address, and for a POST what was
// sent.
std::optional<CachedObject> cached_object(const std::string& key);

void cache_object(const std::string& key, const std::vector<BYTE>& bytes);

// Takes the object out again, if it is there.
void forget_object(const std::string& key);

} // namespace basalt
