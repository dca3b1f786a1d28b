// Provider contexts: references, parameters, random numbers.
#include <basalt/basalt10/call_end.h>
#include <basalt/basalt10/handle_set.h>
#include <basalt/basalt10/provider_context.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/text_conversion.h>

#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <string>

namespace {

using basalt::fail;
using basalt::give_parameter;
using basalt::ListedAlgorithm;
using basalt::Provider;

// Above 5.0, so that the last errors of the network functions count as they are.
constexpr DWORD kVersion = 0x0501;
constexpr DWORD kBuild = 1;

// Everything but `provider` is touched under the lock of the set only.
struct Context {
    const Provider* provider;
    unsigned references = 1;
    std::size_t listed = 0; // where the listing of algorithms stands
};

basalt::HandleSet<Context>& contexts() {
    // Never destroyed: handles may outlive the static objects of this library.
    static auto* set = new basalt::HandleSet<Context>;
    return *set;
}

// The provider of that name and type; null with the last error.
const Provider* choose(LPCSTR name, DWORD type) {
    if (type == 0) {
        SetLastError(NTE_BAD_PROV_TYPE);
        return nullptr;
    }
    const bool any_name = name == nullptr || *name == '\0';
    bool type_exists = false;
    bool name_exists = false;
    for (const Provider& provider : basalt::providers()) {
        const bool same_name = any_name || std::strcmp(provider.name, name) == 0;
        if (same_name && provider.type == type) {
            return &provider;
        }
        type_exists = type_exists || provider.type == type;
        name_exists = name_exists || same_name;
    }
    SetLastError(!type_exists   ? NTE_PROV_TYPE_NOT_DEF
                 : !name_exists ? NTE_KEYSET_NOT_DEF
                                : NTE_PROV_TYPE_NO_MATCH);
    return nullptr;
}

HCRYPTPROV make_context(const Provider& provider) noexcept {
    try {
        auto context = std::make_unique<Context>(Context{&provider});
        const HCRYPTPROV handle = contexts().add(context.get());
        context.release();
        return handle;
    } catch (...) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
}

// The length with the end mark. The rest of the field is zero already.
template <std::size_t Size>
DWORD put_name(CHAR (&field)[Size], std::string_view name) {
    const std::size_t length = std::min(name.size(), Size - 1);
    std::memcpy(field, name.data(), length);
    return static_cast<DWORD>(length + 1);
}

BOOL give_record(const ListedAlgorithm& listed, DWORD parameter, BYTE* data, DWORD* size) {
    if (parameter == PP_ENUMALGS) {
        PROV_ENUMALGS record{};
        record.aiAlgid = listed.algorithm;
        record.dwBitLen = listed.default_bits;
        record.dwNameLen = put_name(record.szName, listed.name);
        return give_parameter(&record, sizeof record, data, size);
    }
    PROV_ENUMALGS_EX record{};
    record.aiAlgid = listed.algorithm;
    record.dwDefaultLen = listed.default_bits;
    record.dwMinLen = listed.least_bits;
    record.dwMaxLen = listed.most_bits;
    record.dwNameLen = put_name(record.szName, listed.name);
    record.dwLongNameLen = put_name(record.szLongName, listed.long_name);
    return give_parameter(&record, sizeof record, data, size);
}

// One step of a listing. The place moves on only when a record was given out.
BOOL list_algorithm(HCRYPTPROV handle, DWORD parameter, BYTE* data, DWORD* size, DWORD flags) {
    if ((flags & ~(CRYPT_FIRST | CRYPT_NEXT)) != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    BOOL result = FALSE;
    contexts().with(handle, [&](Context& context) {
        if ((flags & CRYPT_FIRST) != 0) {
            context.listed = 0;
        }
        const ListedAlgorithm* listed = context.provider->available(context.listed);
        if (listed == nullptr) {
            SetLastError(ERROR_NO_MORE_ITEMS);
            return;
        }
        result = give_record(*listed, parameter, data, size);
        if (result != FALSE && data != nullptr) {
            ++context.listed;
        }
    });
    return result;
}

} // namespace

const Provider* basalt::provider_of(HCRYPTPROV handle) noexcept {
    const Provider* provider = nullptr;
    if (!contexts().with(handle, [&](const Context& context) { provider = context.provider; })) {
        SetLastError(ERROR_INVALID_PARAMETER);
    }
    return provider;
}

BOOL CryptAcquireContextA(HCRYPTPROV* context, LPCSTR container, LPCSTR provider, DWORD type,
                          DWORD flags) noexcept {
    if (context == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    *context = 0;
    if ((flags & ~(CRYPT_VERIFYCONTEXT | CRYPT_SILENT | CRYPT_MACHINE_KEYSET | CRYPT_NEWKEYSET |
                   CRYPT_DELETEKEYSET)) != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    const Provider* chosen = choose(provider, type);
    if (chosen == nullptr) {
        return FALSE;
    }
    // There are no key containers to open, make or delete.
    const bool named = container != nullptr && *container != '\0';
    if (named || (flags & CRYPT_VERIFYCONTEXT) != CRYPT_VERIFYCONTEXT) {
        return fail(NTE_BAD_KEYSET);
    }
    if ((flags & (CRYPT_NEWKEYSET | CRYPT_DELETEKEYSET)) != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    *context = make_context(*chosen);
    return *context != 0 ? TRUE : FALSE;
}

BOOL CryptAcquireContextW(HCRYPTPROV* context, LPCWSTR container, LPCWSTR provider, DWORD type,
                          DWORD flags) noexcept {
    const bool named = container != nullptr && *container != L'\0';
    // The names of all providers fit, so a name that doesn't is none of theirs.
    std::array<char, 256> name{};
    if (provider != nullptr &&
        WideCharToMultiByte(CP_ACP, 0, provider, -1, name.data(), static_cast<int>(name.size()),
                            nullptr, nullptr) == 0) {
        return fail(NTE_KEYSET_NOT_DEF);
    }
    return CryptAcquireContextA(context, named ? "?" : nullptr,
                                provider != nullptr ? name.data() : nullptr, type, flags);
}

BOOL CryptReleaseContext(HCRYPTPROV handle, DWORD flags) noexcept {
    Context* last = nullptr;
    if (!contexts().remove_if(handle, last,
                              [](Context& context) { return --context.references == 0; })) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    delete last;
    return flags == 0 ? TRUE : fail(NTE_BAD_FLAGS);
}

BOOL CryptContextAddRef(HCRYPTPROV handle, DWORD* reserved, DWORD flags) noexcept {
    if (reserved != nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    return contexts().with(handle, [](Context& context) { ++context.references; })
               ? TRUE
               : fail(ERROR_INVALID_PARAMETER);
}

BOOL CryptGetProvParam(HCRYPTPROV handle, DWORD parameter, BYTE* data, DWORD* size,
                       DWORD flags) noexcept {
    const Provider* provider = basalt::provider_of(handle);
    if (provider == nullptr) {
        return FALSE;
    }
    if (size == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    if (parameter == PP_ENUMALGS || parameter == PP_ENUMALGS_EX) {
        return list_algorithm(handle, parameter, data, size, flags);
    }
    if (flags != 0) {
        return fail(NTE_BAD_FLAGS);
    }
    switch (parameter) {
    case PP_NAME:
        return give_parameter(provider->name, std::strlen(provider->name) + 1, data, size);
    case PP_VERSION:
        return give_parameter(&kVersion, sizeof kVersion, data, size);
    case PP_PROVTYPE:
        return give_parameter(&provider->type, sizeof provider->type, data, size);
    case PP_BUILD_INFORMATION: {
        const DWORD words[5] = {kBuild};
        return give_parameter(words, sizeof words, data, size);
    }
    default:
        return fail(NTE_BAD_TYPE);
    }
}

BOOL CryptGenRandom(HCRYPTPROV handle, DWORD size, BYTE* buffer) noexcept {
    if (basalt::provider_of(handle) == nullptr) {
        return FALSE;
    }
    if (buffer == nullptr && size != 0) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    while (size != 0) {
        const DWORD piece = std::min<DWORD>(size, INT_MAX);
        if (RAND_bytes(buffer, static_cast<int>(piece)) != 1) {
            return fail(NTE_FAIL);
        }
        buffer += piece;
        size -= piece;
    }
    return TRUE;
}

HCRYPTPROV HYCAPI_I_CryptGetDefaultCryptProv(ALG_ID algId, ALG_ID algId2) noexcept {
    for (const Provider& provider : basalt::providers()) {
        if (provider.find(algId) != nullptr && (algId2 == 0 || provider.find(algId2) != nullptr)) {
            return make_context(provider);
        }
    }
    SetLastError(NTE_BAD_ALGID);
    return 0;
}
