// Text conversions and the character classes.
#include <chronoseal/asn1rt/character_text.h>

#include <cctype>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

using testing::ElementsAre;

std::vector<std::uint32_t> characters(const ASN1TUniversalText& record) {
    return {record.data, record.data + record.nchars};
}

TEST(CharacterClass, AgreesWithTheCLocaleAndIsEmptyAboveAscii) {
    for (int c = 0; c < 128; ++c) {
        int expected = 0;
        expected |= std::isupper(c) ? rtCtypeUpper : 0;
        expected |= std::islower(c) ? rtCtypeLower : 0;
        expected |= std::isdigit(c) ? rtCtypeDigit : 0;
        expected |= std::isspace(c) ? rtCtypeBlank : 0;
        expected |= std::ispunct(c) ? rtCtypePunct : 0;
        expected |= std::iscntrl(c) ? rtCtypeControl : 0;
        expected |= std::isxdigit(c) && !std::isdigit(c) ? rtCtypeHexLetter : 0;
        expected |= c == ' ' ? rtCtypeSpace : 0;
        EXPECT_EQ(rtCtypeTable[c], expected) << c;
    }
    for (int c = 128; c < 256; ++c) {
        EXPECT_EQ(rtCtypeTable[c], 0) << c;
    }
}

TEST(UcsText, WidensBytesAsUnsignedValues) {
    TestContext ctxt;
    ASN1TUniversalText record{};
    EXPECT_EQ(rtCToUCSString(&ctxt, "A\x80\xFF", &record, nullptr), &record);
    EXPECT_THAT(characters(record), ElementsAre(0x41, 0x80, 0xFF));
    EXPECT_EQ(rtWCSToUCSString(&ctxt, L"\u00e9\U0001F600", &record, nullptr), &record);
    EXPECT_THAT(characters(record), ElementsAre(0xE9, 0x1F600));
    EXPECT_EQ(rtCToUCSString(&ctxt, "", &record, nullptr), &record);
    EXPECT_EQ(record.nchars, 0U);
    EXPECT_NE(record.data, nullptr);
    EXPECT_EQ(rtCToUCSString(&ctxt, nullptr, &record, nullptr), nullptr);
    EXPECT_EQ(rtWCSToUCSString(&ctxt, L"x", nullptr, nullptr), nullptr);
}

TEST(UcsText, DropsWhatTheCharacterSetLacks) {
    TestContext ctxt;
    ASN1TUniversalText record{};
    const ASN1TUniversalTextSet range{0, nullptr, 'a', 'c'};
    rtCToUCSString(&ctxt, "`abcd", &record, &range);
    EXPECT_THAT(characters(record), ElementsAre('a', 'b', 'c'));
    const std::uint32_t listed[] = {'c', 'a', 'z'};
    const ASN1TUniversalTextSet set{3, listed, 'a', 'c'};
    rtWCSToUCSString(&ctxt, L"abcz", &record, &set);
    EXPECT_THAT(characters(record), ElementsAre('a', 'c')) << "the range bounds the list too";
}

TEST(UcsText, WithoutMemoryIsLatched) {
    TestContext ctxt;
    const char text[] = "\xC3\xA9";
    const char* copy = rtUTF8Strdup(&ctxt, text);
    EXPECT_STREQ(copy, text);
    EXPECT_NE(copy, text);
    EXPECT_EQ(rtUTF8Strdup(&ctxt, nullptr), nullptr);
    ASN1TUniversalText record{};
    const FailingAllocator none(0);
    EXPECT_EQ(rtCToUCSString(&ctxt, "x", &record, nullptr), nullptr);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusNoMemory);
    EXPECT_EQ(rtUTF8Strdup(&ctxt, "x"), nullptr);
}

TEST(UcsText, ToWideDropsAstralCharactersAndStopsAtTheCapacity) {
    const std::uint32_t data[] = {'a', 0x1F600, 0xFFFF, 0x10000, 'b'};
    const ASN1TUniversalText record{5, data};
    wchar_t out[] = L"######";
    EXPECT_EQ(rtUCSToWCSString(&record, out, 6), out);
    EXPECT_STREQ(out, L"a\uFFFFb");
    wchar_t exact[] = L"####";
    rtUCSToWCSString(&record, exact, 3);
    EXPECT_STREQ(exact, L"a\uFFFFb#") << "a full output gets no terminator";
    const ASN1TUniversalText empty{};
    rtUCSToWCSString(&empty, out, 1);
    EXPECT_STREQ(out, L"");
    rtUCSToWCSString(&empty, exact, 0);
    EXPECT_EQ(exact[0], L'a');
}

TEST(Utf8Text, EveryLengthBothWays) {
    using Row = std::pair<std::uint32_t, const char*>;
    for (const auto& [character, hex] :
         {Row{0x00, "00"}, Row{0x7F, "7F"}, Row{0x80, "C2 80"}, Row{0x7FF, "DF BF"},
          Row{0x800, "E0 A0 80"}, Row{0xD800, "ED A0 80"}, Row{0xFFFF, "EF BF BF"},
          Row{0x10000, "F0 90 80 80"}, Row{0x110000, "F4 90 80 80"}, Row{0x1FFFFF, "F7 BF BF BF"},
          Row{0x200000, "F8 88 80 80 80"}, Row{0x3FFFFFF, "FB BF BF BF BF"},
          Row{0x4000000, "FC 84 80 80 80 80"}, Row{0x7FFFFFFF, "FD BF BF BF BF BF"}}) {
        const Bytes bytes = bytes_of(hex);
        char out[6];
        EXPECT_EQ(rtUTF8CharSize(character), static_cast<int>(bytes.size()));
        ASSERT_EQ(rtUTF8EncodeChar(character, out, bytes.size()), static_cast<int>(bytes.size()));
        EXPECT_EQ(Bytes(out, out + bytes.size()), bytes);
        EXPECT_EQ(rtUTF8EncodeChar(character, out, bytes.size() - 1), -1);
        std::size_t size = 6;
        std::vector<char> in(bytes.begin(), bytes.end());
        in.resize(6, 'x');
        EXPECT_EQ(rtUTF8DecodeChar(nullptr, in.data(), &size),
                  static_cast<std::int32_t>(character));
        EXPECT_EQ(size, bytes.size());
        size = bytes.size() - 1;
        EXPECT_EQ(rtUTF8DecodeChar(nullptr, in.data(), &size), rtStatusInvalidUTF8);
    }
    EXPECT_EQ(rtUTF8CharSize(0xFFFFFFFF), 6);
    char out[6];
    EXPECT_EQ(rtUTF8EncodeChar(0x80000000, out, 6), -1) << "more than 31 bits have no form";
}

TEST(Utf8Text, DecodesOverlongFormsAndRefusesTheRest) {
    const auto decode = [](const char* hex) {
        const Bytes bytes = bytes_of(hex);
        std::vector<char> exact(bytes.begin(), bytes.end());
        std::size_t size = exact.size();
        return rtUTF8DecodeChar(nullptr, exact.data(), &size);
    };
    EXPECT_EQ(decode("C0 80"), 0);
    EXPECT_EQ(decode("E0 80 AF"), '/');
    for (const char* bad : {"80", "BF", "FE 80 80 80 80 80 80", "FF", "C2 00", "C2 C0", "E2 82",
                            "E2 82 41", "F0 90 80", "FC 84 80 80 80"}) {
        EXPECT_EQ(decode(bad), rtStatusInvalidUTF8) << bad;
    }
    std::size_t size = 0;
    EXPECT_EQ(rtUTF8DecodeChar(nullptr, "a", &size), rtStatusInvalidUTF8);
    EXPECT_EQ(rtUTF8DecodeChar(nullptr, "a", nullptr), rtStatusInvalidUTF8);
    size = 1;
    EXPECT_EQ(rtUTF8DecodeChar(nullptr, nullptr, &size), rtStatusInvalidUTF8);
}

TEST(Utf8Text, LengthsLookAtLeadBytesOnly) {
    EXPECT_EQ(rtUTF8Len("a\xC3\xA9\xE2\x82\xAC"), 3);
    EXPECT_EQ(rtUTF8Len("\xC3(\xE2((x"), 3) << "what follows a lead byte isn't looked at";
    EXPECT_EQ(rtUTF8Len("a\xE2\x82"), 2) << "cut off by the end";
    EXPECT_EQ(rtUTF8Len("a\xFD"), 2);
    EXPECT_EQ(rtUTF8Len("a\x80"), rtStatusInvalidUTF8);
    EXPECT_EQ(rtUTF8Len("\xFF"), rtStatusInvalidUTF8);
    EXPECT_EQ(rtUTF8LenBytes("\xE2\x82\xAC"), 3U);
    EXPECT_EQ(rtUTF8Len(""), 0);
    EXPECT_EQ(rtUTF8Len(nullptr), 0);
    EXPECT_EQ(rtUTF8LenBytes(nullptr), 0U);
}

TEST(Utf8Text, ToWide) {
    TestContext ctxt;
    wchar_t out[4] = L"###";
    EXPECT_EQ(rtUTF8ToWCS(&ctxt, "\xE2\x82\xAC", out, 4), 1);
    EXPECT_STREQ(out, L"\u20AC");
    EXPECT_EQ(rtUTF8ToWCS(&ctxt, "abcd", out, 4), 4) << "no room for the terminator is no failure";
    EXPECT_EQ(out[3], L'd');
    EXPECT_EQ(rtUTF8ToWCS(&ctxt, "abcde", out, 4), rtStatusBufferOverflow);
    EXPECT_EQ(rtUTF8ToWCS(&ctxt, nullptr, out, 4), 0);
    EXPECT_EQ(ctxt.errInfo.status, 0);
    EXPECT_EQ(rtUTF8ToWCS(&ctxt, "a\xE2\x82", out, 4), rtStatusInvalidUTF8);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusInvalidUTF8);
}

TEST(Utf8Text, FromWide) {
    TestContext ctxt;
    char out[4] = "###";
    EXPECT_EQ(rtWCSToUTF8(&ctxt, L"\u20AC", 2, out, 4), 4) << "the terminator counts as any other";
    EXPECT_STREQ(out, "\xE2\x82\xAC");
    EXPECT_EQ(rtWCSToUTF8(&ctxt, L"", 0, out, 0), 0);
    EXPECT_EQ(rtWCSToUTF8(&ctxt, L"\u20AC", 2, out, 3), rtStatusBufferOverflow);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusBufferOverflow);
    rtErrReset(&ctxt.errInfo);
    const wchar_t negative[] = {static_cast<wchar_t>(-1)};
    EXPECT_EQ(rtWCSToUTF8(&ctxt, negative, 1, out, 4), rtStatusInvalidUTF8);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusInvalidUTF8);
}

} // namespace
