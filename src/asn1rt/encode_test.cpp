// The encode buffer, tags, lengths, open types and the order of a SET OF.
#include <chronoseal/asn1rt/encode.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <random>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

class EncodeTest : public testing::Test {
protected:
    EncodeTest() { xe_setp(&ctxt, nullptr, 0); }
    TestContext ctxt;
};

TEST_F(EncodeTest, LengthOctets) {
    using Row = std::pair<int, const char*>;
    for (const auto& [length, bytes] :
         {Row{0, "00"}, Row{127, "7F"}, Row{128, "81 80"}, Row{255, "81 FF"}, Row{256, "82 01 00"},
          Row{65536, "83 01 00 00"}, Row{INT_MAX, "84 7F FF FF FF"}, Row{-9999, "80"}}) {
        EXPECT_EQ(ctxt.written(xe_len(&ctxt, length)), bytes_of(bytes));
        if (length == INT_MAX) {
            continue;
        }
        const int contents = std::max(length, 0);
        const Bytes expected = bytes_of(std::string("30") + bytes);
        const int whole = xe_tag_len(&ctxt, 0x20000010, length);
        EXPECT_EQ(whole, contents + static_cast<int>(expected.size()));
        EXPECT_EQ(ctxt.written(static_cast<int>(expected.size())), expected);
    }
    EXPECT_EQ(xe_len(&ctxt, -5), 0);
    const std::uint32_t before = ctxt.bufIndex;
    EXPECT_EQ(xe_tag_len(&ctxt, 0x20000010, -5), -5) << "a failure passes through";
    EXPECT_EQ(xe_tag_len(&ctxt, 0x20000010, INT_MAX), -5);
    EXPECT_EQ(ctxt.bufIndex, before);
}

TEST_F(EncodeTest, TagOctets) {
    using Row = std::pair<std::uint32_t, const char*>;
    for (const auto& [given, bytes] :
         {Row{0x20000010, "30"}, Row{0xA0000000, "A0"}, Row{0x80000001, "81"},
          Row{0x4000001E, "5E"}, Row{31, "1F 1F"}, Row{127, "1F 7F"}, Row{128, "1F 81 00"},
          Row{0xFFFFFFFF, "FF 81 FF FF FF 7F"}}) {
        EXPECT_EQ(ctxt.written(xe_tag(&ctxt, given)), bytes_of(bytes));
        std::uint32_t tag = 0;
        ctxt.read(bytes_of(bytes));
        EXPECT_EQ(xd_tag(&ctxt, &tag), 0);
        EXPECT_EQ(tag, given);
        xe_setp(&ctxt, nullptr, 0);
    }
    EXPECT_EQ(ctxt.written(xe_identifier(&ctxt, UINT32_MAX)), bytes_of("8F FF FF FF 7F"));
    EXPECT_EQ(ctxt.written(xe_identifier(&ctxt, 0)), bytes_of("00"));
}

TEST(FixedBufferTest, TheLastByteIsNeverUsed) {
    TestContext ctxt;
    unsigned char storage[5] = {9, 9, 9, 9, 9};
    const unsigned char bytes[] = {1, 2, 3, 4, 5};
    ASSERT_EQ(xe_setp(&ctxt, storage, sizeof storage), 0);
    EXPECT_EQ(xe_memcpy(&ctxt, bytes, 4), 4) << "down to index 0";
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(storage[4], 9);
    EXPECT_EQ(xe_memcpy(&ctxt, bytes, 1), -1);
    EXPECT_EQ(xe_memcpy(&ctxt, bytes, 2), -1);
    EXPECT_EQ(xe_memcpy(&ctxt, bytes, 0), 0);
    EXPECT_EQ(xe_memcpy(&ctxt, bytes, -1), -18);
    EXPECT_EQ(xe_expandBuffer(&ctxt, 1), -1);
    // The length fits and the tag doesn't: what was written stays.
    ASSERT_EQ(xe_setp(&ctxt, storage, 2), 0);
    EXPECT_EQ(xe_tag_len(&ctxt, 0x20000010, 0), -1);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(storage[0], 0);
    for (const int size : {0, -1}) {
        ASSERT_EQ(xe_setp(&ctxt, storage, size), 0);
        EXPECT_EQ(xe_null(&ctxt, 1), -1) << "no byte to write to";
        EXPECT_EQ(xe_null(&ctxt, 0), 0);
    }
}

TEST(FixedBufferTest, EveryWriterReportsIt) {
    TestContext ctxt;
    unsigned char storage[3];
    const int number = 100000;
    const unsigned int natural = 100000;
    const unsigned short small = 40000;
    const unsigned char bytes[] = {2, 1, 5};
    const ASN1OBJID oid{4, {1, 2, 840, 113549}};
    const std::uint16_t wide[] = {1, 2};
    const ASN1TBMPText text{2, wide};
    for (const int tagging : {0, 1}) {
        const std::function<int()> writers[] = {
            [&] { return xe_integer(&ctxt, &number, tagging); },
            [&] { return xe_unsigned(&ctxt, &natural, tagging); },
            [&] { return xe_uint16(&ctxt, &small, tagging); },
            [&] { return xe_enum(&ctxt, &number, tagging); },
            [&] { return xe_octstr(&ctxt, bytes, 3, tagging); },
            [&] { return xe_bitstr(&ctxt, bytes, 24, tagging); },
            [&] { return xe_bitstr(&ctxt, bytes, 16, tagging); },
            [&] { return xe_charstr(&ctxt, "abc", tagging, 22); },
            [&] { return xe_objid(&ctxt, &oid, tagging); },
            [&] { return xe_16BitCharStr(&ctxt, &text, tagging, 30); },
            [&] { return xe_OpenType(&ctxt, bytes, 3); },
            [&] { return xe_identifier(&ctxt, 100000); }};
        for (const auto& write : writers) {
            xe_setp(&ctxt, storage, 3);
            EXPECT_EQ(write(), -1);
        }
    }
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

// However small the pieces are, a message is moved a few times only.
TEST_F(EncodeTest, GrowthTakesLinearTime) {
    const Bytes piece(50, 7);
    int moves = 0;
    for (int written = 0; written < 16'000'000; written += 50) {
        const unsigned char* before = ctxt.bufData;
        ASSERT_EQ(xe_memcpy(&ctxt, piece.data(), 50), 50);
        moves += ctxt.bufData != before ? 1 : 0;
    }
    EXPECT_LT(moves, 25);
    EXPECT_LT(ctxt.bufSize, 24'000'000U) << "nor does it take much more than it needs";
}

TEST_F(EncodeTest, GrowthKeepsTheMessage) {
    Bytes expected;
    std::mt19937 random(1);
    BufLocDescr descr{};
    for (int i = 0; i < 200; ++i) {
        const Bytes piece(random() % 2000 + 1, static_cast<unsigned char>(i));
        expected.insert(expected.begin(), piece.begin(), piece.end());
        const auto size = static_cast<int>(piece.size());
        ASSERT_EQ(xe_memcpy(&ctxt, piece.data(), size), size);
        if (i == 0) {
            xe_getBufLocDescr(&ctxt, static_cast<std::uint32_t>(size), &descr);
        }
    }
    EXPECT_EQ(ctxt.written(static_cast<int>(expected.size())), expected);
    EXPECT_EQ(descr.offset, descr.numocts) << "measured from the top, so growth doesn't matter";
    // A source that is part of the message follows it when the buffer moves.
    while (ctxt.bufIndex > 100) {
        xe_null(&ctxt, 1);
    }
    const Bytes front = ctxt.written(500);
    ASSERT_EQ(xe_memcpy(&ctxt, xe_getp(&ctxt), 500), 500);
    EXPECT_EQ(ctxt.written(500), front);
}

TEST_F(EncodeTest, OpenTypes) {
    using Row = std::tuple<const char*, const char*, int>;
    for (const auto& [name, hex, length] :
         {Row{"element", "02 01 05", 3}, Row{"bytes behind it", "02 01 05 FF", 3},
          Row{"longer than the bytes", "02 02 05", -5}, Row{"long form longer", "02 81 02 05", -5},
          Row{"2 GiB", "04 84 7F FF FF FF 00", -5}, Row{"end-of-contents", "00 00", -18},
          Row{"half a header", "30", -2}, Row{"indefinite", "30 80 02 01 05 00 00 FF", 7},
          Row{"indefinite and empty", "30 80 00 00", 4},
          Row{"indefinite without end", "30 80 02 01 05", -2},
          Row{"indefinite primitive", "04 80 00 00", -5}}) {
        SCOPED_TRACE(name);
        const Bytes bytes = bytes_of(hex);
        xe_setp(&ctxt, nullptr, 0);
        const int result =
            xe_OpenType(&ctxt, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        EXPECT_EQ(result, length);
        const auto count = static_cast<std::ptrdiff_t>(std::max(result, 0));
        EXPECT_EQ(ctxt.written(result), Bytes(bytes.begin(), bytes.begin() + count));
    }
    EXPECT_EQ(xe_OpenType(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xe_OpenType(&ctxt, nullptr, 1), -18);
    EXPECT_EQ(xe_OpenType(&ctxt, xe_getp(&ctxt) + 1, 0x80000000), -5);
    EXPECT_EQ(ctxt.errInfo.status, 0);
    xe_setp(&ctxt, nullptr, 0);
    xe_null(&ctxt, 1);
    const std::uint32_t before = ctxt.bufIndex;
    EXPECT_EQ(xe_OpenType(&ctxt, xe_getp(&ctxt), 2), 2);
    EXPECT_EQ(ctxt.bufIndex, before) << "encoded in place already";
}

TEST_F(EncodeTest, OpenTypeList) {
    const Bytes first = bytes_of("02 01 05");
    const Bytes second = bytes_of("05 00");
    ASN1TOpenType records[] = {{3, first.data()}, {2, second.data()}};
    rtDList list;
    rtDListInit(&list);
    EXPECT_EQ(xe_OpenTypeExt(&ctxt, nullptr), 0);
    EXPECT_EQ(xe_OpenTypeExt(&ctxt, &list), 0);
    rtDListAppend(&ctxt, &list, &records[0]);
    rtDListAppend(&ctxt, &list, nullptr);
    rtDListAppend(&ctxt, &list, &records[1]);
    EXPECT_EQ(ctxt.written(xe_OpenTypeExt(&ctxt, &list)), bytes_of("02 01 05 05 00"));
    records[0].numocts = 2;
    EXPECT_EQ(xe_OpenTypeExt(&ctxt, &list), -5);
    EXPECT_EQ(ctxt.errInfo.status, -5);
}

class SetOfTest : public EncodeTest {
protected:
    SetOfTest() { rtSListInitEx(&ctxt, &list); }

    void add(const Bytes& element) {
        const int length = xe_memcpy(&ctxt, element.data(), static_cast<int>(element.size()));
        auto* descr =
            static_cast<BufLocDescr*>(rtMemHeapAlloc(&ctxt.typeHeap, sizeof(BufLocDescr)));
        xe_getBufLocDescr(&ctxt, static_cast<std::uint32_t>(length), descr);
        rtSListAppend(&list, descr);
    }

    rtSList list;
};

TEST_F(SetOfTest, ShorterFirstOnACommonPrefix) {
    add(bytes_of("31 03"));
    add(bytes_of("02 01"));
    add(bytes_of("31 03 00"));
    add(bytes_of("02 01")); // equal elements stay
    EXPECT_EQ(ctxt.written(xe_derCanonicalSort(&ctxt, &list)),
              bytes_of("02 01 02 01 31 03 31 03 00"));
    EXPECT_EQ(list.count, 0U);
    EXPECT_EQ(xe_derCanonicalSort(&ctxt, &list), 0);
    EXPECT_EQ(xe_derCanonicalSort(&ctxt, nullptr), 0);
}

// As many as make a sort of quadratic time, or one that recurs too deeply, stand out.
TEST_F(SetOfTest, AgreesWithTheOrderOfBytes) {
    std::mt19937 random(2);
    std::vector<Bytes> elements(50'000);
    for (Bytes& element : elements) {
        element.resize(random() % 4 + 1);
        std::generate(element.begin(), element.end(),
                      [&] { return static_cast<unsigned char>(random() % 3); });
        add(element);
    }
    std::sort(elements.begin(), elements.end());
    Bytes expected;
    for (const Bytes& element : elements) {
        expected.insert(expected.end(), element.begin(), element.end());
    }
    EXPECT_EQ(ctxt.written(xe_derCanonicalSort(&ctxt, &list)), expected);
}

TEST_F(SetOfTest, WithoutMemory) {
    add(bytes_of("04 01 02"));
    add(bytes_of("04 01 03"));
    ctxt.typeHeap->budget = 10;
    EXPECT_EQ(xe_derCanonicalSort(&ctxt, &list), -12);
    EXPECT_EQ(list.count, 2U);
    ctxt.typeHeap->budget = rtMemHeapUnlimited;
    EXPECT_EQ(ctxt.written(xe_derCanonicalSort(&ctxt, &list)), bytes_of("04 01 02 04 01 03"));
}

TEST_F(SetOfTest, DescriptorsThatLie) {
    for (const BufLocDescr& wrong :
         {BufLocDescr{5, 4}, BufLocDescr{1, 1U << 31}, BufLocDescr{16383, 16383}}) {
        BufLocDescr descr = wrong;
        TestContext other;
        ASSERT_EQ(xe_setp(&other, nullptr, 0), 0);
        xe_null(&other, 1);
        rtSList one;
        rtSListInitEx(&other, &one);
        rtSListAppend(&one, &descr);
        EXPECT_EQ(xe_derCanonicalSort(&other, &one), -18);
    }
}

} // namespace
