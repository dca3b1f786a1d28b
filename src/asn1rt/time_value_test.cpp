// Both time parsers, the writer, and the calendar.
#include <chronoseal/asn1rt/time_value.h>

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/calendar.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

std::string shown(const ASN1DateTime& t) {
    char out[96];
    std::snprintf(out, sizeof out, "%d-%d-%d %d:%d:%d %+d:%d %s%s", t.year, t.month, t.day, t.hour,
                  t.minute, t.second, t.diffHour, t.diffMinute, t.fraction, t.utc != 0 ? "Z" : "");
    return out;
}

using Parser = int (*)(ASN1CTXT*, const char*, ASN1DateTime*);

// The fields, or the status. The text stands in a block of its exact size.
std::string parse(Parser parser, const std::string& text) {
    TestContext ctxt;
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    ASN1DateTime time{};
    const int status = parser(&ctxt, exact.data(), &time);
    EXPECT_EQ(ctxt.errInfo.status, status);
    return status == 0 ? shown(time) : std::to_string(status);
}

std::string generalized(const std::string& text) {
    return parse(rtParseGeneralizedTime, text);
}
std::string utc_time(const std::string& text) {
    return parse(rtParseUTCTime, text);
}

TEST(GeneralizedTime, Parses) {
    using Row = std::pair<const char*, const char*>;
    for (const auto& [text, fields] :
         {Row{"20240229120000Z", "2024-2-29 12:0:0 +0:0 Z"},
          Row{"00000229000000Z", "0-2-29 0:0:0 +0:0 Z"},
          Row{"99991231235959Z", "9999-12-31 23:59:59 +0:0 Z"},
          Row{"2024010112", "2024-1-1 12:0:0 +0:0 "}, Row{"202401011230", "2024-1-1 12:30:0 +0:0 "},
          Row{"2024010112Z", "2024-1-1 12:0:0 +0:0 Z"},
          Row{"20240101120000.5Z", "2024-1-1 12:0:0 +0:0 5Z"},
          Row{"20240101120000,0500", "2024-1-1 12:0:0 +0:0 0500"},
          Row{"20240101120000-0330", "2024-1-1 12:0:0 -3:-30 "},
          Row{"20240101120000.123+12", "2024-1-1 12:0:0 +12:0 123"},
          Row{"202401011200+0030", "2024-1-1 12:0:0 +0:30 "},
          Row{"20240101120000-0045", "2024-1-1 12:0:0 +0:-45 "},
          Row{"20240101120000+5", "2024-1-1 12:0:0 +5:0 "}}) {
        EXPECT_EQ(generalized(text), fields) << text;
    }
}

// What stands behind a local time or an offset isn't looked at, and scanf's rules hold for the
// numbers.
TEST(GeneralizedTime, TakesOddTexts) {
    EXPECT_EQ(generalized("20240101120000 and more"), "2024-1-1 12:0:0 +0:0 ");
    EXPECT_EQ(generalized("20240101120000+0330tail"), "2024-1-1 12:0:0 +3:30 ");
    EXPECT_EQ(generalized("20240101120000z"), "2024-1-1 12:0:0 +0:0 ");
    EXPECT_EQ(generalized("202401011Z"), "2024-1-1 1:0:0 +0:0 ") << "Z in the place of a digit";
    EXPECT_EQ(generalized("20240101125"), "2024-1-1 12:5:0 +0:0 ");
    EXPECT_EQ(generalized("2024 1 112"), "2024-1-11 12:0:0 +0:0 ") << "the hour is at place 8";
    EXPECT_EQ(generalized(" 2024+1+112"), "2024-1-1 11:2:0 +0:0 ");
    EXPECT_EQ(generalized("20240101120000.1234567890123456789012345Z"),
              "2024-1-1 12:0:0 +0:0 12345678901234567890Z")
        << "digits beyond the twentieth are dropped";
    EXPECT_EQ(generalized("20240101120000." + std::string(250'000, '1') + "Z"),
              "2024-1-1 12:0:0 +0:0 11111111111111111111Z");
}

TEST(GeneralizedTime, Refuses) {
    std::istringstream texts("|2024|20240101|1 2 3|20230229120000Z|19000229120000Z|"
                             "20241301000000Z|20240001000000Z|20240100000000Z|20240431000000Z|"
                             "-1230101000000Z|2024010124Z|202401011260Z|20240101120060Z|"
                             "202401011200.5Z|2024010112.5Z|20240101120000.Z|20240101120000.|"
                             "20240101120000ZX|20240101120000+1300|20240101120000-1300|"
                             "20240101120000+0360|20240101120000+|20240101120000+Z|20240101x2|"
                             "abcdefghij");
    for (std::string text; std::getline(texts, text, '|');) {
        EXPECT_EQ(generalized(text), "-31") << text;
    }
    TestContext ctxt;
    ASN1DateTime time{};
    EXPECT_EQ(rtParseGeneralizedTime(&ctxt, nullptr, &time), rtStatusInvalidTime);
    EXPECT_EQ(rtParseUTCTime(&ctxt, "240101120000Z", nullptr), rtStatusInvalidTime);
    time.year = 77;
    rtParseGeneralizedTime(&ctxt, "20240101120000ZX", &time);
    EXPECT_EQ(time.year, 77) << "a failure leaves the record";
}

TEST(UtcTime, Parses) {
    EXPECT_EQ(utc_time("491231235959Z"), "2049-12-31 23:59:59 +0:0 Z");
    EXPECT_EQ(utc_time("500101000000Z"), "1950-1-1 0:0:0 +0:0 Z");
    EXPECT_EQ(utc_time("2402291200Z"), "2024-2-29 12:0:0 +0:0 Z");
    EXPECT_EQ(utc_time("240101120000-0330"), "2024-1-1 12:0:0 -3:-30 ");
    EXPECT_EQ(utc_time("2401011200+12"), "2024-1-1 12:0:0 +12:0 ");
    EXPECT_EQ(utc_time("240101120000"), "2024-1-1 12:0:0 +0:0 ");
    EXPECT_EQ(utc_time("2401011x00Z"), "2024-1-1 1:0:0 +0:0 Z") << "the minute is at place 8";
    EXPECT_EQ(utc_time("240101120000.5Z"), "2024-1-1 12:0:0 +0:0 ") << "a fraction is mere tail";
}

TEST(UtcTime, Refuses) {
    for (const char* text : {"", "24010112Z", "2401011", "230229120000Z", "241301120000Z",
                             "240101240000Z", "240101126000Z", "240101120060Z", "240101120000ZX",
                             "240101120000+1300", "-50101120000Z", "240101x200Z"}) {
        EXPECT_EQ(utc_time(text), "-31") << text;
    }
}

TEST(MakeGeneralizedTime, RoundTrips) {
    for (const char* text :
         {"20240229120000Z", "20240101120000.0500", "20240101120000-0330", "20240101120000-0045",
          "20240101120000.12345678901234567890+1200", "00010101000000Z", "20240101120000"}) {
        TestContext ctxt;
        ASN1DateTime time{};
        ASSERT_EQ(rtParseGeneralizedTime(&ctxt, text, &time), 0) << text;
        char* made = nullptr;
        ASSERT_EQ(rtMakeGeneralizedTime(&ctxt, &time, &made, 0), 0);
        EXPECT_STREQ(made, text);
    }
}

TEST(MakeGeneralizedTime, ChecksDateAndRoom) {
    TestContext ctxt;
    ASN1DateTime time{};
    ASSERT_EQ(rtParseGeneralizedTime(&ctxt, "20240229120000Z", &time), 0);
    char out[16];
    char* text = out;
    EXPECT_EQ(rtMakeGeneralizedTime(&ctxt, &time, &text, 16), 0);
    EXPECT_STREQ(out, "20240229120000Z");
    EXPECT_EQ(rtMakeGeneralizedTime(&ctxt, &time, &text, 15), rtStatusValueTooLong);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusValueTooLong);
    const auto refused = [&](short ASN1DateTime::*field, short value) {
        ASN1DateTime bad = time;
        bad.*field = value;
        return rtMakeGeneralizedTime(&ctxt, &bad, &text, 16) == rtStatusInvalidTime;
    };
    EXPECT_TRUE(refused(&ASN1DateTime::year, 10000));
    EXPECT_TRUE(refused(&ASN1DateTime::year, 2023));
    EXPECT_TRUE(refused(&ASN1DateTime::month, 13));
    EXPECT_TRUE(refused(&ASN1DateTime::month, 0));
    EXPECT_TRUE(refused(&ASN1DateTime::day, 0));

    // Fields that no parser gives are written as they stand, in bounds.
    ASN1DateTime wild{-32768, 2, 29, -32768, -32768, -32768, -32768, -32768, {}, 0};
    std::fill_n(wild.fraction, sizeof wild.fraction, '9');
    char* made = nullptr;
    EXPECT_EQ(rtMakeGeneralizedTime(&ctxt, &wild, &made, 0), 0);
    const FailingAllocator none(0);
    EXPECT_EQ(rtMakeGeneralizedTime(&ctxt, &time, &made, 0), rtStatusNoMemory);
}

TEST(Calendar, MonthsOfLeapAndCommonYears) {
    int days = 0;
    for (int month = 1; month <= 12; ++month) {
        days += rtDaysInMonth(month, 2023) + OS_daysInMonth[month - 1];
    }
    EXPECT_EQ(days, 730);
    EXPECT_EQ(rtDaysInMonth(2, 2000) + rtDaysInMonth(2, 1900) + rtDaysInMonth(2, 2024),
              29 + 28 + 29);
    EXPECT_EQ(rtDaysInMonth(0, 2024) + rtDaysInMonth(13, 2024), 0);
}

} // namespace
