#include <chronoseal/asn1/big_integer.h>

#include <gtest/gtest.h>
#include <openssl/asn1.h>

#include <basalt/provider.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/test_value.h>
#include <chronoseal/asn1rt/runtime.h>

namespace Halcyon::ASN1 {
namespace {

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(BigInteger, ComparesByValueAndKeepsTheReversedOrderOfLongNegatives) {
    using Row = std::tuple<const char*, const char*, int>;
    for (const auto& [a, b, order] :
         {Row{"", "", 0},         Row{"01", "", 1},         Row{"00", "", 1},
          Row{"FF", "", -1},      Row{"", "80", 1},         Row{"", "00", -1},
          Row{"05", "05", 0},     Row{"05", "06", -1},      Row{"FF", "00", -1},
          Row{"00", "FF", 1},     Row{"0001", "01", 0},     Row{"000005", "05", 0},
          Row{"FFFF80", "80", 0}, Row{"0080", "7F", 1},     Row{"0100", "FF", 1},
          Row{"FF7F", "80", 1},   Row{"FF0000", "FF00", 1}, Row{"FF00", "FF0000", -1},
          Row{"FE", "FF", -1},    Row{"00", "0000", 0},     Row{"FF", "FFFF", 0}}) {
        EXPECT_EQ(sign(number(a).compare(number(b))), order) << a << " " << b;
    }
    EXPECT_TRUE(number("000005") == number("05"));
    EXPECT_TRUE(number("04") < number("05"));
    EXPECT_TRUE(number("05") <= number("0005"));
    EXPECT_TRUE(number("05") >= number("0005"));
    EXPECT_TRUE(number("05") > number("FF"));
    EXPECT_TRUE(number("05") != number("06"));
}

TEST(BigInteger, IncrementStopsAtTheLowestIndexAndLosesTheCarry) {
    CBigInteger value = number("01FF");
    EXPECT_EQ(to_hex(value++), "01FF");
    EXPECT_EQ(to_hex(value), "0200");
    value = number("01FFFF");
    value.increment(1);
    EXPECT_EQ(to_hex(value), "010000");
    EXPECT_EQ(to_hex(++(value = number("FFFF"))), "0000");
    value = number("FF01");
    value.increment(-5);
    EXPECT_EQ(to_hex(value), "FF02");
    value = number("");
    value.increment(0);
    EXPECT_EQ(value.cbData(), 0u);
}

TEST(BigInteger, AddKeepsTheSizeAndAnswersTheCarry) {
    CBigInteger value = number("FF02");
    EXPECT_EQ(value.add(number("00FF")), 1);
    EXPECT_EQ(to_hex(value), "0001");
    EXPECT_EQ(value.add(number("0102")), 0);
    EXPECT_EQ(to_hex(value), "0103");
    EXPECT_CODE(0x80070057u, value.add(number("01")));
    EXPECT_EQ(to_hex(value), "0103");
    CBigInteger empty;
    EXPECT_EQ(empty.add(CBigInteger()), 0);
}

TEST(BigInteger, TakesTheBytesOfABlob) {
    CBigInteger value = number("0102");
    const CBlob blob = from_hex("0080");
    value = blob;
    EXPECT_EQ(to_hex(value), "0080");
    EXPECT_TRUE(value > number("7F"));
    value = from_hex("03");
    EXPECT_TRUE(value == number("0003"));
}

TEST(BigInteger, AbsOnlyClearsTheTopBit) {
    EXPECT_EQ(to_hex(number("FF").abs()), "7F");
    EXPECT_EQ(to_hex(number("8001").abs()), "0001");
    EXPECT_EQ(to_hex(number("7F80").abs()), "7F80");
    EXPECT_EQ(number("").abs().cbData(), 0u);
}

TEST(BigInteger, EncodesAsOpenSSLReadsItAndDecodesBack) {
    using Row = std::tuple<const char*, const char*, const char*>;
    for (const auto& [value, expected, shortest] :
         {Row{"00", "020100", "00"}, Row{"05", "020105", "05"}, Row{"0080", "02020080", "0080"},
          Row{"80", "020180", "80"}, Row{"FF", "0201FF", "FF"}, Row{"000005", "020105", "05"},
          Row{"FFFF80", "020180", "80"},
          Row{"0102030405060708090A", "020A0102030405060708090A", "0102030405060708090A"}}) {
        expect_round_trip(number(value), expected);
        EXPECT_EQ(THROUGH_OPENSSL(ASN1_INTEGER, from_hex(expected)), expected);
        EXPECT_EQ(to_hex(decoded<CBigInteger>(expected)), shortest);
    }
}

TEST(BigInteger, RefusedEncodingsLeaveTheValue) {
    expect_refused(number("0102"), {"", "0401", "040101", "0202", "020201"});
    EXPECT_CODE(0x80093101u, CBigInteger().encode());
    EXPECT_EQ(to_hex(decoded<CBigInteger>("020107FFFF")), "07");
}

TEST(BigIntegerText, OddDigitsAreFilledUpOnlyBehindAZero) {
    using Row = std::pair<const char*, const char*>;
    for (const auto& [text, bytes] :
         {Row{"0x0", "00"}, Row{"0x012", "0012"}, Row{"0x123", "12"}, Row{"0x00AB", "00AB"},
          Row{"0xab", "AB"}, Row{"0xG1", ""}, Row{"0x1 2", ""}, Row{"0x12 34", "1234"},
          Row{"0x12zz", "12"}, Row{"0x1234", "1234"}}) {
        CBigInteger value = number("77");
        StringToBigInteger(text, value);
        EXPECT_EQ(to_hex(value), bytes) << text;
    }
    CBigInteger kept = number("77");
    for (const char* text : {"", "0x", "12", "123", "0X12", "x012"}) {
        EXPECT_CODE(0x80093101u, ASN1StringToBigInteger(text, kept)) << text;
    }
    EXPECT_EQ(to_hex(kept), "77");
}

TEST(BigIntegerText, WritesUpperCaseAndCountsTheTerminator) {
    CBlob text;
    BigIntegerToString(number("00AB"), text);
    EXPECT_EQ(text.cbData(), 7u);
    EXPECT_STREQ(reinterpret_cast<char*>(text.pbData()), "0x00AB");
    BigIntegerToString(CBigInteger(), text);
    EXPECT_STREQ(reinterpret_cast<char*>(text.pbData()), "0x");
}

TEST(BigIntegerText, FourBytesGoOutAndComeBackByElevens) {
    ASN1BERDecodeBuffer scratch;
    ASN1CTXT* const ctxt = scratch.getCtxtPtr();
    EXPECT_STREQ(DWORDToASN1BigInteger(ctxt, 5), "0x00000005");
    EXPECT_STREQ(DWORDToASN1BigInteger(ctxt, 0x12345678), "0x12345678");
    EXPECT_STREQ(DWORDToASN1BigInteger(ctxt, 0xFFFFFFFF), "0xFFFFFFFF");
    EXPECT_STREQ(BigIntegerToASN1String(ctxt, number("0102")), "0x0102");
    EXPECT_EQ(ASN1BigIntegerToDWORD("0x00000005"), 5u);
    EXPECT_EQ(ASN1BigIntegerToDWORD("0x0100"), 11u);
    EXPECT_EQ(ASN1BigIntegerToDWORD("0x0102"), 13u);
    EXPECT_EQ(ASN1BigIntegerToDWORD("0xFFFFFFFF"), 255u * (1331 + 121 + 11 + 1));
    EXPECT_CODE(0x80070057u, ASN1BigIntegerToDWORD("0x0000000005"));
    EXPECT_CODE(0x80093101u, ASN1BigIntegerToDWORD("5"));
}

TEST(RandomBigInteger, ComesInTheSizeAskedForAndDiffersEachTime) {
    EXPECT_EQ(MakeRandomBigInteger(0, 0).cbData(), 0u);
    const CBigInteger a = MakeRandomBigInteger(0, 20);
    const CBigInteger b = MakeRandomBigInteger(0, 20);
    EXPECT_EQ(a.cbData(), 20u);
    EXPECT_NE(to_hex(a), to_hex(b));
}

TEST(RandomBigInteger, LeavesTheCallersProviderOpen) {
    HCRYPTPROV provider = 0;
    ASSERT_TRUE(
        CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    EXPECT_EQ(MakeRandomBigInteger(provider, 8).cbData(), 8u);
    EXPECT_EQ(MakeRandomBigInteger(provider, 8).cbData(), 8u);
    EXPECT_TRUE(CryptReleaseContext(provider, 0));
    EXPECT_FALSE(CryptReleaseContext(provider, 0));
}

} // namespace
} // namespace Halcyon::ASN1
