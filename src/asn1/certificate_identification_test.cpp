#include <chronoseal/asn1/certificate_identification.h>

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/test_certificate.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

CBlob digest(const CBlob& data, const EVP_MD* algorithm) {
    CBlob result(static_cast<unsigned long>(EVP_MD_get_size(algorithm)));
    EVP_Digest(data.pbData(), data.cbData(), result.pbData(), nullptr, algorithm, nullptr);
    return result;
}

TEST(CertificateIdentification, HashesAsOpenSSLDoes) {
    const CBlob data = from_hex("010203");
    using Row = std::pair<const char*, const EVP_MD*>;
    for (const auto& [oid, algorithm] : {Row{kSha1, EVP_sha1()}, Row{kSha256, EVP_sha256()},
                                         Row{"2.16.840.1.101.3.4.2.3", EVP_sha512()}}) {
        EXPECT_EQ(to_hex(CalculateCertificateHash(data.pbData(), 3, oid)),
                  to_hex(digest(data, algorithm)));
    }
}

TEST(CertificateIdentification, TakesIssuerAndSerialFromTheCertificatesOwnBytes) {
    using Row = std::pair<const char*, const char*>;
    for (const auto& [serial, octets] : {Row{"01", "01"}, Row{"80", "0080"},
                                         Row{"0102030405060708090A", "0102030405060708090A"}}) {
        const CIssuerSerial id = GetIssuerSerialFromCertificate(make_certificate(serial));
        EXPECT_EQ(to_hex(id.get_serialNumber()), octets);
        ASSERT_EQ(id.get_issuer().size(), 1u);
        EXPECT_STREQ(id.get_issuer().front().toString().c_str(), L"directoryName: CN=Test,C=RU");
    }
    EXPECT_CODE(0x8009310Bu, GetIssuerSerialFromCertificate(from_hex("0500")));
}

TEST(CertificateIdentification, MatchesByHashIssuerAndSerial) {
    const CBlob certificate = make_certificate("05");
    COtherCertID id(digest(certificate, EVP_sha256()), CAlgorithmIdentifier(kSha256));
    EXPECT_TRUE(OtherCertIDMatches(id, certificate));
    EXPECT_FALSE(OtherCertIDMatches(id, make_certificate("05")));

    CIssuerSerial issuerSerial = GetIssuerSerialFromCertificate(certificate);
    id.put_issuerSerial(&issuerSerial);
    EXPECT_TRUE(OtherCertIDMatches(id, certificate));
    issuerSerial.put_serialNumber(number("000005"));
    id.put_issuerSerial(&issuerSerial);
    EXPECT_TRUE(OtherCertIDMatches(id, certificate));
    issuerSerial.put_serialNumber(CBigInteger(1));
    id.put_issuerSerial(&issuerSerial);
    EXPECT_FALSE(OtherCertIDMatches(id, certificate));
}

TEST(CertificateIdentification, PlainSha1IdentifierNeverMatches) {
    const CBlob certificate = make_certificate("05");
    const CBlob hash = digest(certificate, EVP_sha1());
    EXPECT_FALSE(OtherCertIDMatches(COtherCertID(hash), certificate));
    EXPECT_TRUE(OtherCertIDMatches(COtherCertID(hash, CAlgorithmIdentifier(kSha1)), certificate));
}

TEST(CertificateIdentification, KeepsTheParametersOfTheAlgorithm) {
    const CBlob certificate = make_certificate("05");
    const CAlgorithmIdentifierEx algorithm(with_parameters(kSha1));
    const COtherCertID id = OtherCertIDFromCertificate(certificate, algorithm, false);
    ASSERT_NE(id.get_otherCertHash().get_otherHash(), nullptr);
    EXPECT_TRUE(id.get_otherCertHash().get_otherHash()->get_hashAlgorithm() == algorithm);
    EXPECT_EQ(id.get_issuerSerial(), nullptr);
    EXPECT_TRUE(OtherCertIDMatches(id, certificate));
    EXPECT_NE(OtherCertIDFromCertificate(certificate, algorithm, true).get_issuerSerial(), nullptr);
}

TEST(CertificateIdentification, WhatCannotBeHashedOrReadIsThrown) {
    const CBlob certificate = make_certificate("05");
    COtherCertID named(digest(from_hex("0500"), EVP_sha1()), CAlgorithmIdentifier(kSha1));
    const CIssuerSerial issuerSerial = GetIssuerSerialFromCertificate(certificate);
    named.put_issuerSerial(&issuerSerial);
    EXPECT_CODE(0x8009310Bu, OtherCertIDMatches(named, from_hex("0500")));
}

} // namespace
} // namespace Halcyon::ASN1
