// Tags, lengths, the start of a message, and the readers of whole elements.
#include <chronoseal/asn1rt/decode.h>

#include <climits>

#include <chronoseal/asn1rt/reader.h>
#include <chronoseal/asn1rt/test_codec.h>

namespace {

constexpr std::uint32_t kSequence = 0x20000010;

TEST(DecodeTest, TagsOfManyOctets) {
    using Row = std::tuple<const char*, int, std::uint32_t>;
    for (const auto& [bytes, status, expected] :
         {Row{"30", 0, kSequence}, Row{"1F FF FF FF 7F", 0, 0x0FFFFFFF},
          Row{"1F 81 FF FF FF 7F", 0, 0x1FFFFFFF}, Row{"1F 8F FF FF FF 7F", -21, 0},
          Row{"BF 80 80 01", 0, 0xA0000001}, Row{"1F 80 80 80 80 80 80 80 80 01", 0, 1},
          Row{"1F 80 80 80 80 80 80 80 80 80 01", -21, 0}, Row{"", -2, 0}, Row{"1F", -2, 0},
          Row{"1F 81", -2, 0}}) {
        SCOPED_TRACE(bytes);
        TestContext ctxt;
        ctxt.read(bytes_of(bytes));
        std::uint32_t tag = 0;
        EXPECT_EQ(xd_tag(&ctxt, &tag), status);
        EXPECT_EQ(tag, expected);
        EXPECT_EQ(ctxt.errInfo.status, 0);
        EXPECT_EQ(asn1rt::is_constructed(&ctxt), (expected & rtTagConstructed) != 0);
    }
}

TEST(DecodeTest, Lengths) {
    using Row = std::tuple<const char*, const char*, int, int, std::uint32_t>;
    for (const auto& [name, bytes, status, expected, cursor] :
         {Row{"short", "02 00 00", 0, 2, 1}, Row{"indefinite", "80", 0, -9999, 1},
          Row{"not minimal", "84 00 00 00 01 FF", 0, 1, 5},
          Row{"five octets", "85 00 00 00 00 01 FF", -5, 0, 1},
          Row{"beyond the buffer", "81 80", -5, 0, 2},
          Row{"short beyond the buffer", "02 00", -5, 0, 1},
          Row{"negative", "84 FF FF FF FF", -5, 0, 5}, Row{"ends inside", "83 01 02", -2, 0, 3},
          Row{"nothing", "", -2, 0, 0}, Row{"2 GiB", "84 7F FF FF FF 00", -5, 0, 5},
          Row{"the number for indefinite", "84 FF FF D8 F1", 0, -9999, 5}}) {
        SCOPED_TRACE(name);
        TestContext ctxt;
        ctxt.read(bytes_of(bytes));
        int length = 0;
        EXPECT_EQ(xd_len(&ctxt, &length), status);
        EXPECT_EQ(length, expected);
        EXPECT_EQ(ctxt.bufIndex, cursor);
        EXPECT_EQ(ctxt.errInfo.status, status);
    }
    TestContext ctxt;
    ctxt.read(bytes_of("84 7F FF FF FF 84 FF FF FF FF"));
    ctxt.flags = ctxFlagNoLengthCheck;
    int length = 0;
    EXPECT_EQ(xd_len(&ctxt, &length), 0);
    EXPECT_EQ(length, INT_MAX);
    EXPECT_EQ(xd_len(&ctxt, &length), -5) << "never negative";
}

TEST(DecodeTest, StartOfAMessage) {
    struct Row {
        const char* name;
        const char* bytes;
        int size; // as the caller tells it
        std::uint16_t flags;
        int status;
        int length; // of the whole element
        std::uint32_t limit;
        std::uint32_t cursor;
    };
    TestContext ctxt;
    for (const Row& row :
         {Row{"what follows is out of sight", "30 03 02 01 05 FF FF", 7, 0, 0, 5, 5, 0},
          Row{"size not told", "30 03 02 01 05 FF FF", 0, 0, 0, 5, 5, 0},
          Row{"never behind the caller's bytes", "30 03 02", 3, 0, -5, 5, 3, 0},
          Row{"long form", "30 81 03 02", 4, 0, -5, 0, 4, 0},
          Row{"bad length", "30 85 03", 3, 0, -5, 0, 3, 0},
          Row{"half a tag", "3F 81", 2, 0, -2, 0, 2, 2},
          Row{"indefinite", "30 80 05 00 00 00", 6, 0, 0, rtIndefiniteLength, 6, 0},
          Row{"flags of the last message", "30 00", 2, ctxFlagIndefMessage | ctxFlagLastEoc, 0, 2,
              2, 0},
          Row{"lengths unchecked", "30 84 7F FF FF FF 00", 7, ctxFlagNoLengthCheck, -5, INT_MAX, 7,
              0}}) {
        SCOPED_TRACE(row.name);
        const Bytes bytes = bytes_of(row.bytes);
        ctxt.flags = row.flags | ctxFlagNoCopy;
        std::uint32_t tag = kSequence;
        int length = 0;
        EXPECT_EQ(xd_setp(&ctxt, bytes.data(), row.size, &tag, &length), row.status);
        EXPECT_EQ(tag, kSequence);
        EXPECT_EQ(length, row.length);
        EXPECT_EQ(ctxt.bufSize, row.limit);
        EXPECT_EQ(ctxt.bufIndex, row.cursor);
        const int kept =
            ctxFlagNoCopy | ctxFlagNoLengthCheck | ctxFlagIndefMessage | ctxFlagLastEoc;
        const int indefinite = length == rtIndefiniteLength ? ctxFlagIndefMessage : 0;
        EXPECT_EQ(ctxt.flags & kept,
                  ctxFlagNoCopy | (row.flags & ctxFlagNoLengthCheck) | indefinite);
    }
    EXPECT_EQ(xd_setp(&ctxt, nullptr, 100, nullptr, nullptr), -18);
    EXPECT_EQ(xd_peek(&ctxt), -1);
    EXPECT_EQ(xd_match1(&ctxt, 0x30, nullptr), -2);
    ASN1CTXT dead{};
    const unsigned char null[] = {5, 0};
    EXPECT_EQ(xd_setp(&dead, null, 2, nullptr, nullptr), -32);
}

TEST(DecodeTest, TagAndLengthPutBackOrNot) {
    using Row = std::tuple<const char*, const char*, int>;
    for (const auto& [name, bytes, status] :
         {Row{"good", "30 01 00", 0}, Row{"nothing", "", -2}, Row{"tag only", "30", -2},
          Row{"half a tag", "1F 81", -2}, Row{"large tag", "1F FF FF FF FF 7F 00", -21},
          Row{"indefinite primitive", "04 80 00 00", -5}}) {
        SCOPED_TRACE(name);
        TestContext ctxt;
        ctxt.read(bytes_of(bytes));
        ctxt.flags = ctxFlagNoCopy;
        std::uint32_t tag;
        int length;
        EXPECT_EQ(xd_tag_len(&ctxt, &tag, &length, 0), status);
        EXPECT_EQ(ctxt.bufIndex, 0U);
        EXPECT_EQ(ctxt.flags, ctxFlagNoCopy);
        EXPECT_EQ(xd_tag_len(&ctxt, &tag, &length, xdAdvance), status);
        EXPECT_EQ(ctxt.bufIndex > 0, *bytes != '\0');
        EXPECT_EQ(ctxt.errInfo.status, 0);
    }
    TestContext ctxt;
    ctxt.read(bytes_of("30 01 00"));
    ctxt.flags = ctxFlagIndefMessage | ctxFlagLastEoc;
    std::uint32_t tag;
    int length;
    EXPECT_EQ(xd_tag_len(&ctxt, &tag, &length, xdAdvance), -2);
    EXPECT_EQ(xd_Tag1AndLen(&ctxt, &length), -2);
    EXPECT_EQ(ctxt.bufIndex, 0U);
}

TEST(DecodeTest, OneByteTags) {
    TestContext ctxt;
    int length = 0;
    ctxt.read(bytes_of("30 02 05 00"));
    EXPECT_FALSE(xd_peekIs(&ctxt, 0x31));
    EXPECT_TRUE(xd_peekIs(&ctxt, 0x10)) << "in either form";
    EXPECT_EQ(xd_match1(&ctxt, 0x10, &length), 0);
    EXPECT_EQ(length, 2);
    EXPECT_TRUE(asn1rt::is_constructed(&ctxt));
    EXPECT_EQ(xd_match1(&ctxt, 0x02, nullptr), -3);
    EXPECT_EQ(ctxt.bufIndex, 2U);
    EXPECT_EQ(xd_Tag1AndLen(&ctxt, &length), 0);
    EXPECT_FALSE(asn1rt::is_constructed(&ctxt));
    EXPECT_EQ(xd_match1(&ctxt, 0x02, nullptr), -2);
    EXPECT_EQ(xd_Tag1AndLen(&ctxt, &length), -2);
    EXPECT_FALSE(xd_peekIs(&ctxt, 0x1F));
    EXPECT_EQ(ctxt.errInfo.status, -3) << "the first that was latched";
    rtErrReset(&ctxt.errInfo);
    ctxt.read(bytes_of("04"));
    EXPECT_EQ(xd_match1(&ctxt, 0x04, &length), -2);
    EXPECT_EQ(ctxt.errInfo.status, 0) << "a missing length isn't latched";
    ctxt.read(bytes_of("04 80"));
    EXPECT_EQ(xd_match1(&ctxt, 0x04, nullptr), 0) << "only looked at when asked for";
    ctxt.bufIndex = 0;
    EXPECT_EQ(xd_match1(&ctxt, 0x04, &length), -5);
    ctxt.read(bytes_of("00 00 00 01 00"));
    EXPECT_EQ(xd_matchEoc(&ctxt), 0);
    EXPECT_EQ(xd_matchEoc(&ctxt), -5);
    EXPECT_EQ(ctxt.bufIndex, 2U);
    ctxt.bufIndex = 4;
    EXPECT_EQ(xd_matchEoc(&ctxt), -5);
}

TEST(DecodeTest, Match) {
    const char* message = "30 0B A0 03 02 01 01 A1 80 02 01 02 00 00";
    using Row = std::tuple<const char*, std::uint32_t, int, std::uint32_t, int, std::uint32_t>;
    for (const auto& [name, tag, options, start, status, cursor] :
         {Row{"here", kSequence, 0, 0, 0, 0}, Row{"here, either form", 0x10, 0, 0, 0, 0},
          Row{"here, behind the header", kSequence, xdAdvance, 0, 0, 2},
          Row{"not here", 2, 0, 0, -3, 0}, Row{"sought into constructed", 2, xdSeek, 0, 0, 4},
          Row{"sought by a wide tag", 0xA0000001, xdSeek, 0, 0, 7},
          Row{"the next one", 2, xdSeek | xdStepOver, 4, 0, 9},
          Row{"none behind the last", 2, xdSeek | xdStepOver, 9, -3, 12},
          Row{"sought in vain", 3, xdSeek, 0, -3, 0}, Row{"at the end", 2, xdStepOver, 14, -3, 14},
          Row{"stepped over only", 2, xdStepOver | xdAdvance, 2, 0, 6}}) {
        SCOPED_TRACE(name);
        TestContext ctxt;
        ctxt.read(bytes_of(message));
        ctxt.bufIndex = start;
        EXPECT_EQ(xd_match(&ctxt, tag, nullptr, options), status);
        EXPECT_EQ(ctxt.bufIndex, cursor);
        EXPECT_EQ(ctxt.errInfo.status, 0);
    }
    TestContext ctxt;
    int length = 0;
    ctxt.read(bytes_of("04 05 00"));
    EXPECT_EQ(xd_match(&ctxt, 4, &length, 0), 0);
    EXPECT_EQ(length, 5);
    EXPECT_EQ(xd_match(&ctxt, 5, &length, xdSeek), -3);
    EXPECT_EQ(xd_match(&ctxt, 5, &length, xdStepOver), -3);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    ctxt.read(bytes_of("04 80 00"));
    EXPECT_EQ(xd_match(&ctxt, 4, &length, 0), -5) << "only the message's end is absence";
}

TEST(DecodeTest, SkippingAndCounting) {
    TestContext ctxt;
    std::uint32_t count = 0;
    ctxt.read(bytes_of("02 01 05 30 80 30 80 05 00 00 00 00 00 04 00 00 00"));
    EXPECT_EQ(xd_count(&ctxt, 15, &count), 0);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(xd_count(&ctxt, 4, &count), 0);
    EXPECT_EQ(count, 2U) << "until so many bytes have gone by";
    EXPECT_EQ(xd_count(&ctxt, rtIndefiniteLength, &count), 0);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(xd_count(&ctxt, 0, &count), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(xd_NextElement(&ctxt), 0);
    EXPECT_EQ(xd_NextElement(&ctxt), 0);
    EXPECT_EQ(ctxt.bufIndex, 13U);
    ctxt.read(bytes_of("05 00 04 05 00"));
    EXPECT_EQ(xd_count(&ctxt, 5, &count), -2);
    ctxt.bufIndex = 2;
    EXPECT_EQ(xd_NextElement(&ctxt), -2);
    ctxt.read(bytes_of("30 80 04 01"));
    EXPECT_EQ(xd_NextElement(&ctxt), -2);
    EXPECT_EQ(xd_NextElement(&ctxt), -2);
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

TEST(DecodeTest, MovesPastTheEndOfTheCurrentLevelOnly) {
    TestContext ctxt;
    ctxt.read(bytes_of("05 00 30 80 04 01 41 00 00 24 00 00 00 05 00 00 00"));
    for (const std::uint32_t behind : {13U, 17U}) {
        EXPECT_EQ(xd_MovePastEOC(&ctxt), 0);
        EXPECT_EQ(ctxt.bufIndex, behind) << "the next end-of-contents of this level";
    }
    const DecodeCall move = xd_MovePastEOC;
    refuse(move, {No{"nothing", "", -2, 0}, No{"a step beyond the buffer", "04 05 41", -2, 0},
                  No{"indefinite primitive", "04 80 00 00", -5, 0}});
}

TEST(DecodeTest, CopiesAllOrNothing) {
    TestContext ctxt;
    ctxt.read(bytes_of("01 02 03"));
    unsigned char out[3] = {9, 9, 9};
    EXPECT_EQ(xd_memcpy(&ctxt, out, 2), 0);
    EXPECT_EQ(out[1], 2);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 2), rtStatusEndOfBuffer);
    EXPECT_EQ(ctxt.bufIndex, 2U);
    EXPECT_EQ(out[0], 1) << "untouched";
    EXPECT_EQ(xd_memcpy(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 0xFFFFFFFF), rtStatusEndOfBuffer);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 1), 0);
    ctxt.flags = ctxFlagIndefMessage;
    EXPECT_EQ(xd_memcpy(&ctxt, out, 1), rtStatusEndOfBuffer)
        << "not beyond the buffer in a message of indefinite length either";
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

TEST(DecodeTest, SizeOfIndefiniteElements) {
    using Row = std::pair<const char*, int>;
    for (const auto& [hex, result] :
         {Row{"30 80 05 00 00 00 FF", 6}, Row{"30 80 30 80 00 00 00 00", 8},
          Row{"30 03 02 01 05", -5}, Row{"30 80 05 00 00", -2}, Row{"30 80 00 00", 0},
          Row{"30 80 1F FF FF FF FF FF", -21}}) {
        const Bytes bytes = bytes_of(hex);
        EXPECT_EQ(xd_indeflen_ex(bytes.data(), static_cast<int>(bytes.size())), result) << hex;
    }
    EXPECT_EQ(xd_indeflen_ex(nullptr, 100), -18);
}

// A nested piece of indefinite length counts, and the first end-of-contents ends all levels.
TEST(DecodeTest, SizeOfConstructedStrings) {
    TestContext ctxt;
    int contents = 0;
    int total = 0;
    ctxt.read(bytes_of("24 80 24 01 41 00 00 24 01 42 00 00"));
    EXPECT_EQ(xd_consStrIndefLenAndSize(&ctxt, 0x20000004, &contents, &total), 0);
    EXPECT_EQ(contents, 1);
    EXPECT_EQ(total, 5);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(xd_consStrIndefLenAndSize(&ctxt, 4, &contents, &total), -21);
    ctxt.read(bytes_of("00 01 41 04 00 00 00"));
    EXPECT_EQ(xd_consStrIndefLenAndSize(&ctxt, 4, &contents, &total), 0);
    EXPECT_EQ(contents, 1) << "a piece of tag 0 counts";
    EXPECT_EQ(total, 5);
}

TEST(DecodeTest, Snapshots) {
    BufferState state;
    for (BufferState* kept : {&state, static_cast<BufferState*>(nullptr)}) {
        TestContext ctxt;
        ctxt.read(bytes_of("30 01 00"));
        ctxt.bufIndex = 1;
        ctxt.flags = ctxFlagLastEoc | ctxFlagNoCopy;
        xu_SaveBufferState(&ctxt, kept);
        ctxt.bufIndex = 3;
        ctxt.bufBitOffset = 1;
        ctxt.flags = 0;
        xu_RestoreBufferState(&ctxt, kept);
        EXPECT_EQ(ctxt.bufIndex, 1U);
        EXPECT_EQ(ctxt.bufBitOffset, 8);
        EXPECT_EQ(ctxt.flags, ctxFlagNoCopy);
    }
}

TEST(DecodeTest, EndOfContents) {
    TestContext ctxt;
    ctxt.read(bytes_of("05 00 00 00 05"));
    const ElementLocation definite = rtContentLocation(&ctxt, 2);
    const ElementLocation indefinite = rtContentLocation(&ctxt, rtIndefiniteLength);
    const ElementLocation beyond = rtContentLocation(&ctxt, 100);
    std::string ended; // at each byte
    for (; ctxt.bufIndex <= 5; ++ctxt.bufIndex) {
        ended += rtContentEnded(&ctxt, &definite) ? 'd' : '-';
        ended += rtContentEnded(&ctxt, &indefinite) ? 'i' : '-';
        ended += rtContentEnded(&ctxt, &beyond) ? 'b' : '-';
    }
    EXPECT_EQ(ended, "----i-di-d--di-dib") << "one byte can't be an element of the indefinite";
}

// What a stranger might send to cost time, stack or memory.
TEST(HostileTest, DeepIndefiniteNesting) {
    const auto levels = [](unsigned char tag) {
        Bytes bytes;
        for (int i = 0; i < 100000; ++i) {
            bytes.insert(bytes.end(), {tag, 0x80});
        }
        return bytes;
    };
    TestContext ctxt;
    Bytes bytes = levels(0x30);
    ctxt.read(bytes);
    EXPECT_EQ(xd_NextElement(&ctxt), -2);
    EXPECT_EQ(xd_indeflen_ex(bytes.data(), static_cast<int>(bytes.size())), -2);
    bytes.resize(2 * bytes.size(), 0);
    ctxt.read(bytes);
    EXPECT_EQ(xd_NextElement(&ctxt), 0) << "every level takes two bytes, and no more";
    EXPECT_EQ(ctxt.bufIndex, ctxt.bufSize);
    ctxt.read(levels(0x24));
    const unsigned char* data;
    std::uint32_t count;
    EXPECT_EQ(xd_octstr(&ctxt, &data, &count, 1, 0), -21);
    int contents;
    int total;
    ctxt.bufIndex = 0;
    EXPECT_EQ(xd_consStrIndefLenAndSize(&ctxt, 0x20000004, &contents, &total), -2);
}

// Each reader that makes a block, with its tag.
template <auto Read>
int bytes_read(ASN1CTXT* ctxt) {
    const unsigned char* data;
    std::uint32_t count;
    return Read(ctxt, &data, &count, 1, 0);
}

template <auto Read, class Value, auto... Tag>
int value_read(ASN1CTXT* ctxt) {
    Value value;
    return Read(ctxt, &value, 1, Tag..., 0);
}

const std::pair<unsigned char, int (*)(ASN1CTXT*)> kBlockReaders[] = {
    {4, bytes_read<xd_octstr>},
    {3, bytes_read<xd_bitstr>},
    {22, value_read<xd_charstr, const char*, 22>},
    {2, value_read<xd_bigint, const char*>},
    {30, value_read<xd_16BitCharStr, ASN1TBMPText, 30>}};

TEST(HostileTest, ReadersTakeNoMemoryThatTheyMayNotHave) {
    for (const auto& [tag, read] : kBlockReaders) {
        SCOPED_TRACE(tag);
        TestContext ctxt;
        ctxt.read({tag, 2, 0, 1});
        ctxt.typeHeap->budget = 10;
        EXPECT_EQ(read(&ctxt), -12);
        Bytes promising = bytes_of("00 84 7F FF FF F0 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
        promising[0] = tag;
        for (const std::uint16_t flags : {std::uint16_t{0}, ctxFlagNoLengthCheck}) {
            ctxt.read(promising);
            ctxt.flags = flags;
            ctxt.typeHeap->budget = 1000;
            EXPECT_EQ(read(&ctxt), flags == 0 ? -5 : -2);
            EXPECT_GT(ctxt.typeHeap->budget, 900U);
        }
    }
}

} // namespace
