// Names, certificates, lists and their extensions: which open values are looked into, and what the
// encoders refuse. What bytes become is in testdata/type_bytes.tsv.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/asn1data/pkix1_implicit.h>
#include <chronoseal/asn1data/selected_attribute_types.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

TEST(Choice, ASelectorOutsideOfTheAlternativesIsRefused) {
    for (const unsigned selector : {0U, 3U, 0xFFFFFFFFU}) {
        ASN1T_Time time{};
        time.t = selector;
        const Encoded encoded = encode(asn1E_Time, time);
        EXPECT_EQ(encoded.status, -11) << selector;
        EXPECT_EQ(encoded.latched, -11) << selector;
    }
}

TEST(Name, AKnownAttributeIsDecodedAndAnUnknownOneStaysRaw) {
    Decoded<ASN1T_AttributeTypeAndValue> known(asn1D_AttributeTypeAndValue,
                                               der("30(06(550403)0c('A'))"));
    ASSERT_EQ(known.status, 0);
    ASSERT_NE(known.value.value.decoded, nullptr);
    EXPECT_EQ(static_cast<ASN1T_X520CommonName*>(known.value.value.decoded)->t, 4U);

    const Bytes bytes = der("30(06(550463)30(2400))");
    Decoded<ASN1T_AttributeTypeAndValue> unknown(asn1D_AttributeTypeAndValue, bytes);
    ASSERT_EQ(unknown.status, 0);
    EXPECT_EQ(unknown.value.value.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_AttributeTypeAndValue, unknown.value).hex(), to_hex(bytes));
}

TEST(Extension, OnlyWhatIsKnownAndNotEmptyIsLookedInto) {
    struct Case {
        const char* bytes;
        bool decoded;
    };
    for (const Case& one :
         {// Under the standard's identifier no one looks for name constraints.
          Case{"30(06(551d1e)04(05()))", false}, Case{"30(06(551d1e01)04(30(a0(30(82())))))", true},
          Case{"30(06(551d13)04())", false},
          // id-pkix-ocsp-nocheck with something that isn't NULL.
          Case{"30(06(2b0601050507300105)04(02(05)))", false}}) {
        Decoded<ASN1T_Extension> extension(asn1D_Extension, der(one.bytes));
        ASSERT_EQ(extension.status, 0) << one.bytes;
        EXPECT_EQ(extension.value.extnValue.decoded != nullptr, one.decoded) << one.bytes;
        EXPECT_EQ(encode(asn1E_Extension, extension.value).hex(), to_hex(der(one.bytes)));
    }
}

TEST(CertificateList, TheLegacyFormParsesEveryEntry) {
    Decoded<ASN1T_CertificateListLegacy> list(asn1D_CertificateListLegacy,
                                              test_file("list_with_entries.der"));
    ASSERT_EQ(list.status, 0);
    ASSERT_TRUE(list.value.tbsCertList.m.revokedCertificatesPresent);
    EXPECT_EQ(list.value.tbsCertList.revokedCertificates.count, 3U);
}

TEST(IssuerSignTool, HoldsFourTextsInOrder) {
    Decoded<ASN1T_IssuerSignTool> tool(asn1D_IssuerSignTool,
                                       der("30(0c('a')0c('b')0c('c')0c('d'))"));
    ASSERT_EQ(tool.status, 0);
    EXPECT_STREQ(tool.value.signTool, "a");
    EXPECT_STREQ(tool.value.cATool, "b");
    EXPECT_STREQ(tool.value.signToolCert, "c");
    EXPECT_STREQ(tool.value.cAToolCert, "d");
}

} // namespace
