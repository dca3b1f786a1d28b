// Names, certificates, lists and their extensions: bounds, open values, and where the schema is
// looser or stricter than the published one.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/mts_abstract_service.h>
#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/asn1data/pkix1_implicit.h>
#include <chronoseal/asn1data/selected_attribute_types.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

const char* const common_name = "06 03 55 04 03";

Bytes name_with(const Bytes& value) {
    return tlv(0x30, tlv(0x31, tlv(0x30, from_hex(common_name) + value)));
}

TEST(Time, OnlyTheTwoTimesAreAlternatives) {
    EXPECT_EQ(recode(asn1D_Time, asn1E_Time, tlv(0x17, Bytes(13, '1'))),
              to_hex(tlv(0x17, Bytes(13, '1'))));
    EXPECT_EQ(recode(asn1D_Time, asn1E_Time, tlv(0x18, Bytes(15, '1'))),
              to_hex(tlv(0x18, Bytes(15, '1'))));
    EXPECT_EQ(recode(asn1D_Time, asn1E_Time, tlv(0x16, Bytes(13, '1'))), "-11");
}

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
                                               from_hex("30 08 06 03 55 04 03 0c 01 41"));
    ASSERT_EQ(known.status, 0);
    ASSERT_NE(known.value.value.decoded, nullptr);
    EXPECT_EQ(static_cast<ASN1T_X520CommonName*>(known.value.value.decoded)->t, 4U);

    const Bytes bytes = from_hex("30 09 06 03 55 04 63 30 02 24 00");
    Decoded<ASN1T_AttributeTypeAndValue> unknown(asn1D_AttributeTypeAndValue, bytes);
    ASSERT_EQ(unknown.status, 0);
    EXPECT_EQ(unknown.value.value.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_AttributeTypeAndValue, unknown.value).hex(), to_hex(bytes));
}

TEST(Name, AKnownAttributeOfAnotherTypeFailsTheWholeName) {
    EXPECT_EQ(recode(asn1D_Name, asn1E_Name, name_with(from_hex("0c 01 41"))),
              to_hex(name_with(from_hex("0c 01 41"))));
    EXPECT_EQ(recode(asn1D_Name, asn1E_Name, name_with(from_hex("04 01 41"))), "-11");
    // A country is a PrintableString and nothing else.
    EXPECT_EQ(
        recode(asn1D_Name, asn1E_Name, from_hex("30 0d 31 0b 30 09 06 03 55 04 06 0c 02 52 55")),
        "-3");
}

TEST(Name, AnEmptyTextIsRefusedWhereTheStandardRefusesIt) {
    EXPECT_EQ(recode(asn1D_Name, asn1E_Name, name_with(from_hex("0c 00"))), "-23");
    // ... but an empty mail address passes.
    const Bytes mail = from_hex("30 11 31 0f 30 0d 06 09 2a 86 48 86 f7 0d 01 09 01 16 00");
    EXPECT_EQ(recode(asn1D_Name, asn1E_Name, mail), to_hex(mail));
}

TEST(RelativeDistinguishedName, AnEmptySetIsRefusedAndAFullOneSorted) {
    EXPECT_EQ(
        recode(asn1D_RelativeDistinguishedName, asn1E_RelativeDistinguishedName, from_hex("31 00")),
        "-23");
    ASN1T_RelativeDistinguishedName none;
    EXPECT_EQ(encode(asn1E_RelativeDistinguishedName, none).status, -23);

    const Bytes first = from_hex("30 08 06 03 55 04 03 0c 01 41");
    const Bytes second = from_hex("30 08 06 03 55 04 0a 0c 01 41");
    EXPECT_EQ(recode(asn1D_RelativeDistinguishedName, asn1E_RelativeDistinguishedName,
                     tlv(0x31, second + first)),
              to_hex(tlv(0x31, first + second)));
}

TEST(DirectoryString, TheBoundIsWideInEveryForm) {
    for (const unsigned char tag : Bytes{0x0c, 0x13, 0x14}) {
        const Bytes longest = tlv(tag, Bytes(32768, 'a'));
        EXPECT_EQ(recode(asn1D_DirectoryString, asn1E_DirectoryString, longest), to_hex(longest));
        EXPECT_EQ(recode(asn1D_DirectoryString, asn1E_DirectoryString, tlv(tag, Bytes(32769, 'a'))),
                  "-23");
    }
    EXPECT_EQ(recode(asn1D_DirectoryString, asn1E_DirectoryString, from_hex("1e 00")), "-23");
    EXPECT_EQ(recode(asn1D_DirectoryString, asn1E_DirectoryString, from_hex("12 00")), "-23");
    EXPECT_EQ(recode(asn1D_DirectoryString, asn1E_DirectoryString, from_hex("1c 04 00 01 f6 00")),
              "1c040001f600");
}

TEST(IA5Strings, TheStrictFormsRefuseAnEmptyText) {
    const char* empty = "";
    const char* text = "a";
    EXPECT_EQ(encode(asn1E_PHGString, empty).status, -23);
    EXPECT_EQ(encode(asn1E_PHGString, text).hex(), "160161");
    EXPECT_EQ(encode(asn1E_PHGStringNonStrict, empty).hex(), "1600");
    EXPECT_EQ(encode(asn1E_CaseIgnoreIA5StringSyntax, empty).status, -23);
    EXPECT_EQ(encode(asn1E_CaseIgnoreIA5StringSyntaxNonStrict, empty).hex(), "1600");
    EXPECT_EQ(recode(asn1D_PHGString, asn1E_PHGString, from_hex("16 00")), "-23");
    EXPECT_EQ(recode(asn1D_PHGString, asn1E_PHGString, tlv(0x16, Bytes(32769, 'a'))), "-23");
    EXPECT_EQ(
        recode(asn1D_PHGStringNonStrict, asn1E_PHGStringNonStrict, tlv(0x16, Bytes(32769, 'a'))),
        "-23");
    EXPECT_EQ(recode(asn1D_PHGStringNonStrict, asn1E_PHGStringNonStrict, from_hex("16 00")),
              "1600");
}

TEST(PersonalName, IsReadInAnyOrderAndNothingTwice) {
    const Bytes surname = from_hex("80 01 53");
    const Bytes given = from_hex("81 01 47");
    EXPECT_EQ(recode(asn1D_PersonalName, asn1E_PersonalName, tlv(0x31, given + surname)),
              to_hex(tlv(0x31, surname + given)));
    EXPECT_EQ(recode(asn1D_PersonalName, asn1E_PersonalName, tlv(0x31, surname + surname)), "-7");
    EXPECT_EQ(recode(asn1D_PersonalName, asn1E_PersonalName, tlv(0x31, given)), "-8");
    EXPECT_EQ(
        recode(asn1D_PersonalName, asn1E_PersonalName, tlv(0x31, surname + from_hex("84 01 41"))),
        "-9");
    EXPECT_EQ(recode(asn1D_PersonalName, asn1E_PersonalName, from_hex("31 02 80 00")), "-23");
    const Bytes long_name = tlv(0x80, Bytes(32768, 'S'));
    EXPECT_EQ(recode(asn1D_PersonalName, asn1E_PersonalName, tlv(0x31, long_name)),
              to_hex(tlv(0x31, long_name)));
}

// Extension with an OID of 2.5.29 and the contents of extnValue.
Bytes extension(const char* last_arcs, const Bytes& contents) {
    return tlv(0x30, tlv(0x06, from_hex("55 1d") + from_hex(last_arcs)) + tlv(0x04, contents));
}

TEST(Extension, NameConstraintsOfTheStandardStayRaw) {
    // No NameConstraints at all inside: under the standard's identifier no one looks.
    const Bytes standard = extension("1e", from_hex("05 00"));
    Decoded<ASN1T_Extension> raw(asn1D_Extension, standard);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(raw.value.extnValue.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_Extension, raw.value).hex(), to_hex(standard));

    const Bytes own = extension("1e 01", from_hex("30 06 a0 04 30 02 82 00"));
    Decoded<ASN1T_Extension> decoded(asn1D_Extension, own);
    ASSERT_EQ(decoded.status, 0);
    EXPECT_NE(decoded.value.extnValue.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_Extension, decoded.value).hex(), to_hex(own));
    EXPECT_EQ(recode(asn1D_Extension, asn1E_Extension, extension("1e 01", from_hex("05 00"))),
              "-3");
}

TEST(Extension, AnEmptyValueIsNotLookedInto) {
    const Bytes bytes = extension("13", Bytes{});
    Decoded<ASN1T_Extension> empty(asn1D_Extension, bytes);
    ASSERT_EQ(empty.status, 0);
    EXPECT_EQ(empty.value.extnValue.decoded, nullptr);
    EXPECT_EQ(encode(asn1E_Extension, empty.value).hex(), to_hex(bytes));
}

TEST(Extension, AFalseCriticalIsLeftOut) {
    const Bytes written = from_hex("30 0b 06 03 2a 03 04 01 01 00 04 01 aa");
    EXPECT_EQ(recode(asn1D_Extension, asn1E_Extension, written),
              plain("30 08 06 03 2a 03 04 04 01 aa"));
}

TEST(Extension, AnOcspExtensionStaysRaw) {
    // id-pkix-ocsp-nocheck with something that isn't NULL.
    const Bytes bytes = from_hex("30 10 06 09 2b 06 01 05 05 07 30 01 05 04 03 02 01 05");
    Decoded<ASN1T_Extension> ocsp(asn1D_Extension, bytes);
    ASSERT_EQ(ocsp.status, 0);
    EXPECT_EQ(ocsp.value.extnValue.decoded, nullptr);
}

TEST(KeyUsage, LongerStringsThanNamedPass) {
    EXPECT_EQ(recode(asn1D_KeyUsage, asn1E_KeyUsage, from_hex("03 04 00 80 00 01")),
              "030400800001");
}

TEST(ReasonFlags, HoldsTwoBytes) {
    EXPECT_EQ(recode(asn1D_ReasonFlags, asn1E_ReasonFlags, from_hex("03 03 07 40 80")),
              "0303074080");
    EXPECT_EQ(recode(asn1D_ReasonFlags, asn1E_ReasonFlags, from_hex("03 04 00 80 00 01")), "-17");
}

TEST(CrlReason, NumbersUpToTenAreRead) {
    EXPECT_EQ(recode(asn1D_CRLReason, asn1E_CRLReason, from_hex("0a 01 07")), "0a0107");
    EXPECT_EQ(recode(asn1D_CRLReason, asn1E_CRLReason, from_hex("0a 01 0a")), "0a010a");
    EXPECT_EQ(recode(asn1D_CRLReason, asn1E_CRLReason, from_hex("0a 01 0b")), "-6");
    EXPECT_EQ(recode(asn1D_CRLReason, asn1E_CRLReason, from_hex("0a 01 ff")), "-6");
}

TEST(CrlNumber, HasAnyLength) {
    const Bytes number = tlv(0x02, Bytes(20, 0x11));
    EXPECT_EQ(recode(asn1D_CRLNumber, asn1E_CRLNumber, number), to_hex(number));
}

TEST(CertificateList, IsCarriedInOnePiece) {
    // Not a list inside, and lengths that aren't minimal: no one looks, nothing changes.
    const Bytes bytes = from_hex("30 82 00 06 02 81 01 05 05 00");
    EXPECT_EQ(recode(asn1D_CertificateList, asn1E_CertificateList, bytes), to_hex(bytes));
    EXPECT_NE(recode(asn1D_CertificateListLegacy, asn1E_CertificateListLegacy, bytes),
              to_hex(bytes));
}

TEST(CertificateList, TheLegacyFormParsesEveryEntry) {
    Decoded<ASN1T_CertificateListLegacy> list(asn1D_CertificateListLegacy,
                                              test_file("list_with_entries.der"));
    ASSERT_EQ(list.status, 0);
    ASSERT_TRUE(list.value.tbsCertList.m.revokedCertificatesPresent);
    EXPECT_EQ(list.value.tbsCertList.revokedCertificates.count, 3U);
}

TEST(GeneralName, SelectorsFollowTheTags) {
    struct Case {
        const char* bytes;
        unsigned selector;
    };
    const Case cases[] = {
        {"a0 09 06 03 2a 03 04 a0 02 05 00", 1},
        {"81 01 61", 2},
        {"82 01 61", 3},
        {"a3 02 30 00", 4},
        {"a4 02 30 00", 5},
        {"a5 05 a1 03 0c 01 41", 6},
        {"86 01 61", 7},
        {"87 04 0a 00 00 01", 8},
        {"88 02 2a 03", 9},
    };
    for (const Case& one : cases) {
        Decoded<ASN1T_GeneralName> name(asn1D_GeneralName, from_hex(one.bytes));
        ASSERT_EQ(name.status, 0) << one.bytes;
        EXPECT_EQ(name.value.t, one.selector) << one.bytes;
        EXPECT_EQ(encode(asn1E_GeneralName, name.value).hex(), plain(one.bytes));
    }
    EXPECT_EQ(recode(asn1D_GeneralName, asn1E_GeneralName, from_hex("89 01 61")), "-11");
}

TEST(IssuerSignTool, HoldsFourTextsInOrder) {
    const Bytes four = from_hex("30 0c 0c 01 61 0c 01 62 0c 01 63 0c 01 64");
    Decoded<ASN1T_IssuerSignTool> tool(asn1D_IssuerSignTool, four);
    ASSERT_EQ(tool.status, 0);
    EXPECT_STREQ(tool.value.signTool, "a");
    EXPECT_STREQ(tool.value.cATool, "b");
    EXPECT_STREQ(tool.value.signToolCert, "c");
    EXPECT_STREQ(tool.value.cAToolCert, "d");
    EXPECT_EQ(recode(asn1D_IssuerSignTool, asn1E_IssuerSignTool,
                     from_hex("30 09 0c 01 61 0c 01 62 0c 01 63")),
              "-8");
}

} // namespace
