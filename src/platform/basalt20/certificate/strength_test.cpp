#include <basalt/certificate/strength.h>

#include <basalt/coding/openssl_owner.h>

#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

namespace basalt {
namespace {

using Algorithm = OpensslOwner<X509_ALGOR, X509_ALGOR_free>;
using Key = EvpKey;

Strength strength_of_key(const Key& key) {
    if (key) {
        EVP_PKEY_up_ref(key.get());
    }
    return strength_of(PublicKey(EvpKey(key.get())));
}

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
        EXPECT_EQ(strength_of_key(key), wanted) << EVP_PKEY_get_bits(key.get());
    }
    EXPECT_EQ(strength_of_key(nullptr), Strength::refused);
}

using Octets = std::vector<unsigned char>;

Key key_of_numbers(const char* kind, std::vector<std::pair<const char*, const BIGNUM*>> numbers) {
    const OpensslOwner<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free> builder(OSSL_PARAM_BLD_new());
    for (const auto& [name, number] : numbers) {
        OSSL_PARAM_BLD_push_BN(builder.get(), name, number);
    }
    const OpensslOwner<OSSL_PARAM, OSSL_PARAM_free> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    const OpensslOwner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> context(
        EVP_PKEY_CTX_new_from_name(nullptr, kind, nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get());
    return Key(key);
}

using Number = OpensslOwner<BIGNUM, BN_free>;

Number number_of(const char* hexadecimal) {
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, hexadecimal);
    return Number(number);
}

TEST(StrengthTest, OfRsaKeysByTheirExponent) {
    const Key whole(EVP_RSA_gen(2048));
    BIGNUM* read = nullptr;
    EVP_PKEY_get_bn_param(whole.get(), OSSL_PKEY_PARAM_RSA_N, &read);
    const Number modulus(read);
    const std::pair<const char*, Strength> table[] = {
        {"1", Strength::refused},
        {"2", Strength::refused},
        {"10000", Strength::refused},
        {"10000000000000000", Strength::refused},
        {"3", Strength::current},
        {"10001", Strength::current},
        {"FFFFFFFFFFFFFFFF", Strength::current},
        {"FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", Strength::current},
    };
    for (const auto& [exponent, wanted] : table) {
        const Key key = key_of_numbers("RSA", {{OSSL_PKEY_PARAM_RSA_N, modulus.get()},
                                               {OSSL_PKEY_PARAM_RSA_E, number_of(exponent).get()}});
        ASSERT_TRUE(key) << exponent;
        EXPECT_EQ(strength_of_key(key), wanted) << exponent;
    }
}

TEST(StrengthTest, OfDsaKeysThatAreOne) {
    const OpensslOwner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> context(
        EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY* made = nullptr;
    EVP_PKEY_paramgen_init(context.get());
    EVP_PKEY_CTX_set_dsa_paramgen_bits(context.get(), 1024);
    ASSERT_EQ(EVP_PKEY_paramgen(context.get(), &made), 1);
    const Key parameters(made);
    const auto part = [&](const char* name) {
        BIGNUM* read = nullptr;
        EVP_PKEY_get_bn_param(parameters.get(), name, &read);
        return Number(read);
    };
    const Number prime = part(OSSL_PKEY_PARAM_FFC_P);
    const Number order = part(OSSL_PKEY_PARAM_FFC_Q);
    const Number base = part(OSSL_PKEY_PARAM_FFC_G);
    const Number one = number_of("1");
    const Number last(BN_dup(prime.get()));
    BN_sub_word(last.get(), 1);
    const auto strength = [&](const Number& g, const Number& y) {
        const Key key = key_of_numbers("DSA", {{OSSL_PKEY_PARAM_FFC_P, prime.get()},
                                               {OSSL_PKEY_PARAM_FFC_Q, order.get()},
                                               {OSSL_PKEY_PARAM_FFC_G, g.get()},
                                               {OSSL_PKEY_PARAM_PUB_KEY, y.get()}});
        return strength_of_key(key);
    };
    EXPECT_EQ(strength(base, base), Strength::aged);
    EXPECT_EQ(strength(base, one), Strength::refused);
    EXPECT_EQ(strength(base, last), Strength::refused);
    EXPECT_EQ(strength(one, base), Strength::refused);
}

// A key on a named curve, as certificates have it.
Key key_at(const char* curve, const Octets& point) {
    const OpensslOwner<X509_PUBKEY, X509_PUBKEY_free> whole(X509_PUBKEY_new());
    auto* bits = static_cast<unsigned char*>(OPENSSL_memdup(point.data(), point.size()));
    X509_PUBKEY_set0_param(whole.get(), OBJ_nid2obj(NID_X9_62_id_ecPublicKey), V_ASN1_OBJECT,
                           OBJ_txt2obj(curve, 0), bits, static_cast<int>(point.size()));
    unsigned char* encoded = nullptr;
    const int size = i2d_X509_PUBKEY(whole.get(), &encoded);
    const unsigned char* cursor = encoded;
    Key key(d2i_PUBKEY(nullptr, &cursor, size));
    OPENSSL_free(encoded);
    return key;
}

TEST(StrengthTest, OfPointsWithWhichAnybodyCanSign) {
    Octets of_order_2(1 + 2 * 36); // zero, and the root of the curve's constant, which is one
    of_order_2.front() = POINT_CONVERSION_UNCOMPRESSED;
    of_order_2.back() = 1;
    const std::tuple<const char*, Octets> points[] = {
        {"prime256v1", {0}}, {"sect283k1", {0}}, {"sect283k1", of_order_2}};
    for (const auto& [curve, point] : points) {
        const Key key = key_at(curve, point);
        ASSERT_TRUE(key) << curve;
        EXPECT_EQ(strength_of_key(key), Strength::refused) << curve << point.size();
    }
    EXPECT_EQ(strength_of_key(Key(EVP_EC_gen("sect283k1"))), Strength::current);
    EXPECT_EQ(strength_of_key(Key(EVP_EC_gen("sect571r1"))), Strength::current);
}

TEST(StrengthTest, OfEdwardsPointsOfSmallOrder) {
    const auto refuses = [](int type, Octets point) {
        const Key key(EVP_PKEY_new_raw_public_key(type, nullptr, point.data(), point.size()));
        return !key || strength_of_key(key) == Strength::refused;
    };
    for (const auto& [type, size] : {std::pair(EVP_PKEY_ED25519, std::size_t{32}),
                                     std::pair(EVP_PKEY_ED448, std::size_t{57})}) {
        Octets zero(size);
        Octets one = zero;
        one.front() = 1;
        Octets last(size, 0xFF); // the prime less one
        if (type == EVP_PKEY_ED25519) {
            last.front() = 0xEC;
            last.back() = 0x7F;
        } else {
            last.front() = last[28] = 0xFE;
            last.back() = 0;
        }
        Octets prime = last;
        ++prime.front();
        for (Octets point : {zero, one, last, prime}) {
            EXPECT_TRUE(refuses(type, point)) << size << +point.front();
            point.back() |= 0x80;
            EXPECT_TRUE(refuses(type, point)) << size << +point.front();
        }
    }
    const Number order_8 =
        number_of("7A03AC9277FDC74EC6CC392CFA53202A0F67100D760B3CBA4FD84D3D706A17C7");
    Octets point(32);
    BN_bn2lebinpad(order_8.get(), point.data(), 32);
    EXPECT_TRUE(refuses(EVP_PKEY_ED25519, point));
    EXPECT_EQ(strength_of_key(Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED448"))),
              Strength::current);
}

TEST(StrengthTest, AgedOnesPassTheFloorAlone) {
    EXPECT_TRUE(passes(Strength::aged, StrengthLevel::floor));
    EXPECT_FALSE(passes(Strength::aged, StrengthLevel::current));
    EXPECT_FALSE(passes(Strength::refused, StrengthLevel::floor));
    EXPECT_EQ(weaker(Strength::current, Strength::aged), Strength::aged);
}

} // namespace
} // namespace basalt
