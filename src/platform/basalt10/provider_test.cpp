#include <basalt/provider.h>

#include <basalt/basalt10/digest.h>
#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

HCRYPTPROV acquire(DWORD type, LPCSTR name = nullptr) {
    HCRYPTPROV context = 0;
    EXPECT_TRUE(CryptAcquireContextA(&context, nullptr, name, type, CRYPT_VERIFYCONTEXT));
    return context;
}

DWORD refusal(LPCSTR container, LPCSTR name, DWORD type, DWORD flags) {
    HCRYPTPROV context = 1;
    SetLastError(0);
    EXPECT_FALSE(CryptAcquireContextA(&context, container, name, type, flags));
    EXPECT_EQ(context, 0U);
    return GetLastError();
}

// The whole listing, as a caller walks it.
std::multiset<ALG_ID> algorithms(HCRYPTPROV context) {
    std::multiset<ALG_ID> result;
    for (DWORD flags = CRYPT_FIRST;; flags = 0) {
        PROV_ENUMALGS_EX record{};
        DWORD size = sizeof record;
        SetLastError(0);
        if (CryptGetProvParam(context, PP_ENUMALGS_EX, reinterpret_cast<BYTE*>(&record), &size,
                              flags) == FALSE) {
            EXPECT_EQ(GetLastError(), 259U);
            return result;
        }
        EXPECT_EQ(size, 88U);
        EXPECT_EQ(record.dwNameLen, std::strlen(record.szName) + 1);
        EXPECT_EQ(record.dwLongNameLen, std::strlen(record.szLongName) + 1);
        EXPECT_LE(record.dwMinLen, record.dwDefaultLen);
        EXPECT_LE(record.dwDefaultLen, record.dwMaxLen);
        result.insert(record.aiAlgid);
    }
}

constexpr DWORD kTypes[] = {24, 75, 80, 81};

} // namespace

TEST(Provider, EveryTypeGivesRandomNumbers) {
    for (const DWORD type : kTypes) {
        const HCRYPTPROV context = acquire(type);
        std::set<std::string> seen;
        for (int i = 0; i < 16; ++i) {
            std::string bytes(8, '\0');
            ASSERT_TRUE(CryptGenRandom(context, 8, reinterpret_cast<BYTE*>(bytes.data())));
            seen.insert(bytes);
        }
        EXPECT_EQ(seen.size(), 16U);
        EXPECT_TRUE(CryptGenRandom(context, 0, nullptr));
        EXPECT_TRUE(CryptReleaseContext(context, 0));
    }
}

TEST(Provider, RefusalsOfAcquire) {
    const DWORD verify = CRYPT_VERIFYCONTEXT;
    EXPECT_EQ(refusal(nullptr, nullptr, 0, verify), 0x80090014U);
    EXPECT_EQ(refusal(nullptr, nullptr, 1, verify), 0x80090017U);
    EXPECT_EQ(refusal(nullptr, "no such provider", 24, verify), 0x80090019U);
    EXPECT_EQ(refusal(nullptr, BASALT_RSA_AES_PROV_A, 80, verify), 0x8009001BU);
    EXPECT_EQ(refusal("container", nullptr, 24, verify), 0x80090016U);
    EXPECT_EQ(refusal(nullptr, nullptr, 24, 0), 0x80090016U);
    EXPECT_EQ(refusal(nullptr, nullptr, 24, verify | CRYPT_NEWKEYSET), 0x80090009U);
    EXPECT_EQ(refusal(nullptr, nullptr, 24, verify | 1), 0x80090009U);
    EXPECT_ERROR(87U, CryptAcquireContextA(nullptr, nullptr, nullptr, 24, verify));
}

TEST(Provider, WideNamesWork) {
    HCRYPTPROV context = 0;
    EXPECT_TRUE(CryptAcquireContextW(&context, L"", L"Basalt RSA and AES Cryptographic Provider",
                                     24, CRYPT_VERIFYCONTEXT));
    EXPECT_TRUE(CryptReleaseContext(context, 0));
    EXPECT_ERROR(0x80090019U,
                 CryptAcquireContextW(&context, nullptr, std::wstring(300, L'x').c_str(), 24,
                                      CRYPT_VERIFYCONTEXT));
    EXPECT_ERROR(0x80090016U,
                 CryptAcquireContextW(&context, L"c", nullptr, 24, CRYPT_VERIFYCONTEXT));
}

TEST(Provider, ReferencesAreCountedAndStaleHandlesRefused) {
    const HCRYPTPROV context = acquire(24);
    EXPECT_TRUE(CryptContextAddRef(context, nullptr, 0));
    EXPECT_TRUE(CryptReleaseContext(context, 0));
    BYTE byte = 0;
    EXPECT_TRUE(CryptGenRandom(context, 1, &byte));
    SetLastError(0);
    EXPECT_FALSE(CryptReleaseContext(context, 1)); // released all the same
    EXPECT_EQ(GetLastError(), 0x80090009U);
    for (const HCRYPTPROV stale : {context, HCRYPTPROV{0}, HCRYPTPROV{0x1234}}) {
        EXPECT_ERROR(87U, CryptReleaseContext(stale, 0));
        EXPECT_FALSE(CryptContextAddRef(stale, nullptr, 0));
        EXPECT_FALSE(CryptGenRandom(stale, 1, &byte));
        DWORD size = 4;
        EXPECT_FALSE(CryptGetProvParam(stale, PP_VERSION, nullptr, &size, 0));
    }
}

TEST(Provider, ReferencesFromManyThreads) {
    const HCRYPTPROV context = acquire(24);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([context] {
            for (int n = 0; n < 2000; ++n) {
                CryptContextAddRef(context, nullptr, 0);
                CryptReleaseContext(context, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(CryptReleaseContext(context, 0));
    EXPECT_FALSE(CryptReleaseContext(context, 0));
}

TEST(Provider, VersionCountsAsNewAndBuildHasTwentyBytes) {
    const HCRYPTPROV context = acquire(80);
    DWORD version = 0;
    DWORD size = 4;
    ASSERT_TRUE(
        CryptGetProvParam(context, PP_VERSION, reinterpret_cast<BYTE*>(&version), &size, 0));
    EXPECT_GT(version, 0x500U);
    DWORD build[5] = {};
    size = 0;
    EXPECT_TRUE(CryptGetProvParam(context, 138, nullptr, &size, 0));
    EXPECT_EQ(size, 20U);
    size = 19;
    EXPECT_ERROR(234U, CryptGetProvParam(context, 138, reinterpret_cast<BYTE*>(build), &size, 0));
    EXPECT_EQ(size, 20U);
    EXPECT_TRUE(CryptGetProvParam(context, 138, reinterpret_cast<BYTE*>(build), &size, 0));
    EXPECT_NE(build[0], 0U);
    EXPECT_ERROR(0x8009000AU, CryptGetProvParam(context, 9999, nullptr, &size, 0));
    CryptReleaseContext(context, 0);
}

TEST(Provider, ListsWhatItCanDo) {
    const HCRYPTPROV rsa = acquire(24);
    const std::multiset<ALG_ID> expected = {0x8003, 0x8004, 0x800C, 0x800D, 0x800E, 0x80E1, 0x80E2,
                                            0x80E3, 0x80E4, 0x80E5, 0x80E6, 0x80E7, 0x2400, 0xA400};
    EXPECT_EQ(algorithms(rsa), expected);
    EXPECT_EQ(algorithms(rsa), expected); // CRYPT_FIRST begins again
    CryptReleaseContext(rsa, 0);
    for (const DWORD type : {75U, 80U, 81U}) {
        const HCRYPTPROV gost = acquire(type);
        EXPECT_EQ(algorithms(gost).contains(0x801E), basalt::gost_available());
        EXPECT_EQ(algorithms(gost).contains(0x8022), type != 75 && basalt::gost_available());
        EXPECT_FALSE(algorithms(gost).contains(0x8004));
        CryptReleaseContext(gost, 0);
    }
}

TEST(Provider, SizeQuestionAndSmallBufferDoNotSkipAnAlgorithm) {
    const HCRYPTPROV context = acquire(24);
    PROV_ENUMALGS_EX first{};
    PROV_ENUMALGS_EX again{};
    DWORD size = 0;
    EXPECT_TRUE(CryptGetProvParam(context, PP_ENUMALGS_EX, nullptr, &size, CRYPT_FIRST));
    size = 87;
    EXPECT_ERROR(234U, CryptGetProvParam(context, PP_ENUMALGS_EX, reinterpret_cast<BYTE*>(&first),
                                         &size, 0));
    EXPECT_TRUE(
        CryptGetProvParam(context, PP_ENUMALGS_EX, reinterpret_cast<BYTE*>(&first), &size, 0));
    EXPECT_TRUE(CryptGetProvParam(context, PP_ENUMALGS_EX, reinterpret_cast<BYTE*>(&again), &size,
                                  CRYPT_FIRST));
    EXPECT_EQ(first.aiAlgid, again.aiAlgid);
    CryptReleaseContext(context, 0);
}

TEST(Provider, EnumerationOfTypesAndProvidersAgree) {
    for (DWORD index = 0;; ++index) {
        DWORD type = 0;
        DWORD size = 1;
        char name[128] = "";
        SetLastError(0);
        if (index == std::size(kTypes)) {
            EXPECT_ERROR(259U, CryptEnumProvidersA(index, nullptr, 0, &type, name, &size));
            EXPECT_ERROR(259U, CryptEnumProviderTypesA(index, nullptr, 0, &type, name, &size));
            break;
        }
        EXPECT_ERROR(234U, CryptEnumProvidersA(index, nullptr, 0, &type, name, &size));
        ASSERT_TRUE(CryptEnumProvidersA(index, nullptr, 0, &type, name, &size));
        EXPECT_EQ(size, std::strlen(name) + 1);
        EXPECT_EQ(type, kTypes[index]);
        CryptReleaseContext(acquire(type, name), 0);
        wchar_t wide[128] = L"";
        size = sizeof wide;
        ASSERT_TRUE(CryptEnumProvidersW(index, nullptr, 0, &type, wide, &size));
        EXPECT_EQ(size, (std::wcslen(wide) + 1) * sizeof(wchar_t));
        size = sizeof name;
        ASSERT_TRUE(CryptEnumProviderTypesA(index, nullptr, 0, &type, name, &size));
        EXPECT_EQ(type, kTypes[index]);
    }
}

TEST(Provider, DefaultForAnAlgorithmIsTheCallersOwnReference) {
    const HCRYPTPROV context = HYCAPI_I_CryptGetDefaultCryptProv(0x800C, 0x2400);
    EXPECT_NE(context, 0U);
    EXPECT_TRUE(CryptReleaseContext(context, 0));
    EXPECT_FALSE(CryptReleaseContext(context, 0));
    SetLastError(0);
    EXPECT_EQ(HYCAPI_I_CryptGetDefaultCryptProv(0x800C, 0x801E), 0U); // no provider has both
    EXPECT_EQ(GetLastError(), 0x80090008U);
    EXPECT_EQ(HYCAPI_I_CryptGetDefaultCryptProv(0x8005, 0), 0U);
}
