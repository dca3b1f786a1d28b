#include <chronoseal/base/blob.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include <basalt/last_error.h>
#include <chronoseal/base/heap.h>
#include <chronoseal/base/test_code.h>

namespace Halcyon {
namespace {

CBlob blob_of(const std::string& bytes) {
    return CBlob(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string bytesOf(const CBlob& blob) {
    return {reinterpret_cast<const char*>(blob.pbData()), blob.cbData()};
}

std::string temporary_path(const char* name) {
    return testing::TempDir() + name + std::to_string(::getpid());
}

TEST(ResultFromLastError, MapsPositiveValuesOnly) {
    struct Case {
        DWORD error;
        std::uint32_t code;
    };
    for (const auto& [error, code] :
         {Case{0x570, 0x80070570}, Case{0x80090008, 0x80090008}, Case{0, 0},
          Case{0x00012345, 0x80072345}, Case{0x7FFFFFFF, 0x8007FFFF}}) {
        SetLastError(error);
        EXPECT_EQ(static_cast<std::uint32_t>(result_from_last_error()), code);
        EXPECT_CODE(code, throw_last_error());
    }
    SetLastError(0);
    EXPECT_EQ(result_from_last_error(hr(0xC2100100)), hr(0xC2100100));
}

TEST(Blob, AssignsFromInsideItself) {
    auto blob = blob_of("abcdef");
    blob.assign(blob.pbData() + 2, 3);
    EXPECT_EQ(bytesOf(blob), "cde");
    blob = *&blob;
    EXPECT_EQ(bytesOf(blob), "cde");
    blob.assign(blob.pbData(), 0);
    EXPECT_EQ(blob.pbData(), nullptr);
}

TEST(Blob, ClearKeepsTheBlockButLosesTheContent) {
    auto blob = blob_of("abc");
    auto* const block = blob.pbData();
    blob.clear();
    EXPECT_EQ(blob.cbData(), 0u);
    EXPECT_EQ(blob.pbData(), block);
    blob.resize_to(3); // growth is decided against the length of 0: a new block, of any content
    EXPECT_EQ(blob.cbData(), 3u);
}

TEST(Blob, ShrinksInPlaceAndGrowsWithTheHead) {
    auto blob = blob_of("abcdef");
    auto* const block = blob.pbData();
    blob.resize_to(2);
    EXPECT_EQ(blob.pbData(), block);
    blob.resize_to(6);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(blob.pbData()), 2), "ab");
}

TEST(Blob, ZeroSizedBlockEqualsTheEmptyBlob) {
    const CBlob zero(0ul);
    EXPECT_NE(zero.pbData(), nullptr);
    EXPECT_TRUE(zero == CBlob());
    EXPECT_EQ(bytesOf(CBlob(3ul)), std::string(3, '\0'));
}

TEST(Blob, AppendsAlsoToItself) {
    auto blob = blob_of("ab");
    blob += blob_of("cd");
    blob += CBlob();
    EXPECT_EQ(bytesOf(blob), "abcd");
    blob += blob;
    EXPECT_EQ(bytesOf(blob), "abcdabcd");
}

TEST(Blob, OrdersByUnsignedBytesAndPutsAPrefixFirst) {
    const std::string ordered[] = {"",
                                   std::string("\0", 1),
                                   "\x01",
                                   std::string("\x01\x02"),
                                   std::string("\x01\x02\0", 3),
                                   "\x01\xFF",
                                   "\x02"};
    for (std::size_t i = 0; i < std::size(ordered); ++i) {
        for (std::size_t j = 0; j < std::size(ordered); ++j) {
            const auto a = blob_of(ordered[i]);
            const auto b = blob_of(ordered[j]);
            EXPECT_EQ(a < b, i < j);
            EXPECT_EQ(a <= b, i <= j);
            EXPECT_EQ(a > b, i > j);
            EXPECT_EQ(a >= b, i >= j);
            EXPECT_EQ(a == b, i == j);
            EXPECT_EQ(a != b, i != j);
        }
    }
}

TEST(Blob, ReversesInPlace) {
    for (const auto& [from, to] :
         {std::pair{"", ""}, std::pair{"a", "a"}, std::pair{"abc", "cba"}}) {
        auto blob = blob_of(from);
        blob.reverse();
        EXPECT_EQ(bytesOf(blob), to);
    }
}

TEST(BlobHex, ReadsPairsUntilSomethingElseStands) {
    struct Case {
        const char* text;
        std::string bytes;
    };
    for (const auto& [text, bytes] :
         {Case{"AB cd\t12", "\xAB\xCD\x12"}, Case{"ABC", "\xAB"}, Case{"GG", ""},
          Case{"  0f\n", "\x0F"}, Case{"A B", ""}, Case{"01g2", "\x01"}, Case{"", ""},
          Case{"00ff", std::string("\0\xFF", 2)}}) {
        auto blob = blob_of("previous content");
        blob.readFromHexString(text);
        EXPECT_EQ(bytesOf(blob), bytes) << text;
    }
}

TEST(BlobHex, WritesBlanksBetweenGroupsOnly) {
    EXPECT_STREQ(blob_of("\x0A\xFF").writeToHexString(0).c_str(), "0AFF");
    EXPECT_STREQ(blob_of("\x0A\xFF").writeToHexString(1).c_str(), "0A FF");
    EXPECT_STREQ(blob_of("\x01\x02\x03\x04\x05").writeToHexString(4).c_str(), "01020304 05");
    EXPECT_STREQ(CBlob().writeToHexString(1).c_str(), "");
}

TEST(BlobFile, GoesRoundByNarrowAndWidePath) {
    const auto path = temporary_path("blob-\xC3\xA9-");
    const auto content = blob_of(std::string("a\0b", 3));
    content.writeToFile(path.c_str());
    CBlob read;
    read.readFromFile(path.c_str());
    EXPECT_EQ(read, content);

    std::wstring wide;
    for (const char c : testing::TempDir()) {
        wide += static_cast<wchar_t>(c);
    }
    wide += L"blob-\u00e9-" + std::to_wstring(::getpid());
    read.clear();
    read.readFromFile(wide.c_str());
    EXPECT_EQ(read, content);
    CBlob().writeToFile(wide.c_str());
    read.readFromFile(path.c_str());
    EXPECT_EQ(read.cbData(), 0u);
    EXPECT_EQ(read.pbData(), nullptr);
    std::remove(path.c_str());
}

TEST(BlobFile, TellsMissingFromUnreadable) {
    auto blob = blob_of("old");
    EXPECT_CODE(0x80070002u, blob.readFromFile("/nowhere/at/all"));
    EXPECT_EQ(blob.cbData(), 0u);
    blob = blob_of("old");
    EXPECT_CODE(0x80070570u, blob.readFromFile("/"));
    EXPECT_EQ(blob.cbData(), 0u);
    EXPECT_CODE(0x80070002u, blob.writeToFile("/nowhere/at/all"));
    EXPECT_CODE(0x80070002u, blob.readFromFile(L"/nowhere"));
    // What can't be converted to the code page: the platform's own code.
    const wchar_t* const none = nullptr;
    EXPECT_CODE(0x80070057u, blob.readFromFile(none));
    EXPECT_CODE(0x80070057u, blob.writeToFile(none));
}

TEST(StringProxy, OwnsACopyAndTakesNull) {
    std::string text = "one";
    CStringProxy proxy(text.c_str());
    CStringProxy copy(proxy);
    text = "two";
    proxy = CStringProxy("three");
    EXPECT_STREQ(copy.c_str(), "one");
    EXPECT_STREQ(proxy.c_str(), "three");
    EXPECT_STREQ(CStringProxy(nullptr).c_str(), "");
    CWStringProxy wide(L"x");
    const CWStringProxy wide_copy(wide);
    wide = CWStringProxy(nullptr);
    EXPECT_STREQ(wide_copy.c_str(), L"x");
    EXPECT_STREQ(wide.c_str(), L"");
}

TEST(Heap, IsTheCLibrarys) {
    auto* block = static_cast<char*>(HY_calloc(4, 2));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, 8), std::string(8, '\0'));
    block = static_cast<char*>(HY_realloc(block, 64));
    std::free(block);
    HY_free(std::malloc(3));
    HY_free(HY_malloc(3));
}

} // namespace
} // namespace Halcyon
