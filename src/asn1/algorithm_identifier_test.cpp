#include <chronoseal/asn1/algorithm_identifier.h>

#include <gtest/gtest.h>
#include <openssl/x509.h>

#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

TEST(AlgorithmIdentifier, RoundTripsWithAndWithoutParameters) {
    using Row = std::pair<CAlgorithmIdentifier, const char*>;
    for (const auto& [value, expected] :
         {Row{CAlgorithmIdentifier(kSha256), "300B0609608648016503040201"},
          Row{with_parameters(kSha256), "300D06096086480165030402010500"},
          Row{with_parameters(kSha1), "300906052B0E03021A0500"},
          Row{with_parameters("1.2.3.4", "0C0141"), "300806032A03040C0141"}}) {
        expect_round_trip(value, expected);
        EXPECT_EQ(THROUGH_OPENSSL(X509_ALGOR, from_hex(expected)), expected);
    }
}

TEST(AlgorithmIdentifier, EqualityDoesNotNormalise) {
    EXPECT_TRUE(CAlgorithmIdentifier("1.2.840") == CAlgorithmIdentifier("1.2.840"));
    EXPECT_TRUE(CAlgorithmIdentifier("1.2.840") != CAlgorithmIdentifier("1.2.0840"));
    EXPECT_TRUE(CAlgorithmIdentifier(kSha256) != with_parameters(kSha256));
}

TEST(AlgorithmIdentifier, RefusesWhatIsNoIdentifierAndKnownParametersThatDoNotFit) {
    EXPECT_CODE(0x80093101u, CAlgorithmIdentifier("sha256").encode());
    EXPECT_CODE(0x80093101u, CAlgorithmIdentifier().encode());
    // The parameters of id-GostR3411-94 are an identifier or NULL.
    EXPECT_CODE(0x80093101u, with_parameters("1.2.643.2.2.19", "0C0141").encode());
    expect_refused(CAlgorithmIdentifier(kSha1),
                   {"", "3000", "310706052B0E03021A", "300806052B0E03021A", "0500"});
}

TEST(AlgorithmIdentifier, SwapAndAssignmentExchangeBothFields) {
    CAlgorithmIdentifier a = with_parameters(kSha1);
    CAlgorithmIdentifier b(kSha256);
    a.swap(b);
    EXPECT_TRUE(a == CAlgorithmIdentifier(kSha256));
    EXPECT_TRUE(b == with_parameters(kSha1));
    const CAlgorithmIdentifier& same = b;
    b = same;
    EXPECT_TRUE(b == with_parameters(kSha1));
    b = a;
    EXPECT_TRUE(b == a);
}

TEST(AlgorithmIdentifierEx, CachedNumberDoesNotOutliveItsIdentifier) {
    CAlgorithmIdentifierEx value(kSha1);
    value.put_parameters(from_hex("0500"));
    value.cachedAlgId = 0x8004;
    value.put_algorithm(kSha1);
    EXPECT_EQ(value.cachedAlgId, 0x8004u);
    value.put_algorithm(kSha256);
    EXPECT_EQ(value.cachedAlgId, 0u);
    EXPECT_EQ(to_hex(*value.get_parameters()), "0500");

    value.cachedAlgId = 0x800C;
    value.decode(CAlgorithmIdentifier(kSha256).encode());
    EXPECT_EQ(value.cachedAlgId, 0x800Cu);
    value.decode(CAlgorithmIdentifier(kSha1).encode());
    EXPECT_EQ(value.cachedAlgId, 0u);
    EXPECT_EQ(value.get_parameters()->cbData(), 0u);
}

} // namespace
} // namespace Halcyon::ASN1
