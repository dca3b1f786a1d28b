#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {
namespace {

TEST(Text, ForeignTextCannotMoveTheCursorOrTurnTheLineRound) {
    struct Row {
        std::string text, quoted;
    };
    const Row rows[] = {
        {"Example TSA 3", "Example TSA 3"},
        {"\xD0\xA3\xD0\xA6 \xE2\x82\xAC \xF0\x9F\x95\x93",
         "\xD0\xA3\xD0\xA6 \xE2\x82\xAC \xF0\x9F\x95\x93"},
        {"\x1b[2J\x1b[Hgood", "\\x1b[2J\\x1b[Hgood"},
        {"a\r\nb\tc\x7f", "a\\x0d\\x0ab\\x09c\\x7f"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\xC2\x9B"
         "2J",
         "\\u{9b}2J"},
        {"\xE2\x80\xAE"
         "fdp",
         "\\u{202e}fdp"},
        {"a\xE2\x80\xA8"
         "b\xE2\x81\xA6",
         "a\\u{2028}b\\u{2066}"},
        {"\xE2\x80\x8B\xEF\xBB\xBF", "\\u{200b}\\u{feff}"},
        {"\xF3\xA0\x80\x81", "\\u{e0001}"},
        {"back\\slash", "back\\\\slash"},
        {"\xC0\x9B", "\\xc0\\x9b"},          // an escape hidden in an overlong form
        {"\xED\xA0\x80", "\\xed\\xa0\\x80"}, // a surrogate
        {"cut\xE2\x82", "cut\\xe2\\x82"},    // cut short
        {"\xF8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(quote_foreign(row.text), row.quoted);
    }
    EXPECT_EQ(quote_foreign("abcdef", 3), "abc...");
    EXPECT_EQ(quote_foreign("abc", 3), "abc");
}

TEST(Text, AddressesAreShownWithoutPasswords) {
    EXPECT_EQ(quote_address("http://user:pw@tsa.example/x?y=@"), "http://***@tsa.example/x?y=@");
    EXPECT_EQ(quote_address("https://a@b@host"), "https://***@host");
    EXPECT_EQ(quote_address("http://tsa.example/user@x"), "http://tsa.example/user@x");
    EXPECT_EQ(quote_address("user:pw@proxy:80"), "***@proxy:80");
}

TEST(Text, HexadecimalDigitsAreReadWholeOrNotAtAll) {
    EXPECT_EQ(to_hex(from_hex("00fFA5")), "00ffa5");
    EXPECT_EQ(to_hex(from_hex("00:fF:A5")), "00ffa5"); // as certificates' hashes are printed
    EXPECT_TRUE(from_hex("").empty());
    for (const char* bad : {"0", "0g", "0x00", " 00", "00 ", ":", "00:", ":00", "00:1",
                            "00:11:", "00:1122", "0011:22", "00::11", "00:11;22"}) {
        EXPECT_THROW(from_hex(bad), Error) << bad;
    }
}

TEST(Text, TimesKeepTheirFractionAndTheirZone) {
    const Time time{std::chrono::microseconds(1795270000'500000)};
    EXPECT_EQ(utc_text(time), "2026-11-21T14:06:40.5Z");
    EXPECT_EQ(utc_text(Time{std::chrono::microseconds(-1)}), "1969-12-31T23:59:59.999999Z");
    EXPECT_EQ(utc_text(Time{std::chrono::microseconds(30)}), "1970-01-01T00:00:00.00003Z");
    using namespace std::chrono;
    EXPECT_EQ(utc_text(sys_days(year(1) / 2 / 3)), "0001-02-03T00:00:00Z");
    EXPECT_EQ(utc_text(sys_days(year(12345) / 12 / 31)), "12345-12-31T00:00:00Z");
    ::setenv("TZ", "Asia/Kathmandu", 1);
    ::tzset();
    EXPECT_EQ(local_text(time), "2026-11-21T19:51:40.5+05:45");
    ::unsetenv("TZ");
    ::tzset();
}

} // namespace
} // namespace chronoseal
