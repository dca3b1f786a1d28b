#include <basalt/hash.h>

#include <basalt/basalt10/digest.h>
#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string hex(const std::vector<BYTE>& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const BYTE byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::vector<BYTE> value(HCRYPTHASH hash) {
    DWORD size = 0;
    EXPECT_TRUE(CryptGetHashParam(hash, HP_HASHVAL, nullptr, &size, 0));
    std::vector<BYTE> result(size);
    EXPECT_TRUE(CryptGetHashParam(hash, HP_HASHVAL, result.data(), &size, 0));
    return result;
}

bool add(HCRYPTHASH hash, const std::string& text) {
    return CryptHashData(hash, reinterpret_cast<const BYTE*>(text.data()),
                         static_cast<DWORD>(text.size()), 0) != FALSE;
}

struct Known {
    ALG_ID algorithm;
    DWORD type;
    const char* text;
    const char* digest;
};

// The published test vectors of each algorithm.
const Known kKnown[] = {
    {0x8003, 24, "abc", "900150983cd24fb0d6963f7d28e17f72"},
    {0x8004, 24, "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {0x800C, 24, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {0x800C, 24, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {0x800D, 24, "abc",
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
     "8086072ba1e7cc2358baeca134c825a7"},
    {0x800E, 24, "abc",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    {0x801E, 75, "This is message, length=32 bytes",
     "2cefc2f7b7bdc514e18ea57fa74ff357e7fa17d652c75f69cb1be7893ede48eb"},
    {0x8021, 80, "012345678901234567890123456789012345678901234567890123456789012",
     "9d151eefd8590b89daa6ba6cb74af9275dd051026bb149a452fd84e5e57b5500"},
    {0x8022, 81, "012345678901234567890123456789012345678901234567890123456789012",
     "1b54d01a4af5b9d5cc3d86d68d285462b19abc2475222f35c085122be4ba1ffa"
     "00ad30f8767b3a82384c6574f024c311e2a481332b08ef7f41797891c1646f48"},
};

HCRYPTPROV acquire(DWORD type) {
    HCRYPTPROV context = 0;
    EXPECT_TRUE(CryptAcquireContextA(&context, nullptr, nullptr, type, CRYPT_VERIFYCONTEXT));
    return context;
}

// A running SHA-256 that holds the only reference on its context.
HCRYPTHASH sha256() {
    const HCRYPTPROV context = acquire(24);
    HCRYPTHASH hash = 0;
    EXPECT_TRUE(CryptCreateHash(context, CALG_SHA_256, 0, 0, &hash));
    CryptReleaseContext(context, 0);
    return hash;
}

} // namespace

TEST(Hash, KnownValuesInTwoPortions) {
    for (const Known& known : kKnown) {
        SCOPED_TRACE(known.algorithm);
        if (known.type != 24 && !basalt::gost_available()) {
            continue; // the test below tells of it
        }
        const HCRYPTPROV context = acquire(known.type);
        HCRYPTHASH hash = 0;
        ASSERT_TRUE(CryptCreateHash(context, known.algorithm, 0, 0, &hash));
        const std::string text = known.text;
        EXPECT_TRUE(add(hash, text.substr(0, text.size() / 3)));
        EXPECT_TRUE(add(hash, text.substr(text.size() / 3)));
        EXPECT_EQ(hex(value(hash)), known.digest);
        EXPECT_TRUE(CryptDestroyHash(hash));
        CryptReleaseContext(context, 0);
    }
}

TEST(Hash, GostWithoutEngineIsAnUnknownAlgorithm) {
    const HCRYPTPROV context = acquire(80);
    HCRYPTHASH hash = 0;
    SetLastError(0);
    const BOOL made = CryptCreateHash(context, 0x8021, 0, 0, &hash);
    if (made != FALSE) {
        CryptDestroyHash(hash);
    } else {
        EXPECT_EQ(GetLastError(), 0x80090008U);
    }
    CryptReleaseContext(context, 0);
    EXPECT_EQ(made != FALSE, basalt::gost_available());
    if (!basalt::gost_available()) {
        GTEST_SKIP() << "OpenSSL has no GOST engine here: GOST hashes weren't computed";
    }
}

TEST(Hash, ValueEndsItAndStays) {
    const HCRYPTHASH hash = sha256();
    EXPECT_TRUE(add(hash, "a"));
    BYTE bytes[64];
    DWORD size = 31;
    EXPECT_ERROR(234U, CryptGetHashParam(hash, HP_HASHVAL, bytes, &size, 0));
    EXPECT_EQ(size, 32U);
    EXPECT_TRUE(add(hash, "bc")); // neither size question nor small buffer has ended it
    size = sizeof bytes;
    EXPECT_TRUE(CryptGetHashParam(hash, HP_HASHVAL, bytes, &size, 0));
    EXPECT_EQ(size, 32U);
    EXPECT_ERROR(0x8009000CU, add(hash, "d"));
    EXPECT_EQ(hex(value(hash)), hex({bytes, bytes + 32}));
    CryptDestroyHash(hash);
}

TEST(Hash, CopyGoesItsOwnWay) {
    const HCRYPTHASH hash = sha256();
    EXPECT_TRUE(add(hash, "ab"));
    HCRYPTHASH copy = 0;
    ASSERT_TRUE(CryptDuplicateHash(hash, nullptr, 0, &copy));
    EXPECT_TRUE(add(hash, "x"));
    EXPECT_TRUE(CryptDestroyHash(hash)); // the copy holds the context
    EXPECT_TRUE(add(copy, "c"));
    EXPECT_EQ(hex(value(copy)), kKnown[3].digest);
    HCRYPTHASH finished = 0;
    ASSERT_TRUE(CryptDuplicateHash(copy, nullptr, 0, &finished));
    EXPECT_EQ(hex(value(finished)), kKnown[3].digest);
    EXPECT_FALSE(add(finished, "d"));
    EXPECT_TRUE(CryptDestroyHash(copy));
    EXPECT_TRUE(CryptDestroyHash(finished));
}

TEST(Hash, SizeAndAlgorithm) {
    const HCRYPTHASH hash = sha256();
    DWORD number = 0;
    DWORD size = sizeof number;
    EXPECT_TRUE(CryptGetHashParam(hash, HP_HASHSIZE, reinterpret_cast<BYTE*>(&number), &size, 0));
    EXPECT_EQ(number, 32U);
    EXPECT_TRUE(CryptGetHashParam(hash, HP_ALGID, reinterpret_cast<BYTE*>(&number), &size, 0));
    EXPECT_EQ(number, 0x800CU);
    EXPECT_ERROR(0x8009000AU, CryptGetHashParam(hash, 77, nullptr, &size, 0));
    CryptDestroyHash(hash);
}

TEST(Hash, Refusals) {
    const HCRYPTPROV context = acquire(24);
    HCRYPTHASH hash = 1;
    const auto code = [&](HCRYPTPROV provider, ALG_ID algorithm, HCRYPTKEY key, DWORD flags) {
        SetLastError(0);
        EXPECT_FALSE(CryptCreateHash(provider, algorithm, key, flags, &hash));
        EXPECT_EQ(hash, 0U);
        return GetLastError();
    };
    EXPECT_EQ(code(0, CALG_SHA_256, 0, 0), 87U);
    EXPECT_EQ(code(context, 0, 0, 0), 0x80090008U);
    EXPECT_EQ(code(context, CALG_RSA_SIGN, 0, 0), 0x80090008U);
    EXPECT_EQ(code(context, 0x8021, 0, 0), 0x80090008U); // another provider's
    EXPECT_EQ(code(context, CALG_SHA_256, 5, 0), 0x80090003U);
    EXPECT_EQ(code(context, CALG_SHA_256, 0, 1), 0x80090009U);
    CryptReleaseContext(context, 0);

    const HCRYPTHASH stale = sha256();
    EXPECT_ERROR(87U, CryptHashData(stale, nullptr, 1, 0));
    EXPECT_TRUE(CryptHashData(stale, nullptr, 0, 0));
    EXPECT_TRUE(CryptDestroyHash(stale));
    EXPECT_ERROR(6U, CryptDestroyHash(stale));
    EXPECT_FALSE(add(stale, "x"));
    EXPECT_FALSE(CryptDuplicateHash(stale, nullptr, 0, &hash));
}
