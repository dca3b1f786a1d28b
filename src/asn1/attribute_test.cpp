#include <chronoseal/asn1/attribute.h>

#include <gtest/gtest.h>
#include <openssl/x509.h>

#include <chronoseal/asn1/signing_certificate.h>
#include <chronoseal/asn1/test_value.h>
#include <chronoseal/asn1/typed_attribute.h>
#include <chronoseal/asn1/typed_extension.h>

namespace Halcyon::ASN1 {
namespace {

CAttribute attribute_of(const CAttrValue& value) {
    CAttribute attribute(value.get_oid());
    attribute.add(value);
    return attribute;
}

TEST(Attribute, RoundTripsThroughOpenSSL) {
    CAttribute unknown("1.2.3.4");
    unknown.add(from_hex("020105"));
    unknown.add(from_hex("0500"));
    const CAttribute rows[] = {
        unknown,
        attribute_of(CAttrContentType("1.2.840.113549.1.9.16.1.4")),
        attribute_of(CAttrSigningTime(CDateTime(2024, 1, 2, 3, 4, 5, 0, 0))),
        attribute_of(CAttrCommonName("Test")),
    };
    for (const CAttribute& attribute : rows) {
        const CBlob der = attribute.encode();
        EXPECT_EQ(THROUGH_OPENSSL(X509_ATTRIBUTE, der), to_hex(der)) << attribute.get_oid();
        EXPECT_TRUE(decoded<CAttribute>(der) == attribute) << to_hex(der);
    }
}

TEST(Attribute, ReadsWhatOpenSSLWrites) {
    const unsigned char digest[] = {1, 2, 3};
    X509_ATTRIBUTE* const made = X509_ATTRIBUTE_create_by_NID(
        nullptr, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING, digest, sizeof digest);
    CAttribute attribute;
    attribute.decode(written_by_openssl(made, i2d_X509_ATTRIBUTE));
    X509_ATTRIBUTE_free(made);
    EXPECT_STREQ(attribute.get_oid(), "1.2.840.113549.1.9.4");
    ASSERT_EQ(attribute.size(), 1u);
    const CAttrMessageDigest value(attribute.begin()->get_value());
    EXPECT_EQ(to_hex(value.get_messageDigest()), "010203");
}

TEST(Attribute, ValuesCompareInOrderAlthoughTheEncodingSorts) {
    CAttribute a("1.2.3.4");
    CAttribute b("1.2.3.4");
    for (const char* der : {"020105", "020102"}) {
        a.add(from_hex(der));
    }
    for (const char* der : {"020102", "020105"}) {
        b.add(from_hex(der));
    }
    EXPECT_TRUE(a != b);
    EXPECT_EQ(to_hex(a.encode()), to_hex(b.encode()));
    EXPECT_EQ(to_hex(a.encode()), "300D06032A03043106020102020105");
    a.erase(a.begin());
    EXPECT_TRUE(a != b);
    EXPECT_EQ(a.size(), 1u);
}

TEST(Attribute, EncodingKnowsOnlyTheTypeOfTheAttribute) {
    CAttribute attribute("1.2.3.4");
    attribute.add(CAttrValue("1.2.3.5", from_hex("0500")));
    EXPECT_STREQ(attribute.begin()->get_oid(), "1.2.3.5");
    const auto back = decoded<CAttribute>(attribute.encode());
    EXPECT_STREQ(back.begin()->get_oid(), "1.2.3.4");
    EXPECT_TRUE(back != attribute);
}

TEST(Attribute, CopiesAreDeepAndMovedFromAttributesWhole) {
    CAttribute a("1.2.3.4");
    a.add(from_hex("0500"));
    CAttribute b(a);
    CAttribute c;
    c = a;
    a.add(from_hex("0500"));
    EXPECT_EQ(b.size() + c.size(), 2u);
    const CAttribute& same = c;
    c = same;
    EXPECT_TRUE(c == b);
    const CAttribute taken(std::move(c));
    EXPECT_TRUE(c == taken);
}

TEST(Attribute, KnownTypeWithAValueThatDoesNotFitIsRefused) {
    CAttribute digest("1.2.840.113549.1.9.4");
    digest.add(from_hex("0500"));
    EXPECT_CODE(0x80093101u, digest.encode());
    CAttribute unnamed;
    unnamed.add(from_hex("0500"));
    EXPECT_CODE(0x80070057u, unnamed.encode());
    CAttribute kept("1.2.3");
    EXPECT_CODE(0x80093101u, kept.decode(from_hex("300806032A030405003100")));
    EXPECT_STREQ(kept.get_oid(), "1.2.3");
}

TEST(Attributes, FindAndEraseTakeTheFirstOfAType) {
    CAttributes attributes;
    EXPECT_TRUE(attributes.find("1.2.3") == attributes.end());
    attributes.erase("1.2.3");
    attributes.push_back(CAttribute("1.2.3"));
    attributes.push_back(CAttribute("1.2.4"));
    attributes.push_back(CAttribute("1.2.3"));
    EXPECT_TRUE(attributes.find("1.2.3") == attributes.begin());
    EXPECT_TRUE(std::as_const(attributes).find("1.2.4") == std::next(attributes.cbegin()));
    attributes.erase("1.2.3");
    ASSERT_EQ(attributes.size(), 2u);
    EXPECT_STREQ(attributes.front().get_oid(), "1.2.4");
    EXPECT_TRUE(attributes.find("1.2") == attributes.end());
}

TEST(Attributes, RoundTripAsASortedSet) {
    CAttributes attributes;
    attributes.push_back(attribute_of(CAttrCommonName("Test")));
    attributes.push_back(attribute_of(CAttrContentType("1.2.840.113549.1.7.1")));
    attributes.push_back(attribute_of(CAttrValue("1.2.3", from_hex("0500"))));
    const CBlob der = attributes.encode();
    auto back = decoded<CAttributes>(der);
    ASSERT_EQ(back.size(), 3u);
    EXPECT_TRUE(*back.find("2.5.4.3") == *attributes.find("2.5.4.3"));
    EXPECT_STREQ(back.front().get_oid(), "1.2.3");
    EXPECT_EQ(to_hex(back.encode()), to_hex(der));
    EXPECT_EQ(der.pbData()[0], 0x31);
    EXPECT_EQ(to_hex(CAttributes().encode()), "3100");
}

TEST(SigningTime, KeepsBothFormsInStep) {
    CAttrSigningTime time(CDateTime(2049, 12, 31, 23, 59, 59, 500, 0));
    EXPECT_STREQ(time.get_oid(), "1.2.840.113549.1.9.5");
    EXPECT_EQ(to_hex(time.get_value()), "170D3439313233313233353935395A");
    EXPECT_EQ(time.get_time().millisecond(), 500u);
    time.put_time(CDateTime(2050, 1, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(to_hex(time.get_value()), "180F32303530303130313030303030305A");
    time.value() = from_hex("170D3234303130313030303030305A");
    time.decode();
    EXPECT_EQ(time.get_time(), CDateTime(2024, 1, 1, 0, 0, 0, 0, 0));
    EXPECT_CODE(0x80093101u, CAttrSigningTime bad(from_hex("0500")));
}

TEST(ContentType, KeepsBothFormsInStep) {
    CAttrContentType type("1.2.3");
    EXPECT_EQ(to_hex(type.get_value()), "06022A03");
    type.put_contentType("1.2.4");
    EXPECT_EQ(to_hex(type.get_value()), "06022A04");
    EXPECT_STREQ(CAttrContentType(from_hex("06022A05")).get_contentType(), "1.2.5");
    EXPECT_CODE(0x80070057u, CAttrContentType bad("x"));
    EXPECT_CODE(0x80093101u, CAttrContentType bad("5"));
    EXPECT_CODE(0x80093101u, CAttrContentType bad(from_hex("04022A05")));
}

TEST(MessageDigest, KeepsBothFormsInStep) {
    CAttrMessageDigest digest;
    EXPECT_EQ(digest.get_value().cbData(), 0u);
    EXPECT_CODE(0x80093101u, digest.decode());
    digest.put_messageDigest(from_hex("0102"));
    EXPECT_EQ(to_hex(digest.get_value()), "04020102");
    EXPECT_EQ(to_hex(CAttrMessageDigest(from_hex("0403010203")).get_messageDigest()), "010203");
    EXPECT_CODE(0x80093101u, CAttrMessageDigest bad(from_hex("0404010203")));
}

TEST(StringAttribute, TakesItsTypeFromTheRegister) {
    using Row = std::tuple<CAttrStringValue, const char*, const char*>;
    for (const auto& [value, oid, der] :
         {Row{CAttrCommonName("x"), "2.5.4.3", "0C0178"},
          Row{CAttrSurname("x"), "2.5.4.4", "0C0178"},
          Row{CAttrSerialNumber("12"), "2.5.4.5", "13023132"},
          Row{CAttrCountry("RU"), "2.5.4.6", "13025255"},
          Row{CAttrLocality("x"), "2.5.4.7", "0C0178"},
          Row{CAttrStateOrProvinceName("x"), "2.5.4.8", "0C0178"},
          Row{CAttrOrganizationName("x"), "2.5.4.10", "0C0178"},
          Row{CAttrOrganizationalUnitName("x"), "2.5.4.11", "0C0178"},
          Row{CAttrTitle("x"), "2.5.4.12", "0C0178"},
          Row{CAttrGivenName("x"), "2.5.4.42", "0C0178"},
          Row{CAttrInitials("x"), "2.5.4.43", "0C0178"},
          Row{CAttrPseudonym("x"), "2.5.4.65", "0C0178"},
          Row{CAttrEmailAddress("a@b"), "1.2.840.113549.1.9.1", "1603614062"},
          Row{CAttrStringValue("2.5.4.3", L"\x0416"), "2.5.4.3", "0C02D096"},
          Row{CAttrStringValue("1.2.3", "#0500"), "1.2.3", "0500"}}) {
        EXPECT_STREQ(value.get_oid(), oid);
        EXPECT_EQ(to_hex(value.get_value()), der) << oid;
    }
    EXPECT_CODE(0x80070057u, CAttrCommonName bad(std::string(32769, 'x').c_str()));
}

// A copy and an assignment take both forms along, and share neither.
template <class Typed, class Change>
void expect_whole_copies(const Typed& value, Typed other, Change change) {
    ASSERT_NE(to_hex(value.get_value()), to_hex(other.get_value()));
    other = value;
    Typed copy(value);
    for (Typed* const taken : {&other, &copy}) {
        EXPECT_STREQ(taken->get_oid(), value.get_oid());
        EXPECT_EQ(to_hex(taken->get_value()), to_hex(value.get_value()));
        const CBlob before = taken->get_value();
        taken->encode();
        EXPECT_TRUE(taken->get_value() == before);
        change(*taken);
        EXPECT_FALSE(taken->get_value() == value.get_value());
    }
}

TEST(TypedAttribute, CopiesAndAssignmentsTakeBothForms) {
    expect_whole_copies(CAttrContentType("1.2.3"), CAttrContentType("1.2.4"),
                        [](auto& value) { value.put_contentType("1.2.5"); });
    CAttrMessageDigest digest;
    digest.put_messageDigest(from_hex("0102"));
    expect_whole_copies(digest, CAttrMessageDigest(),
                        [](auto& value) { value.put_messageDigest(from_hex("03")); });
    const CDateTime now(2024, 1, 1, 0, 0, 0, 0, 0);
    const CDateTime later(2051, 1, 1, 0, 0, 0, 0, 0);
    expect_whole_copies(CAttrSigningTime(now), CAttrSigningTime(later),
                        [&](auto& value) { value.put_time(later); });
    const CESSCertIDList ids(1, CESSCertID(from_hex("01")));
    expect_whole_copies(CAttrSigningCertificate(ids), CAttrSigningCertificate(),
                        [](auto& value) { value.put_certs(CESSCertIDList()); });
    const CESSCertIDv2List ids2(1, CESSCertIDv2(from_hex("01")));
    expect_whole_copies(CAttrSigningCertificateV2(ids2), CAttrSigningCertificateV2(),
                        [](auto& value) { value.put_certs(CESSCertIDv2List()); });
    const COtherCertIDList others(1, COtherCertID(from_hex("01")));
    expect_whole_copies(CAttrOtherSigningCertificate(others), CAttrOtherSigningCertificate(),
                        [](auto& value) { value.put_certs(COtherCertIDList()); });
}

TEST(TypedExtension, CopiesAndAssignmentsTakeBothForms) {
    expect_whole_copies(CExtCRLReason(crlReasonSuperseded), CExtCRLReason(),
                        [](auto& value) { value.put_reason(crlReasonUnspecified); });
    expect_whole_copies(CExtHoldInstructionCode("1.2.3"), CExtHoldInstructionCode(),
                        [](auto& value) { value.put_code("1.2.5"); });
    const CDateTime now(2024, 1, 1, 0, 0, 0, 0, 0);
    const CDateTime later(2051, 1, 1, 0, 0, 0, 0, 0);
    expect_whole_copies(CExtInvalidityDate(now), CExtInvalidityDate(),
                        [&](auto& value) { value.put_invalidityDate(later); });
    expect_whole_copies(CExtCertificateIssuer(CGeneralNames()), CExtCertificateIssuer(),
                        [](auto& value) { value.put_issuer(CGeneralNames(1, dns(L"a"))); });
    expect_whole_copies(CExtPrivateKeyUsagePeriod(&now, &later),
                        CExtPrivateKeyUsagePeriod(nullptr, nullptr),
                        [](auto& value) { value.put_notAfter(nullptr); });
}

} // namespace
} // namespace Halcyon::ASN1
