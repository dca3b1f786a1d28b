// Cryptographic messages: the raw forms that keep bytes, the legacy forms that decode, and the open
// contents. What bytes become is in testdata/type_bytes.tsv.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

// With that set of signed attributes, or none.
Bytes signer_info(const std::string& attributes) {
    return der("30(02(01)30(30()02(05))30(06(2a03))" + attributes + "30(06(2a03))04(aa))");
}

TEST(SignerInfo, PresenceBitsAreOneAndTwo) {
    EXPECT_EQ(presence(Decoded<ASN1T_SignerInfo>(asn1D_SignerInfo, signer_info("")).value.m, 2),
              0U);
    Decoded<ASN1T_SignerInfo> with(asn1D_SignerInfo, signer_info("a0(30(06(2a03)31(05())))"));
    ASSERT_EQ(with.status, 0);
    EXPECT_EQ(presence(with.value.m, 2), 1U);
    with.value.m = {};
    with.value.m.unsignedAttrsPresent = 1;
    EXPECT_EQ(presence(with.value.m, 2), 2U);
}

TEST(SignerInfoLegacy, AKnownAttributeIsDecoded) {
    Decoded<ASN1T_SignerInfoLegacy> signer(
        asn1D_SignerInfoLegacy,
        signer_info("a0(30(06(2a864886f70d010903)31(06(2a864886f70d010701))))"));
    ASSERT_EQ(signer.status, 0);
    const auto* attribute = static_cast<ASN1T_Attribute*>(signer.value.signedAttrs.head->data);
    const auto* value = static_cast<Asn1TObject*>(attribute->values.head->data);
    EXPECT_NE(value->decoded, nullptr);
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
}

TEST(EncapsulatedContentInfo, TheContentOfATokenStaysRaw) {
    Decoded<ASN1T_ContentInfo> token(asn1D_ContentInfo, test_file("ts_token.der"));
    ASSERT_EQ(token.status, 0);
    const auto* data = static_cast<ASN1T_SignedData*>(token.value.content.decoded);
    ASSERT_NE(data, nullptr);
    const auto& content = data->encapContentInfo.eContent;
    EXPECT_EQ(content.decoded, nullptr);
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
}

TEST(CertificateChoicesRaw, ACertificateKeepsItsSignedPart) {
    // The signed part isn't a certificate's, and its length isn't minimal.
    const Bytes bytes = from_hex("30 10 30 82 00 02 05 00 30 04 06 02 2a 03 03 02 00 aa");
    Decoded<ASN1T_CertificateChoicesRaw> choice(asn1D_CertificateChoicesRaw, bytes);
    ASSERT_EQ(choice.status, 0);
    EXPECT_EQ(choice.value.t, 1U);
    EXPECT_EQ(choice.value.u.certificate->toBeSigned.numocts, 6U);
    EXPECT_EQ(encode(asn1E_CertificateChoicesRaw, choice.value).hex(), to_hex(bytes));
}

} // namespace
