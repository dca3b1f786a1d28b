#include <chronoseal/asn1/char_string.h>

#include <gtest/gtest.h>

#include <chronoseal/asn1/test_blob.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {
namespace {

TEST(CharString, RoundTripsInEachType) {
    using Row = std::tuple<StringType, const wchar_t*, const char*>;
    for (const auto& [type, text, expected] :
         {Row{stringTypeUTF8, L"", "0C00"},
          Row{stringTypeUTF8, L"A\x0416\x1F600", "0C0741D096F09F9880"},
          Row{stringTypePrintable, L"RU", "13025255"},
          Row{stringTypePrintable, L"a@\x0416", "13046140D096"},
          Row{stringTypeTeletex, L"x", "140178"}, Row{stringTypeIA5, L"a@b", "1603614062"},
          Row{stringTypeBMP, L"A\x0416", "1E0400410416"}, Row{stringTypeBMP, L"", "1E00"},
          Row{stringTypeUniversal, L"A\x0416", "1C080000004100000416"},
          Row{stringTypeUniversal, L"", "1C00"}}) {
        const CBlob der = encodeCharString(text, type);
        EXPECT_EQ(to_hex(der), expected);
        EXPECT_STREQ(decodeCharString(der).c_str(), text) << expected;
    }
}

TEST(CharString, LosesCharactersAboveTheBasicPlaneWhereTheTypeIsNarrow) {
    EXPECT_EQ(to_hex(encodeCharString(L"\x1F600", stringTypeBMP)), "1E02F600");
    const CBlob universal = encodeCharString(L"a\x1F600z", stringTypeUniversal);
    EXPECT_EQ(to_hex(universal), "1C0C000000610001F6000000007A");
    EXPECT_STREQ(decodeCharString(universal).c_str(), L"az");
}

TEST(CharString, NumericStringIsReadButCannotBeWritten) {
    EXPECT_STREQ(decodeCharString(from_hex("120131")).c_str(), L"1");
    for (unsigned int type : {0u, 7u, 18u}) {
        EXPECT_CODE(0x80093101u, encodeCharString(L"1", static_cast<StringType>(type)));
    }
}

TEST(CharString, RefusesOtherTypesAndBrokenTexts) {
    for (const char* der :
         {"", "0C", "0C0241", "1A0131", "040131", "2C030C0141", "0C01FF", "0C01C3", "0C80", "05"}) {
        EXPECT_CODE(0x80093101u, decodeCharString(from_hex(der))) << der;
    }
    EXPECT_STREQ(decodeCharString(from_hex("0C014100FFFF")).c_str(), L"A");
}

TEST(TextWidth, ConvertsByTheSystemsCodePage) {
    EXPECT_EQ(tostring(L"a\x0416"), "a\xD0\x96");
    EXPECT_EQ(towstring("a\xD0\x96"), L"a\x0416");
    EXPECT_EQ(tostring(L""), "");
    EXPECT_EQ(towstring(""), L"");
    const unsigned short units[] = {'a', 0x0416, 0};
    EXPECT_EQ(tostring(units), "a\xD0\x96");
    EXPECT_EQ(tostring(-12), "-12");
    EXPECT_EQ(towstring(34), L"34");
}

} // namespace
} // namespace Halcyon::ASN1
