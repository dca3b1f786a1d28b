#include <basalt/text_conversion.h>

#include <basalt/last_error.h>

#include <gtest/gtest.h>

#include <string>

namespace {

// The two-call form, over exact heap buffers so that the sanitizer sees a unit too many.
std::string narrow(const std::wstring& text, DWORD flags = 0) {
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_ACP, flags, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, flags, text.data(), length, result.data(), size, nullptr,
                                  nullptr),
              size);
    return result;
}

std::wstring wide(const std::string& text) {
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, result.data(), size), size);
    return result;
}

struct Pair {
    std::wstring wide;
    std::string narrow;
};

const Pair kPairs[] = {
    {L"\\config\\cades", "\\config\\cades"},
    {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
    {L"\x7F\x80\x7FF\x800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
    {L"\xD7FF\xE000\xFFFF", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
    {L"\x10000\x10FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
};

struct IllFormed {
    std::string bytes;
    std::wstring replaced;
};

// The last four are the examples of the Unicode standard, tables 3-8 to 3-11.
const IllFormed kIllFormed[] = {
    {"\x80", L"\xFFFD"},
    {"\xE2\x82", L"\xFFFD"},
    {"\xE2\x82z", L"\xFFFDz"},
    {"\xFF\xFE", L"\xFFFD\xFFFD"},
    {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41",
     L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\x41"},
    {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41",
     L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\x41"},
    {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\x41\xFFFD\xFFFD\x42"},
    {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", L"\xFFFD\xFFFD\xFFFD\xFFFD\x41"},
};

} // namespace

TEST(TextConversion, BothDirections) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(narrow(pair.wide), pair.narrow);
        EXPECT_EQ(narrow(pair.wide, WC_ERR_INVALID_CHARS), pair.narrow);
        EXPECT_EQ(wide(pair.narrow), pair.wide);
    }
}

TEST(TextConversion, IllFormedTextIsReplacedOrRefused) {
    for (const IllFormed& bad : kIllFormed) {
        EXPECT_EQ(wide(bad.bytes), bad.replaced);
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bad.bytes.data(),
                                      static_cast<int>(bad.bytes.size()), nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), 1113U);
    }
    for (const wchar_t bad : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}}) {
        EXPECT_EQ(narrow(std::wstring(1, bad)), "\xEF\xBF\xBD");
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, &bad, 1, nullptr, 0, nullptr,
                                      nullptr),
                  0);
        EXPECT_EQ(GetLastError(), 1113U);
    }
}

TEST(TextConversion, EndMarkIsCountedForLengthMinusOne) {
    char buffer[4];
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"abc", -1, buffer, 4, nullptr, nullptr), 4);
    EXPECT_STREQ(buffer, "abc");
    wchar_t wide_buffer[4];
    EXPECT_EQ(MultiByteToWideChar(0, 0, "abc", -1, wide_buffer, 4), 4);
    EXPECT_STREQ(wide_buffer, L"abc");
}

TEST(TextConversion, SmallBufferIsNotOverrun) {
    char buffer[] = "####";
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(0, 0, L"\x20AC\x20AC", 2, buffer, 4, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 122U);
    wchar_t one[] = L"##";
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "ab", 2, one, 1), 0);
    EXPECT_EQ(GetLastError(), 122U);
    EXPECT_EQ(one[1], L'#');
}

TEST(TextConversion, BadArguments) {
    char buffer[8];
    BOOL used = FALSE;
    const auto code = [&](UINT page, DWORD flags, LPCWSTR text, int length, LPSTR out, int size,
                          LPCSTR fallback, LPBOOL used_fallback) {
        SetLastError(0);
        EXPECT_EQ(
            WideCharToMultiByte(page, flags, text, length, out, size, fallback, used_fallback), 0);
        return GetLastError();
    };
    EXPECT_EQ(code(0, 0, nullptr, 1, buffer, 8, nullptr, nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", 0, buffer, 8, nullptr, nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", -2, buffer, 8, nullptr, nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", 1, buffer, -1, nullptr, nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", 1, nullptr, 8, nullptr, nullptr), 87U);
    EXPECT_EQ(code(1251, 0, L"a", 1, buffer, 8, nullptr, nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", 1, buffer, 8, "?", nullptr), 87U);
    EXPECT_EQ(code(0, 0, L"a", 1, buffer, 8, nullptr, &used), 87U);
    EXPECT_EQ(code(0, 0x200, L"a", 1, buffer, 8, nullptr, nullptr), 1004U);
}
