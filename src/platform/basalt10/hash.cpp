// Hashes over EVP. The cost of a call beside EVP's own is one look into the set of live handles.
#include <basalt/hash.h>

#include <basalt/basalt10/call_end.h>
#include <basalt/basalt10/digest.h>
#include <basalt/basalt10/handle_set.h>
#include <basalt/basalt10/provider_context.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <array>
#include <memory>
#include <new>

namespace {

using basalt::fail;
using basalt::give_parameter;

struct Hash {
    HCRYPTPROV context;
    ALG_ID algorithm;
    EVP_MD_CTX* running = EVP_MD_CTX_new();
    bool finished = false;
    std::array<BYTE, EVP_MAX_MD_SIZE> value{};

    // Takes over the caller's reference on the context.
    Hash(HCRYPTPROV provider, ALG_ID id) : context(provider), algorithm(id) {}
    ~Hash() {
        EVP_MD_CTX_free(running);
        CryptReleaseContext(context, 0);
    }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;

    DWORD size() const { return static_cast<DWORD>(EVP_MD_CTX_get_size(running)); }
};

basalt::HandleSet<Hash>& hashes() {
    static auto* set = new basalt::HandleSet<Hash>; // never destroyed, as with contexts
    return *set;
}

// Null with the last error for a handle that is none.
Hash* hash_of(HCRYPTHASH handle) {
    Hash* hash = hashes().find(handle);
    if (hash == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
    }
    return hash;
}

// A hash without a state, which holds a reference of its own on the context. Null with the last
// error.
std::unique_ptr<Hash> new_hash(HCRYPTPROV context, ALG_ID algorithm) {
    if (CryptContextAddRef(context, nullptr, 0) == FALSE) {
        return nullptr;
    }
    auto* hash = new (std::nothrow) Hash(context, algorithm);
    if (hash == nullptr) {
        CryptReleaseContext(context, 0);
    }
    std::unique_ptr<Hash> owner(hash);
    if (hash == nullptr || hash->running == nullptr) {
        SetLastError(NTE_NO_MEMORY);
        return nullptr;
    }
    return owner;
}

BOOL hand_over(std::unique_ptr<Hash> hash, HCRYPTHASH* handle) {
    try {
        *handle = hashes().add(hash.get());
    } catch (...) {
        return fail(NTE_NO_MEMORY);
    }
    hash.release();
    return TRUE;
}

// A question for the size, or a buffer too small, leaves the hash running.
BOOL give_value(Hash& hash, BYTE* data, DWORD* size) {
    if (data != nullptr && *size >= hash.size() && !hash.finished) {
        if (EVP_DigestFinal_ex(hash.running, hash.value.data(), nullptr) != 1) {
            return fail(NTE_FAIL);
        }
        hash.finished = true;
    }
    return give_parameter(hash.value.data(), hash.size(), data, size);
}

} // namespace

BOOL CryptCreateHash(HCRYPTPROV context, ALG_ID algorithm, HCRYPTKEY key, DWORD flags,
                     HCRYPTHASH* hash) noexcept {
    if (hash == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    *hash = 0;
    const basalt::Provider* provider = basalt::provider_of(context);
    if (provider == nullptr) {
        return FALSE;
    }
    if (key != 0 || flags != 0) {
        return fail(key != 0 ? NTE_BAD_KEY : NTE_BAD_FLAGS);
    }
    const EVP_MD* digest =
        provider->find(algorithm) != nullptr ? basalt::digest_by_algorithm(algorithm) : nullptr;
    if (digest == nullptr) {
        return fail(NTE_BAD_ALGID);
    }
    auto made = new_hash(context, algorithm);
    if (made == nullptr) {
        return FALSE;
    }
    if (EVP_DigestInit_ex(made->running, digest, nullptr) != 1) {
        return fail(NTE_FAIL);
    }
    return hand_over(std::move(made), hash);
}

BOOL CryptHashData(HCRYPTHASH handle, const BYTE* data, DWORD size, DWORD flags) noexcept {
    Hash* hash = hash_of(handle);
    if (hash == nullptr) {
        return FALSE;
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    if (data == nullptr && size != 0) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (hash->finished) {
        return fail(NTE_BAD_HASH_STATE);
    }
    return EVP_DigestUpdate(hash->running, data, size) == 1 ? TRUE : fail(NTE_FAIL);
}

BOOL CryptGetHashParam(HCRYPTHASH handle, DWORD parameter, BYTE* data, DWORD* size,
                       DWORD flags) noexcept {
    Hash* hash = hash_of(handle);
    if (hash == nullptr) {
        return FALSE;
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    if (size == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const DWORD length = hash->size();
    switch (parameter) {
    case HP_ALGID:
        return give_parameter(&hash->algorithm, sizeof hash->algorithm, data, size);
    case HP_HASHSIZE:
        return give_parameter(&length, sizeof length, data, size);
    case HP_HASHVAL:
        return give_value(*hash, data, size);
    default:
        return fail(NTE_BAD_TYPE);
    }
}

BOOL CryptDuplicateHash(HCRYPTHASH handle, DWORD* reserved, DWORD flags,
                        HCRYPTHASH* copy) noexcept {
    const Hash* hash = hash_of(handle);
    if (hash == nullptr) {
        return FALSE;
    }
    if (reserved != nullptr || copy == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    *copy = 0;
    auto made = new_hash(hash->context, hash->algorithm);
    if (made == nullptr) {
        return FALSE;
    }
    if (EVP_MD_CTX_copy_ex(made->running, hash->running) != 1) {
        return fail(NTE_FAIL);
    }
    made->finished = hash->finished;
    made->value = hash->value;
    return hand_over(std::move(made), copy);
}

BOOL CryptDestroyHash(HCRYPTHASH handle) noexcept {
    const std::unique_ptr<Hash> hash(hashes().remove(handle));
    return hash != nullptr ? TRUE : fail(ERROR_INVALID_HANDLE);
}
