#include <chronoseal/atl/string.h>

#include <string>

#include <gtest/gtest.h>

#include <chronoseal/base/test_code.h>

namespace ATL {
namespace {

using Halcyon::code_of;

std::string text_of(const CStringA& text) {
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

std::wstring text_of(const CStringW& text) {
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

TEST(CStringA, CopiesShareUntilOneIsWritten) {
    const CStringA original("abc");
    CStringA copy(original);
    EXPECT_EQ(copy.GetString(), original.GetString());
    copy.PrepareWrite(3)[0] = 'x';
    EXPECT_EQ(text_of(original), "abc");
    EXPECT_EQ(text_of(copy), "xbc");
}

TEST(CStringA, EmptyStringsShareTheNilString) {
    const CStringA a;
    CStringA b("text");
    b.Empty();
    EXPECT_EQ(a.GetString(), b.GetString());
    EXPECT_STREQ(b.GetString(), "");
}

TEST(CStringA, GrowsByDoublingAndThenBySteps) {
    auto grown_from = [](int capacity, int wanted) {
        CStringA text;
        text.PrepareWrite(1);
        while (text.GetAllocLength() < capacity) {
            text.PrepareWrite(text.GetAllocLength() + 1);
        }
        text.PrepareWrite(wanted);
        return text.GetAllocLength();
    };
    CStringA text;
    text.PrepareWrite(1);
    EXPECT_EQ(text.GetAllocLength(), 7);
    text.PrepareWrite(1020);
    EXPECT_EQ(text.GetAllocLength(), 1023);
    text.PrepareWrite(1024); // doubled, and rounded up to one below a multiple of 8
    EXPECT_EQ(text.GetAllocLength(), 2047);
    text.PrepareWrite(2048);
    EXPECT_EQ(text.GetAllocLength(), 3071);
    EXPECT_EQ(grown_from(7, 5000), 5007);
}

TEST(CStringA, SetsTextFromItsOwnBuffer) {
    CStringA text("0123456789");
    text.SetString(text.GetString() + 4, 3);
    EXPECT_EQ(text_of(text), "456");
    CStringA shared("0123456789");
    const CStringA other(shared); // the buffer has to move
    shared.SetString(shared.GetString() + 2, 8);
    EXPECT_EQ(text_of(shared), "23456789");
    EXPECT_EQ(text_of(other), "0123456789");
    // More than the string holds from there on: zeros, also where the buffer has to grow for them.
    shared.SetString(shared.GetString() + 2, 7);
    EXPECT_EQ(text_of(shared), std::string("456789\0", 7));
    CStringA grown("0123456789");
    grown.SetString(grown.GetString() + 9, 3000);
    EXPECT_EQ(text_of(grown), "9" + std::string(2999, '\0'));
    grown.SetString(grown.GetString() + grown.GetLength(), 2);
    EXPECT_EQ(text_of(grown), std::string(2, '\0'));
}

TEST(CStringA, RefusesBadLengths) {
    CStringA text("abc");
    EXPECT_CODE(0x80070057u, text.SetLength(-1));
    EXPECT_CODE(0x80070057u, text.SetLength(text.GetAllocLength() + 1));
    EXPECT_CODE(0x80070057u, text.SetString(nullptr, 1));
    EXPECT_CODE(0x80070057u, text.SetString("x", -1));
    EXPECT_EQ(text_of(text), "abc");
}

TEST(CStringA, LockedBufferStaysInItsPlace) {
    CStringA text("abc");
    const auto* const place = text.Lock();
    const CStringA copy(text); // takes a buffer of its own
    EXPECT_NE(copy.GetString(), place);
    EXPECT_EQ(text_of(copy), "abc");
    text.Empty();
    EXPECT_EQ(text.GetString(), place);
    EXPECT_EQ(text.GetLength(), 0);
    CStringA assigned("before");
    assigned = text;
    EXPECT_EQ(assigned.GetLength(), 0);
}

TEST(CStringA, ConvertsWideTextToUtf8) {
    CStringA text("old");
    text = L"a\u00e9\U0001F600";
    EXPECT_EQ(text_of(text), "a\xC3\xA9\xF0\x9F\x98\x80");
    text = static_cast<const wchar_t*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    text = L"";
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CStringW, Replaces) {
    using Case = std::tuple<std::wstring, const wchar_t*, const wchar_t*, int, std::wstring>;
    std::wstring many;
    std::wstring long_text;
    for (int i = 0; i < 300; ++i) {
        many += L"a-";
        long_text += L"0123456789-";
    }
    for (const auto& [from, old, with, count, result] :
         {Case{many, L"a", L"0123456789", 300, long_text}, Case{L"aba", L"a", L"xy", 2, L"xybxy"},
          Case{L"aba", L"c", L"xy", 0, L"aba"}, Case{L"aaaa", L"aa", L"a", 2, L"aa"},
          Case{L"aba", L"a", nullptr, 2, L"b"}, Case{L"aba", L"", L"x", 0, L"aba"},
          Case{L"aba", nullptr, L"x", 0, L"aba"}, Case{L"", L"a", L"x", 0, L""},
          Case{std::wstring(L"a\0ab\0a", 6), L"a", L"yz", 3, std::wstring(L"yz\0yzb\0yz", 9)},
          Case{L"abc", L"abc", L"", 1, L""}}) {
        for (const bool shared : {false, true}) {
            CStringW text(from.c_str(), static_cast<int>(from.size()));
            const CStringW copy(shared ? text : CStringW());
            EXPECT_EQ(text.Replace(old, with), count);
            EXPECT_EQ(text_of(text), result);
            EXPECT_EQ(text_of(copy), shared ? from : std::wstring());
        }
    }
}

TEST(StringManager, AllocatesInEights) {
    for (const auto& [chars, capacity] : {std::pair{0, 7}, std::pair{7, 7}, std::pair{8, 15}}) {
        auto* const data = g_defaultStrMgr.Allocate(chars, 1);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->nAllocLength, capacity);
        EXPECT_EQ(data->nRefs, 1);
        data->Release();
    }
    EXPECT_EQ(g_defaultStrMgr.Allocate(-1, 1), nullptr);
    EXPECT_EQ(g_defaultStrMgr.Clone(), &g_defaultStrMgr);
    CCRTHeap heap;
    EXPECT_CODE(0x80004005u, heap.GetSize(nullptr));
    EXPECT_EQ(CFixedStringMgr::s_pLog, nullptr);
}

} // namespace
} // namespace ATL
