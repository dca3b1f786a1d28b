// Requests, keys, parameters and the system's own records: unusual tags, unsigned numbers,
// extensions that are kept.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/gost.h>
#include <chronoseal/asn1data/halcyon_definitions.h>
#include <chronoseal/asn1data/ocsp.h>
#include <chronoseal/asn1data/pkcs1.h>
#include <chronoseal/asn1data/pkcs10.h>
#include <chronoseal/asn1data/pkcs5.h>
#include <chronoseal/asn1data/pkix_crmf.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

TEST(SetOfAttribute, IsSortedButHasTheTagOfASequence) {
    const Bytes small = from_hex("30 08 06 02 2a 03 31 02 05 00");
    const Bytes large = from_hex("30 08 06 02 2a 04 31 02 05 00");
    EXPECT_EQ(recode(asn1D__SetOfAttribute, asn1E__SetOfAttribute, tlv(0x30, large + small)),
              to_hex(tlv(0x30, small + large)));
    EXPECT_EQ(recode(asn1D__SetOfAttribute, asn1E__SetOfAttribute, tlv(0x31, small)), "-3");
}

TEST(CertificationRequest, ItsAttributesStandUnderTheirContextTag) {
    const Bytes request = test_file("request.der");
    Decoded<ASN1T_CertificationRequest> decoded(asn1D_CertificationRequest, request);
    ASSERT_EQ(decoded.status, 0);
    EXPECT_EQ(decoded.value.certificationRequestInfo.attributes.count, 3U);
    EXPECT_EQ(encode(asn1E_CertificationRequest, decoded.value).hex(), to_hex(request));
}

TEST(EnrollmentCspInfo, TheNameHasOneToManyCharacters) {
    const Bytes good = from_hex("30 0b 02 01 ff 1e 02 00 41 03 02 00 aa");
    Decoded<ASN1T_EnrollmentCSPInfo> info(asn1D_EnrollmentCSPInfo, good);
    ASSERT_EQ(info.status, 0);
    EXPECT_EQ(info.value.keySpec, -1);
    EXPECT_EQ(info.value.name.nchars, 1U);
    EXPECT_EQ(encode(asn1E_EnrollmentCSPInfo, info.value).hex(), to_hex(good));
    EXPECT_EQ(recode(asn1D_EnrollmentCSPInfo, asn1E_EnrollmentCSPInfo,
                     from_hex("30 09 02 01 01 1e 00 03 02 00 aa")),
              "-23");
    info.value.name.nchars = 0;
    EXPECT_EQ(encode(asn1E_EnrollmentCSPInfo, info.value).status, -23);
}

TEST(RsaNumbers, ALeadingZeroOfTheTextAsksForThePadByte) {
    struct Case {
        const char* text;
        const char* bytes;
    };
    // Only where a zero leads the text is a byte put in front, needed or not.
    for (const Case& one :
         {Case{"0xff", "0201ff"}, Case{"0x00ff", "020200ff"}, Case{"0x007f", "0202007f"}}) {
        const char* text = one.text;
        EXPECT_EQ(encode(asn1E_RsaModulus, text).hex(), one.bytes) << one.text;
        EXPECT_EQ(encode(asn1E_CRTComponent, text).hex(), one.bytes) << one.text;
    }
    ASN1T_RsaPubKey key{};
    key.modulus = "0x00c1";
    key.publicExponent = "0x007f";
    EXPECT_EQ(encode(asn1E_RsaPubKey, key).hex(), plain("30 08 02 02 00 c1 02 02 00 7f"));
    // ... so that what was decoded comes back as it was.
    const Bytes components = from_hex("30 11 02 02 00 c1 02 01 05 02 01 7f 02 01 00 02 02 01 00");
    EXPECT_EQ(
        recode(asn1D_RsaPrivateKeyCRTComponents, asn1E_RsaPrivateKeyCRTComponents, components),
        to_hex(components));
}

TEST(BlobParameters, WhateverFollowsIsKeptInOrder) {
    const Bytes extended = from_hex("30 0e 06 02 2a 03 02 01 05 0c 01 41 30 82 00 00");
    EXPECT_EQ(
        recode(asn1D_Gost28147_89_BlobParameters, asn1E_Gost28147_89_BlobParameters, extended),
        to_hex(extended));
    const Bytes bare = from_hex("30 04 06 02 2a 03");
    EXPECT_EQ(recode(asn1D_Gost28147_89_BlobParameters, asn1E_Gost28147_89_BlobParameters, bare),
              to_hex(bare));
}

TEST(GostSizes, OctetStringsHaveTheirLengths) {
    EXPECT_EQ(recode(asn1D_Gost28147_89_IV, asn1E_Gost28147_89_IV, tlv(0x04, Bytes(7, 1))), "-23");
    EXPECT_EQ(recode(asn1D_Gost28147_89_MAC, asn1E_Gost28147_89_MAC, from_hex("04 00")), "-23");
    EXPECT_EQ(recode(asn1D_Gost28147_89_MAC, asn1E_Gost28147_89_MAC, from_hex("04 01 aa")),
              "0401aa");
    // The checksum of an encrypted key has all of its four bytes.
    const Bytes key = tlv(0x04, Bytes(32, 1));
    EXPECT_EQ(recode(asn1D_Gost28147_89_EncryptedKey, asn1E_Gost28147_89_EncryptedKey,
                     tlv(0x30, key + from_hex("04 03 aa bb cc"))),
              "-23");
    const Bytes whole = tlv(0x30, key + tlv(0x80, Bytes(32, 2)) + from_hex("04 04 aa bb cc dd"));
    EXPECT_EQ(recode(asn1D_Gost28147_89_EncryptedKey, asn1E_Gost28147_89_EncryptedKey, whole),
              to_hex(whole));
}

TEST(PasswordEncryption, SaltAndVectorAreBounded) {
    const Bytes good =
        tlv(0x30, tlv(0x04, Bytes(8, 1)) + from_hex("02 01 05") + tlv(0x04, Bytes(8, 2)));
    EXPECT_EQ(recode(asn1D_PBEHalcyonGostParameters, asn1E_PBEHalcyonGostParameters, good),
              to_hex(good));
    const Bytes long_salt =
        tlv(0x30, tlv(0x04, Bytes(33, 1)) + from_hex("02 01 05") + tlv(0x04, Bytes(8, 2)));
    EXPECT_EQ(recode(asn1D_PBEHalcyonGostParameters, asn1E_PBEHalcyonGostParameters, long_salt),
              "-23");
    ASN1T_PBEHalcyonGostParameters_iv vector{};
    EXPECT_EQ(encode(asn1E_PBEHalcyonGostParameters_iv, vector).status, -23);
    // No iteration at all is no derivation.
    EXPECT_EQ(recode(asn1D_PBKDF2_params, asn1E_PBKDF2_params, from_hex("30 06 04 01 aa 02 01 00")),
              "-23");
}

TEST(Tr34EncryptedData, FieldsStandInTheirOrder) {
    const Bytes data = from_hex(
        "30 1a 02 01 00 30 05 30 00 02 01 05 04 02 aa bb 30 0a 06 02 2a 03 31 04 04 02 01 02");
    Decoded<ASN1T_TR34EncryptedData> decoded(asn1D_TR34EncryptedData, data);
    ASSERT_EQ(decoded.status, 0);
    EXPECT_EQ(encode(asn1E_TR34EncryptedData, decoded.value).hex(), to_hex(data));
}

TEST(OcspResponse, AStatusInTheGapPassesAndOneBehindTheEndDoesNot) {
    EXPECT_EQ(recode(asn1D_OCSPResponse, asn1E_OCSPResponse, from_hex("30 03 0a 01 04")),
              "30030a0104");
    EXPECT_EQ(recode(asn1D_OCSPResponse, asn1E_OCSPResponse, from_hex("30 03 0a 01 07")), "-6");
}

TEST(OcspResponse, AnUnknownAnswerTypeStaysRaw) {
    const Bytes bytes = from_hex("30 10 0a 01 00 a0 0b 30 09 06 02 2a 03 04 03 02 80 01");
    EXPECT_EQ(recode(asn1D_OCSPResponse, asn1E_OCSPResponse, bytes), to_hex(bytes));
}

TEST(PublicationInfo, ItsActionIsAPlainNumber) {
    unsigned action = 1;
    EXPECT_EQ(encode(asn1E_PKIPublicationInfo_action, action).hex(), "020101");
    EXPECT_EQ(
        recode(asn1D_PKIPublicationInfo, asn1E_PKIPublicationInfo, from_hex("30 03 02 01 7f")),
        "300302017f");
}

} // namespace
