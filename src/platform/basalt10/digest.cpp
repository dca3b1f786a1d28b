// Digests by fetching once and keeping, and the GOST engine.
#include <basalt/basalt10/digest.h>

#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/objects.h>

#include <array>
#include <atomic>

// OpenSSL 3 calls engines deprecated, but the GOST engine's provider does no keys.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace basalt {

namespace {

struct DigestName {
    ALG_ID algorithm;
    const char* oid;
    const char* name; // null: an engine's, by `nid`
    int nid;
};

constexpr DigestName kNames[] = {
    {CALG_SHA_256, "2.16.840.1.101.3.4.2.1", "SHA2-256", 0},
    {CALG_SHA1, "1.3.14.3.2.26", "SHA1", 0},
    {CALG_SHA_384, "2.16.840.1.101.3.4.2.2", "SHA2-384", 0},
    {CALG_SHA_512, "2.16.840.1.101.3.4.2.3", "SHA2-512", 0},
    {CALG_MD5, "1.2.840.113549.2.5", "MD5", 0},
    {CALG_GOSTR3411_94, "1.2.643.2.2.9", nullptr, NID_id_GostR3411_94},
    {CALG_GOSTR3411_2012_256, "1.2.643.7.1.1.2.2", nullptr, NID_id_GostR3411_2012_256},
    {CALG_GOSTR3411_2012_512, "1.2.643.7.1.1.2.3", nullptr, NID_id_GostR3411_2012_512},
    {CALG_BASALT_SHA_224, "2.16.840.1.101.3.4.2.4", "SHA2-224", 0},
    {CALG_BASALT_SHA_512_224, "2.16.840.1.101.3.4.2.5", "SHA2-512/224", 0},
    {CALG_BASALT_SHA_512_256, "2.16.840.1.101.3.4.2.6", "SHA2-512/256", 0},
    {CALG_BASALT_SHA3_224, "2.16.840.1.101.3.4.2.7", "SHA3-224", 0},
    {CALG_BASALT_SHA3_256, "2.16.840.1.101.3.4.2.8", "SHA3-256", 0},
    {CALG_BASALT_SHA3_384, "2.16.840.1.101.3.4.2.9", "SHA3-384", 0},
    {CALG_BASALT_SHA3_512, "2.16.840.1.101.3.4.2.10", "SHA3-512", 0},
};

// The digests found so far. A fetched digest is never given back: it is wanted until the end, and
// at the end OpenSSL may be gone already.
std::array<std::atomic<const EVP_MD*>, std::size(kNames)> found;

const EVP_MD* digest_at(std::size_t index) {
    if (const EVP_MD* digest = found[index].load(std::memory_order_acquire)) {
        return digest;
    }
    const DigestName& name = kNames[index];
    if (name.name == nullptr) {
        // EVP_MD_fetch doesn't see the digests of engines.
        const EVP_MD* digest = gost_available() ? EVP_get_digestbynid(name.nid) : nullptr;
        found[index].store(digest, std::memory_order_release);
        return digest;
    }
    ERR_set_mark(); // a digest that isn't there is no error
    EVP_MD* fetched = EVP_MD_fetch(nullptr, name.name, nullptr);
    ERR_pop_to_mark();
    const EVP_MD* other = nullptr;
    if (fetched != nullptr && !found[index].compare_exchange_strong(other, fetched)) {
        EVP_MD_free(fetched); // another thread was quicker
        return other;
    }
    return fetched;
}

bool load_gost_engine() {
    ENGINE_load_dynamic();
    ENGINE* engine = ENGINE_by_id("gost");
    if (engine == nullptr) {
        return false;
    }
    const bool ready = ENGINE_init(engine) != 0 &&
                       ENGINE_set_default(engine, ENGINE_METHOD_DIGESTS | ENGINE_METHOD_PKEY_METHS |
                                                      ENGINE_METHOD_PKEY_ASN1_METHS) != 0;
    ENGINE_free(engine); // the functional reference of ENGINE_init stays
    return ready && EVP_get_digestbynid(NID_id_GostR3411_2012_256) != nullptr;
}

} // namespace

const EVP_MD* digest_by_algorithm(ALG_ID algorithm) noexcept {
    for (std::size_t i = 0; algorithm != 0 && i < std::size(kNames); ++i) {
        if (kNames[i].algorithm == algorithm) {
            return digest_at(i);
        }
    }
    return nullptr;
}

const EVP_MD* digest_by_oid(std::string_view oid) noexcept {
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        if (kNames[i].oid == oid) {
            return digest_at(i);
        }
    }
    return nullptr;
}

bool gost_available() noexcept {
    static const bool kAvailable = [] {
        // A missing engine leaves its complaints in OpenSSL's error queue, which is the caller's.
        ERR_set_mark();
        const bool loaded = load_gost_engine();
        ERR_pop_to_mark();
        return loaded;
    }();
    return kAvailable;
}

} // namespace basalt
