#include <gtest/gtest.h>
#include <openssl/ess.h>

#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

TEST(IssuerSerial, ComparesTheSerialByValueAndTheIssuerInOrder) {
    EXPECT_TRUE(issuer_serial(L"a", "0005") == issuer_serial(L"a", "05"));
    EXPECT_TRUE(issuer_serial(L"a", "05") != issuer_serial(L"a", "06"));
    EXPECT_TRUE(issuer_serial(L"a", "05") != issuer_serial(L"b", "05"));
    expect_round_trip(issuer_serial(L"a", "0080"), "3009300382016102020080");
    EXPECT_EQ(to_hex(issuer_serial(L"a", "05").encode()), "30083003820161020105");
    expect_refused(issuer_serial(L"a", "0080"), {"3005300302010502"});
}

// The last field, which comes and goes, in comparison, encoding and copies.
template <class Id>
void expect_issuer_to_count(const Id& bare) {
    Id named = with_issuer(bare, "05");
    EXPECT_TRUE(named != bare);
    EXPECT_TRUE(named != with_issuer(bare, "06"));
    Id back = with_issuer(bare, "06");
    back.decode(named.encode());
    EXPECT_TRUE(back == named);
    back.decode(bare.encode());
    EXPECT_EQ(back.get_issuerSerial(), nullptr);
    EXPECT_TRUE(back == bare);
    back = named;
    EXPECT_NE(back.get_issuerSerial(), named.get_issuerSerial());
    named.put_issuerSerial(nullptr);
    EXPECT_TRUE(named == bare);
    EXPECT_TRUE(back == with_issuer(bare, "05"));
}

TEST(ESSCertID, RoundTripsInOpenSSLsEncoding) {
    const CESSCertID id(from_hex("0102"));
    EXPECT_EQ(to_hex(id.encode()), "300404020102");
    EXPECT_TRUE(id != CESSCertID(from_hex("0103")));
    const CBlob der = with_issuer(id, "05").encode();
    EXPECT_EQ(THROUGH_OPENSSL(ESS_CERT_ID, der), to_hex(der));
    expect_issuer_to_count(id);
}

TEST(ESSCertIDv2, LeavesTheDefaultAlgorithmOutWithItsParameters) {
    const CESSCertIDv2 id(from_hex("0102"));
    EXPECT_STREQ(id.get_hashAlgorithm().get_algorithm(), kSha256);
    const CESSCertIDv2 with_null(from_hex("0102"), with_parameters(kSha256));
    EXPECT_TRUE(id != with_null);
    EXPECT_EQ(to_hex(id.encode()), "300404020102");
    EXPECT_EQ(to_hex(with_null.encode()), "300404020102");
    const CESSCertIDv2 other(from_hex("0102"), CAlgorithmIdentifier(kSha1));
    EXPECT_EQ(to_hex(other.encode()), "300D300706052B0E03021A04020102");
    const CBlob der = with_issuer(other, "05").encode();
    EXPECT_EQ(THROUGH_OPENSSL(ESS_CERT_ID_V2, der), to_hex(der));
    expect_issuer_to_count(id);
    expect_issuer_to_count(other);
}

TEST(ESSCertIDv2, EveryFieldCountsInComparisonAssignmentAndClearing) {
    CESSCertIDv2 base = with_issuer(CESSCertIDv2(from_hex("0102"), with_parameters(kSha1)), "05");
    std::vector<CESSCertIDv2> changed(3, base);
    changed[0].put_certHash(from_hex("0103"));
    changed[1].put_hashAlgorithm(with_parameters(kSha256));
    changed[2].put_hashAlgorithm(CAlgorithmIdentifier(kSha1));
    for (const CESSCertIDv2& value : changed) {
        EXPECT_TRUE(value != base);
        CESSCertIDv2 copy(base);
        copy = value;
        EXPECT_TRUE(copy == value);
        EXPECT_TRUE(copy.get_hashAlgorithm() == value.get_hashAlgorithm());
        EXPECT_EQ(to_hex(copy.get_certHash()), to_hex(value.get_certHash()));
    }
    // Decoding replaces every field, also by its default and by nothing.
    base.decode(from_hex("300404020103"));
    EXPECT_TRUE(base == CESSCertIDv2(from_hex("0103")));
}

TEST(OtherHash, HoldsOneOfTwoKinds) {
    COtherHash hash;
    EXPECT_EQ(hash.get_type(), 0u);
    EXPECT_CODE(0x80093101u, hash.encode());
    hash.put_sha1Hash(from_hex("01"));
    EXPECT_EQ(to_hex(hash.encode()), "040101");
    hash.put_otherHash(COtherHashAlgAndValue(from_hex("01"), CAlgorithmIdentifier(kSha1)));
    EXPECT_EQ(hash.get_sha1Hash(), nullptr);
    EXPECT_EQ(to_hex(hash.encode()), "300C300706052B0E03021A040101");
    COtherHash back(from_hex("02"));
    back.decode(hash.encode());
    EXPECT_TRUE(back == hash);
    back.decode(from_hex("040102"));
    EXPECT_EQ(to_hex(*back.get_sha1Hash()), "02");
    EXPECT_CODE(0x80093101u, back.decode(from_hex("0500")));
    // The hash that is put may come out of the value that it replaces.
    hash.put_sha1Hash(hash.get_otherHash()->get_hashValue());
    EXPECT_EQ(to_hex(*hash.get_sha1Hash()), "01");
}

TEST(OtherHash, ComparesKindsAndThenValues) {
    const COtherHash plain(from_hex("01"));
    const COtherHash named(COtherHashAlgAndValue(from_hex("01"), CAlgorithmIdentifier(kSha1)));
    const COtherHash null(COtherHashAlgAndValue(from_hex("01"), with_parameters(kSha1)));
    const COtherHash longer(COtherHashAlgAndValue(from_hex("0101"), CAlgorithmIdentifier(kSha1)));
    EXPECT_TRUE(COtherHash() == COtherHash());
    EXPECT_TRUE(plain == COtherHash(from_hex("01")));
    EXPECT_TRUE(plain != COtherHash(from_hex("02")));
    EXPECT_TRUE(plain != named);
    EXPECT_TRUE(named != null);
    EXPECT_TRUE(named.compare_hashValue(null));
    EXPECT_FALSE(named.compare_hashValue(longer));
    EXPECT_FALSE(named.compare_hashValue(plain));
    EXPECT_TRUE(plain.compare_hashValue(plain));
    EXPECT_FALSE(plain.compare_hashValue(COtherHash(from_hex("02"))));
    expect_round_trip(*null.get_otherHash(), "300E300906052B0E03021A0500040101");
}

TEST(OtherCertID, ComparesHashAndThenIssuer) {
    const COtherCertID a(from_hex("01"), CAlgorithmIdentifier(kSha1));
    const COtherCertID b(from_hex("01"), with_parameters(kSha1));
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a.compare_noHashParam(b));
    EXPECT_FALSE(a.compare_noHashParam(with_issuer(b, "05")));
    expect_issuer_to_count(a);
    expect_issuer_to_count(b);
    EXPECT_CODE(0x80093101u, COtherCertID().encode());
    EXPECT_EQ(to_hex(COtherCertID(from_hex("01")).encode()), "3003040101");
}

} // namespace
} // namespace Halcyon::ASN1
