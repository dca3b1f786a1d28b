#include <basalt/certificate/strength.h>

#include <basalt/coding/openssl_owner.h>

#include <openssl/ec.h>
#include <openssl/rsa.h>

#include <gtest/gtest.h>

namespace basalt {
namespace {

using Algorithm = OpensslOwner<X509_ALGOR, X509_ALGOR_free>;
using Key = OpensslOwner<EVP_PKEY, EVP_PKEY_free>;

TEST(StrengthTest, OfTheDigestThatASignatureAlgorithmNames) {
    const std::pair<int, Strength> table[] = {
        {NID_md2WithRSAEncryption, Strength::refused},
        {NID_md4WithRSAEncryption, Strength::refused},
        {NID_md5WithRSAEncryption, Strength::refused},
        {NID_mdc2WithRSA, Strength::refused},
        {NID_ripemd160WithRSA, Strength::refused},
        {NID_sha1WithRSAEncryption, Strength::aged},
        {NID_ecdsa_with_SHA1, Strength::aged},
        {NID_dsaWithSHA1, Strength::aged},
        {NID_sha224WithRSAEncryption, Strength::current},
        {NID_RSA_SHA3_256, Strength::current},
        {NID_ED25519, Strength::current},
        {NID_ED448, Strength::current},
        {NID_commonName, Strength::refused},
    };
    for (const auto& [nid, wanted] : table) {
        const Algorithm algorithm(X509_ALGOR_new());
        X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(nid), V_ASN1_UNDEF, nullptr);
        EXPECT_EQ(strength_of(algorithm.get()), wanted) << OBJ_nid2sn(nid);
    }
}

TEST(StrengthTest, OfTheDigestInTheParametersOfPss) {
    const std::pair<const EVP_MD*, Strength> table[] = {{EVP_md5(), Strength::refused},
                                                        {EVP_sha1(), Strength::aged},
                                                        {EVP_sha256(), Strength::current}};
    for (const auto& [digest, wanted] : table) {
        const OpensslOwner<RSA_PSS_PARAMS, RSA_PSS_PARAMS_free> parameters(RSA_PSS_PARAMS_new());
        parameters->hashAlgorithm = X509_ALGOR_new();
        X509_ALGOR_set_md(parameters->hashAlgorithm, digest);
        const Algorithm algorithm(X509_ALGOR_new());
        X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_rsassaPss), V_ASN1_SEQUENCE,
                        ASN1_item_pack(parameters.get(), ASN1_ITEM_rptr(RSA_PSS_PARAMS), nullptr));
        EXPECT_EQ(strength_of(algorithm.get()), wanted) << EVP_MD_get0_name(digest);
    }
    const Algorithm bare(X509_ALGOR_new());
    X509_ALGOR_set0(bare.get(), OBJ_nid2obj(NID_rsassaPss), V_ASN1_UNDEF, nullptr);
    EXPECT_EQ(strength_of(bare.get()), Strength::aged) << "SHA-1 where nothing is written";
}

TEST(StrengthTest, OfKeysByTheirSize) {
    const std::pair<Key, Strength> table[] = {
        {Key(EVP_RSA_gen(1016)), Strength::refused},
        {Key(EVP_RSA_gen(1024)), Strength::aged},
        {Key(EVP_RSA_gen(2048)), Strength::current},
        {Key(EVP_EC_gen("secp112r1")), Strength::refused},
        {Key(EVP_EC_gen("P-192")), Strength::aged},
        {Key(EVP_EC_gen("P-256")), Strength::current},
        {Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")), Strength::current},
    };
    for (const auto& [key, wanted] : table) {
        ASSERT_TRUE(key);
        EXPECT_EQ(strength_of(key.get()), wanted) << EVP_PKEY_get_bits(key.get());
    }
    EXPECT_EQ(strength_of(static_cast<const EVP_PKEY*>(nullptr)), Strength::refused);
}

TEST(StrengthTest, AgedOnesPassTheFloorAlone) {
    EXPECT_TRUE(passes(Strength::aged, StrengthLevel::floor));
    EXPECT_FALSE(passes(Strength::aged, StrengthLevel::current));
    EXPECT_FALSE(passes(Strength::refused, StrengthLevel::floor));
    EXPECT_EQ(weaker(Strength::current, Strength::aged), Strength::aged);
}

} // namespace
} // namespace basalt
