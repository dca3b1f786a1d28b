#include <chronoseal/asn1/distribution_point.h>

#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <chronoseal/asn1/access_description.h>
#include <chronoseal/asn1/policy_information.h>
#include <chronoseal/asn1/test_certificate.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

CGeneralName uri(const wchar_t* text) {
    CGeneralName name;
    name.put_uniformResourceIdentifier(text);
    return name;
}

CGeneralNames uris(const wchar_t* text) {
    return CGeneralNames(1, uri(text));
}

CDistributionPoint point_at(const wchar_t* text) {
    CDistributionPoint point;
    const CDistributionPointName name(uris(text));
    point.put_distributionPoint(&name);
    return point;
}

TEST(ReasonFlags, NumbersOfBitsCountModulo32) {
    CReasonFlags flags(0);
    flags.put_bit(33, true);
    EXPECT_EQ(flags.get_value(), 2u);
    EXPECT_TRUE(flags.get_bit(1));
    EXPECT_TRUE(flags.get_bit(65));
    flags.put_bit(1, false);
    EXPECT_EQ(flags.get_value(), 0u);
    flags.add_flag(CReasonFlags::superseded);
    flags.add_flag(CReasonFlags::unused);
    EXPECT_EQ(flags.get_value(), 0x11u);
    EXPECT_TRUE(flags.get_flag(static_cast<CReasonFlags::Flag>(0x30)));
    flags.remove_flag(CReasonFlags::superseded);
    EXPECT_TRUE(flags == CReasonFlags(1));
    EXPECT_TRUE(flags != CReasonFlags(3));
    unsigned int all = 0;
    for (const CReasonFlags::Flag* flag = CReasonFlags::sequence; *flag != 0; ++flag) {
        all = all * 2 + (*flag > all);
    }
    EXPECT_EQ(all, 0x1FFu);
}

TEST(DistributionPoint, ReasonsGoOutAsNamedBits) {
    struct {
        unsigned int flags;
        const char* der;
        unsigned int read;
    } const rows[] = {{0x1, "300481020780", 0x1},
                      {0x2, "300481020640", 0x2},
                      {0x100, "30058103070080", 0x100},
                      {0x8000, "30058103000001", 0x8000},
                      {0x10000, "3003810100", 0},
                      {0x10002, "300481020640", 0x2},
                      {0, "3003810100", 0}};
    for (const auto& row : rows) {
        CDistributionPoint point;
        const CReasonFlags flags(row.flags);
        point.put_reasons(&flags);
        EXPECT_EQ(to_hex(point.encode()), row.der);
        const auto back = decoded<CDistributionPoint>(row.der);
        ASSERT_NE(back.get_reasons(), nullptr);
        EXPECT_EQ(back.get_reasons()->get_value(), row.read);
    }
}

TEST(DistributionPoint, RoundTripsAllFields) {
    CDistributionPoint point = point_at(L"http://a");
    const CReasonFlags flags(0x6);
    const CGeneralNames issuer = uris(L"u:b");
    point.put_reasons(&flags);
    point.put_cRLIssuer(&issuer);
    const CBlob der = point.encode();
    EXPECT_EQ(THROUGH_OPENSSL(DIST_POINT, der), to_hex(der));
    CDistributionPoint back;
    back.decode(der);
    EXPECT_TRUE(back == point);
    back.put_reasons(nullptr);
    EXPECT_TRUE(back != point);
    back = point;
    const CGeneralNames none;
    back.put_cRLIssuer(&none);
    EXPECT_TRUE(back != point);
    back.decode(back.encode());
    EXPECT_EQ(back.get_cRLIssuer(), nullptr);
    back.put_distributionPoint(nullptr);
    back.put_reasons(nullptr);
    EXPECT_EQ(to_hex(back.encode()), "3000");
    back.decode(from_hex("3000"));
    EXPECT_TRUE(back == CDistributionPoint());
    CDistributionPoint copy(point);
    copy.clear();
    EXPECT_TRUE(copy == back);
    EXPECT_TRUE(copy != point);
}

TEST(DistributionPointName, HoldsFullNamesOnly) {
    CDistributionPointName name;
    EXPECT_EQ(name.get_type(), 0u);
    EXPECT_EQ(name.get_fullName(), nullptr);
    EXPECT_CODE(0x80093101u, name.encode());
    name.put_fullName(uris(L"a"));
    expect_round_trip(name, "A003860161");
    CDistributionPointName back(name);
    EXPECT_TRUE(back != CDistributionPointName());
    EXPECT_TRUE(back != CDistributionPointName(uris(L"b")));
    // A name relative to the issuer leaves the object as it was.
    back.decode(from_hex("A10A300806035504030C0141"));
    EXPECT_TRUE(back == name);
    back = CDistributionPointName();
    EXPECT_EQ(back.get_type(), 0u);
}

TEST(CRLDistPoints, RoundTripAsOpenSSLsList) {
    const CBlob der = extension_value(X509V3_EXT_conf_nid(
        nullptr, nullptr, NID_crl_distribution_points, "URI:http://a,URI:http://b"));
    const auto points = decoded<CCRLDistPointsSyntax>(der);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_STREQ(points.back()
                     .get_distributionPoint()
                     ->get_fullName()
                     ->front()
                     .get_uniformResourceIdentifier(),
                 L"http://b");
    EXPECT_EQ(to_hex(points.encode()), to_hex(der));
    CCRLDistPointsSyntax own;
    own.push_back(point_at(L"http://a"));
    own.push_back(point_at(L"http://b"));
    EXPECT_EQ(to_hex(own.encode()), to_hex(der));
    EXPECT_EQ(to_hex(CCRLDistPointsSyntax().encode()), "3000");
}

TEST(AccessDescription, RoundTripsAsOpenSSLsList) {
    const CBlob der = extension_value(X509V3_EXT_conf_nid(
        nullptr, nullptr, NID_info_access, "OCSP;URI:http://a,caIssuers;URI:http://b"));
    const auto list = decoded<CAuthorityInfoAccessSyntax>(der);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_STREQ(list.back().get_accessMethod(), "1.3.6.1.5.5.7.48.2");
    CAuthorityInfoAccessSyntax own;
    own.push_back(CAccessDescription("1.3.6.1.5.5.7.48.1", uri(L"http://a")));
    own.push_back(CAccessDescription("1.3.6.1.5.5.7.48.2", uri(L"http://b")));
    EXPECT_EQ(to_hex(own.encode()), to_hex(der));

    auto one = decoded<CAccessDescription>(own.front().encode());
    EXPECT_TRUE(one == own.front());
    EXPECT_TRUE(one != own.back());
    one.put_accessLocation(uri(L"h"));
    EXPECT_TRUE(one == own.front());
    one.put_accessLocation(uri(L"x"));
    EXPECT_TRUE(one != own.front());
    one.put_accessMethod("no identifier");
    EXPECT_CODE(0x80070057u, one.encode());
}

TEST(PolicyInformation, LosesQualifiers) {
    CPolicyInformation policy;
    policy.decode(from_hex("301E06032A03043017301506082B060105050702011609687474703A2F2F612F62"));
    EXPECT_STREQ(policy.get_policyIdentifier(), "1.2.3.4");
    const CBlob der = policy.encode();
    EXPECT_EQ(to_hex(der), "300506032A0304");
    EXPECT_EQ(THROUGH_OPENSSL(POLICYINFO, der), to_hex(der));
    policy.put_policyIdentifier("x");
    EXPECT_CODE(0x80070057u, policy.encode());
}

} // namespace
} // namespace Halcyon::ASN1
