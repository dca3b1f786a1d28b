// Time-stamp types: order and presence of fields, ranges, and the forms that keep bytes.
#include <gmock/gmock.h>

#include <chronoseal/asn1data/pki_status.h>
#include <chronoseal/asn1data/pkix_tsp.h>
#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

const char* const imprint = "30 0d 30 09 06 05 2b 0e 03 02 1a 05 00 04 00";

// All optional fields: accuracy 1 s 2 ms 3 us, ordering, nonce, tsa, one extension.
Bytes full_tst_info(const char* tsa = "a0 08 82 06 61 2e 74 65 73 74") {
    return tlv(0x30, from_hex("02 01 01  06 03 2a 03 04") + from_hex(imprint) +
                         from_hex("02 02 00 80"
                                  "18 0f 32 30 32 34 30 31 30 32 30 33 30 34 30 35 5a"
                                  "30 09 02 01 01 80 01 02 81 01 03"
                                  "01 01 ff  02 01 fe") +
                         from_hex(tsa) + from_hex("a1 0a 30 08 06 03 2a 03 05 04 01 aa"));
}

Bytes accuracy(const char* contents) {
    return tlv(0x30, from_hex(contents));
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

    info.value.m = {};
    info.value.m.accuracyPresent = 1;
    EXPECT_EQ(presence(info.value.m, 4), 1U);
    info.value.m = {};
    info.value.m.noncePresent = 1;
    EXPECT_EQ(presence(info.value.m, 4), 2U);
    info.value.m = {};
    info.value.m.tsaPresent = 1;
    EXPECT_EQ(presence(info.value.m, 4), 4U);
    info.value.m = {};
    info.value.m.extensionsPresent = 1;
    EXPECT_EQ(presence(info.value.m, 4), 8U);
}

TEST(TstInfo, AnElementBehindTheLastIsRefused) {
    const Bytes bytes = full_tst_info();
    const Bytes body(bytes.begin() + 2, bytes.end());
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, tlv(0x30, body + from_hex("05 00"))), "-10");
}

TEST(TstInfo, AnElementOutOfItsPlaceIsRefused) {
    // The nonce stands in front of the time.
    const Bytes bytes = tlv(0x30, from_hex("02 01 01 06 03 2a 03 04") + from_hex(imprint) +
                                      from_hex("02 01 05 02 01 07"));
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, bytes), "-3");
}

TEST(TstInfo, AMissingMandatoryElementIsTold) {
    const Bytes bytes = tlv(0x30, from_hex("02 01 01 06 03 2a 03 04"));
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, bytes), "-8");
}

TEST(TstInfo, ADamagedOptionalElementIsNotTakenForAnAbsentOne) {
    // Seconds of 5 bytes in the accuracy: the status of the inner failure, not "absent".
    const Bytes bytes = tlv(0x30, from_hex("02 01 01 06 03 2a 03 04") + from_hex(imprint) +
                                      from_hex("02 01 05 18 0f 32 30 32 34 30 31 30 32 30 33 30 34"
                                               "30 35 5a 30 07 02 05 01 02 03 04 05"));
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, bytes), "-33");
}

TEST(TstInfoRaw, TheAuthorityKeepsItsBytesInAnyForm) {
    // A length of three bytes where one would do: decoded as a name it comes back shorter.
    const char* const loose = "a0 0a 82 82 00 06 61 2e 74 65 73 74";
    const Bytes bytes = full_tst_info(loose);
    Decoded<ASN1T_TSTInfoRaw> raw(asn1D_TSTInfoRaw, bytes);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(presence(raw.value.m, 4), 0xFU);
    const Bytes kept(raw.value.tsa.data, raw.value.tsa.data + raw.value.tsa.numocts);
    EXPECT_EQ(to_hex(kept), plain("82 82 00 06 61 2e 74 65 73 74"));
    EXPECT_EQ(encode(asn1E_TSTInfoRaw, raw.value).hex(), to_hex(bytes));
    EXPECT_EQ(recode(asn1D_TSTInfo, asn1E_TSTInfo, bytes), to_hex(full_tst_info()));
}

TEST(TimeStampReq, AWrittenDefaultIsReadAndLeftOut) {
    const Bytes small = tlv(0x30, from_hex("02 01 01") + from_hex(imprint));
    const Bytes written =
        tlv(0x30, from_hex("02 01 01") + from_hex(imprint) + from_hex("01 01 00"));
    EXPECT_EQ(recode(asn1D_TimeStampReq, asn1E_TimeStampReq, small), to_hex(small));
    EXPECT_EQ(recode(asn1D_TimeStampReq, asn1E_TimeStampReq, written), to_hex(small));
    const Bytes wanted = tlv(0x30, from_hex("02 01 01") + from_hex(imprint) + from_hex("01 01 ff"));
    EXPECT_EQ(recode(asn1D_TimeStampReq, asn1E_TimeStampReq, wanted), to_hex(wanted));
}

TEST(TimeStampReq, AVersionOfManyBytesIsAText) {
    Decoded<ASN1T_TimeStampReq> request(
        asn1D_TimeStampReq,
        tlv(0x30, from_hex("02 09 01 02 03 04 05 06 07 08 09") + from_hex(imprint)));
    ASSERT_EQ(request.status, 0);
    EXPECT_STREQ(request.value.version, "0x010203040506070809");
}

TEST(Accuracy, FractionsOutsideTheirRangeAreRefusedBothWays) {
    struct Case {
        const char* contents;
        const char* result;
    };
    const Case cases[] = {
        {"", "3000"},
        {"80 01 01 81 01 01", "3006800101810101"},
        {"80 02 03 e7", "3004800203e7"},
        {"80 01 00", "-23"},
        {"80 02 03 e8", "-23"},
        {"81 01 00", "-23"},
        {"81 02 03 e8", "-23"},
        {"02 04 80 00 00 00", "3006020480000000"},
        {"02 05 00 80 00 00 00", "-33"},
    };
    for (const Case& one : cases)
        EXPECT_EQ(recode(asn1D_Accuracy, asn1E_Accuracy, accuracy(one.contents)), one.result)
            << one.contents;

    for (const std::uint16_t value : {std::uint16_t{0}, std::uint16_t{1000}}) {
        ASN1T_Accuracy millis{};
        millis.m.millisPresent = 1;
        millis.millis = value;
        const Encoded encoded = encode(asn1E_Accuracy, millis);
        EXPECT_EQ(encoded.status, -23);
        EXPECT_EQ(encoded.latched, -23);
        ASN1T_Accuracy micros{};
        micros.m.microsPresent = 1;
        micros.micros = value;
        EXPECT_EQ(encode(asn1E_Accuracy, micros).status, -23);
    }
}

TEST(TimeStampResp, ARefusalHasNoToken) {
    const Bytes refusal = from_hex("30 05 30 03 02 01 02");
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
    const Bytes token = from_hex("30 80 06 03 2a 03 04 a0 80 05 00 00 00 00 00");
    const Bytes response = tlv(0x30, from_hex("30 03 02 01 00") + token);
    Decoded<ASN1T_TimeStampRespRaw> raw(asn1D_TimeStampRespRaw, response);
    ASSERT_EQ(raw.status, 0);
    EXPECT_EQ(presence(raw.value.m, 1), 1U);
    const Bytes kept(raw.value.timeStampToken.data,
                     raw.value.timeStampToken.data + raw.value.timeStampToken.numocts);
    EXPECT_EQ(to_hex(kept), to_hex(token));
    EXPECT_EQ(encode(asn1E_TimeStampRespRaw, raw.value).hex(), to_hex(response));
}

TEST(PkiStatus, ANumberBeyondTheNamedOnesIsRead) {
    EXPECT_EQ(recode(asn1D_PKIStatusInfo, asn1E_PKIStatusInfo, from_hex("30 04 02 02 01 00")),
              "300402020100");
    // Read as unsigned: a negative number becomes a large one.
    EXPECT_EQ(recode(asn1D_PKIStatusInfo, asn1E_PKIStatusInfo, from_hex("30 03 02 01 ff")),
              "3004020200ff");
}

TEST(PkiFailureInfo, FitsFourBytesAndNoMore) {
    EXPECT_EQ(recode(asn1D_PKIFailureInfo, asn1E_PKIFailureInfo, from_hex("03 02 05 20")),
              "03020520");
    EXPECT_EQ(recode(asn1D_PKIFailureInfo, asn1E_PKIFailureInfo, from_hex("03 05 06 00 00 00 40")),
              "03050600000040");
    EXPECT_EQ(
        recode(asn1D_PKIFailureInfo, asn1E_PKIFailureInfo, from_hex("03 06 00 00 00 00 00 01")),
        "-17");
}

TEST(PkiFreeText, AnEmptyListIsRefusedBothWays) {
    EXPECT_EQ(recode(asn1D_PKIFreeText, asn1E_PKIFreeText, from_hex("30 00")), "-23");
    ASN1T_PKIFreeText none{};
    EXPECT_EQ(encode(asn1E_PKIFreeText, none).status, -23);
    EXPECT_EQ(recode(asn1D_PKIFreeText, asn1E_PKIFreeText, from_hex("30 06 0c 01 61 0c 01 62")),
              "30060c01610c0162");
}

TEST(AuthenticodeRequest, AttributesStandBetweenTypeAndContent) {
    const char* const content = "30 10 06 09 2a 86 48 86 f7 0d 01 07 01 a0 03 04 01 41";
    const Bytes without = tlv(0x30, from_hex("06 03 2a 03 04") + from_hex(content));
    const Bytes with = tlv(0x30, from_hex("06 03 2a 03 04  31 0a 30 08 06 02 2a 03 31 02 05 00") +
                                     from_hex(content));
    Decoded<ASN1T_TimeStampAuthenticodeRequest> plain_request(asn1D_TimeStampAuthenticodeRequest,
                                                              without);
    ASSERT_EQ(plain_request.status, 0);
    EXPECT_EQ(presence(plain_request.value.m, 1), 0U);
    EXPECT_EQ(
        recode(asn1D_TimeStampAuthenticodeRequest, asn1E_TimeStampAuthenticodeRequest, without),
        to_hex(without));
    EXPECT_EQ(recode(asn1D_TimeStampAuthenticodeRequest, asn1E_TimeStampAuthenticodeRequest, with),
              to_hex(with));
}

} // namespace
