#include <gtest/gtest.h>
#include <openssl/pkcs7.h>

#include <chronoseal/asn1/certificate_traits.h>
#include <chronoseal/asn1/certificate_value.h>
#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/content_info.h>
#include <chronoseal/asn1/content_info_traits.h>
#include <chronoseal/asn1/info_type_and_value.h>
#include <chronoseal/asn1/rev_ann_content.h>
#include <chronoseal/asn1/signer_info.h>
#include <chronoseal/asn1/signer_info_traits.h>
#include <chronoseal/asn1/test_certificate.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

constexpr char kOidData[] = "1.2.840.113549.1.7.1";

TEST(ContentInfo, RoundTripsInOpenSSLsEncoding) {
    const CContentInfo data(kOidData, from_hex("04020102"));
    const CBlob der = data.encode();
    EXPECT_EQ(to_hex(der), "301106092A864886F70D010701A00404020102");
    EXPECT_EQ(THROUGH_OPENSSL(PKCS7, der), to_hex(der));
    auto back = decoded<CContentInfo>(der);
    EXPECT_STREQ(back.get_contentType(), kOidData);
    EXPECT_EQ(to_hex(back.get_content()), "04020102");
    back.put_contentType("1.2.3");
    back.put_content(from_hex("0500"));
    EXPECT_EQ(to_hex(back.encode()), "300806022A03A0020500");
}

TEST(ContentInfo, KnownTypeWithContentThatDoesNotFitIsRefused) {
    EXPECT_CODE(0x80093101u, CContentInfo(kOidData, from_hex("0500")).encode());
    EXPECT_CODE(0x80070057u, CContentInfo("x", from_hex("0500")).encode());
    CContentInfo kept("1.2.3", from_hex("0500"));
    EXPECT_CODE(0x80093101u, kept.decode(from_hex("300406022A03")));
    EXPECT_STREQ(kept.get_contentType(), "1.2.3");
}

void read_signer(CSignerInfo& value, const char* der) {
    ASN1BERDecodeBuffer scratch;
    asn1data::ASN1T_SignerInfo record;
    asn1DecodeT<ASN1T_SignerInfo_traits>(from_hex(der), scratch.getCtxtPtr(), record);
    ASN1T_SignerInfo_traits::get(record, value);
}

TEST(SignerInfo, IsReadFromARecordWithItsIssuerAsItCame) {
    CSignerInfo signer;
    read_signer(signer, "302B0201013006308100020105300B0609608648016503040201"
                        "300D06092A864886F70D01010105000402ABCD");
    EXPECT_EQ(signer.get_version(), 1u);
    EXPECT_EQ(to_hex(signer.get_issuer()), "308100") << "the length isn't minimal";
    EXPECT_EQ(to_hex(signer.get_serialNumber()), "05");
    EXPECT_STREQ(signer.get_digestAlgorithm().get_algorithm(), "2.16.840.1.101.3.4.2.1");
    EXPECT_STREQ(signer.get_signatureAlgorithm().get_algorithm(), "1.2.840.113549.1.1.1");
    EXPECT_EQ(to_hex(*signer.get_signatureAlgorithm().get_parameters()), "0500");
    EXPECT_EQ(to_hex(signer.get_signature()), "ABCD");

    CSignerInfo other(signer);
    other.put_serialNumber(number("0005"));
    EXPECT_TRUE(other == signer);
    other.put_serialNumber(number("06"));
    EXPECT_TRUE(other != signer);
}

TEST(SignerInfo, EachFieldCountsInEquality) {
    const CSignerInfo none;
    CSignerInfo values[5];
    values[0].put_version(1);
    values[1].put_digestAlgorithm(CAlgorithmIdentifier("1.2"));
    values[2].put_issuer(from_hex("01"));
    values[3].put_signature(from_hex("01"));
    values[4].put_signatureAlgorithm(CAlgorithmIdentifier("1.2"));
    for (const CSignerInfo& value : values) {
        EXPECT_TRUE(value != none);
        EXPECT_TRUE(value == CSignerInfo(value));
    }
}

TEST(SignerInfo, KeyIdentifierIsRefusedBehindTheOtherFields) {
    CSignerInfo value;
    EXPECT_CODE(0x80093101u,
                read_signer(value, "302702010380020102300B0609608648016503040201300D06092A864886"
                                   "F70D01010105000402ABCD"));
    EXPECT_EQ(value.get_version(), 3u);
    EXPECT_EQ(to_hex(value.get_signature()), "ABCD");
    EXPECT_EQ(value.get_issuer().cbData(), 0u);
}

TEST(CertificateValue, IsCheckedWhenItIsEncoded) {
    const CBlob certificate = make_certificate("0102");
    const CCertificateValue value(certificate);
    EXPECT_TRUE(value.encode() == certificate);
    EXPECT_TRUE(decoded<CCertificateValue>(certificate) == certificate);
    EXPECT_CODE(0x80093101u, CCertificateValue(from_hex("0500")).encode());
    EXPECT_CODE(0x80093101u, CCertificateValue().encode());
}

TEST(CertificateValue, ListsKeepTheirOrder) {
    CCertificateValues values;
    values.push_back(make_certificate("02"));
    values.push_back(make_certificate("01"));
    EXPECT_TRUE(decoded<CCertificateValues>(values.encode()) == values);
    EXPECT_EQ(to_hex(CCertificateValues().encode()), "3000");
    values.push_back(CBlob());
    EXPECT_CODE(0x80093101u, values.encode());
}

TEST(CertificateList, StaysTheBytesThatItCameIn) {
    const CBlob der = from_hex("308103"
                               "020105");
    CBlob back;
    asn1Decode<ASN1T_CertificateList_traits, CBlob>(der, back);
    EXPECT_TRUE(back == der);
    EXPECT_TRUE((asn1Encode<ASN1T_CertificateList_traits, CBlob>(der)) == der);
    EXPECT_CODE(0x80093101u, asn1Decode<ASN1T_CertificateList_traits, CBlob>(CBlob(), back));
}

TEST(RevAnnContent, RoundTripsAndLeavesEmptyDetailsOut) {
    const CGeneralName issuer = dns(L"a");
    const CDateTime at(2024, 1, 2, 3, 4, 5, 0, 0);
    const CDateTime since(2023, 1, 2, 3, 4, 5, 999, 0);
    CRevAnnContent value(pkiStatusRevocationWarning, CCertId(issuer, number("05")), at, since);
    CExtensions details;
    value.put_crlDetails(&details);
    const char* const der = "302D020104300682016102010518"
                            "0F32303234303130323033303430355A"
                            "180F32303233303130323033303430355A";
    EXPECT_EQ(to_hex(value.encode()), der);
    details.push_back(CExtension(CExtValue("1.2.3", from_hex("0500")), true));
    value.put_crlDetails(&details);
    CRevAnnContent back(pkiStatusGranted, CCertId(), at, at);
    back.decode(value.encode());
    EXPECT_EQ(back.get_status(), pkiStatusRevocationWarning);
    EXPECT_TRUE(back.get_certId().get_issuer() == issuer);
    EXPECT_EQ(to_hex(back.get_certId().get_serialNumber()), "05");
    EXPECT_EQ(back.get_willBeRevokedAt(), at);
    EXPECT_EQ(back.get_badSinceDate(), CDateTime(2023, 1, 2, 3, 4, 5, 0, 0));
    ASSERT_NE(back.get_crlDetails(), nullptr);
    EXPECT_TRUE(*back.get_crlDetails() == details);
    CRevAnnContent copy(back);
    back.decode(from_hex(der));
    EXPECT_EQ(back.get_crlDetails(), nullptr);
    EXPECT_NE(copy.get_crlDetails(), nullptr);
    copy = back;
    EXPECT_EQ(copy.get_crlDetails(), nullptr);
}

TEST(InfoTypeAndValue, ListHoldsATypeOnce) {
    CInfoTypeAndValueList list;
    list.insert(CInfoTypeAndValue("1.2.3", from_hex("0500")));
    list.insert(CInfoTypeAndValue("1.2.4"));
    list.insert(CInfoTypeAndValue("1.2.3", from_hex("0101FF")));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_TRUE(list.front() == CInfoTypeAndValue("1.2.3", from_hex("0101FF")));
    EXPECT_TRUE(list.front() != CInfoTypeAndValue("1.2.3", from_hex("0500")));
    EXPECT_TRUE(list.front() != CInfoTypeAndValue("1.2.4", from_hex("0101FF")));
    EXPECT_TRUE(std::as_const(list).find("1.2.5") == list.cend());
    list.remove("1.2.3");
    ASSERT_EQ(list.size(), 1u);
    EXPECT_CODE(0x80070057u, list.remove("1.2.3"));
}

TEST(InfoTypeAndValue, ListGoesThroughRecords) {
    CInfoTypeAndValueList values;
    values.push_back(CInfoTypeAndValue("1.2.3", from_hex("0500")));
    values.push_back(CInfoTypeAndValue("1.2.4"));
    values.push_back(CInfoTypeAndValue("1.2.3", from_hex("0101FF")));
    ASN1BERDecodeBuffer buffer;
    ASN1TSeqOfList list{};
    ASN1TavList_Encode(values, list, buffer);
    EXPECT_EQ(list.count, 3u);
    CInfoTypeAndValueList back;
    back.push_back(CInfoTypeAndValue("1.2"));
    ASN1TavList_Parse(list, back);
    EXPECT_TRUE(back == values);
    // A known type: a list of algorithms.
    CInfoTypeAndValueList bad;
    bad.push_back(CInfoTypeAndValue("1.3.6.1.5.5.7.4.2", from_hex("0500")));
    EXPECT_CODE(0x80093101u, ASN1TavList_Encode(bad, list, buffer));
    bad.front() = CInfoTypeAndValue("x");
    EXPECT_CODE(0x80070057u, ASN1TavList_Encode(bad, list, buffer));
}

} // namespace
} // namespace Halcyon::ASN1
