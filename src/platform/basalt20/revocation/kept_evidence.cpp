#include <basalt/revocation/kept_evidence.h>

#include <basalt/network/retrieval_cache.h>

namespace basalt {

// They lie one behind the other.
std::vector<std::vector<BYTE>> kept_objects(const std::string& key) {
    std::vector<std::vector<BYTE>> objects;
    const std::optional<CachedObject> cached = cached_object(key);
    if (!cached) {
        return objects;
    }
    try {
        for (DerReader reader(cached->bytes); !reader.at_end() && objects.size() < kMostKept;) {
            const Bytes object = reader.take().whole;
            objects.emplace_back(object.begin(), object.end());
        }
    } catch (const Fault&) {
        forget_object(key); // damaged behind the last of them, or from the beginning
    }
    return objects;
}

void keep_objects(const std::string& key, const std::vector<Bytes>& objects) {
    std::vector<BYTE> bytes;
    for (const Bytes object : objects) {
        bytes.insert(bytes.end(), object.begin(), object.end());
    }
    cache_object(key, bytes);
}

} // namespace basalt
