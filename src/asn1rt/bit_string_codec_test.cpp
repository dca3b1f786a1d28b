// BIT STRING in both directions, its pieces and their odd bytes.
#include <chronoseal/asn1rt/reader.h>
#include <chronoseal/asn1rt/test_codec.h>

namespace {

struct Bits {
    std::uint32_t count;
    Bytes data;
    bool operator==(const Bits&) const = default;
};

int encode(ASN1CTXT* ctxt, const Bits& bits, int tagging) {
    return xe_bitstr(ctxt, bits.data.empty() ? nullptr : bits.data.data(), bits.count, tagging);
}

int decode(ASN1CTXT* ctxt, Bits& bits, int tagging = 1, int length = 0) {
    const unsigned char* data = nullptr;
    bits.count = 0;
    const int status = xd_bitstr(ctxt, &data, &bits.count, tagging, length);
    bits.data.assign(data, data + (status == 0 ? (bits.count + 7) / 8 : 0));
    return status;
}

int decode_in_place(ASN1CTXT* ctxt, Bits& bits, int tagging, int length) {
    ctxt->flags |= ctxFlagNoCopy;
    return decode(ctxt, bits, tagging, length);
}

int decode_fixed(ASN1CTXT* ctxt, Bits& bits, std::uint32_t capacity, int tagging, int length) {
    bits.data.assign(capacity / 8 + 1, 0xEE);
    bits.count = capacity;
    const int status = xd_bitstr_s(ctxt, bits.data.data(), &bits.count, tagging, length);
    bits.data.resize(status == 0 ? (bits.count + 7) / 8 : bits.data.size());
    return status;
}

int decode_32(ASN1CTXT* ctxt, Bits& bits, int tagging, int length) {
    return decode_fixed(ctxt, bits, 32, tagging, length);
}

TEST(BitStringCodecTest, BothWays) {
    const std::vector<Row<Bits>> rows{
        {"none", {0, {}}, "03 01 00"},
        {"one", {1, {0x80}}, "03 02 07 80"},
        {"whole byte", {8, {0xA5}}, "03 02 00 A5"},
        {"nine", {9, {0xFF, 0x80}}, "03 03 07 FF 80"},
        {"bits behind the last stay", {9, {0xFF, 0xFF}}, "03 03 07 FF FF"}};
    both_ways(rows, encode, decode);
    both_ways(rows, encode, decode_in_place);
    both_ways(rows, encode, decode_32);
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
    const Bits two{20, {0x00, 0xAA, 0xB0}};
    for (const Row<Bits>& form : std::vector<Row<Bits>>{
             {"one piece, indefinite", {4, {0xF0}}, "23 80 03 02 04 F0 00 00"},
             {"two pieces, indefinite", two, "23 80 03 02 00 AA 03 02 04 B0 00 00"},
             {"two pieces, definite", two, "23 08 03 02 00 AA 03 02 04 B0"},
             {"no piece", {0, {}}, "23 80 00 00"},
             {"constructed piece taken as bytes",
              {21, {0x02, 0x04, 0xF0}},
              "23 06 23 04 03 02 04 F0"}}) {
        SCOPED_TRACE(form.name);
        TestContext ctxt;
        ctxt.read(bytes_of(form.bytes));
        Bits bits{};
        EXPECT_EQ(decode(&ctxt, bits), 0);
        EXPECT_EQ(bits, form.value);
        EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
    }
}

TEST(BitStringCodecTest, Refusals) {
    const DecodeCall bits = [](ASN1CTXT* ctxt) {
        Bits value{};
        return decode(ctxt, value);
    };
    const DecodeCall one_byte = [](ASN1CTXT* ctxt) {
        Bits value{};
        ctxt->flags |= ctxFlagConstructed;
        const int status = decode_fixed(ctxt, value, 8, 1, 0);
        EXPECT_EQ(asn1rt::is_constructed(ctxt), status == -3) << "the tag was that of a primitive";
        return status;
    };
    const DecodeCall no_byte = [](ASN1CTXT* ctxt) {
        Bits value{};
        const int status = decode_fixed(ctxt, value, 0, 1, 0);
        EXPECT_EQ(value.data[0], 0xEE);
        return status;
    };
    refuse(bits, {No{"nothing", "", -2},
                  No{"other tag", "04 01 00", -3},
                  No{"unused bits of nothing", "03 01 05", -5, 0},
                  No{"eight unused bits", "03 02 08 FF", -18, 0},
                  No{"eight unused bits before the overrun", "03 03 08 FF", -18, 0},
                  No{"overrun", "03 03 00 FF", -2, 0},
                  No{"all missing", "03 03", -2, 0},
                  No{"one byte missing", "03 01", -2, 0},
                  No{"2 GiB", "03 84 7F FF FF FF", -5},
                  No{"piece of one byte, indefinite", "23 80 03 01 00 00 00", -5, 0},
                  No{"foreign piece", "23 80 04 02 00 FF 00 00", -21},
                  No{"foreign piece, definite", "23 04 04 02 00 FF", -3},
                  No{"last piece empty", "23 06 03 02 00 FF 03 00", -5},
                  No{"eight unused in the last piece", "23 80 03 02 08 FF 00 00", -18, 0},
                  No{"indefinite piece", "23 06 23 80 03 00 00 00", -5},
                  No{"piece overruns the string", "23 04 03 05 00 FF FF FF FF", -17},
                  No{"piece ends late", "23 05 03 02 00 FF 03 01 00", -5},
                  No{"constructed and overruns", "23 09 03 02 00 FF", -5},
                  No{"unused bits of no data", "23 03 03 01 05", -5, 0},
                  No{"piece overruns the message", "23 04 03 04 00 FF", -2, 0},
                  No{"no end-of-contents", "23 80 03 02 00 FF", -2}});
    refuse(one_byte,
           {No{"too long", "03 03 00 FF FF", -17, 0},
            No{"only the primitive form", "23 04 03 02 00 FF", -3}, No{"no length", "03", -2}});
    refuse(no_byte, {No{"no capacity is no byte", "03 02 00 FF", -17, 0}});
}

TEST(BitStringCodecTest, ContentsWhoseHeaderTheCallerHasRead) {
    TestContext ctxt;
    Bits bits{};
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
    EXPECT_EQ(decode_in_place(&ctxt, bits, 0, 2), -18);
    EXPECT_EQ(decode_in_place(&ctxt, bits, 0, 1000), -2);
    ctxt.flags = 0;
    EXPECT_EQ(decode(&ctxt, bits, 0, 1000), -2);
}

} // namespace
