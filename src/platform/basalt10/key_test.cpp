#include <basalt/key.h>

#include <basalt/basalt10/digest.h>
#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>

namespace {

DWORD parameter(HCRYPTKEY key, DWORD which) {
    DWORD value = 0;
    DWORD size = sizeof value;
    EXPECT_TRUE(CryptGetKeyParam(key, which, reinterpret_cast<BYTE*>(&value), &size, 0));
    return value;
}

class Key : public testing::Test {
protected:
    void acquire(DWORD type) {
        ASSERT_TRUE(CryptAcquireContextA(&context_, nullptr, nullptr, type, CRYPT_VERIFYCONTEXT));
    }
    ~Key() override { CryptReleaseContext(context_, 0); }

    DWORD refusal(ALG_ID algorithm, DWORD flags) const {
        HCRYPTKEY key = 1;
        SetLastError(0);
        EXPECT_FALSE(CryptGenKey(context_, algorithm, flags, &key));
        EXPECT_EQ(key, 0U);
        return GetLastError();
    }

    HCRYPTPROV context_ = 0;
};

} // namespace

TEST_F(Key, RsaKeyOfTheWantedLength) {
    acquire(24);
    HCRYPTKEY key = 0;
    ASSERT_TRUE(CryptGenKey(context_, AT_SIGNATURE, 1024U << 16, &key));
    EXPECT_EQ(parameter(key, KP_ALGID), CALG_RSA_SIGN);
    EXPECT_EQ(parameter(key, KP_KEYLEN), 1024U);
    EXPECT_TRUE(CryptDestroyKey(key));
    EXPECT_ERROR(6U, CryptDestroyKey(key));
}

TEST_F(Key, Refusals) {
    acquire(24);
    EXPECT_EQ(refusal(CALG_SHA_256, 0), 0x80090008U);
    EXPECT_EQ(refusal(CALG_GOSTR3410_2012_256, 0), 0x80090008U);
    EXPECT_EQ(refusal(CALG_RSA_SIGN, 512U << 16), 0x80090004U);
    EXPECT_EQ(refusal(CALG_RSA_SIGN, 1025U << 16), 0x80090004U);
    EXPECT_EQ(refusal(CALG_RSA_SIGN, 1), 0x80090009U);
    EXPECT_ERROR(6U, CryptDestroyKey(0));
}

TEST_F(Key, GostKeys) {
    if (!basalt::gost_available()) {
        acquire(80);
        EXPECT_EQ(refusal(CALG_GOSTR3410_2012_256, 0), 0x80090008U);
        GTEST_SKIP() << "OpenSSL has no GOST engine here: GOST keys weren't made";
    }
    const std::pair<DWORD, ALG_ID> kinds[] = {
        {75, CALG_GOSTR3410_2001}, {80, CALG_GOSTR3410_2012_256}, {81, CALG_GOSTR3410_2012_512}};
    for (const auto& [type, algorithm] : kinds) {
        CryptReleaseContext(context_, 0);
        acquire(type);
        HCRYPTKEY key = 0;
        ASSERT_TRUE(CryptGenKey(context_, algorithm, 0, &key)) << type;
        EXPECT_EQ(parameter(key, KP_ALGID), algorithm);
        EXPECT_EQ(parameter(key, KP_KEYLEN), type == 81 ? 512U : 256U);
        EXPECT_TRUE(CryptDestroyKey(key));
    }
}
