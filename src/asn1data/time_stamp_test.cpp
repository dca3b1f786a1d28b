// Time-stamp types: presence of fields, and the forms that keep bytes.
// What bytes become is in testdata/type_bytes.tsv.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/pkix_tsp.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

// All optional fields: accuracy 1 s 2 ms 3 us, ordering, nonce, tsa, one extension.
Bytes full_tst_info(const std::string& tsa = "a0(82('a.test'))") {
    return der("30(02(01)06(2a0304)30(30(06(2b0e03021a)05())04())02(0080)18('20240102030405Z')"
               "30(02(01)80(02)81(03))01(ff)02(fe)" +
               tsa + "a1(30(06(2a0305)04(aa))))");
}

Bytes kept(const ASN1TOpenType& value) {
    return {value.data, value.data + value.numocts};
}

TEST(TstInfo, FieldsComeBackInTheirOrderWithTheirPresenceBits) {
    const Bytes bytes = full_tst_info();
    Decoded<ASN1T_TSTInfo> info(asn1D_TSTInfo, bytes);
    ASSERT_EQ(info.status, 0);
    EXPECT_EQ(presence(info.value.m, 4), 0xFU);
    EXPECT_STREQ(info.value.version, "0x01");
    EXPECT_STREQ(info.value.serialNumber, "0x080");
    EXPECT_STREQ(info.value.nonce, "0xfe");
    EXPECT_NE(info.value.ordering, 0);
    EXPECT_EQ(info.value.accuracy.millis, 2);
    EXPECT_EQ(info.value.accuracy.micros, 3);
    EXPECT_EQ(info.value.tsa.t, 3U);
    EXPECT_EQ(encode(asn1E_TSTInfo, info.value).hex(), to_hex(bytes));
    decltype(info.value.m) bits[4] = {};
    bits[0].accuracyPresent = bits[1].noncePresent = bits[2].tsaPresent = 1;
    bits[3].extensionsPresent = 1;
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(presence(bits[i], 4), 1U << i);
    }
}

TEST(TstInfoRaw, TheAuthorityKeepsItsBytesInAnyForm) {
    // A length of three bytes where one would do: decoded as a name it comes back shorter.
    const Bytes bytes = full_tst_info("a0(82820006612e74657374)");
    Decoded<ASN1T_TSTInfoRaw> raw(asn1D_TSTInfoRaw, bytes);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(presence(raw.value.m, 4), 0xFU);
    EXPECT_EQ(to_hex(kept(raw.value.tsa)), "82820006612e74657374");
    EXPECT_EQ(encode(asn1E_TSTInfoRaw, raw.value).hex(), to_hex(bytes));
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, bytes), to_hex(full_tst_info()));
}

TEST(TimeStampResp, ARefusalHasNoToken) {
    const Bytes refusal = der("30(30(02(02)))");
    Decoded<ASN1T_TimeStampResp> parsed(asn1D_TimeStampResp, refusal);
    ASSERT_EQ(parsed.status, 0);
    EXPECT_EQ(presence(parsed.value.m, 1), 0U);
    EXPECT_EQ(parsed.value.status.status, 2U);
    Decoded<ASN1T_TimeStampRespRaw> raw(asn1D_TimeStampRespRaw, refusal);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(presence(raw.value.m, 1), 0U);
    EXPECT_EQ(encode(asn1E_TimeStampRespRaw, raw.value).hex(), to_hex(refusal));
}

TEST(TimeStampResp, TheRawFormKeepsTheTokenAsItCame) {
    // An indefinite length inside of a definite response.
    const std::string token = "308006032a0304a080050000000000";
    const Bytes response = der("30(30(02(00))" + token + ")");
    Decoded<ASN1T_TimeStampRespRaw> raw(asn1D_TimeStampRespRaw, response);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(presence(raw.value.m, 1), 1U);
    EXPECT_EQ(to_hex(kept(raw.value.timeStampToken)), token);
    EXPECT_EQ(encode(asn1E_TimeStampRespRaw, raw.value).hex(), to_hex(response));
}

} // namespace
