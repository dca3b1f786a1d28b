// Growth of memory buffers, and what becomes of lent storage.
#include <chronoseal/asn1rt/memory_buffer.h>

#include <malloc.h>

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

const unsigned char* text(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

std::string contents(const rtMemBuf& buffer) {
    std::uint32_t length = 0;
    const unsigned char* data = rtMemBufGetData(&buffer, &length);
    return std::string(data, data + length);
}

TEST(MemoryBufferTest, GrowsInSegments) {
    TestContext ctxt;
    rtMemBuf buffer;
    rtMemBufInit(&ctxt, &buffer, 10);
    EXPECT_EQ(rtMemBufAppend(&buffer, text("x"), 0), 0);
    EXPECT_EQ(buffer.capacity, 0U);
    EXPECT_EQ(rtMemBufAppend(&buffer, text("0123456789"), 10), 0);
    EXPECT_EQ(buffer.capacity, 10U);
    EXPECT_EQ(rtMemBufAppend(&buffer, nullptr, 1), 0);
    EXPECT_EQ(buffer.capacity, 20U);
    EXPECT_EQ(buffer.usedLength, 10U) << "room only";
    EXPECT_EQ(rtMemBufSet(&buffer, 'z', 3), 0);
    EXPECT_EQ(rtMemBufSet(&buffer, 'z', 0), 0);
    EXPECT_EQ(rtMemBufPreAllocate(&buffer, 0), 0);
    EXPECT_EQ(rtMemBufPreAllocate(&buffer, 100), 0);
    EXPECT_EQ(buffer.capacity, 120U);
    EXPECT_EQ(contents(buffer), "0123456789zzz");
    buffer.startIndex = 10;
    EXPECT_EQ(contents(buffer), "zzz");
    EXPECT_NE(rtMemBufGetData(&buffer, nullptr), nullptr);
    EXPECT_EQ(rtMemBufAppend(&buffer, text("x"), UINT32_MAX), rtStatusNoMemory);
    EXPECT_EQ(rtMemBufSet(&buffer, 0, UINT32_MAX), rtStatusNoMemory);
    rtMemBufReset(&buffer);
    EXPECT_EQ(contents(buffer), "");
    EXPECT_EQ(buffer.capacity, 120U);
    rtMemBufFree(&buffer);
}

TEST(MemoryBufferTest, AppendsItsOwnBytes) {
    g_free_func = [](void*, void* block) {
        std::memset(block, 'x', malloc_usable_size(block));
        std::free(block);
    };
    TestContext ctxt;
    rtMemBuf buffer;
    rtMemBufInit(&ctxt, &buffer, 4);
    ASSERT_EQ(rtMemBufAppend(&buffer, text("abcd"), 4), 0);
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(rtMemBufAppend(&buffer, buffer.data + 1, buffer.usedLength - 1), 0);
    }
    EXPECT_EQ(contents(buffer).substr(0, 10), "abcdbcdbcd");
    EXPECT_EQ(buffer.usedLength, 49U);
    g_free_func = rtDefaultFree;
}

TEST(MemoryBufferTest, LentStorageIsLeftBehindWithItsBytes) {
    TestContext ctxt;
    unsigned char lent[4];
    rtMemBuf buffer{&ctxt, 8, 0, 0, sizeof lent, lent, 0};
    EXPECT_EQ(rtMemBufAppend(&buffer, text("abcd"), 4), 0);
    EXPECT_EQ(buffer.data, lent);
    rtMemBufFree(&buffer);
    EXPECT_EQ(rtMemBufAppend(&buffer, text("ef"), 2), 0);
    EXPECT_EQ(buffer.isDynamic, 1);
    EXPECT_EQ(contents(buffer), std::string("\0\0\0\0ef", 6));
    rtMemBufFree(&buffer);
    rtMemBufInit(&ctxt, &buffer, 0);
    EXPECT_EQ(rtMemBufAppend(&buffer, text("abc"), 3), 0);
    EXPECT_EQ(contents(buffer), "abc");
}

} // namespace
