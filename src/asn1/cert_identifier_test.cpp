#include <gtest/gtest.h>
#include <openssl/ess.h>

#include "asn1/cert_identifier.h"
#include "asn1/test_blob.h"

namespace Halcyon::ASN1 {
namespace {

constexpr char sha1[] = "1.3.14.3.2.26";
constexpr char sha256[] = "2.16.840.1.101.3.4.2.1";

CIssuerSerial issuerSerial(const wchar_t* dns, const char* serial) {
    CGeneralNames issuer(1);
    issuer.front().put_dNSName(dns);
    CBigInteger number;
    number.readFromHexString(serial);
    return CIssuerSerial(issuer, number);
}

CAlgorithmIdentifier withNull(const char* oid) {
    CAlgorithmIdentifier algorithm(oid);
    algorithm.put_parameters(fromHex("0500"));
    return algorithm;
}

TEST(IssuerSerial, ComparesTheSerialByValueAndTheIssuerInOrder) {
    EXPECT_TRUE(issuerSerial(L"a", "0005") == issuerSerial(L"a", "05"));
    EXPECT_TRUE(issuerSerial(L"a", "05") != issuerSerial(L"a", "06"));
    EXPECT_TRUE(issuerSerial(L"a", "05") != issuerSerial(L"b", "05"));
    CIssuerSerial back;
    back.decode(issuerSerial(L"a", "0080").encode());
    EXPECT_TRUE(back == issuerSerial(L"a", "0080"));
    EXPECT_EQ(toHex(issuerSerial(L"a", "05").encode()), "30083003820161020105");
    EXPECT_EQ(codeThrownBy([&] { back.decode(fromHex("3005300302010502")); }), 0x80093101u);
    EXPECT_TRUE(back == issuerSerial(L"a", "0080"));
}

TEST(ESSCertID, RoundTripsWithAndWithoutIssuer) {
    CESSCertID id(fromHex("0102"));
    EXPECT_EQ(toHex(id.encode()), "300404020102");
    const CIssuerSerial issuer = issuerSerial(L"a", "05");
    CESSCertID named(id);
    named.put_issuerSerial(&issuer);
    const CBlob der = named.encode();
    EXPECT_EQ(throughOpenSSL<ESS_CERT_ID>(der, d2i_ESS_CERT_ID, i2d_ESS_CERT_ID, ESS_CERT_ID_free),
              toHex(der));
    CESSCertID back;
    back.decode(der);
    EXPECT_TRUE(back == named);
    EXPECT_TRUE(back != id);
    back.decode(id.encode());
    EXPECT_EQ(back.get_issuerSerial(), nullptr);
    EXPECT_TRUE(back == id);
    EXPECT_TRUE(back != CESSCertID(fromHex("0103")));
    named = id;
    EXPECT_TRUE(named == id);
}

TEST(ESSCertIDv2, LeavesTheDefaultAlgorithmOutWithItsParameters) {
    const CESSCertIDv2 id(fromHex("0102"));
    EXPECT_STREQ(id.get_hashAlgorithm().get_algorithm(), sha256);
    EXPECT_EQ(toHex(id.encode()), "300404020102");
    const CESSCertIDv2 withParameters(fromHex("0102"), withNull(sha256));
    EXPECT_EQ(toHex(withParameters.encode()), "300404020102");
    CESSCertIDv2 back(fromHex(""), CAlgorithmIdentifier(sha1));
    back.decode(withParameters.encode());
    EXPECT_TRUE(back == id);
    EXPECT_TRUE(back != withParameters);

    CESSCertIDv2 other(fromHex("0102"), CAlgorithmIdentifier(sha1));
    const CIssuerSerial issuer = issuerSerial(L"a", "05");
    other.put_issuerSerial(&issuer);
    const CBlob der = other.encode();
    EXPECT_EQ(throughOpenSSL<ESS_CERT_ID_V2>(der, d2i_ESS_CERT_ID_V2, i2d_ESS_CERT_ID_V2,
                                             ESS_CERT_ID_V2_free),
              toHex(der));
    back.decode(der);
    EXPECT_TRUE(back == other);
    other.put_issuerSerial(nullptr);
    EXPECT_TRUE(back != other);
    EXPECT_EQ(toHex(other.encode()), "300D300706052B0E03021A04020102");
}

TEST(OtherHash, HoldsOneOfTwoKinds) {
    COtherHash hash;
    EXPECT_EQ(hash.get_type(), 0u);
    EXPECT_EQ(codeThrownBy([&] { hash.encode(); }), 0x80093101u);
    hash.put_sha1Hash(fromHex("01"));
    EXPECT_EQ(toHex(hash.encode()), "040101");
    hash.put_otherHash(COtherHashAlgAndValue(fromHex("01"), CAlgorithmIdentifier(sha1)));
    EXPECT_EQ(hash.get_sha1Hash(), nullptr);
    EXPECT_EQ(toHex(hash.encode()), "300C300706052B0E03021A040101");
    COtherHash back(fromHex("02"));
    back.decode(hash.encode());
    EXPECT_TRUE(back == hash);
    back.decode(fromHex("040102"));
    EXPECT_EQ(toHex(*back.get_sha1Hash()), "02");
    EXPECT_EQ(codeThrownBy([&] { back.decode(fromHex("0500")); }), 0x80093101u);
    // The hash that is put may come out of the value that it replaces.
    hash.put_sha1Hash(hash.get_otherHash()->get_hashValue());
    EXPECT_EQ(toHex(*hash.get_sha1Hash()), "01");
}

TEST(OtherHash, ComparesKindsAndThenValues) {
    const COtherHash plain(fromHex("01"));
    const COtherHash named(COtherHashAlgAndValue(fromHex("01"), CAlgorithmIdentifier(sha1)));
    const COtherHash null(COtherHashAlgAndValue(fromHex("01"), withNull(sha1)));
    const COtherHash longer(COtherHashAlgAndValue(fromHex("0101"), CAlgorithmIdentifier(sha1)));
    EXPECT_TRUE(COtherHash() == COtherHash());
    EXPECT_TRUE(plain == COtherHash(fromHex("01")));
    EXPECT_TRUE(plain != COtherHash(fromHex("02")));
    EXPECT_TRUE(plain != named);
    EXPECT_TRUE(named != null);
    EXPECT_TRUE(named.compare_hashValue(null));
    EXPECT_FALSE(named.compare_hashValue(longer));
    EXPECT_FALSE(named.compare_hashValue(plain));
    EXPECT_TRUE(plain.compare_hashValue(plain));
    EXPECT_FALSE(plain.compare_hashValue(COtherHash(fromHex("02"))));
    COtherHashAlgAndValue back;
    back.decode(null.get_otherHash()->encode());
    EXPECT_TRUE(back == *null.get_otherHash());
}

TEST(OtherCertID, ComparesHashAndThenIssuer) {
    const COtherCertID a(fromHex("01"), CAlgorithmIdentifier(sha1));
    COtherCertID b(fromHex("01"), withNull(sha1));
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a.compare_noHashParam(b));
    const CIssuerSerial issuer = issuerSerial(L"a", "05");
    b.put_issuerSerial(&issuer);
    EXPECT_FALSE(a.compare_noHashParam(b));
    COtherCertID back;
    back.decode(b.encode());
    EXPECT_TRUE(back == b);
    back.decode(a.encode());
    EXPECT_TRUE(back == a);
    b = a;
    EXPECT_TRUE(b == a);
    EXPECT_EQ(codeThrownBy([] { COtherCertID().encode(); }), 0x80093101u);
    EXPECT_EQ(toHex(COtherCertID(fromHex("01")).encode()), "3003040101");
}

} // namespace
} // namespace Halcyon::ASN1
