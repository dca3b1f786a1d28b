// Numbers of keys, which are written from text. What bytes become is in testdata/type_bytes.tsv.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/pkcs1.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

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

} // namespace
