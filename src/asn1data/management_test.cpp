// Numbers of keys and the bounds that encoders hold in management messages. What bytes become is in
// type_bytes_test.cpp.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/halcyon_definitions.h>
#include <chronoseal/asn1data/pkcs1.h>
#include <chronoseal/asn1data/pkcs10.h>
#include <chronoseal/asn1data/pkix_crmf.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

TEST(CertificationRequest, ItsAttributesStandUnderTheirContextTag) {
    Decoded<ASN1T_CertificationRequest> decoded(asn1D_CertificationRequest,
                                                test_file("request.der"));
    ASSERT_EQ(decoded.status, 0);
    EXPECT_EQ(decoded.value.certificationRequestInfo.attributes.count, 3U);
}

TEST(EnrollmentCspInfo, TheNameHasOneToManyCharacters) {
    Decoded<ASN1T_EnrollmentCSPInfo> info(asn1D_EnrollmentCSPInfo,
                                          der("30(02(ff)1e(0041)03(00aa))"));
    ASSERT_EQ(info.status, 0);
    EXPECT_EQ(info.value.keySpec, -1);
    EXPECT_EQ(info.value.name.nchars, 1U);
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
    EXPECT_EQ(encode(asn1E_RsaPubKey, key).hex(), to_hex(der("30(02(00c1)02(007f))")));
}

TEST(PublicationInfo, ItsActionIsAPlainNumber) {
    unsigned action = 1;
    EXPECT_EQ(encode(asn1E_PKIPublicationInfo_action, action).hex(), "020101");
}

} // namespace
