#include <chronoseal/asn1/signing_certificate.h>

#include <gtest/gtest.h>
#include <openssl/ess.h>

#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

CPolicyInformationList one_policy() {
    CPolicyInformationList policies;
    policies.push_back(CPolicyInformation("1.2.3.4"));
    return policies;
}

TEST(SigningCertificate, IsReadAndWrittenByOpenSSLTheSame) {
    CESSCertIDList certs;
    certs.push_back(CESSCertID(from_hex("0102")));
    certs.push_back(with_issuer(CESSCertID(from_hex("0304")), "0080"));
    CAttrSigningCertificate value(certs);
    const CPolicyInformationList policies = one_policy();
    value.put_policies(&policies);
    value.encode();
    EXPECT_STREQ(value.get_oid(), "1.2.840.113549.1.9.16.2.12");
    EXPECT_EQ(THROUGH_OPENSSL(ESS_SIGNING_CERT, value.get_value()), to_hex(value.get_value()));
    const CAttrSigningCertificate back(value.get_value());
    EXPECT_TRUE(back.get_certs() == certs);
    ASSERT_NE(back.get_policies(), nullptr);
    EXPECT_STREQ(back.get_policies()->front().get_policyIdentifier(), "1.2.3.4");
    EXPECT_TRUE(back == value);
}

TEST(SigningCertificateV2, IsReadAndWrittenByOpenSSLTheSame) {
    CESSCertIDv2List certs;
    certs.push_back(CESSCertIDv2(from_hex("0102")));
    certs.push_back(
        with_issuer(CESSCertIDv2(from_hex("0304"), CAlgorithmIdentifier(kSha1)), "0080"));
    const CAttrSigningCertificateV2 value(certs);
    EXPECT_STREQ(value.get_oid(), "1.2.840.113549.1.9.16.2.47");
    EXPECT_EQ(THROUGH_OPENSSL(ESS_SIGNING_CERT_V2, value.get_value()), to_hex(value.get_value()));
    const CAttrSigningCertificateV2 back(value.get_value());
    EXPECT_TRUE(back.get_certs() == certs);
    EXPECT_EQ(back.get_policies(), nullptr);
}

TEST(OtherSigningCertificate, RoundTripsBothKindsOfHashes) {
    COtherCertIDList certs;
    certs.push_back(COtherCertID(from_hex("0102")));
    certs.push_back(
        with_issuer(COtherCertID(from_hex("0304"), CAlgorithmIdentifier(kSha1)), "0080"));
    const CAttrOtherSigningCertificate value(certs);
    EXPECT_STREQ(value.get_oid(), "1.2.840.113549.1.9.16.2.19");
    const CAttrOtherSigningCertificate back(value.get_value());
    EXPECT_TRUE(back.get_certs() == certs);
    EXPECT_EQ(back.get_certs().front().get_otherCertHash().get_type(), 1u);
    EXPECT_EQ(back.get_certs().back().get_otherCertHash().get_type(), 2u);
}

TEST(SigningCertificate, PoliciesWaitForEncodeInTwoOfThreeClasses) {
    const CPolicyInformationList policies = one_policy();
    CAttrSigningCertificate v1((CESSCertIDList()));
    CAttrSigningCertificateV2 v2((CESSCertIDv2List()));
    CAttrOtherSigningCertificate other((COtherCertIDList()));
    v1.put_policies(&policies);
    v2.put_policies(&policies);
    other.put_policies(&policies);
    EXPECT_EQ(to_hex(v1.get_value()), "30023000");
    EXPECT_EQ(to_hex(v2.get_value()), "30023000");
    EXPECT_EQ(to_hex(other.get_value()), "300B30003007300506032A0304");
    v1.encode();
    v2.encode();
    EXPECT_EQ(to_hex(v1.get_value()), to_hex(other.get_value()));
    EXPECT_EQ(to_hex(v2.get_value()), to_hex(other.get_value()));
    other.put_policies(nullptr);
    EXPECT_EQ(to_hex(other.get_value()), "30023000");
}

TEST(SigningCertificate, EmptyPoliciesAreNotEncoded) {
    const CPolicyInformationList none;
    CAttrSigningCertificate value;
    EXPECT_EQ(value.get_value().cbData(), 0u);
    value.put_policies(&none);
    ASSERT_NE(value.get_policies(), nullptr);
    value.encode();
    EXPECT_EQ(to_hex(value.get_value()), "30023000");
    value.decode();
    EXPECT_EQ(value.get_policies(), nullptr);
}

TEST(SigningCertificate, DecodingKeepsTheEncodedFormAndDropsQualifiers) {
    // One policy with a qualifier that points to a practice statement.
    const CBlob der =
        from_hex("302430003020301E06032A03043017301506082B060105050702011609687474703A2F"
                 "2F612F62");
    CAttrSigningCertificate value(der);
    EXPECT_EQ(to_hex(value.get_value()), to_hex(der));
    value.encode();
    EXPECT_EQ(to_hex(value.get_value()), "300B30003007300506032A0304");
    EXPECT_CODE(0x80093101u, CAttrSigningCertificate bad(from_hex("0500")));
    EXPECT_CODE(0x80093101u, CAttrSigningCertificateV2 bad((CBlob())));
}

} // namespace
} // namespace Halcyon::ASN1
