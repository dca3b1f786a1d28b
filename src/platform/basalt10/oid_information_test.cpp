#include <basalt/oid_information.h>

#include <basalt/basalt10/digest.h>
#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>
#include <openssl/objects.h>

#include <cstring>
#include <string>

namespace {

std::string oid_of(DWORD key_type, const void* key, DWORD group) {
    SetLastError(0);
    const PCCRYPT_OID_INFO info = CryptFindOIDInfo(key_type, key, group);
    return info != nullptr ? info->pszOID : "";
}

ALG_ID extra(PCCRYPT_OID_INFO info) {
    ALG_ID result = 0;
    if (info != nullptr && info->ExtraInfo.cbData == sizeof result) {
        std::memcpy(&result, info->ExtraInfo.pbData, sizeof result);
    }
    return result;
}

// Each signature's parts, as OpenSSL's own table has them.
struct Signature {
    const char* oid;
    int hash_kind;
    ALG_ID hash;
    ALG_ID key;
};

const Signature kSignatures[] = {
    {"1.2.840.113549.1.1.4", NID_md5, 0x8003, 0x2400},
    {"1.2.840.113549.1.1.5", NID_sha1, 0x8004, 0x2400},
    {"1.2.840.113549.1.1.11", NID_sha256, 0x800C, 0x2400},
    {"1.2.840.113549.1.1.12", NID_sha384, 0x800D, 0x2400},
    {"1.2.840.113549.1.1.13", NID_sha512, 0x800E, 0x2400},
    {"1.2.840.113549.1.1.14", NID_sha224, 0x80E1, 0x2400},
    {"2.16.840.1.101.3.4.3.13", NID_sha3_224, 0x80E4, 0x2400},
    {"2.16.840.1.101.3.4.3.14", NID_sha3_256, 0x80E5, 0x2400},
    {"2.16.840.1.101.3.4.3.15", NID_sha3_384, 0x80E6, 0x2400},
    {"2.16.840.1.101.3.4.3.16", NID_sha3_512, 0x80E7, 0x2400},
    {"1.2.840.10045.4.3.1", NID_sha224, 0x80E1, 0x2203},
    {"2.16.840.1.101.3.4.3.1", NID_sha224, 0x80E1, 0x2200},
    {"1.2.840.10045.4.1", NID_sha1, 0x8004, 0x2203},
    {"1.2.840.10045.4.3.2", NID_sha256, 0x800C, 0x2203},
    {"1.2.840.10045.4.3.3", NID_sha384, 0x800D, 0x2203},
    {"1.2.840.10045.4.3.4", NID_sha512, 0x800E, 0x2203},
    {"1.2.840.10040.4.3", NID_sha1, 0x8004, 0x2200},
    {"2.16.840.1.101.3.4.3.2", NID_sha256, 0x800C, 0x2200},
};

} // namespace

TEST(OidInformation, HashesByIdentifierAndBack) {
    const std::pair<ALG_ID, const char*> hashes[] = {
        {0x8003, "1.2.840.113549.2.5"},     {0x8004, "1.3.14.3.2.26"},
        {0x800C, "2.16.840.1.101.3.4.2.1"}, {0x800D, "2.16.840.1.101.3.4.2.2"},
        {0x800E, "2.16.840.1.101.3.4.2.3"}, {0x80E1, "2.16.840.1.101.3.4.2.4"},
        {0x80E2, "2.16.840.1.101.3.4.2.5"}, {0x80E3, "2.16.840.1.101.3.4.2.6"},
        {0x80E4, "2.16.840.1.101.3.4.2.7"}, {0x80E5, "2.16.840.1.101.3.4.2.8"},
        {0x80E6, "2.16.840.1.101.3.4.2.9"}, {0x80E7, "2.16.840.1.101.3.4.2.10"}};
    for (const auto& [algorithm, oid] : hashes) {
        EXPECT_EQ(oid_of(CRYPT_OID_INFO_ALGID_KEY, &algorithm, 1), oid);
        EXPECT_EQ(CertOIDToAlgId(oid), algorithm);
        EXPECT_STREQ(CertAlgIdToOID(algorithm), oid);
        // What the table calls it is what OpenSSL computes for it.
        EXPECT_EQ(EVP_MD_get_type(basalt::digest_by_oid(oid)), OBJ_txt2nid(oid));
        EXPECT_EQ(basalt::digest_by_algorithm(algorithm), basalt::digest_by_oid(oid));
    }
}

TEST(OidInformation, SignaturesAgreeWithOpenSSL) {
    for (const Signature& signature : kSignatures) {
        SCOPED_TRACE(signature.oid);
        int hash_kind = 0;
        int key_kind = 0;
        ASSERT_TRUE(OBJ_find_sigid_algs(OBJ_txt2nid(signature.oid), &hash_kind, &key_kind));
        EXPECT_EQ(hash_kind, signature.hash_kind);
        const PCCRYPT_OID_INFO info =
            CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, signature.oid, CRYPT_SIGN_ALG_OID_GROUP_ID);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(info->Algid, signature.hash);
        EXPECT_EQ(extra(info), signature.key);
        const ALG_ID pair[] = {signature.hash, signature.key};
        EXPECT_EQ(oid_of(CRYPT_OID_INFO_SIGN_KEY, pair, 0), signature.oid);
    }
}

TEST(OidInformation, UnknownGivesTheUnknownAlgorithmCode) {
    const ALG_ID none = 0x8005;
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_ALGID_KEY, &none, 1), "");
    EXPECT_EQ(GetLastError(), 0x80090008U);
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_OID_KEY, "1.2.3", 0), "");
    EXPECT_EQ(GetLastError(), 0x80092004U);
    for (const char* oid : {"1.2.3", "", "2.16.840.1.101.3.4.2.1 ", "1.3.101.112",
                            "2.16.840.1.101.3.4.2.11", "1.2.840.113549.1.1.10"}) {
        SetLastError(0);
        EXPECT_EQ(CertOIDToAlgId(oid), 0U) << oid;
        EXPECT_EQ(GetLastError(), 0x80090008U);
    }
    EXPECT_EQ(CertOIDToAlgId(nullptr), 0U);
    for (const ALG_ID nothing : {ALG_ID{0}, CALG_OID_INFO_CNG_ONLY, CALG_OID_INFO_PARAMETERS}) {
        EXPECT_EQ(CertAlgIdToOID(nothing), nullptr);
    }
    EXPECT_ERROR(87U, CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, nullptr, 0));
    EXPECT_EQ(CryptFindOIDInfo(9, "1.2.3", 0), nullptr);
}

TEST(OidInformation, GroupNarrowsTheSearch) {
    const ALG_ID sha1 = CALG_SHA1;
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_ALGID_KEY, &sha1, CRYPT_PUBKEY_ALG_OID_GROUP_ID), "");
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_OID_KEY, "1.3.14.3.2.26", CRYPT_SIGN_ALG_OID_GROUP_ID), "");
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_NAME_KEY, L"SHA256", 0), "2.16.840.1.101.3.4.2.1");
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_NAME_KEY, L"time stamping", CRYPT_ENHKEY_USAGE_OID_GROUP_ID),
              "1.3.6.1.5.5.7.3.8");
}

TEST(OidInformation, GostIsKnownJustWhenOpenSSLCanDoIt) {
    const std::pair<ALG_ID, const char*> hashes[] = {
        {0x801E, "1.2.643.2.2.9"}, {0x8021, "1.2.643.7.1.1.2.2"}, {0x8022, "1.2.643.7.1.1.2.3"}};
    const bool available = basalt::gost_available();
    for (const auto& [algorithm, oid] : hashes) {
        EXPECT_EQ(oid_of(CRYPT_OID_INFO_ALGID_KEY, &algorithm, 1), available ? oid : "");
        if (!available) {
            EXPECT_EQ(GetLastError(), 0x80090008U);
        }
        EXPECT_EQ(CertOIDToAlgId(oid), available ? algorithm : 0);
        EXPECT_EQ(basalt::digest_by_oid(oid) != nullptr, available);
    }
    if (!available) {
        GTEST_SKIP() << "OpenSSL has no GOST engine here";
    }
    const ALG_ID pair[] = {CALG_GOSTR3411_2012_256, CALG_GOSTR3410_2012_256};
    EXPECT_EQ(oid_of(CRYPT_OID_INFO_SIGN_KEY, pair, 0), "1.2.643.7.1.1.3.2");
}
