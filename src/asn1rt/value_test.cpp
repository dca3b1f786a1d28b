// Each primitive type in both directions: {name, value, bytes} must encode to the bytes and decode
// from them, and what decodes with latitude or not at all stands in tables of its own.
#include <climits>

#include <gmock/gmock.h>

#include <chronoseal/asn1rt/test_codec.h>

namespace {

constexpr const char* kLongText =
    "0123456789012345678901234567890123456789012345678901234567890123"
    "0123456789012345678901234567890123456789012345678901234567890123";

std::string hex_of_text(const std::string& text) {
    std::string result;
    for (const char c : text) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(c));
        result += digits;
    }
    return result;
}

template <typename T>
DecodeCall number(int (*function)(ASN1CTXT*, T*, ASN1TagType, int), ASN1TagType tagging = 1,
                  int length = 0) {
    return [=](ASN1CTXT* ctxt) {
        T value;
        return function(ctxt, &value, tagging, length);
    };
}

template <typename T>
auto encoder(int (*function)(ASN1CTXT*, const T*, ASN1TagType)) {
    return [=](ASN1CTXT* ctxt, T value, int tagging) { return function(ctxt, &value, tagging); };
}

template <typename T>
auto decoder(int (*function)(ASN1CTXT*, T*, ASN1TagType, int)) {
    return [=](ASN1CTXT* ctxt, T& value, int tagging, int length) {
        return function(ctxt, &value, tagging, length);
    };
}

TEST(BooleanTest, BothWays) {
    both_ways<unsigned char>(
        {Row<unsigned char>{"false", 0, "01 01 00"}, Row<unsigned char>{"true", 0xFF, "01 01 FF"}},
        encoder(xe_boolean), decoder(xd_boolean));
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    const unsigned char odd = 1;
    EXPECT_EQ(ctxt.written(xe_boolean(&ctxt, &odd, 1)), bytes_of("01 01 FF"));
    unsigned char value;
    ctxt.read(bytes_of("01 01 02"));
    EXPECT_EQ(xd_boolean(&ctxt, &value, 1, 0), 0);
    EXPECT_EQ(value, 2) << "the byte isn't made 0xFF";
    const DecodeCall decode = number(xd_boolean);
    refuse(decode, {No{"nothing", "", -2}, No{"other tag", "02 01 00", -3},
                    No{"constructed", "21 01 00", -3}, No{"no length", "01", -2},
                    No{"length 2", "01 02 00 00", -5}, No{"length in long form", "01 81 01 FF", -5},
                    No{"no contents", "01 01", -2}});
    refuse(number(xd_boolean, 0, 0), {No{"untagged, wrong length", "FF", -5}});
}

TEST(IntegerTest, SignedBothWays) {
    const std::vector<Row<int>> rows{Row<int>{"zero", 0, "02 01 00"},
                                     Row<int>{"127", 127, "02 01 7F"},
                                     Row<int>{"128", 128, "02 02 00 80"},
                                     Row<int>{"-1", -1, "02 01 FF"},
                                     Row<int>{"-128", -128, "02 01 80"},
                                     Row<int>{"-129", -129, "02 02 FF 7F"},
                                     Row<int>{"256", 256, "02 02 01 00"},
                                     Row<int>{"max", INT_MAX, "02 04 7F FF FF FF"},
                                     Row<int>{"min", INT_MIN, "02 04 80 00 00 00"}};
    both_ways(rows, encoder(xe_integer), decoder(xd_integer));
    both_ways<int>({Row<int>{"5", 5, "0A 01 05"}, Row<int>{"-200", -200, "0A 02 FF 38"}},
                   encoder(xe_enum), decoder(xd_enum));
    refuse(number(xd_integer),
           {No{"nothing", "", -2}, No{"other tag", "0A 01 00", -3}, No{"no length", "02", -2},
            No{"empty", "02 00", -5}, No{"five bytes", "02 05 00 00 00 00 01", -33},
            No{"overrun", "02 03 01 01", -2}, No{"indefinite", "02 80 01 00 00", -5},
            No{"2 GiB", "02 84 7F FF FF FF 01", -5}});
    refuse(number(xd_enum), {No{"other tag", "02 01 00", -3, 0}, No{"no length", "0A", -2, 0},
                             No{"too long", "0A 05 00 00 00 00 00", -33}});
}

TEST(IntegerTest, UnsignedBothWays) {
    both_ways<unsigned int>({Row<unsigned int>{"zero", 0, "02 01 00"},
                             Row<unsigned int>{"128", 128, "02 02 00 80"},
                             Row<unsigned int>{"max", UINT_MAX, "02 05 00 FF FF FF FF"},
                             Row<unsigned int>{"2^24", 1U << 24, "02 04 01 00 00 00"}},
                            encoder(xe_unsigned), decoder(xd_unsigned));
    both_ways<unsigned short>({Row<unsigned short>{"zero", 0, "02 01 00"},
                               Row<unsigned short>{"255", 255, "02 02 00 FF"},
                               Row<unsigned short>{"32767", 32767, "02 02 7F FF"},
                               Row<unsigned short>{"max", 65535, "02 03 00 FF FF"}},
                              encoder(xe_uint16), decoder(xd_uint16));
    refuse(number(xd_unsigned),
           {No{"six bytes", "02 06 00 00 00 00 00 01", -33},
            No{"five without zero", "02 05 01 00 00 00 00", -33}, No{"other tag", "03 01 00", -3},
            No{"overrun", "02 02 01", -2, 0}, No{"indefinite", "02 80 01", -5}});
    refuse(number(xd_uint16),
           {No{"two bytes left", "02 01", -2}, No{"two bytes of another tag", "03 01", -2},
            No{"other tag", "03 01 00", -3}, No{"four bytes", "02 04 00 00 00 01", -33},
            No{"three without zero", "02 03 01 00 00", -33}, No{"overrun", "02 02 01", -2}});
    refuse(number(xd_uint16, 0, -1), {No{"negative length", "02", -5}});
}

TEST(IntegerTest, OddLengthsOfUnsigned) {
    TestContext ctxt;
    unsigned int value = 7;
    ctxt.read(bytes_of("02 00"));
    EXPECT_EQ(xd_unsigned(&ctxt, &value, 1, 0), 0);
    EXPECT_EQ(value, 0U) << "no byte is 0";
    ctxt.read(bytes_of("02 01 FF"));
    EXPECT_EQ(xd_unsigned(&ctxt, &value, 1, 0), 0);
    EXPECT_EQ(value, 255U) << "not negative";
    unsigned short small = 0;
    ctxt.read(bytes_of("02 00 05"));
    EXPECT_EQ(xd_uint16(&ctxt, &small, 1, 0), 0);
    EXPECT_EQ(small, 5) << "no byte takes one of what follows";
    EXPECT_EQ(ctxt.bufIndex, 3U);
    ctxt.read(bytes_of("02 01"));
    ctxt.flags = ctxFlagIndefMessage;
    EXPECT_EQ(xd_uint16(&ctxt, &small, 1, 0), -2) << "not even in a message without a known end";
    ctxt.read(bytes_of("02"));
    EXPECT_EQ(xd_uint16(&ctxt, &small, 1, 0), -2);
}

TEST(NullTest, BothWays) {
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xe_null(&ctxt, 0), 0);
    EXPECT_EQ(ctxt.written(xe_null(&ctxt, 1)), bytes_of("05 00"));
    const DecodeCall decode = [](ASN1CTXT* c) { return xd_null(c, 1); };
    refuse(decode, {No{"good", "05 00", 0}, No{"other tag", "04 00", -3}, No{"no length", "05", -2},
                    No{"with contents", "05 01 00", -5}});
    refuse([](ASN1CTXT* c) { return xd_null(c, 0); }, {No{"untagged", "", 0}});
}

struct Oid {
    std::vector<std::uint32_t> arcs;
    bool operator==(const Oid&) const = default;
};

ASN1OBJID record_of(const Oid& oid) {
    ASN1OBJID record{};
    record.numids = static_cast<std::uint32_t>(oid.arcs.size());
    std::copy_n(oid.arcs.begin(), std::min<std::size_t>(oid.arcs.size(), 128), record.subid);
    return record;
}

int encode_oid(ASN1CTXT* ctxt, const Oid& oid, int tagging) {
    const ASN1OBJID record = record_of(oid);
    return xe_objid(ctxt, &record, tagging);
}

int decode_oid(ASN1CTXT* ctxt, Oid& oid, int tagging, int length) {
    ASN1OBJID record;
    const int status = xd_objid(ctxt, &record, tagging, length);
    if (status == 0) {
        oid.arcs.assign(record.subid, record.subid + record.numids);
    }
    return status;
}

DecodeCall oid_call(ASN1TagType tagging = 1, int length = 0) {
    return [=](ASN1CTXT* ctxt) {
        Oid oid;
        return decode_oid(ctxt, oid, tagging, length);
    };
}

TEST(ObjectIdTest, BothWays) {
    std::vector<std::uint32_t> most(128, 1);
    std::string ones;
    for (int i = 0; i < 126; ++i) {
        ones += "01";
    }
    both_ways<Oid>(
        {{"2.5", {{2, 5}}, "06 01 55"},
         {"0.39", {{0, 39}}, "06 01 27"},
         {"2.999.3", {{2, 999, 3}}, "06 03 88 37 03"},
         {"rsadsi", {{1, 2, 840, 113549}}, "06 06 2A 86 48 86 F7 0D"},
         {"widest arcs", {{2, UINT32_MAX - 80, UINT32_MAX}}, "06 0A 8F FF FF FF 7F 8F FF FF FF 7F"},
         {"128 arcs", {most}, "06 7F 29" + ones}},
        encode_oid, decode_oid);
    refuse(oid_call(), {No{"other tag", "05 00", -3}, No{"empty", "06 00", -5},
                        No{"indefinite", "06 80 55 00 00", -5}, No{"overrun", "06 02 55", -2},
                        No{"no length", "06", -2}, No{"2 GiB", "06 84 7F FF FF FF 55", -5}});
    const std::vector<Oid> unencodable{{{}},
                                       {{1}},
                                       {{3, 1}},
                                       {{0, 40}},
                                       {{1, 40}},
                                       {{2, UINT32_MAX}},
                                       {std::vector<std::uint32_t>(129, 1)}};
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xe_objid(&ctxt, nullptr, 1), -4);
    for (const Oid& oid : unencodable) {
        EXPECT_EQ(encode_oid(&ctxt, oid, 1), -4);
    }
}

TEST(ObjectIdTest, LatitudeAndLimit) {
    const auto arcs_of = [](const std::string& hex) {
        TestContext ctxt;
        ctxt.read(bytes_of(hex));
        Oid oid;
        EXPECT_EQ(decode_oid(&ctxt, oid, 1, 0), 0) << hex;
        return oid.arcs;
    };
    using testing::ElementsAre;
    EXPECT_THAT(arcs_of("06 02 55 81"), ElementsAre(2, 5, 1)) << "last arc cut short";
    EXPECT_THAT(arcs_of("06 07 55 FF FF FF FF FF 7F"), ElementsAre(2, 5, UINT32_MAX))
        << "high bits lost";
    EXPECT_THAT(arcs_of("06 02 55 80"), ElementsAre(2, 5, 0));
    EXPECT_THAT(arcs_of("06 01 4F"), ElementsAre(1, 39));
    EXPECT_THAT(arcs_of("06 01 50"), ElementsAre(2, 0));
    Bytes long_oid = bytes_of("06 83 03 D0 90"); // 250,000 bytes
    long_oid.resize(long_oid.size() + 250000, 1);
    TestContext ctxt;
    ctxt.read(long_oid);
    ASN1OBJID record;
    EXPECT_EQ(xd_objid(&ctxt, &record, 1, 0), -4);
    EXPECT_EQ(record.numids, 128U);
}

using Text = std::string;

int encode_octets(ASN1CTXT* ctxt, const Text& value, int tagging) {
    return xe_octstr(ctxt, reinterpret_cast<const unsigned char*>(value.data()),
                     static_cast<std::uint32_t>(value.size()), tagging);
}

int decode_octets(ASN1CTXT* ctxt, Text& value, int tagging, int length) {
    const unsigned char* data = nullptr;
    std::uint32_t count = 0;
    const int status = xd_octstr(ctxt, &data, &count, tagging, length);
    value.assign(data, data + count);
    return status;
}

int decode_octets_fixed(ASN1CTXT* ctxt, Text& value, int tagging, int length) {
    unsigned char data[200];
    std::uint32_t count = sizeof data;
    ctxt->flags = tagging == 1 ? ctxFlagConstructed : 0;
    const int status = xd_octstr_s(ctxt, data, &count, tagging, length);
    EXPECT_TRUE(status != 0 || ctxt->flags == 0) << "the tag was that of a primitive";
    if (status == 0) {
        value.assign(data, data + count);
    }
    return status;
}

int encode_ia5(ASN1CTXT* ctxt, const Text& value, int tagging) {
    return xe_charstr(ctxt, value.c_str(), tagging, 22);
}

int decode_ia5(ASN1CTXT* ctxt, Text& value, int tagging, int length) {
    const char* text = nullptr;
    const int status = xd_charstr(ctxt, &text, tagging, 22, length);
    value = text == nullptr ? "" : text;
    return status;
}

template <auto Decode>
DecodeCall text_call(ASN1TagType tagging = 1, int length = 0) {
    return [=](ASN1CTXT* ctxt) {
        Text value;
        return Decode(ctxt, value, tagging, length);
    };
}

TEST(OctetStringTest, BothWays) {
    const std::vector<Row<Text>> rows{
        Row<Text>{"empty", "", "04 00"}, Row<Text>{"two", "AB", "04 02 41 42"},
        Row<Text>{"long form", kLongText, "04 81 80" + hex_of_text(kLongText)}};
    both_ways(rows, encode_octets, decode_octets);
    both_ways(rows, encode_octets, decode_octets_fixed);
    both_ways<Text>({Row<Text>{"empty", "", "16 00"}, Row<Text>{"two", "AB", "16 02 41 42"}},
                    encode_ia5, decode_ia5);
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(ctxt.written(xe_octstr(&ctxt, nullptr, 5, 1)), bytes_of("04 00"));
    EXPECT_EQ(xe_charstr(&ctxt, nullptr, 1, 22), -18);
    ctxt.read(bytes_of("04 00"));
    const unsigned char* data = nullptr;
    std::uint32_t count = 1;
    EXPECT_EQ(xd_octstr(&ctxt, &data, &count, 1, 0), 0);
    EXPECT_NE(data, nullptr) << "an empty string is a valid pointer";
    EXPECT_EQ(xd_octstr(&ctxt, &data, &count, 0, -5), 0);
    EXPECT_EQ(data, nullptr);
    ctxt.read(bytes_of("04 02 41 42 04 03 41 42"));
    ctxt.flags = ctxFlagNoCopy;
    EXPECT_EQ(xd_octstr(&ctxt, &data, &count, 1, 0), 0);
    EXPECT_TRUE(data == ctxt.message.data() + 2 && count == 2);
    EXPECT_EQ(xd_octstr(&ctxt, &data, &count, 1, 0), -2);
}

TEST(OctetStringTest, ConstructedForms) {
    struct Form {
        const char* name;
        const char* bytes;
        const char* value;
    };
    for (const Form& form :
         {Form{"definite", "24 06 04 01 41 04 01 42", "AB"},
          Form{"indefinite", "24 80 04 01 41 04 01 42 00 00", "AB"},
          Form{"no piece", "24 80 00 00", ""}, Form{"empty pieces", "24 04 04 00 04 00", ""}}) {
        SCOPED_TRACE(form.name);
        for (const std::uint16_t flags : {std::uint16_t{0}, ctxFlagNoCopy}) {
            TestContext ctxt;
            ctxt.read(bytes_of(form.bytes));
            ctxt.flags = flags;
            Text value;
            EXPECT_EQ(decode_octets(&ctxt, value, 1, 0), 0);
            EXPECT_EQ(value, form.value);
            EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize) << "end-of-contents consumed";
            Bytes as_text = bytes_of(form.bytes);
            as_text[0] = 0x36;
            ctxt.read(as_text);
            EXPECT_EQ(decode_ia5(&ctxt, value, 1, 0), 0);
            EXPECT_EQ(value, form.value);
            EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
        }
    }
}

TEST(OctetStringTest, Refusals) {
    const DecodeCall octets = text_call<decode_octets>();
    const DecodeCall fixed = text_call<decode_octets_fixed>();
    const DecodeCall ia5 = text_call<decode_ia5>();
    const DecodeCall wide = [](ASN1CTXT* ctxt) {
        ASN1TUniversalText text;
        return xd_32BitCharStr(ctxt, &text, 1, 30, 0);
    };
    const DecodeCall narrow = [](ASN1CTXT* ctxt) {
        unsigned char data[1];
        std::uint32_t count = 1;
        return xd_octstr_s(ctxt, data, &count, 1, 0);
    };
    refuse(octets, {No{"nothing", "", -2}, No{"other tag", "05 00", -3}, No{"no length", "04", -2},
                    No{"overrun", "04 02 41", -2}, No{"2 GiB", "04 84 7F FF FF FF 41", -5},
                    No{"negative", "04 84 80 00 00 00 41", -5},
                    No{"indefinite primitive", "04 80 41 00 00", -5},
                    No{"constructed inner piece", "24 80 24 80 04 01 41 00 00 00 00", -21},
                    No{"foreign piece", "24 80 02 01 41 00 00", -21},
                    No{"no end-of-contents", "24 80 04 01 41", -2},
                    No{"piece overruns", "24 80 04 09 41 00 00", -2},
                    No{"piece overruns the string", "24 04 04 03 41 42 43 00", -5},
                    No{"constructed and overruns", "24 09 04 01 41", -5},
                    No{"long constructed and overruns", "24 81 09 04 01 41", -5},
                    No{"last piece overruns the message", "24 09 04 05 41 42", -2},
                    No{"end-of-contents as a piece", "24 02 00 00", -3},
                    No{"piece longer than the rest", "24 06 04 01 41 04 04 42 43 44 45", -17},
                    No{"empty piece of tag 0", "24 80 00 01 41 00 00", -3}});
    refuse(ia5,
           {No{"constructed and overruns", "36 7F 04 01 41", -5}, No{"other tag", "04 01 41", -3},
            No{"overrun", "16 02 41", -2}, No{"foreign piece", "36 80 16 01 41 00 00", -21}});
    refuse(wide, {No{"constructed and overruns", "3E 09 04 01 41", -5}});
    refuse(fixed, {No{"nothing", "", -2}, No{"no length", "04", -2},
                   No{"constructed", "24 03 04 01 41", -3}, No{"indefinite", "04 80", -5},
                   No{"overrun", "04 02 41", -2}});
    refuse(narrow, {No{"too long", "04 02 41 42", -17}});
    // An untagged string of indefinite length, whose end isn't one.
    TestContext ctxt;
    ctxt.read(bytes_of("04 01 41 00 00"));
    Text value;
    EXPECT_EQ(decode_octets(&ctxt, value, 0, rtIndefiniteLength), 0);
    EXPECT_EQ(value, "A");
    EXPECT_EQ(decode_ia5(&ctxt, value, 0, -5), 0);
    EXPECT_EQ(value, "");
}

template <typename Record, auto Encode>
int encode_wide(ASN1CTXT* ctxt, const std::vector<std::uint32_t>& value, int tagging) {
    std::vector<std::remove_cvref_t<decltype(*Record::data)>> units(value.begin(), value.end());
    const Record record{static_cast<std::uint32_t>(units.size()), units.data()};
    return Encode(ctxt, &record, tagging, 30);
}

template <typename Record, auto Decode>
int decode_wide(ASN1CTXT* ctxt, std::vector<std::uint32_t>& value, int tagging, int length) {
    Record record{};
    const int status = Decode(ctxt, &record, tagging, 30, length);
    value.assign(record.data, record.data + record.nchars);
    return status;
}

TEST(WideStringTest, BothWays) {
    using Characters = std::vector<std::uint32_t>;
    constexpr auto encode16 = encode_wide<ASN1TBMPText, xe_16BitCharStr>;
    constexpr auto decode16 = decode_wide<ASN1TBMPText, xd_16BitCharStr>;
    constexpr auto encode32 = encode_wide<ASN1TUniversalText, xe_32BitCharStr>;
    constexpr auto decode32 = decode_wide<ASN1TUniversalText, xd_32BitCharStr>;
    both_ways<Characters>({{"empty", {}, "1E 00"}, {"two", {0x41, 0x1234}, "1E 04 00 41 12 34"}},
                          encode16, decode16);
    both_ways<Characters>({{"empty", {}, "1E 00"}, {"one", {0x12345678}, "1E 04 12 34 56 78"}},
                          encode32, decode32);
    TestContext ctxt;
    Characters value;
    ctxt.read(bytes_of("3E 80 04 03 00 41 12 04 01 34 00 00"));
    EXPECT_EQ(decode16(&ctxt, value, 1, 0), 0);
    EXPECT_EQ(value, (Characters{0x41, 0x1234})) << "a character across two pieces";
    EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
    ctxt.read(bytes_of("1E 05 00 41 12 34 56"));
    EXPECT_EQ(decode16(&ctxt, value, 1, 0), 0);
    EXPECT_EQ(value, (Characters{0x41, 0x1234})) << "the odd byte is dropped";
    ctxt.read(bytes_of("04 00"));
    EXPECT_EQ(decode16(&ctxt, value, 1, 0), -3);
    ctxt.read(bytes_of("1E 08 00 41"));
    EXPECT_EQ(decode32(&ctxt, value, 1, 0), -2);
    EXPECT_EQ(decode32(&ctxt, value, 0, -5), -5);
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    const ASN1TBMPText broken{1, nullptr};
    const std::vector<unsigned char> few(1);
    EXPECT_EQ(xe_octstr(&ctxt, few.data(), UINT32_MAX, 1), -12) << "more than a message can hold";
    const ASN1TUniversalText huge{UINT32_MAX, &ctxt.bufSize};
    EXPECT_EQ(xe_16BitCharStr(&ctxt, &broken, 1, 30), -18);
    EXPECT_EQ(xe_16BitCharStr(&ctxt, nullptr, 1, 30), -18);
    EXPECT_EQ(xe_32BitCharStr(&ctxt, nullptr, 1, 28), -18);
    EXPECT_EQ(xe_32BitCharStr(&ctxt, &huge, 1, 28), -12);
}

TEST(NullValueTest, WritersRefuseIt) {
    TestContext ctxt;
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    for (const int status : {xe_boolean(&ctxt, nullptr, 1), xe_integer(&ctxt, nullptr, 1),
                             xe_unsigned(&ctxt, nullptr, 1), xe_uint16(&ctxt, nullptr, 1),
                             xe_enum(&ctxt, nullptr, 1), xe_memcpy(&ctxt, nullptr, 1)}) {
        EXPECT_EQ(status, -18);
    }
    EXPECT_EQ(ctxt.errInfo.status, 0) << "nothing of this is latched";
}

} // namespace
