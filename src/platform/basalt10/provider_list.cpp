// The providers and what each can do; enumeration.
#include <basalt/basalt10/digest.h>
#include <basalt/basalt10/provider_context.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <cstring>
#include <string_view>

namespace basalt {

namespace {

constexpr ListedAlgorithm kRsaAes[] = {
    {CALG_SHA_256, 256, 256, 256, "SHA-256", "Secure Hash Algorithm (SHA-256)"},
    {CALG_SHA_384, 384, 384, 384, "SHA-384", "Secure Hash Algorithm (SHA-384)"},
    {CALG_SHA_512, 512, 512, 512, "SHA-512", "Secure Hash Algorithm (SHA-512)"},
    {CALG_SHA1, 160, 160, 160, "SHA-1", "Secure Hash Algorithm (SHA-1)"},
    {CALG_MD5, 128, 128, 128, "MD5", "Message Digest 5 (MD5)"},
    {CALG_BASALT_SHA_224, 224, 224, 224, "SHA-224", "Secure Hash Algorithm (SHA-224)"},
    {CALG_BASALT_SHA_512_224, 224, 224, 224, "SHA-512/224", "Secure Hash Algorithm (SHA-512/224)"},
    {CALG_BASALT_SHA_512_256, 256, 256, 256, "SHA-512/256", "Secure Hash Algorithm (SHA-512/256)"},
    {CALG_BASALT_SHA3_224, 224, 224, 224, "SHA3-224", "Secure Hash Algorithm 3 (SHA3-224)"},
    {CALG_BASALT_SHA3_256, 256, 256, 256, "SHA3-256", "Secure Hash Algorithm 3 (SHA3-256)"},
    {CALG_BASALT_SHA3_384, 384, 384, 384, "SHA3-384", "Secure Hash Algorithm 3 (SHA3-384)"},
    {CALG_BASALT_SHA3_512, 512, 512, 512, "SHA3-512", "Secure Hash Algorithm 3 (SHA3-512)"},
    {CALG_RSA_SIGN, 2048, 1024, 16384, "RSA_SIGN", "RSA Signature"},
    {CALG_RSA_KEYX, 2048, 1024, 16384, "RSA_KEYX", "RSA Key Exchange"},
};

constexpr ListedAlgorithm kHash94 = {CALG_GOSTR3411_94,     256, 256, 256, "GOST R 34.11-94",
                                     "GOST R 34.11-94 Hash"};
constexpr ListedAlgorithm kHash256 = {
    CALG_GOSTR3411_2012_256, 256, 256, 256, "GR 34.11-2012 256", "GOST R 34.11-2012 256 bit Hash"};
constexpr ListedAlgorithm kHash512 = {
    CALG_GOSTR3411_2012_512, 512, 512, 512, "GR 34.11-2012 512", "GOST R 34.11-2012 512 bit Hash"};

constexpr ListedAlgorithm kGost2001[] = {
    kHash94,
    {CALG_GOSTR3410_2001, 256, 256, 256, "GOST R 34.10-2001", "GOST R 34.10-2001 Signature"},
};
constexpr ListedAlgorithm kGost2012Short[] = {
    kHash256,
    kHash512,
    kHash94,
    {CALG_GOSTR3410_2012_256, 256, 256, 256, "GR 34.10-2012 256",
     "GOST R 34.10-2012 256 bit Signature"},
};
constexpr ListedAlgorithm kGost2012Long[] = {
    kHash512,
    kHash256,
    kHash94,
    {CALG_GOSTR3410_2012_512, 512, 512, 512, "GR 34.10-2012 512",
     "GOST R 34.10-2012 512 bit Signature"},
};

constexpr Provider kProviders[] = {
    {PROV_RSA_AES, BASALT_RSA_AES_PROV_A, "RSA Full and AES", kRsaAes},
    {PROV_GOST_2001, BASALT_GOST_2001_PROV_A, "GOST R 34.10-2001 Signature", kGost2001},
    {PROV_GOST_2012_256, BASALT_GOST_2012_256_PROV_A, "GOST R 34.10-2012 (256) Signature",
     kGost2012Short},
    {PROV_GOST_2012_512, BASALT_GOST_2012_512_PROV_A, "GOST R 34.10-2012 (512) Signature",
     kGost2012Long},
};

bool is_available(const Provider& provider, const ListedAlgorithm& listed) {
    if (GET_ALG_CLASS(listed.algorithm) == ALG_CLASS_HASH) {
        return digest_by_algorithm(listed.algorithm) != nullptr;
    }
    return provider.type == PROV_RSA_AES || gost_available();
}

bool fail(DWORD code) {
    SetLastError(code);
    return false;
}

// One step of an enumeration: gives out `type` and the name in the caller's characters.
template <class Character>
BOOL give(const char* Provider::*field, DWORD index, const DWORD* reserved, DWORD flags,
          DWORD* type, Character* name, DWORD* size) {
    if (reserved != nullptr || type == nullptr || size == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    if (index >= std::size(kProviders)) {
        return fail(ERROR_NO_MORE_ITEMS);
    }
    const std::string_view text = kProviders[index].*field;
    const auto needed = static_cast<DWORD>((text.size() + 1) * sizeof(Character));
    const DWORD room = *size;
    *size = needed;
    *type = kProviders[index].type;
    if (name == nullptr) {
        return TRUE;
    }
    if (room < needed) {
        return fail(ERROR_MORE_DATA);
    }
    for (const char c : text) {
        *name++ = static_cast<Character>(c); // the names are ASCII
    }
    *name = Character{};
    return TRUE;
}

} // namespace

std::span<const Provider> providers() {
    return kProviders;
}

const ListedAlgorithm* Provider::available(std::size_t index) const {
    for (const ListedAlgorithm& listed : algorithms) {
        if (is_available(*this, listed) && index-- == 0) {
            return &listed;
        }
    }
    return nullptr;
}

const ListedAlgorithm* Provider::find(ALG_ID algorithm) const {
    for (const ListedAlgorithm& listed : algorithms) {
        if (listed.algorithm == algorithm && is_available(*this, listed)) {
            return &listed;
        }
    }
    return nullptr;
}

} // namespace basalt

using basalt::Provider;

BOOL CryptEnumProviderTypesA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name,
                             DWORD* size) noexcept {
    return basalt::give(&Provider::type_name, index, reserved, flags, type, name, size);
}

BOOL CryptEnumProviderTypesW(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPWSTR name,
                             DWORD* size) noexcept {
    return basalt::give(&Provider::type_name, index, reserved, flags, type, name, size);
}

BOOL CryptEnumProvidersA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name,
                         DWORD* size) noexcept {
    return basalt::give(&Provider::name, index, reserved, flags, type, name, size);
}

BOOL CryptEnumProvidersW(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPWSTR name,
                         DWORD* size) noexcept {
    return basalt::give(&Provider::name, index, reserved, flags, type, name, size);
}
