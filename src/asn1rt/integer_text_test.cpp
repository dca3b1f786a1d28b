// INTEGER of any size between text and bytes.
#include <string>

#include <gtest/gtest.h>

#include "asn1rt/status.h"
#include "asn1rt/test_context.h"

namespace {

struct Row {
    const char* text;
    std::string bytes; // of the contents
};

template <typename Encode>
void encodes_to(Encode encode, const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        TestContext ctxt;
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        const Bytes contents = bytes_of(row.bytes);
        EXPECT_EQ(ctxt.written(encode(&ctxt, row.text, 0)), contents);
        EXPECT_EQ(encode(&ctxt, row.text, 1), static_cast<int>(contents.size()) + 2);
        EXPECT_EQ(ctxt.errInfo.status, 0);
    }
}

TEST(IntegerTextTest, TextToBytes) {
    encodes_to(xe_bigint,
               {{"0", "00"},
                {"0x0", "00"},
                {"0x00", "00"},
                {"0xFF", "FF"},
                {"0xFFFF", "FF"},
                {"0xFF80", "80"},
                {"0xff7f", "FF 7F"},
                {"0x80", "80"},
                {"0x080", "00 80"},
                {"0x0080", "00 80"},
                {"0x7F", "7F"},
                {"0x1", "01"},
                {"0xF80", "0F 80"},
                {"0x0F80", "0F 80"},
                {"0x00000001", "01"},
                {"0x123456789aBcDeF0123456789", "01 23 45 67 89 AB CD EF 01 23 45 67 89"},
                {"0b10000000", "80"},
                {"0b010000000", "00 80"},
                {"0b1", "01"},
                {"0b1111111101111111", "FF 7F"},
                {"7", "07"},
                {"128", "00 80"},
                {"-128", "80"},
                {"-129", "FF 7F"},
                {"  42", "2A"},
                {"0o777", "01 FF"},
                {"18446744073709551616", "01 00 00 00 00 00 00 00 00"}});
    encodes_to(xe_biguint, {{"0", "00"},
                            {"0x0", "00"},
                            {"0xFF", "FF"},
                            {"0x00FF", "00 FF"},
                            {"0x007F", "00 7F"},
                            {"0x0F", "0F"},
                            {"0x7F", "7F"},
                            {"0b11111111", "FF"},
                            {"0b011111111", "00 FF"}});
}

TEST(IntegerTextTest, TextThatIsNoNumber) {
    for (const char* text :
         {"", "0x", "0b", "0xG0", "0x1G", "0b2", "0b00000002", "0x80 ", "abc", "+42"}) {
        SCOPED_TRACE(text);
        TestContext ctxt;
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        EXPECT_EQ(xe_bigint(&ctxt, text, 1), -18);
        EXPECT_EQ(ctxt.errInfo.status, -18);
    }
    for (const char* text : {"", "0x", "7", "128", "0xG0", "-1"}) {
        SCOPED_TRACE(text);
        TestContext ctxt;
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        EXPECT_EQ(xe_biguint(&ctxt, text, 1), -18);
        EXPECT_EQ(ctxt.errInfo.status, -18);
    }
    TestContext ctxt;
    unsigned char small[3];
    ASSERT_EQ(xe_setp(&ctxt, small, sizeof small), 0);
    EXPECT_EQ(xe_bigint(&ctxt, nullptr, 1), -18);
    EXPECT_EQ(xe_biguint(&ctxt, nullptr, 1), -18);
    EXPECT_EQ(xe_bigint(&ctxt, "0x123456", 0), -1);
    EXPECT_EQ(xe_bigint(&ctxt, "1234567890", 0), -1);
    EXPECT_EQ(xe_bigint(&ctxt, "0x8000", 0), 2);
    EXPECT_EQ(xe_biguint(&ctxt, "0x0FF", 0), -1);
}

TEST(IntegerTextTest, BytesToTextAndBack) {
    struct Case {
        const char* bytes;
        const char* text;
        bool minimal;
    };
    for (const Case& c : {Case{"02 01 00", "0x0", true}, Case{"02 02 00 80", "0x080", true},
                          Case{"02 01 FF", "0xff", true}, Case{"02 01 7F", "0x7f", true},
                          Case{"02 03 00 00 01", "0x01", false}, Case{"02 00", "0x0", false},
                          Case{"02 02 FF 7F", "0xff7f", true},
                          Case{"02 09 00 FF FF FF FF FF FF FF FF", "0x0ffffffffffffffff", true}}) {
        SCOPED_TRACE(c.bytes);
        TestContext ctxt;
        ctxt.read(bytes_of(c.bytes));
        const char* text = nullptr;
        ASSERT_EQ(xd_bigint(&ctxt, &text, 1, 0), 0);
        EXPECT_STREQ(text, c.text);
        EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        const Bytes again = ctxt.written(xe_bigint(&ctxt, text, 1));
        EXPECT_EQ(again == bytes_of(c.bytes), c.minimal);
    }
}

TEST(IntegerTextTest, Refusals) {
    struct Case {
        const char* name;
        const char* bytes;
        int status;
        int latched;
    };
    for (const Case& c :
         {Case{"other tag", "03 01 00", -3, -3}, Case{"no length", "02", -2, -2},
          Case{"overrun", "02 02 00", -2, 0}, Case{"indefinite", "02 80 00 00", -5, -5},
          Case{"2 GiB", "02 84 7F FF FF FF 01", -5, -5}}) {
        SCOPED_TRACE(c.name);
        TestContext ctxt;
        ctxt.read(bytes_of(c.bytes));
        const char* text = nullptr;
        EXPECT_EQ(xd_bigint(&ctxt, &text, 1, 0), c.status);
        EXPECT_EQ(ctxt.errInfo.status, c.latched);
    }
}

} // namespace
