// The platform's provider functions are replaced here by a table of made-up providers, as long as a
// test holds one.
#include <chronoseal/atl/default_csp.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/provider.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/base/test_code.h>
#include <chronoseal/base/test_seam.h>

namespace {

struct FakeProvider {
    DWORD type;
    std::string name;
    std::vector<ALG_ID> algorithms;
    bool is_default = true;
    bool opens = true;
    DWORD listing_end = ERROR_NO_MORE_ITEMS;
};

struct FakePlatform {
    FakePlatform() { current = this; }
    ~FakePlatform() { current = nullptr; }

    std::vector<FakeProvider> providers;
    std::map<HCRYPTPROV, int> references;
    std::map<HCRYPTPROV, std::size_t> positions;
    HCRYPTPROV chosen = 0;
    int failing_index = -1; // of providers
    int greedy_index = -1;  // of one whose name never fits
    int failing_type = -1;
    int enumerations = 0;

    static FakePlatform* current;
};

FakePlatform* FakePlatform::current = nullptr;

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

BOOL put_name(const std::string& text, LPSTR name, DWORD* size) {
    const auto needed = static_cast<DWORD>(text.size() + 1);
    if (*size < needed) {
        *size = needed;
        return fail(ERROR_MORE_DATA);
    }
    std::memcpy(name, text.c_str(), needed);
    *size = needed;
    return TRUE;
}

} // namespace

extern "C" {

HCRYPTPROV HYCAPI_I_CryptGetDefaultCryptProv(ALG_ID first, ALG_ID second) noexcept {
    return FakePlatform::current ? FakePlatform::current->chosen
                                 : REAL(HYCAPI_I_CryptGetDefaultCryptProv)(first, second);
}

BOOL CryptEnumProviderTypesA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name,
                             DWORD* size) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptEnumProviderTypesA)(index, reserved, flags, type, name, size);
    }
    ++fake->enumerations;
    if (static_cast<int>(index) == fake->failing_type) {
        return fail(NTE_FAIL);
    }
    for (const auto& provider : fake->providers) {
        if (provider.is_default && index-- == 0) {
            *type = provider.type;
            return put_name("the type of " + provider.name, name, size);
        }
    }
    return fail(ERROR_NO_MORE_ITEMS);
}

BOOL CryptEnumProvidersA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name,
                         DWORD* size) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptEnumProvidersA)(index, reserved, flags, type, name, size);
    }
    ++fake->enumerations;
    if (index >= fake->providers.size()) {
        return fail(ERROR_NO_MORE_ITEMS);
    }
    if (static_cast<int>(index) == fake->failing_index) {
        return fail(NTE_FAIL);
    }
    if (static_cast<int>(index) == fake->greedy_index) {
        return fail(ERROR_MORE_DATA);
    }
    *type = fake->providers[index].type;
    return put_name(fake->providers[index].name, name, size);
}

BOOL CryptAcquireContextA(HCRYPTPROV* context, LPCSTR container, LPCSTR name, DWORD type,
                          DWORD flags) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptAcquireContextA)(context, container, name, type, flags);
    }
    for (std::size_t i = 0; i < fake->providers.size(); ++i) {
        const auto& provider = fake->providers[i];
        if (provider.type == type && (name ? provider.name == name : provider.is_default)) {
            if (!provider.opens) {
                return fail(NTE_BAD_PROVIDER);
            }
            *context = i + 1;
            ++fake->references[*context];
            return TRUE;
        }
    }
    return fail(NTE_KEYSET_NOT_DEF);
}

BOOL CryptReleaseContext(HCRYPTPROV context, DWORD flags) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptReleaseContext)(context, flags);
    }
    --fake->references[context];
    return TRUE;
}

BOOL CryptContextAddRef(HCRYPTPROV context, DWORD* reserved, DWORD flags) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptContextAddRef)(context, reserved, flags);
    }
    ++fake->references[context];
    return TRUE;
}

BOOL CryptGetProvParam(HCRYPTPROV context, DWORD parameter, BYTE* data, DWORD* size,
                       DWORD flags) noexcept {
    auto* const fake = FakePlatform::current;
    if (!fake) {
        return REAL(CryptGetProvParam)(context, parameter, data, size, flags);
    }
    const auto& provider = fake->providers[context - 1];
    auto& position = fake->positions[context];
    if (flags == CRYPT_FIRST) {
        position = 0;
    }
    if (position == provider.algorithms.size()) {
        return fail(provider.listing_end);
    }
    reinterpret_cast<PROV_ENUMALGS_EX*>(data)->aiAlgid = provider.algorithms[position++];
    return TRUE;
}
}

namespace Halcyon {
namespace {

constexpr ALG_ID kHashA = 0x8101;
constexpr ALG_ID kHashB = 0x8102;

// The index of the provider found, counted from 1, with its one reference given back; 0 for none.
HCRYPTPROV find(FakePlatform& platform, ALG_ID first, ALG_ID second = 0) {
    const auto found = HYGetDefaultCSPThrow(first, second);
    if (found != 0) {
        CryptReleaseContext(found, 0);
    }
    for (const auto& [handle, count] : platform.references) {
        EXPECT_EQ(count, 0) << "provider " << handle;
    }
    return found;
}

std::uint32_t code_of(ALG_ID algorithm) {
    return Halcyon::code_of([=] { HYGetDefaultCSPThrow(algorithm, 0); });
}

TEST(DefaultCsp, TakesThePlatformsChoiceWithoutLooking) {
    FakePlatform platform;
    platform.providers = {{1, "one", {kHashA}}};
    platform.chosen = 1;
    platform.references[1] = 1;
    EXPECT_EQ(find(platform, kHashA), 1u);
    EXPECT_EQ(platform.enumerations, 0);
    EXPECT_EQ(HYGetDefaultCSPThrow(0, kHashA), 0u);
}

TEST(DefaultCsp, PrefersDefaultsOfTypesToNames) {
    FakePlatform platform;
    platform.providers = {
        {1, "hidden", {kHashA}, false}, {1, "one", {kHashB}}, {2, "two", {kHashA}}};
    EXPECT_EQ(find(platform, kHashA), 3u);
    platform.providers[2].algorithms = {kHashB};
    EXPECT_EQ(find(platform, kHashA), 1u) << "installed, but not the default of its type";
    EXPECT_EQ(find(platform, 0x8103), 0u);
}

TEST(DefaultCsp, WantsBothAlgorithms) {
    FakePlatform platform;
    platform.providers = {{1, "one", {kHashA}}, {2, "two", {kHashB, kHashA}}};
    EXPECT_EQ(find(platform, kHashA, kHashB), 2u);
    EXPECT_EQ(find(platform, kHashA), 1u);
}

TEST(DefaultCsp, RetriesLongNamesAndPassesOverFailingIndices) {
    FakePlatform platform;
    platform.providers = {{1, "one", {kHashB}},
                          {1, "broken", {kHashA}, false},
                          {1, std::string(600, 'n'), {kHashA}, false}};
    platform.failing_index = 1;
    EXPECT_EQ(find(platform, kHashA), 3u);
    platform.greedy_index = 1;
    platform.failing_index = -1;
    EXPECT_EQ(find(platform, kHashA), 0u) << "room that was there already is asked for: the end";
}

TEST(DefaultCsp, StopsAtATypeThatFailsAndGoesOnByNames) {
    FakePlatform platform;
    platform.providers = {
        {1, "one", {kHashB}}, {2, "two", {kHashA}}, {3, "named", {kHashA}, false}};
    EXPECT_EQ(find(platform, kHashA), 2u);
    platform.failing_type = 1;
    platform.enumerations = 0;
    EXPECT_EQ(find(platform, kHashA), 2u) << "by its name";
    // Types 0 and 1, then the names of the first two.
    EXPECT_EQ(platform.enumerations, 4);
}

TEST(DefaultCsp, EndsWithAnExceptionWhenAProviderCannotBeAsked) {
    FakePlatform platform;
    platform.providers = {{1, "one", {kHashB}}, {2, "two", {kHashA}}};
    platform.providers[0].opens = false;
    EXPECT_EQ(code_of(kHashA), 0x80090013u);
    platform.providers[0].opens = true;
    platform.providers[0].listing_end = ERROR_NOT_ENOUGH_MEMORY;
    EXPECT_EQ(code_of(kHashA), 0x80070008u);
    EXPECT_EQ(platform.references[1], 0);
}

TEST(DefaultCsp, FindsTheRealProviderOfSha256) {
    const auto provider = HYGetDefaultCSPThrow(CALG_SHA_256, 0);
    ASSERT_NE(provider, 0u);
    EXPECT_TRUE(CryptReleaseContext(provider, 0));
}

TEST(CryptProv, AssignsReferences) {
    FakePlatform platform;
    platform.providers = {{1, "one", {}}, {2, "two", {}}};
    {
        ATL::CCryptProv first;
        ASSERT_TRUE(CryptAcquireContextA(first.put(), nullptr, "one", 1, CRYPT_VERIFYCONTEXT));
        auto& same = first;
        first = same;
        EXPECT_EQ(platform.references[1], 1);
        ATL::CCryptProv second;
        ASSERT_TRUE(CryptAcquireContextA(second.put(), nullptr, "two", 2, CRYPT_VERIFYCONTEXT));
        second = first;
        EXPECT_EQ(platform.references[1], 2);
        EXPECT_EQ(platform.references[2], 0);
    }
    EXPECT_EQ(platform.references[1], 0);
}

} // namespace
} // namespace Halcyon
