#include <basalt/binary_string.h>

#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<BYTE>;

Bytes bytes_of(const std::string& text) {
    return {text.begin(), text.end()};
}

// The two-call form, into an exact heap block; both widths have to agree.
std::string encode(const Bytes& data, DWORD flags) {
    DWORD size = 0;
    const auto count = static_cast<DWORD>(data.size());
    EXPECT_TRUE(CryptBinaryToStringA(data.data(), count, flags, nullptr, &size));
    std::vector<char> text(size, '#');
    EXPECT_TRUE(CryptBinaryToStringA(data.data(), count, flags, text.data(), &size));
    EXPECT_EQ(size + 1, text.size());
    std::vector<wchar_t> wide(size + 1, L'#');
    DWORD wide_size = size + 1;
    EXPECT_TRUE(CryptBinaryToStringW(data.data(), count, flags, wide.data(), &wide_size));
    EXPECT_EQ(wide_size, size);
    EXPECT_EQ(std::wstring(wide.data()), std::wstring(text.begin(), text.end() - 1));
    return text.data();
}

struct Decoded {
    Bytes bytes;
    DWORD error = 0;
    DWORD skipped = 77;
    DWORD form = 77;
};

Decoded decode(const std::string& text, DWORD flags) {
    Decoded result;
    DWORD size = 0;
    const std::vector<char> exact(text.begin(), text.end());
    const auto length = static_cast<DWORD>(exact.size());
    SetLastError(0);
    if (CryptStringToBinaryA(exact.data(), length, flags, nullptr, &size, nullptr, nullptr) ==
        FALSE) {
        result.error = GetLastError();
        return result;
    }
    result.bytes.resize(size);
    EXPECT_TRUE(CryptStringToBinaryA(exact.data(), length, flags, result.bytes.data(), &size,
                                     &result.skipped, &result.form));
    const std::wstring wide(text.begin(), text.end());
    Bytes again(size);
    EXPECT_TRUE(
        CryptStringToBinaryW(wide.data(), length, flags, again.data(), &size, nullptr, nullptr));
    EXPECT_EQ(again, result.bytes);
    return result;
}

struct Pair {
    Bytes data;
    DWORD flags;
    std::string text;
};

// The vectors of RFC 4648, section 10, and longer ones from another program.
const Pair kPairs[] = {
    {bytes_of("f"), 0x40000001, "Zg=="},
    {bytes_of("fo"), 0x40000001, "Zm8="},
    {bytes_of("foo"), 0x40000001, "Zm9v"},
    {bytes_of("foob"), 1, "Zm9vYg==\r\n"},
    {bytes_of("fooba"), 0x80000001, "Zm9vYmE=\n"},
    {{0xFB, 0xFF, 0xFE}, 0x40000001, "+//+"},
    {Bytes(48, 0), 1, std::string(64, 'A') + "\r\n"},
    {Bytes(49, 0), 1, std::string(64, 'A') + "\r\nAA==\r\n"},
    {Bytes(49, 0), 0x40000001, std::string(66, 'A') + "=="},
    {bytes_of("foo"), 0, "-----BEGIN CERTIFICATE-----\r\nZm9v\r\n-----END CERTIFICATE-----\r\n"},
    {bytes_of("foo"), 0x80000009, "-----BEGIN X509 CRL-----\nZm9v\n-----END X509 CRL-----\n"},
    {bytes_of("foo"), 0x80000003,
     "-----BEGIN NEW CERTIFICATE REQUEST-----\nZm9v\n-----END NEW CERTIFICATE REQUEST-----\n"},
    {{0x00, 0xAB, 0x7F}, 0x4000000C, "00ab7f"},
};

} // namespace

TEST(BinaryString, BothDirections) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(encode(pair.data, pair.flags), pair.text);
        const Decoded back = decode(pair.text, pair.flags & 0xFF);
        EXPECT_EQ(back.error, 0U);
        EXPECT_EQ(back.bytes, pair.data) << pair.text;
        EXPECT_EQ(back.form, pair.flags & 0xFF);
        EXPECT_EQ(back.skipped, 0U);
    }
}

TEST(BinaryString, AnyFormIsFoundBehindAPreamble) {
    const Decoded lines =
        decode("Bag\n-----BEGIN ANY THING-----\nZm9v\n-----END ANY THING-----\nrest!", 6);
    EXPECT_EQ(lines.bytes, bytes_of("foo"));
    EXPECT_EQ(lines.skipped, 4U);
    EXPECT_EQ(lines.form, 0U);
    const Decoded bare = decode(" Zm 9v\r\n\t", 6);
    EXPECT_EQ(bare.bytes, bytes_of("foo"));
    EXPECT_EQ(bare.form, 1U);
}

TEST(BinaryString, TextThatIsNoneOfTheForm) {
    const std::pair<std::string, DWORD> bad[] = {
        {"Zm9", 1},
        {"Z", 1},
        {"Zg=", 1},
        {"Z===", 1},
        {"====", 1},
        {"Zg==Zg==", 1},
        {"Zg=v", 1},
        {"Zm9v=", 1},
        {"Zm9v!", 1},
        {"Zm\xC3", 1},
        {"  \r\n", 1},
        {"Zm9v", 0},
        {"0", 12},
        {"0g", 12},
        {" ", 12},
        {"Zm-_", 1},
        {"-----BEGIN ", 0},
        {"-----BEGIN X-----Zm9v", 0},
        {"-----BEGIN X-----\nA: b\nZm9v\n-----END X-----", 0},
    };
    for (const auto& [text, flags] : bad) {
        EXPECT_EQ(decode(text, flags).error, 13U) << text;
    }
    EXPECT_EQ(decode("Zm9v", 2).error, 87U);
    EXPECT_EQ(decode("Zm9v", 99).error, 87U);
    DWORD size = 0;
    EXPECT_FALSE(CryptStringToBinaryW(L"Zm9\x0176", 0, 1, nullptr, &size, nullptr, nullptr));
}

TEST(BinaryString, LengthZeroMeansUpToTheEndMark) {
    DWORD size = 0;
    EXPECT_TRUE(CryptStringToBinaryA("Zm9v", 0, 1, nullptr, &size, nullptr, nullptr));
    EXPECT_EQ(size, 3U);
    EXPECT_TRUE(CryptStringToBinaryW(L"Zm9v", 0, 1, nullptr, &size, nullptr, nullptr));
    EXPECT_EQ(size, 3U);
    EXPECT_ERROR(13U, CryptStringToBinaryA("", 0, 1, nullptr, &size, nullptr, nullptr));
}

TEST(BinaryString, SmallBufferGetsTheNeededSize) {
    const BYTE data[] = {1, 2, 3};
    char text[5] = "####";
    DWORD size = 4;
    EXPECT_ERROR(234U, CryptBinaryToStringA(data, 3, 0x40000001, text, &size));
    EXPECT_EQ(size, 5U);
    EXPECT_STREQ(text, "####");
    BYTE bytes[2] = {};
    size = 2;
    EXPECT_ERROR(234U, CryptStringToBinaryA("Zm9v", 4, 1, bytes, &size, nullptr, nullptr));
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(bytes[0], 0);
}

TEST(BinaryString, NothingToEncodeAndUnknownFormsAreRefused) {
    DWORD size = 0;
    const BYTE data[] = {1};
    const auto code = [&](const BYTE* from, DWORD count, DWORD flags) {
        SetLastError(0);
        EXPECT_FALSE(CryptBinaryToStringW(from, count, flags, nullptr, &size));
        return GetLastError();
    };
    EXPECT_EQ(code(data, 0, 1), 87U);
    EXPECT_EQ(code(nullptr, 1, 1), 87U);
    EXPECT_EQ(code(data, 1, 2), 87U);
    EXPECT_EQ(code(data, 1, 0x40000000), 87U);
    EXPECT_FALSE(CryptBinaryToStringW(data, 1, 1, nullptr, nullptr));
}
