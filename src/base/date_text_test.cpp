#include <chronoseal/base/date_text.h>

#include <string>

#include <gtest/gtest.h>

#include <chronoseal/base/test_code.h>

namespace Halcyon {
namespace {

std::string moved(const char* interval, int count, const char* date) {
    return DateAddA(interval, count, CDateTime(date)).getGeneralizedTime().c_str();
}

TEST(DateAdd, ClampsTheDayToTheTargetMonth) {
    struct Case {
        const char* interval;
        int count;
        const char* from;
        const char* to;
    };
    for (const auto& [interval, count, from, to] :
         {Case{"m", 1, "20230131000000Z", "20230228000000Z"},
          Case{"m", 1, "20240131000000Z", "20240229000000Z"},
          Case{"m", 3, "20240131000000Z", "20240430000000Z"},
          Case{"y", 1, "20240229000000Z", "20250228000000Z"},
          Case{"y", 4, "20240229000000Z", "20280229000000Z"},
          Case{"m", -1, "20240331000000Z", "20240229000000Z"},
          Case{"m", -12, "20240731000000Z", "20230731000000Z"},
          Case{"m", -13, "20240115000000Z", "20221215000000Z"},
          Case{"m", 11, "20240215000000Z", "20250115000000Z"},
          Case{"m", 12, "21000228000000Z", "21010228000000Z"},
          Case{"m", 1, "19000131000000Z", "19000228000000Z"},
          Case{"m", 1, "20000131000000Z", "20000229000000Z"},
          Case{"month", 0, "20240131235959.999999Z", "20240131235959.999999Z"},
          Case{"m", 1, "20240131235959.123456Z", "20240229235959.123456Z"}}) {
        EXPECT_EQ(moved(interval, count, from), to) << interval << count << ' ' << from;
    }
}

TEST(DateAdd, MovesInAbsoluteTime) {
    EXPECT_EQ(moved("s", 61, "20231231235900Z"), "20240101000001Z");
    EXPECT_EQ(moved("s", 1, "20231231235959Z"), "20240101000000Z");
    EXPECT_EQ(moved("n", -1, "20240101000000Z"), "20231231235900Z");
    EXPECT_EQ(moved("h", 25, "20240101000000Z"), "20240102010000Z");
    EXPECT_EQ(moved("d", 0, "20240101000000Z"), "20240101000000Z");
    EXPECT_EQ(moved("", 2, "20240101000000Z"), "20240103000000Z");
    EXPECT_EQ(moved("w", -1, "20240108000000Z"), "20240101000000Z");
}

TEST(DateAdd, RefusesWhatItDoesNotKnow) {
    const CDateTime date("16010102000000Z");
    EXPECT_CODE(0x80070057u, DateAddA("D", 2, date));
    EXPECT_CODE(0x80070057u, DateAddA(nullptr, 2, date));
    EXPECT_CODE(0x80004005u, DateAddA("d", -2, date));
    EXPECT_CODE(0x80070057u, DateAddA("m", -1, date)); // the platform's calendar ends
    EXPECT_CODE(0x80004005u, DateAddA("s", -2147483647 - 1, date));
    EXPECT_CODE(0x80070057u, DateAddW(L"\u0164", 1, date));
    EXPECT_CODE(0x80070057u, DateAddW(nullptr, 1, date));
    EXPECT_EQ(DateAddW(L"days", 1, date), DateAddA("", 1, date));
    EXPECT_EQ(DateAddW(L"", 1, date), DateAddA("d", 1, date));
}

TEST(XsdDateTime, ReadsWithATailOnly) {
    struct Case {
        const char* text;
        const char* result;
    };
    for (const auto& test :
         {Case{"2024-01-02T12:00:00Z", "20240102120000Z"},
          Case{"2024-01-02T12:00:00z", "20240102120000Z"},
          Case{"2024-01-02T12:00:00.5z", nullptr}, // a small letter isn't taken off a fraction
          Case{"2024-01-02T12:00:00.25Z", "20240102120000.25Z"},
          Case{"2024-01-02T12:00:00.25", "20240102120000.25Z"},
          Case{"2024-01-02T12:00:00", nullptr},
          Case{"2024-01-02T12:00:00+03:00", "20240102090000Z"},
          Case{"2024-01-02T12:00:00-03:30", "20240102153000Z"},
          Case{"2024-01-02T12:00:00.5-03:30", "20240102153000.5Z"},
          Case{"2024-01-02T12:00:00+14:00", "20240101220000Z"},
          Case{"2024-01-02T12:00:00+14:01", nullptr}, Case{"2024-01-02T12:00:00+3", nullptr},
          Case{"2024-01-02T12:00:00.x", nullptr}, Case{"2024-13-02T12:00:00.1", nullptr},
          Case{"2024-01-02T12:00:00Z+03:00", nullptr}, Case{"", nullptr},
          Case{"2024-01-02T12:00:00.123456789012345678901234567890123456789Z",
               "20240102120000.123456Z"}}) {
        if (test.result) {
            EXPECT_STREQ(fromXsdDateTimeString(test.text).getGeneralizedTime().c_str(),
                         test.result);
        } else {
            EXPECT_NE(code_of([&] { fromXsdDateTimeString(test.text); }), 0u) << test.text;
        }
    }
    EXPECT_CODE(0x8007076Du, fromXsdDateTimeString("2024-01-02T12:00:00"));
    EXPECT_CODE(0x80004005u, fromXsdDateTimeString("2024-13-02T12:00:00.1"));
    EXPECT_CODE(0x80004005u, fromXsdDateTimeString("1601-01-01T01:00:00+02:00"));
    EXPECT_CODE(0x8007076Du, fromXsdDateTimeString(nullptr));
}

TEST(XsdDateTime, JudgesWhatStandsBesideTheZone) {
    struct {
        const char* text;
        const char* result; // null: refused
    } const rows[] = {
        // Beside a "Z" one colon, third from the end, goes and leaves its digits to the fraction.
        {"2024-01-02T12:00:00Z12:34", "20240102120000.1234Z"},
        {"2024-01-02T12:00:00Z1:234", nullptr},
        {"2024-01-02T12:00:00Z1:2:34", nullptr},
        {"2024-01-02T12:00:00Z+03:00", nullptr},
        // Where both signs stand the minus decides; the plus and all before it is the fraction.
        {"2024-01-02T12:00:00+25-01:00", "20240102130000.25Z"},
        {"2024-01-02T12:00:00-01:00+03:00", "20240102130000Z"},
        {"2024-01-02T12:00:00+03:00-01:00", nullptr},
    };
    for (const auto& row : rows) {
        if (row.result) {
            EXPECT_STREQ(fromXsdDateTimeString(row.text).getGeneralizedTime().c_str(), row.result)
                << row.text;
        } else {
            EXPECT_CODE(0x8007076Du, fromXsdDateTimeString(row.text)) << row.text;
        }
    }
}

TEST(XsdDateTime, WritesMillisecondsIfThereAreAny) {
    EXPECT_STREQ(toXsdDateTimeString(CDateTime(2024, 1, 2, 3, 4, 5, 0, 999)).c_str(),
                 "2024-01-02T03:04:05Z");
    EXPECT_STREQ(toXsdDateTimeString(CDateTime(2024, 1, 2, 3, 4, 5, 7, 999)).c_str(),
                 "2024-01-02T03:04:05.007Z");
}

} // namespace
} // namespace Halcyon
