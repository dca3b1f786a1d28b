// Number texts, against OpenSSL and strtoul where they do the same.
#include <chronoseal/asn1rt/big_integer.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

class BigIntegerTest : public testing::Test {
protected:
    BigIntegerTest() { rtBigIntInit(&number); }
    ~BigIntegerTest() override { rtBigIntFree(&ctxt, &number); }

    int parse(const std::string& text, int radix = 0) {
        rtErrReset(&ctxt.errInfo);
        const int status = rtBigIntSetStr(&ctxt, &number, text.c_str(), radix);
        EXPECT_EQ(ctxt.errInfo.status, status) << "failures are latched";
        return status;
    }

    // The two's complement bytes of the text.
    Bytes data(const std::string& text, int radix = 0) {
        EXPECT_EQ(parse(text, radix), 0) << text;
        Bytes out(static_cast<std::size_t>(rtBigIntGetDataLen(&number)));
        EXPECT_EQ(rtBigIntGetData(&ctxt, &number, out.data(), static_cast<int>(out.size())),
                  static_cast<int>(out.size()));
        return out;
    }

    std::string text(int radix) {
        std::string out(static_cast<std::size_t>(rtBigIntDigitsNum(&number, radix)) + 16, '#');
        EXPECT_EQ(rtBigIntToString(&ctxt, &number, radix, out.data(), static_cast<int>(out.size())),
                  0);
        return out.c_str();
    }

    TestContext ctxt;
    rtBigInt number;
};

// In hexadecimal and binary a full first byte with its top bit set is a negative number; octal
// knows those by their sign only.
TEST_F(BigIntegerTest, TextToTwosComplement) {
    const std::map<const char*, std::vector<const char*>> texts{
        {"00", {"0", "-0", "000", "0x0", "0b000", "0o0"}},
        {"01", {"1", "0b1"}},
        {"05", {"0b101"}},
        {"2A", {"  42", "00042"}},
        {"7F", {"127", "0x7F", "0b1111111"}},
        {"80", {"-128", "0x80", "0xFFFF80"}},
        {"F1", {"0o-17"}},
        {"00 FF", {"0o377"}},
        {"00 FF FF FF", {"0o77777777"}},
        {"FF", {"-1", "0b11111111"}},
        {"00 80", {"128", "0x080"}},
        {"01 00", {"256", "0b100000000"}},
        {"01 FF", {"0o777", "0x1ff"}},
        {"0F FF", {"0xFFF"}}, // an incomplete first byte has no sign bit
        {"80 00", {"-32768"}},
        {"AB CD", {"0xabCD"}},
        {"FF 7F", {"-129"}},
        {"FF 7F FF", {"-32769"}},
        {"FF 00 00", {"-65536"}},
        {"80 00 00 00 00 00 00 00", {"-9223372036854775808"}},
        {"00 FF FF FF FF FF FF FF FF", {"18446744073709551615"}},
        {"01 00 00 00 00 00 00 00 00", {"18446744073709551616"}}};
    for (const auto& [bytes, spelled] : texts) {
        for (const char* text : spelled) {
            EXPECT_EQ(data(text), bytes_of(bytes)) << text;
        }
    }
    EXPECT_EQ(data("FF", 16), bytes_of("FF"));
    EXPECT_EQ(data("10000000", 2), bytes_of("80"));
    EXPECT_EQ(data("-17", 8), bytes_of("F1"));
}

TEST_F(BigIntegerTest, RefusesMalformedText) {
    for (const char* text :
         {"",     "   ", "0x",    "0b",  "0o",  "-",    "--1",    "+",   "+42",  "12a",  "0xG",
          "0x-1", "0b2", "0b012", "0o8", "1-5", "\t42", "1 2 3 ", "1.0", "0x 1", "4\xB2"}) {
        EXPECT_EQ(parse(text), rtStatusInvalidArgument) << text;
    }
    EXPECT_EQ(parse("0x10", 16), rtStatusInvalidArgument) << "a given radix knows no prefix";
    EXPECT_EQ(parse("9", 8), rtStatusInvalidArgument);
    EXPECT_EQ(parse("-0o7"), rtStatusInvalidArgument) << "a sign hides the prefix";
    for (const int radix : {1, 3, 7, 17, -2}) {
        EXPECT_EQ(parse("1", radix), rtStatusNullArgument);
    }
    EXPECT_EQ(rtBigIntSetStr(&ctxt, &number, nullptr, 0), rtStatusInvalidArgument);
}

// Decimal and octal digits go through strtoul in pairs, which takes a blank or a sign for the first
// of the two. All pairs, against strtoul itself.
TEST_F(BigIntegerTest, PairsOfDigitsAreReadAsStrtoulReadsThem) {
    for (const int radix : {8, 10}) {
        for (int pair = 0x0101; pair <= 0xFFFF; ++pair) {
            const char group[] = {static_cast<char>(pair >> 8), static_cast<char>(pair), 0};
            if (group[0] == 0 || group[1] == 0) {
                continue;
            }
            char* end = nullptr;
            const unsigned long value = std::strtoul(group, &end, radix);
            const bool taken = end == group + 2 && static_cast<long>(value) >= 0;
            const int status = parse("1" + std::string(group), radix);
            ASSERT_EQ(status, taken ? 0 : rtStatusInvalidArgument) << "pair " << pair;
            if (taken) {
                const auto base = static_cast<unsigned long>(radix * radix);
                ASSERT_EQ(text(10), std::to_string(base + value)) << "pair " << pair;
            }
        }
    }
    EXPECT_EQ(parse("1+5"), 0);
    EXPECT_EQ(text(10), "105");
}

// Whether the bytes behind the first are zero is judged by the second alone.
TEST_F(BigIntegerTest, NegativeOfOneRareFormLosesItsSign) {
    EXPECT_EQ(data("-8388608"), bytes_of("80 00 00"));
    EXPECT_EQ(data("-8388609"), bytes_of("7F FF FF"));
    EXPECT_EQ(data("-8388864"), bytes_of("FF 7F FF 00")) << "the second byte tells";
}

TEST_F(BigIntegerTest, WritesAllRadixes) {
    using Row = std::tuple<const char*, const char*, const char*, const char*>;
    for (const auto& [decimal, octal, hexadecimal, binary] :
         {Row{"-255", "-377", "FF01", "1111111100000001"},
          Row{"1000000000000000000", "67405553164731000000", "0DE0B6B3A7640000", ""},
          Row{"0", "0", "00", "00000000"}}) {
        parse(decimal);
        EXPECT_EQ(text(10), decimal);
        EXPECT_EQ(text(8), octal);
        EXPECT_EQ(text(16), hexadecimal);
        EXPECT_TRUE(*binary == '\0' || text(2) == binary);
    }
    char out[8];
    EXPECT_EQ(rtBigIntToString(&ctxt, &number, 7, out, sizeof out), rtStatusNullArgument);
    EXPECT_EQ(rtBigIntDigitsNum(&number, 7), 0);
    parse("0x7FFFFF");
    const int digits[] = {32, 10, 9, 8}; // (3 * 8192 + 8192) / 1024, 3072, 3402, 4096
    const int radixes[] = {2, 8, 10, 16};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rtBigIntDigitsNum(&number, radixes[i]), digits[i]);
    }
}

TEST_F(BigIntegerTest, OutputThatIsTooSmallIsNotOverrun) {
    parse("-1234567890123");
    for (const int radix : {2, 8, 10, 16}) {
        const std::string full = text(radix);
        const auto need = static_cast<int>(full.size()) + 1;
        for (int capacity = 0; capacity <= need; ++capacity) {
            rtErrReset(&ctxt.errInfo);
            std::vector<char> out(static_cast<std::size_t>(capacity));
            const int status = rtBigIntToString(&ctxt, &number, radix, out.data(), capacity);
            ASSERT_EQ(status, capacity < need ? rtStatusValueTooLong : 0);
            ASSERT_EQ(ctxt.errInfo.status, status);
        }
    }
    Bytes out(5);
    EXPECT_EQ(rtBigIntGetData(&ctxt, &number, out.data(), 5), rtStatusValueTooLong);
    parse("0");
    EXPECT_EQ(rtBigIntGetData(&ctxt, &number, out.data(), 0), rtStatusValueTooLong);
}

TEST_F(BigIntegerTest, GrowsOutOfLentStorage) {
    unsigned char lent[4];
    rtBigIntInit(&number);
    number.mag = lent;
    number.allocated = sizeof lent;
    parse("1000000");
    EXPECT_EQ(number.mag, lent);
    EXPECT_EQ(number.dynamic, 0);
    const std::string thousand(1000, '7');
    parse(thousand);
    EXPECT_NE(number.mag, lent);
    EXPECT_EQ(number.dynamic, 1);
    EXPECT_EQ(text(10), thousand);
    EXPECT_GE(rtBigIntDigitsNum(&number, 10), 1000);
    parse(thousand + thousand);
    EXPECT_EQ(text(10), thousand + thousand);
    rtBigIntFree(&ctxt, &number);
    EXPECT_EQ(ctxt.typeHeap->blockList, nullptr);
}

TEST_F(BigIntegerTest, WithoutMemory) {
    const FailingAllocator none(0);
    for (const char* text : {"1", "0o7", "0x11", "0b1"}) {
        EXPECT_EQ(parse(text), rtStatusNoMemory) << text;
    }
}

TEST_F(BigIntegerTest, ComparesTextsAsNumbers) {
    const struct {
        const char* a;
        const char* b;
        int order;
    } cases[] = {{"0", "-0", 0},      {"0x00FF", "255", 0},  {"0xFF", "-1", 0},
                 {"10", "9", 1},      {"-10", "-9", -1},     {"-300", "-9", -1},
                 {"300", "9", 1},     {"1", "-1", 1},        {"0", "1", -1},
                 {"0", "-1", 1},      {"0o10", "0b1000", 0}, {"255", "256", -1},
                 {"nonsense", "0", 0}};
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& c : cases) {
        EXPECT_EQ(sign(rtBigIntStrCompare(&ctxt, c.a, c.b)), c.order) << c.a << " " << c.b;
        EXPECT_EQ(sign(rtBigIntStrCompare(&ctxt, c.b, c.a)), -c.order) << c.a << " " << c.b;
    }
    EXPECT_EQ(ctxt.errInfo.status, rtStatusInvalidArgument);
    // Beyond the local storage of a comparison.
    const std::string large(2000, '9');
    EXPECT_GT(rtBigIntStrCompare(&ctxt, large.c_str(), "1"), 0);
    EXPECT_EQ(ctxt.typeHeap->blockList, nullptr);
}

TEST_F(BigIntegerTest, AgreesWithOpenSsl) {
    BIGNUM* reference = BN_new();
    for (int bits : {1, 7, 8, 9, 63, 64, 65, 127, 128, 511, 2048, 4099}) {
        BN_rand(reference, bits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY);
        BN_set_negative(reference, bits % 2);
        char* decimal = BN_bn2dec(reference);
        ASSERT_EQ(parse(decimal), 0);
        EXPECT_EQ(text(10), decimal);
        const std::string octal = text(8);
        ASSERT_EQ(parse(octal, 8), 0);
        EXPECT_EQ(text(10), decimal);
        const std::string hexadecimal = text(16);
        ASSERT_EQ(parse(hexadecimal, 16), 0);
        // One negative form in 512 comes out a byte short (see above).
        if (number.sign > 0) {
            EXPECT_EQ(text(10), decimal);
        }
        OPENSSL_free(decimal);
    }
    BN_free(reference);
}

TEST_F(BigIntegerTest, HugeTextsAreReadUpToABound) {
    EXPECT_EQ(parse(std::string(rtMaxDecimalDigits, '9')), 0);
    EXPECT_EQ(text(10), std::string(rtMaxDecimalDigits, '9'));
    EXPECT_EQ(parse("-000" + std::string(rtMaxDecimalDigits + 1, '9')), rtStatusNoMemory);
    EXPECT_EQ(parse(std::string(10'000'000, '0')), 0);
    EXPECT_EQ(parse("0o1" + std::string(3'000'000, '7')), 0);
    EXPECT_EQ(text(8).size(), 3'000'001U);
    EXPECT_EQ(parse("0x7" + std::string(3'000'000, 'F')), 0);
    char out[8];
    EXPECT_EQ(rtBigIntToString(&ctxt, &number, 10, out, sizeof out), rtStatusNoMemory);
}

} // namespace
