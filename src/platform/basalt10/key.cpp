// Keys over EVP_PKEY.
#include <basalt/key.h>

#include <basalt/basalt10/call_end.h>
#include <basalt/basalt10/digest.h>
#include <basalt/basalt10/handle_set.h>
#include <basalt/basalt10/provider_context.h>
#include <basalt/error_codes.h>

#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <cstring>
#include <memory>

namespace {

using basalt::fail;

struct Key {
    ALG_ID algorithm;
    EVP_PKEY* key;

    Key(ALG_ID id, EVP_PKEY* made) : algorithm(id), key(made) {}
    ~Key() { EVP_PKEY_free(key); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
};

basalt::HandleSet<Key>& keys() {
    static auto* set = new basalt::HandleSet<Key>; // never destroyed, as with contexts
    return *set;
}

struct GenerationDeleter {
    void operator()(EVP_PKEY_CTX* generation) const { EVP_PKEY_CTX_free(generation); }
};
using Generation = std::unique_ptr<EVP_PKEY_CTX, GenerationDeleter>;

int gost_kind(ALG_ID algorithm) {
    switch (algorithm) {
    case CALG_GOSTR3410_2001:
        return NID_id_GostR3410_2001;
    case CALG_GOSTR3410_2012_256:
        return NID_id_GostR3410_2012_256;
    case CALG_GOSTR3410_2012_512:
        return NID_id_GostR3410_2012_512;
    default:
        return NID_undef;
    }
}

// Null when OpenSSL fails.
EVP_PKEY* generate(ALG_ID algorithm, DWORD bits) {
    const int gost = gost_kind(algorithm);
    const Generation generation(
        EVP_PKEY_CTX_new_id(gost != NID_undef ? gost : EVP_PKEY_RSA, nullptr));
    EVP_PKEY* key = nullptr;
    if (generation == nullptr || EVP_PKEY_keygen_init(generation.get()) != 1) {
        return nullptr;
    }
    const int set = gost != NID_undef ? EVP_PKEY_CTX_ctrl_str(generation.get(), "paramset", "A")
                                      : EVP_PKEY_CTX_set_rsa_keygen_bits(generation.get(),
                                                                         static_cast<int>(bits));
    return set == 1 && EVP_PKEY_keygen(generation.get(), &key) == 1 ? key : nullptr;
}

ALG_ID resolved(const basalt::Provider& provider, ALG_ID algorithm) {
    if (provider.type != PROV_RSA_AES) {
        return algorithm;
    }
    return algorithm == AT_SIGNATURE     ? CALG_RSA_SIGN
           : algorithm == AT_KEYEXCHANGE ? CALG_RSA_KEYX
                                         : algorithm;
}

bool is_public_key(ALG_ID algorithm) {
    const ALG_ID kind = GET_ALG_CLASS(algorithm);
    return kind == ALG_CLASS_SIGNATURE || kind == ALG_CLASS_KEY_EXCHANGE;
}

} // namespace

BOOL CryptGenKey(HCRYPTPROV context, ALG_ID algorithm, DWORD flags, HCRYPTKEY* key) noexcept {
    if (key == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    *key = 0;
    const basalt::Provider* provider = basalt::provider_of(context);
    if (provider == nullptr) {
        return FALSE;
    }
    if ((flags & 0xFFFF) != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    const basalt::ListedAlgorithm* listed = provider->find(resolved(*provider, algorithm));
    if (listed == nullptr || !is_public_key(listed->algorithm)) {
        return fail(NTE_BAD_ALGID);
    }
    const DWORD bits = flags >> 16 != 0 ? flags >> 16 : listed->default_bits;
    if (bits < listed->least_bits || bits > listed->most_bits || bits % 8 != 0) {
        return fail(NTE_BAD_LEN);
    }
    EVP_PKEY* made = generate(listed->algorithm, bits);
    if (made == nullptr) {
        return fail(NTE_FAIL);
    }
    try {
        auto owner = std::make_unique<Key>(listed->algorithm, made);
        *key = keys().add(owner.get());
        owner.release();
        return TRUE;
    } catch (...) {
        return fail(NTE_NO_MEMORY);
    }
}

BOOL CryptGetKeyParam(HCRYPTKEY handle, DWORD parameter, BYTE* data, DWORD* size,
                      DWORD flags) noexcept {
    const Key* key = keys().find(handle);
    if (key == nullptr) {
        return fail(ERROR_INVALID_HANDLE);
    }
    if (size == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    if (parameter != KP_ALGID && parameter != KP_KEYLEN) {
        return fail(NTE_BAD_TYPE);
    }
    const DWORD value =
        parameter == KP_ALGID ? key->algorithm : static_cast<DWORD>(EVP_PKEY_get_bits(key->key));
    const DWORD room = *size;
    *size = sizeof value;
    if (data == nullptr) {
        return TRUE;
    }
    if (room < sizeof value) {
        return fail(ERROR_MORE_DATA);
    }
    std::memcpy(data, &value, sizeof value);
    return TRUE;
}

BOOL CryptDestroyKey(HCRYPTKEY handle) noexcept {
    const std::unique_ptr<Key> key(keys().remove(handle));
    return key != nullptr ? TRUE : fail(ERROR_INVALID_HANDLE);
}
