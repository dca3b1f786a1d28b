// Open types, lists of them, and copies of values.
#include <cstring>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/copy.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

TEST(OpenTypeTest, OneElement) {
    using Row = std::tuple<const char*, const char*, int, std::uint32_t>;
    for (const auto& [name, bytes, status, expected] :
         {Row{"definite", "02 01 05 FF", 0, 3}, Row{"indefinite", "30 80 05 00 00 00 FF", 0, 6},
          Row{"nothing", "", 0, 0}, Row{"half a header is nothing", "1F", 0, 0},
          Row{"no end-of-contents", "30 80 05 00", 0, 4}, Row{"overrun", "02 05 01", -18, 2},
          Row{"end-of-contents", "00 00", -18, 2}, Row{"bad length", "30 85 00", -5, 0},
          Row{"bad tag", "1F FF FF FF FF FF", -21, 0}}) {
        SCOPED_TRACE(name);
        for (const std::uint16_t flags : {std::uint16_t{0}, ctxFlagNoCopy}) {
            TestContext ctxt;
            ctxt.read(bytes_of(bytes));
            ctxt.flags = flags;
            const unsigned char* data = nullptr;
            std::uint32_t count = 77;
            EXPECT_EQ(xd_OpenType(&ctxt, &data, &count), status);
            EXPECT_EQ(count, expected);
            if (count != 0) {
                EXPECT_EQ(std::memcmp(data, ctxt.message.data(), count), 0);
                EXPECT_EQ(data == ctxt.message.data(), flags == ctxFlagNoCopy);
            }
        }
    }
    TestContext ctxt;
    ctxt.read(bytes_of("05 00"));
    ctxt.typeHeap->budget = 10;
    const unsigned char* data = nullptr;
    std::uint32_t count;
    EXPECT_EQ(xd_OpenType(&ctxt, &data, &count), -12);
    EXPECT_EQ(count, 0U);
    rtDList list;
    rtDListInit(&list);
    EXPECT_EQ(xd_OpenTypeAppend(&ctxt, &list), -12);
    EXPECT_EQ(ctxt.errInfo.status, -12);
}

class ExtensionTest : public testing::Test {
protected:
    int read(const char* hex, int length, std::uint32_t nextTag = 0xFFFFFFFF) {
        rtDListInit(&list);
        rtErrReset(&ctxt.errInfo);
        ctxt.read(bytes_of(hex));
        const ElementLocation location = rtContentLocation(&ctxt, length);
        return xd_OpenTypeExt(&ctxt, &location, nextTag, &list);
    }
    TestContext ctxt;
    rtDList list{};
};

TEST_F(ExtensionTest, UntilTheContentsEnd) {
    EXPECT_EQ(read("02 01 05 05 00 FF", 5), 0);
    EXPECT_EQ(list.count, 2U);
    EXPECT_EQ(read("02 01 05 05 00 00 00", rtIndefiniteLength), 0);
    EXPECT_EQ(list.count, 2U);
    EXPECT_EQ(ctxt.bufIndex, 5U);
    auto* last = static_cast<ASN1TOpenType*>(list.tail->data);
    EXPECT_EQ(Bytes(last->data, last->data + last->numocts), bytes_of("05 00"));
    EXPECT_EQ(static_cast<void*>(list.tail + 1), list.tail->data) << "node and record in one block";
    ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(ctxt.written(xe_OpenTypeExt(&ctxt, &list)), bytes_of("02 01 05 05 00"));
    rtMemFreeOpenSeqExt(&ctxt, &list);
    EXPECT_EQ(list.count, 0U);
    ctxt.flags = ctxFlagNoCopy;
    EXPECT_EQ(read("02 01 05 05 00", 5), 0);
    rtMemFreeOpenSeqExt(&ctxt, &list); // the bytes are the message's
    EXPECT_EQ(list.count, 0U);
    ctxt.flags = 0;
    rtMemFreeOpenSeqExt(&ctxt, nullptr);
    rtMemFreeOpenSeqExt(nullptr, &list);
}

TEST_F(ExtensionTest, UntilAKnownElement) {
    EXPECT_EQ(read("02 01 05 05 00 A1 00", 7, 0x80000001), 0);
    EXPECT_EQ(list.count, 2U);
    EXPECT_EQ(ctxt.bufIndex, 5U) << "the cursor stands on it";
    EXPECT_EQ(read("02 01 05", 3, 0x80000001), -2) << "it didn't come";
    EXPECT_EQ(ctxt.errInfo.status, -2);
    EXPECT_EQ(read("02 81", 2, 0x80000001), -2) << "half a header is an element of no bytes";
    EXPECT_EQ(list.count, 1U);
}

TEST_F(ExtensionTest, Failures) {
    EXPECT_EQ(read("02 05 01", 3), -18);
    EXPECT_EQ(ctxt.errInfo.status, -18);
    ctxt.flags = ctxFlagIndefMessage | ctxFlagLastEoc;
    EXPECT_EQ(read("02 01 05", 3), -2) << "no endless loop over an element that doesn't move";
    ctxt.flags = 0;
    ctxt.read(bytes_of("02 01 05 02 05"));
    EXPECT_EQ(xd_OpenTypeAppend(&ctxt, nullptr), 0) << "skipped";
    EXPECT_EQ(ctxt.bufIndex, 3U);
    EXPECT_EQ(xd_OpenTypeAppend(&ctxt, nullptr), -2);
}

// A copy of `count` units in `bytes` bytes; of none it is a null pointer.
template <typename Record, typename Unit, typename Count>
void copies(int (*copy)(ASN1CTXT*, const Record*, Record*), Count Record::*count, Count units,
            std::size_t bytes) {
    TestContext ctxt;
    const Unit data[] = {1, 2, 3};
    Record source{};
    source.*count = units;
    source.data = data;
    Record target{};
    EXPECT_EQ(copy(&ctxt, &source, &target), 1);
    EXPECT_EQ(target.*count, units);
    EXPECT_NE(target.data, data);
    EXPECT_EQ(std::memcmp(target.data, data, bytes), 0);
    EXPECT_EQ(ctxt.typeHeap->blockList->size, static_cast<std::int64_t>(bytes));
    source.*count = 0;
    EXPECT_EQ(copy(&ctxt, &source, &target), 1);
    EXPECT_EQ(target.data, nullptr);
    EXPECT_EQ(target.*count, Count{0});
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

TEST(CopyTest, EachRecord) {
    using Byte = unsigned char;
    copies<ASN1TDynOctStr, Byte>(rtCopyDynOctStr, &ASN1TDynOctStr::numocts, 3U, 3);
    copies<ASN1TOpenType, Byte>(rtCopyOpenType, &ASN1TOpenType::numocts, 3U, 3);
    copies<ASN1TDynBitStr, Byte>(rtCopyDynBitStr, &ASN1TDynBitStr::numbits, 17U, 3);
    copies<ASN1TBMPText, std::uint16_t>(rtCopy16BitCharStr, &ASN1TBMPText::nchars, 2U, 4);
    copies<ASN1TUniversalText, std::uint32_t>(rtCopy32BitCharStr, &ASN1TUniversalText::nchars, 2U,
                                              8);
    TestContext ctxt;
    const char* text = nullptr;
    EXPECT_EQ(rtCopyCharStr(&ctxt, "abc", &text), 1);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(rtCopyCharStr(&ctxt, nullptr, &text) + rtCopyCharStr(&ctxt, "", nullptr), 0);
    const ASN1OBJID oid{3, {1, 2, 3}};
    ASN1OBJID oid_copy{};
    EXPECT_EQ(rtCopyOID(&ctxt, &oid, &oid_copy), 1);
    EXPECT_TRUE(oid == oid_copy);
    EXPECT_EQ(rtCopyOID(&ctxt, nullptr, &oid_copy), 0);
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

TEST(CopyTest, FixedArrays) {
    const unsigned char bytes[] = {1, 2, 3};
    unsigned char target[3] = {};
    std::uint32_t count = 9;
    EXPECT_EQ(rtCopyOctStr(nullptr, 0, bytes, &count, target), 0);
    EXPECT_EQ(count, 9U);
    EXPECT_EQ(rtCopyOctStr(nullptr, 2, nullptr, &count, target), 0);
    EXPECT_EQ(rtCopyOctStr(nullptr, 2, bytes, &count, target), 1);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(rtCopyBitStr(nullptr, 0, bytes, &count, target), 0);
    EXPECT_EQ(rtCopyBitStr(nullptr, 17, bytes, &count, target), 1);
    EXPECT_EQ(count, 17U);
    EXPECT_EQ(std::memcmp(bytes, target, 3), 0);
}

TEST(CopyTest, WithoutMemory) {
    TestContext ctxt;
    const unsigned char bytes[] = {1, 2, 3};
    ASN1TOpenType source{3, bytes};
    ASN1TOpenType target{1, bytes};
    rtDList list{};
    rtDList copy{};
    rtDListAppend(&ctxt, &list, nullptr);
    rtDListAppend(&ctxt, &list, &source);
    EXPECT_EQ(rtCopyOpenTypeExt(&ctxt, &list, &copy), 1);
    EXPECT_EQ(copy.count, 1U) << "a node without a record is left out";
    EXPECT_EQ(rtCopyOpenTypeExt(&ctxt, nullptr, &copy), 0);
    for (const std::uint64_t budget : {std::uint64_t{10}, std::uint64_t{100}}) {
        ctxt.typeHeap->budget = budget;
        rtErrReset(&ctxt.errInfo);
        EXPECT_EQ(rtCopyOpenTypeExt(&ctxt, &list, &copy), 0);
        EXPECT_EQ(ctxt.errInfo.status, -12);
    }
    const char* text = nullptr;
    ctxt.typeHeap->budget = 10;
    EXPECT_EQ(rtCopyCharStr(&ctxt, "abc", &text), 0);
    EXPECT_EQ(rtCopyOpenType(&ctxt, &source, &target), 0);
    EXPECT_EQ(target.data, nullptr);
    EXPECT_EQ(target.numocts, 0U);
    ctxt.typeHeap->budget = rtMemHeapUnlimited;
    rtErrReset(&ctxt.errInfo);
    source.data = nullptr;
    EXPECT_EQ(rtCopyOpenType(&ctxt, &source, &target), 0);
    EXPECT_EQ(ctxt.errInfo.status, -18);
}

} // namespace
