// INTEGER of any size between text and bytes.
#include <sstream>

#include <chronoseal/asn1rt/test_codec.h>

namespace {

// Pairs of "text=bytes of the contents".
template <typename Encode>
void encodes(Encode encode, const std::string& pairs) {
    std::istringstream in(pairs);
    for (std::string pair; std::getline(in, pair, ';');) {
        SCOPED_TRACE(pair);
        const std::string text = pair.substr(0, pair.find('='));
        const Bytes contents = bytes_of(pair.substr(text.size() + 1));
        TestContext ctxt;
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        EXPECT_EQ(ctxt.written(encode(&ctxt, text.c_str(), 0)), contents);
        EXPECT_EQ(encode(&ctxt, text.c_str(), 1), static_cast<int>(contents.size()) + 2);
        EXPECT_EQ(ctxt.errInfo.status, 0);
    }
}

// What goes through rtBigIntSetStr is in big_integer_test.cpp.
TEST(IntegerTextTest, TextToBytes) {
    encodes(xe_bigint, "0=00;0x0=00;0x00=00;0xFF=FF;0xFFFF=FF;0xFF80=80;0xff7f=FF7F;0x80=80;"
                       "0x080=0080;0x0080=0080;0x7F=7F;0x1=01;0xF80=0F80;0x0F80=0F80;0x000001=01;"
                       "0x123456789aBcDeF0123456789=0123456789ABCDEF0123456789;0b10000000=80;"
                       "0b010000000=0080;0b1=01;0b1111111101111111=FF7F;128=0080;-129=FF7F;"
                       "  42=2A;0o777=01FF");
    encodes(xe_biguint, "0=00;0x0=00;0xFF=FF;0x00FF=00FF;0x007F=007F;0x0F=0F;0x7F=7F;"
                        "0b11111111=FF;0b011111111=00FF");
}

TEST(IntegerTextTest, TextThatIsNoNumber) {
    using Encode = int (*)(ASN1CTXT*, const char*, ASN1TagType);
    const auto refuses = [](Encode encode, std::initializer_list<const char*> texts) {
        for (const char* text : texts) {
            SCOPED_TRACE(text != nullptr ? text : "null");
            TestContext ctxt;
            ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
            const std::uint32_t before = ctxt.bufIndex;
            EXPECT_EQ(encode(&ctxt, text, 1), -18);
            EXPECT_EQ(ctxt.errInfo.status, -18);
            EXPECT_EQ(ctxt.bufIndex, before) << "nothing is written";
        }
    };
    refuses(xe_bigint,
            {nullptr, "", "0x", "0b", "0xG0", "0x1G", "0b2", "0b00000002", "0x80 ", "abc", "+42"});
    refuses(xe_biguint, {nullptr, "", "0x", "7", "128", "0xG0", "-1"});
    TestContext ctxt;
    unsigned char small[3];
    ASSERT_EQ(xe_setp(&ctxt, small, sizeof small), 0);
    EXPECT_EQ(xe_bigint(&ctxt, "0x123456", 0), -1);
    EXPECT_EQ(xe_bigint(&ctxt, "1234567890", 0), -1);
    EXPECT_EQ(xe_bigint(&ctxt, "0x8000", 0), 2);
    EXPECT_EQ(xe_biguint(&ctxt, "0x0FF", 0), -1);
}

int decode(ASN1CTXT* ctxt) {
    const char* text = nullptr;
    return xd_bigint(ctxt, &text, 1, 0);
}

TEST(IntegerTextTest, BytesToTextAndBack) {
    struct Row {
        const char* bytes;
        const char* text;
        bool minimal;
    };
    for (const auto& [bytes, text, minimal] :
         {Row{"02 01 00", "0x0", true}, Row{"02 02 00 80", "0x080", true},
          Row{"02 01 FF", "0xff", true}, Row{"02 01 7F", "0x7f", true},
          Row{"02 03 00 00 01", "0x01", false}, Row{"02 00", "0x0", false},
          Row{"02 02 FF 7F", "0xff7f", true},
          Row{"02 09 00 FF FF FF FF FF FF FF FF", "0x0ffffffffffffffff", true}}) {
        SCOPED_TRACE(bytes);
        TestContext ctxt;
        ctxt.read(bytes_of(bytes));
        const char* read = nullptr;
        ASSERT_EQ(xd_bigint(&ctxt, &read, 1, 0), 0);
        EXPECT_STREQ(read, text);
        EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        EXPECT_EQ(ctxt.written(xe_bigint(&ctxt, read, 1)) == bytes_of(bytes), minimal);
    }
    refuse(decode, {No{"other tag", "03 01 00", -3}, No{"no length", "02", -2},
                    No{"overrun", "02 02 00", -2, 0}, No{"indefinite", "02 80 00 00", -5},
                    No{"2 GiB", "02 84 7F FF FF FF 01", -5}});
}

} // namespace
