// BIT STRING in both directions, its pieces and their odd bytes.
#include <gtest/gtest.h>

#include "asn1rt/status.h"
#include "asn1rt/test_context.h"

namespace {

struct Bits {
    std::uint32_t count;
    Bytes data;
    bool operator==(const Bits&) const = default;
};

int decode(ASN1CTXT* ctxt, Bits& bits, int tagging = 1, int length = 0) {
    const unsigned char* data = nullptr;
    bits.count = 0;
    const int status = xd_bitstr(ctxt, &data, &bits.count, tagging, length);
    bits.data.assign(data, data + (status == 0 ? (bits.count + 7) / 8 : 0));
    return status;
}

int decode_fixed(ASN1CTXT* ctxt, Bits& bits, std::uint32_t capacity, int tagging, int length) {
    bits.data.assign(capacity / 8 + 1, 0xEE);
    bits.count = capacity;
    return xd_bitstr_s(ctxt, bits.data.data(), &bits.count, tagging, length);
}

TEST(BitStringCodecTest, BothWays) {
    struct Row {
        const char* name;
        Bits bits;
        const char* bytes;
    };
    for (const Row& row : {Row{"none", {0, {}}, "03 01 00"}, Row{"one", {1, {0x80}}, "03 02 07 80"},
                           Row{"whole byte", {8, {0xA5}}, "03 02 00 A5"},
                           Row{"nine", {9, {0xFF, 0x80}}, "03 03 07 FF 80"},
                           Row{"bits behind the last stay", {9, {0xFF, 0xFF}}, "03 03 07 FF FF"}}) {
        SCOPED_TRACE(row.name);
        TestContext ctxt;
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        const unsigned char* data = row.bits.data.empty() ? nullptr : row.bits.data.data();
        const Bytes whole = bytes_of(row.bytes);
        EXPECT_EQ(ctxt.written(xe_bitstr(&ctxt, data, row.bits.count, 1)), whole);
        EXPECT_EQ(xe_bitstr(&ctxt, data, row.bits.count, 0), static_cast<int>(whole.size()) - 2);
        Bits bits{};
        for (const std::uint16_t flags : {std::uint16_t{0}, ctxFlagNoCopy}) {
            ctxt.read(whole);
            ctxt.flags = flags;
            EXPECT_EQ(decode(&ctxt, bits), 0);
            EXPECT_EQ(bits, row.bits);
            EXPECT_EQ(ctxt.bufIndex, whole.size());
        }
        ctxt.read(whole);
        EXPECT_EQ(decode_fixed(&ctxt, bits, 32, 1, 0), 0);
        EXPECT_EQ(bits.count, row.bits.count);
        EXPECT_TRUE(std::equal(row.bits.data.begin(), row.bits.data.end(), bits.data.begin()));
    }
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xe_bitstr(&ctxt, nullptr, 9, 1), 0) << "null writes nothing";
    ctxt.read(bytes_of("03 00"));
    Bits bits{};
    EXPECT_EQ(decode(&ctxt, bits), 0);
    EXPECT_EQ(bits.count, 0U);
}

// Only one count of unused bits is taken out of a constructed string; that of every other piece
// stays in the data.
TEST(BitStringCodecTest, ConstructedForms) {
    struct Form {
        const char* name;
        const char* bytes;
        Bits bits;
    };
    for (const Form& form :
         {Form{"one piece, indefinite", "23 80 03 02 04 F0 00 00", {4, {0xF0}}},
          Form{"two pieces, indefinite",
               "23 80 03 02 00 AA 03 02 04 B0 00 00",
               {20, {0x00, 0xAA, 0xB0}}},
          Form{"two pieces, definite", "23 08 03 02 00 AA 03 02 04 B0", {20, {0x00, 0xAA, 0xB0}}},
          Form{"no piece", "23 80 00 00", {0, {}}},
          Form{"constructed piece taken as bytes",
               "23 06 23 04 03 02 04 F0",
               {21, {0x02, 0x04, 0xF0}}}}) {
        SCOPED_TRACE(form.name);
        TestContext ctxt;
        ctxt.read(bytes_of(form.bytes));
        Bits bits{};
        EXPECT_EQ(decode(&ctxt, bits), 0);
        EXPECT_EQ(bits, form.bits);
        EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
    }
}

TEST(BitStringCodecTest, Refusals) {
    struct Case {
        const char* name;
        const char* bytes;
        int status;
        int latched;
    };
    for (const Case& c : {Case{"nothing", "", -2, -2},
                          Case{"other tag", "04 01 00", -3, -3},
                          Case{"unused bits of nothing", "03 01 05", -5, 0},
                          Case{"eight unused bits", "03 02 08 FF", -18, 0},
                          Case{"eight unused bits before the overrun", "03 03 08 FF", -18, 0},
                          Case{"overrun", "03 03 00 FF", -2, 0},
                          Case{"all missing", "03 03", -2, 0},
                          Case{"one byte missing", "03 01", -2, 0},
                          Case{"2 GiB", "03 84 7F FF FF FF", -5, -5},
                          Case{"piece of one byte, indefinite", "23 80 03 01 00 00 00", -5, 0},
                          Case{"foreign piece", "23 80 04 02 00 FF 00 00", -21, -21},
                          Case{"foreign piece, definite", "23 04 04 02 00 FF", -3, -3},
                          Case{"last piece empty", "23 06 03 02 00 FF 03 00", -5, -5},
                          Case{"eight unused in the last piece", "23 80 03 02 08 FF 00 00", -18, 0},
                          Case{"indefinite piece", "23 06 23 80 03 00 00 00", -5, -5},
                          Case{"piece overruns the string", "23 04 03 05 00 FF FF FF FF", -17, -17},
                          Case{"piece ends late", "23 05 03 02 00 FF 03 01 00", -5, -5},
                          Case{"unused bits of no data", "23 03 03 01 05", -5, 0},
                          Case{"piece overruns the message", "23 04 03 04 00 FF", -2, 0},
                          Case{"no end-of-contents", "23 80 03 02 00 FF", -2, -2}}) {
        SCOPED_TRACE(c.name);
        TestContext ctxt;
        ctxt.read(bytes_of(c.bytes));
        Bits bits{};
        EXPECT_EQ(decode(&ctxt, bits), c.status);
        EXPECT_EQ(ctxt.errInfo.status, c.latched);
    }
}

TEST(BitStringCodecTest, IntoAFixedArray) {
    TestContext ctxt;
    Bits bits{};
    ctxt.read(bytes_of("03 03 00 FF FF"));
    EXPECT_EQ(decode_fixed(&ctxt, bits, 8, 1, 0), -17);
    EXPECT_EQ(ctxt.errInfo.status, 0);
    ctxt.read(bytes_of("03 02 00 FF"));
    EXPECT_EQ(decode_fixed(&ctxt, bits, 0, 1, 0), -17) << "no capacity is no byte";
    EXPECT_EQ(bits.data[0], 0xEE);
    ctxt.read(bytes_of("23 04 03 02 00 FF"));
    EXPECT_EQ(decode_fixed(&ctxt, bits, 8, 1, 0), -3) << "with its tag only the primitive form";
    ctxt.read(bytes_of("03"));
    EXPECT_EQ(decode_fixed(&ctxt, bits, 8, 1, 0), -2);
    ctxt.read(bytes_of("03 02 00 FF 03 02 00 FF 00 00"));
    ctxt.flags = ctxFlagConstructed;
    EXPECT_EQ(decode_fixed(&ctxt, bits, 24, 0, rtIndefiniteLength), 0);
    EXPECT_EQ(bits.count, 24U);
    EXPECT_EQ(ctxt.bufIndex, 8U) << "the end-of-contents is the caller's";
    ctxt.read(bytes_of("00"));
    ctxt.flags = 0;
    EXPECT_EQ(decode_fixed(&ctxt, bits, 8, 0, -1), -5);
    EXPECT_EQ(decode_fixed(&ctxt, bits, 8, 0, 0), 0);
    ctxt.read(bytes_of("08 FF"));
    ctxt.flags = ctxFlagNoCopy;
    EXPECT_EQ(decode(&ctxt, bits, 0, 2), -18);
    EXPECT_EQ(decode(&ctxt, bits, 0, 1000), -2);
    ctxt.flags = 0;
    EXPECT_EQ(decode(&ctxt, bits, 0, 1000), -2);
}

} // namespace
