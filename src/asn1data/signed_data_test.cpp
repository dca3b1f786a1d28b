// Cryptographic messages: the raw forms that keep bytes, the legacy forms that decode, and the open
// contents.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/ets_electronic_signature.h>
#include <chronoseal/asn1data/extended_security_services.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

const char* const unknown_attribute = "30 08 06 02 2a 03 31 02 05 00";
// contentType with id-data, and with something that isn't an OID.
const char* const content_type =
    "30 18 06 09 2a 86 48 86 f7 0d 01 09 03 31 0b 06 09 2a 86 48 86 f7 0d 01 07 01";
const char* const damaged_content_type = "30 0f 06 09 2a 86 48 86 f7 0d 01 09 03 31 02 05 00";

Bytes signer_info(const Bytes& attributes,
                  const char* identifier = "30 0d 30 08 31 06 30 04 06 00 05 00 02 01 05") {
    return tlv(0x30, from_hex("02 01 01") + from_hex(identifier) +
                         from_hex("30 05 06 03 2a 03 04") +
                         (attributes.empty() ? Bytes{} : tlv(0xa0, attributes)) +
                         from_hex("30 05 06 03 2a 03 05 04 02 aa bb"));
}

TEST(SignerIdentifier, TheIssuerIsNotLookedInto) {
    // An issuer that is no name.
    const Bytes bytes = from_hex("30 09 30 04 30 02 05 00 02 01 05");
    Decoded<ASN1T_SignerIdentifier> sid(asn1D_SignerIdentifier, bytes);
    ASSERT_EQ(sid.status, 0);
    EXPECT_EQ(sid.value.t, 1U);
    EXPECT_EQ(sid.value.u.issuerAndSerialNumber->issuer.numocts, 6U);
    EXPECT_STREQ(sid.value.u.issuerAndSerialNumber->serialNumber, "0x05");
    EXPECT_EQ(encode(asn1E_SignerIdentifier, sid.value).hex(), to_hex(bytes));

    Decoded<ASN1T_SignerIdentifier> by_key(asn1D_SignerIdentifier, from_hex("80 02 aa bb"));
    ASSERT_EQ(by_key.status, 0);
    EXPECT_EQ(by_key.value.t, 2U);
    EXPECT_EQ(encode(asn1E_SignerIdentifier, by_key.value).hex(), "8002aabb");
}

TEST(SignerInfo, AttributesComeBackAsTheyCameWhateverIsInThem) {
    for (const char* attribute : {unknown_attribute, content_type, damaged_content_type}) {
        const Bytes bytes = signer_info(from_hex(attribute));
        EXPECT_EQ(recode(asn1D_SignerInfo, asn1E_SignerInfo, bytes), to_hex(bytes)) << attribute;
    }
}

TEST(SignerInfo, PresenceBitsAreOneAndTwo) {
    Decoded<ASN1T_SignerInfo> bare(asn1D_SignerInfo, signer_info({}));
    ASSERT_EQ(bare.status, 0);
    EXPECT_EQ(presence(bare.value.m, 2), 0U);
    Decoded<ASN1T_SignerInfo> with(asn1D_SignerInfo, signer_info(from_hex(unknown_attribute)));
    ASSERT_EQ(with.status, 0);
    EXPECT_EQ(presence(with.value.m, 2), 1U);
    with.value.m = {};
    with.value.m.unsignedAttrsPresent = 1;
    EXPECT_EQ(presence(with.value.m, 2), 2U);
}

TEST(SignerInfoLegacy, AKnownAttributeIsDecodedAndADamagedOneRefused) {
    const Bytes good = signer_info(from_hex(content_type) + from_hex(unknown_attribute));
    Decoded<ASN1T_SignerInfoLegacy> signer(asn1D_SignerInfoLegacy, good);
    ASSERT_EQ(signer.status, 0);
    const auto* attribute = static_cast<ASN1T_Attribute*>(signer.value.signedAttrs.head->data);
    const auto* value = static_cast<Asn1TObject*>(attribute->values.head->data);
    EXPECT_NE(value->decoded, nullptr);
    EXPECT_EQ(recode(asn1D_SignerInfoLegacy, asn1E_SignerInfoLegacy,
                     signer_info(from_hex(damaged_content_type))),
              "-3");
}

TEST(AttributesRaw, AnEmptySetIsRefusedBothWays) {
    EXPECT_EQ(recode(asn1D_AttributesRaw, asn1E_AttributesRaw, from_hex("31 00")), "-23");
    ASN1T_AttributesRaw none;
    EXPECT_EQ(encode(asn1E_AttributesRaw, none).status, -23);
    EXPECT_EQ(recode(asn1D_AttributeRaw, asn1E_AttributeRaw, from_hex("30 06 06 02 2a 03 31 00")),
              "-23");
    ASN1T_AttributeRaw_valuesRaw no_values;
    const Encoded encoded = encode(asn1E_AttributeRaw_valuesRaw, no_values);
    EXPECT_EQ(encoded.status, -23);
    EXPECT_EQ(encoded.latched, -23);
    EXPECT_EQ(recode(asn1D_AttributesRawSequence, asn1E_AttributesRawSequence, from_hex("30 00")),
              "-23");
    ASN1T_AttributesRawSequence no_attributes;
    EXPECT_EQ(encode(asn1E_AttributesRawSequence, no_attributes).status, -23);
}

TEST(AttributesRaw, TheSetIsSortedAndTheSequenceIsNot) {
    const Bytes small = from_hex("30 08 06 02 2a 03 31 02 05 00");
    const Bytes large = from_hex("30 08 06 02 2a 04 31 02 05 00");
    EXPECT_EQ(recode(asn1D_AttributesRaw, asn1E_AttributesRaw, tlv(0x31, large + small)),
              to_hex(tlv(0x31, small + large)));
    EXPECT_EQ(
        recode(asn1D_AttributesRawSequence, asn1E_AttributesRawSequence, tlv(0x30, large + small)),
        to_hex(tlv(0x30, large + small)));
    // The values of one attribute as well: shorter first where one begins like the other.
    EXPECT_EQ(recode(asn1D_AttributeRaw_valuesRaw, asn1E_AttributeRaw_valuesRaw,
                     from_hex("31 0a 04 02 01 00 04 01 02 04 01 01")),
              plain("31 0a 04 01 01 04 01 02 04 02 01 00"));
}

TEST(ContentInfo, OneRowSeparatesTheTwoForms) {
    const Bytes bytes = test_file("cms_signed.der");
    Decoded<ASN1T_ContentInfo> raw(asn1D_ContentInfo, bytes);
    Decoded<ASN1T_ContentInfoLegacy> legacy(asn1D_ContentInfoLegacy, bytes);
    ASSERT_EQ(raw.status, 0);
    ASSERT_EQ(legacy.status, 0);
    const auto* raw_data = static_cast<ASN1T_SignedData*>(raw.value.content.decoded);
    const auto* legacy_data = static_cast<ASN1T_SignedDataLegacy*>(legacy.value.content.decoded);
    ASSERT_NE(raw_data, nullptr);
    ASSERT_NE(legacy_data, nullptr);
    EXPECT_EQ(raw_data->signerInfos.count, 2U);
    EXPECT_EQ(legacy_data->signerInfos.count, 2U);
    EXPECT_EQ(presence(raw_data->m, 2), 1U);
    EXPECT_EQ(encode(asn1E_ContentInfo, raw.value).hex(), to_hex(bytes));
    EXPECT_EQ(encode(asn1E_ContentInfoLegacy, legacy.value).hex(), to_hex(bytes));
}

TEST(EncapsulatedContentInfo, TheContentOfATokenStaysRaw) {
    Decoded<ASN1T_ContentInfo> token(asn1D_ContentInfo, test_file("ts_token.der"));
    ASSERT_EQ(token.status, 0);
    const auto* data = static_cast<ASN1T_SignedData*>(token.value.content.decoded);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->encapContentInfo.eContent.decoded, nullptr);
    const auto& content = data->encapContentInfo.eContent;
    EXPECT_EQ(Bytes(content.data, content.data + content.numocts), test_file("tst_info.der"));
}

TEST(EncapsulatedContentInfo, ContentOfPkcs7StandsInAFieldOfItsOwn) {
    // Its length isn't minimal, and its type is one that the set knows inside an OCTET STRING.
    const Bytes bytes = from_hex("30 12 06 09 2a 86 48 86 f7 0d 01 07 02 a0 05 30 81 02 05 00");
    Decoded<ASN1T_EncapsulatedContentInfo> info(asn1D_EncapsulatedContentInfo, bytes);
    ASSERT_EQ(info.status, 0);
    EXPECT_EQ(info.latched, 0);
    EXPECT_EQ(presence(info.value.m, 2), 2U);
    EXPECT_EQ(info.value.content.numocts, 5U);
    EXPECT_EQ(encode(asn1E_EncapsulatedContentInfo, info.value).hex(), to_hex(bytes));

    Decoded<ASN1T_EncapsulatedContentInfo> octets(asn1D_EncapsulatedContentInfo,
                                                  der("30(06(2a03)a0(04(30)))"));
    ASSERT_EQ(octets.status, 0);
    EXPECT_EQ(presence(octets.value.m, 2), 1U);
    // A known type is decoded there, and this is none.
    EXPECT_LT(Decoded<ASN1T_EncapsulatedContentInfo>(asn1D_EncapsulatedContentInfo,
                                                     der("30(06(2a864886f70d010702)a0(04(0500)))"))
                  .status,
              0);
}

TEST(EncapsulatedContentInfo, AConstructedContentIsJoined) {
    const Bytes pieces = from_hex(
        "30 80 06 09 2a 86 48 86 f7 0d 01 07 01 a0 80 24 80 04 01 41 04 01 42 00 00 00 00 00 00");
    EXPECT_EQ(recode(asn1D_EncapsulatedContentInfo, asn1E_EncapsulatedContentInfo, pieces),
              plain("30 11 06 09 2a 86 48 86 f7 0d 01 07 01 a0 04 04 02 41 42"));
}

TEST(CertificateChoicesRaw, ACertificateKeepsItsSignedPart) {
    // The signed part isn't a certificate's, and its length isn't minimal.
    const Bytes bytes = from_hex("30 10 30 82 00 02 05 00 30 04 06 02 2a 03 03 02 00 aa");
    Decoded<ASN1T_CertificateChoicesRaw> choice(asn1D_CertificateChoicesRaw, bytes);
    ASSERT_EQ(choice.status, 0);
    EXPECT_EQ(choice.value.t, 1U);
    EXPECT_EQ(choice.value.u.certificate->toBeSigned.numocts, 6U);
    EXPECT_EQ(encode(asn1E_CertificateChoicesRaw, choice.value).hex(), to_hex(bytes));
    EXPECT_EQ(
        recode(asn1D_CertificateChoicesRaw, asn1E_CertificateChoicesRaw, from_hex("a4 02 05 00")),
        "-11");
}

TEST(RevocationInfoChoice, ListsAreRawAndOtherFormatsTagged) {
    // A list whose inside no one looks at.
    EXPECT_EQ(recode(asn1D_RevocationInfoChoice, asn1E_RevocationInfoChoice,
                     from_hex("30 82 00 02 05 00")),
              "308200020500");
    EXPECT_EQ(recode(asn1D_RevocationInfoChoice, asn1E_RevocationInfoChoice,
                     from_hex("a1 06 06 02 2a 03 05 00")),
              "a10606022a030500");
    EXPECT_EQ(
        recode(asn1D_RevocationInfoChoice, asn1E_RevocationInfoChoice, from_hex("a2 02 05 00")),
        "-11");
}

TEST(CertificateSetRaw, IsSorted) {
    const Bytes certificate = from_hex("30 0e 30 02 05 00 30 04 06 02 2a 03 03 02 00 aa");
    const Bytes other = from_hex("30 0e 30 02 05 00 30 04 06 02 2a 03 03 02 00 01");
    EXPECT_EQ(
        recode(asn1D_CertificateSetRaw, asn1E_CertificateSetRaw, tlv(0x31, certificate + other)),
        to_hex(tlv(0x31, other + certificate)));
}

TEST(SignaturePolicyImplied, IsANull) {
    ASN1T_SignaturePolicyImplied_ implied{};
    EXPECT_EQ(encode(asn1E_SignaturePolicyImplied_, implied, 1).hex(), "0500");
    EXPECT_EQ(encode(asn1E_SignaturePolicyImplied_, implied, 0).hex(), "");
}

TEST(SigPolicyQualifierInfo, AQualifierAlwaysStaysRaw) {
    // id-spq-ets-uri with a number in place of the text.
    const Bytes bytes = from_hex("30 12 06 0b 2a 86 48 86 f7 0d 01 09 10 05 01 02 03 00 80 01");
    Decoded<ASN1T_SigPolicyQualifierInfo> info(asn1D_SigPolicyQualifierInfo, bytes);
    ASSERT_EQ(info.status, 0);
    EXPECT_EQ(info.value.qualifier.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_SigPolicyQualifierInfo, info.value).hex(), to_hex(bytes));
}

TEST(EssCertIdV2, TheDefaultAlgorithmIsAMatterOfPresence) {
    const Bytes absent = from_hex("30 04 04 02 aa bb");
    Decoded<ASN1T_ESSCertIDv2> id(asn1D_ESSCertIDv2, absent);
    ASSERT_EQ(id.status, 0);
    EXPECT_EQ(presence(id.value.m, 2), 0U);
    EXPECT_EQ(encode(asn1E_ESSCertIDv2, id.value).hex(), to_hex(absent));
    const Bytes written = from_hex("30 11 30 0b 06 09 60 86 48 01 65 03 04 02 01 04 02 aa bb");
    EXPECT_EQ(recode(asn1D_ESSCertIDv2, asn1E_ESSCertIDv2, written), to_hex(written));
}

TEST(OtherHash, TakesTheOctetStringOrTheSequence) {
    Decoded<ASN1T_OtherHash> sha1(asn1D_OtherHash, from_hex("04 02 aa bb"));
    ASSERT_EQ(sha1.status, 0);
    EXPECT_EQ(sha1.value.t, 1U);
    Decoded<ASN1T_OtherHash> other(asn1D_OtherHash,
                                   from_hex("30 0a 30 04 06 02 2a 03 04 02 aa bb"));
    ASSERT_EQ(other.status, 0);
    EXPECT_EQ(other.value.t, 2U);
}

} // namespace
