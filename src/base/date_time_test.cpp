#include <chronoseal/base/date_time.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/base/date_text.h>
#include <chronoseal/base/test_code.h>

namespace Halcyon {
namespace {

std::string generalized(const CDateTime& date) {
    return date.getGeneralizedTime().c_str();
}

constexpr std::uint64_t kUnixEpoch = 116444736000000000u;

TEST(DateTime, CountsUnixTimeInMicroseconds) {
    EXPECT_EQ(CDateTime(0L, 0).getTime(), 0);
    EXPECT_EQ(CDateTime(0LL, 0).ticks(), kUnixEpoch);
    const CDateTime date(1L, 999999);
    EXPECT_EQ(date.microsecond(), 999u);
    EXPECT_EQ(date.millisecond(), 999u);
    EXPECT_EQ(date.getTime(), 1);
    EXPECT_EQ(CDateTime(0L, 429496730).ticks(), kUnixEpoch + 4); // the product is in 32 bits
    EXPECT_GT(CDateTime(-1L, 0).getTime(), 0);                   // before 1970: wraps
}

TEST(DateTime, CutsFileTimesToMicroseconds) {
    const FILETIME time{19, 0};
    const CDateTime date(time);
    EXPECT_EQ(date.getFileTime().dwLowDateTime, 10u);
    EXPECT_EQ(date.getFileTime().dwHighDateTime, 0u);
    EXPECT_EQ(CDateTime::Now().ticks() % 10, 0u);
}

TEST(DateTime, GivesCalendarFields) {
    const CDateTime date(2024, 2, 29, 23, 58, 59, 7, 8);
    EXPECT_EQ(date.year(), 2024u);
    EXPECT_EQ(date.month(), 2u);
    EXPECT_EQ(date.day(), 29u);
    EXPECT_EQ(date.hour(), 23u);
    EXPECT_EQ(date.minute(), 58u);
    EXPECT_EQ(date.second(), 59u);
    EXPECT_EQ(date.millisecond(), 7u);
    EXPECT_EQ(date.microsecond(), 8u);
    EXPECT_EQ(CDateTime(date.getSystemTime()).ticks(), date.ticks() - 80);
    // Microseconds beyond the millisecond are simply added.
    EXPECT_EQ(CDateTime(2024, 1, 1, 0, 0, 0, 0, 1500).millisecond(), 1u);
    EXPECT_CODE(0x80070057u, CDateTime(2023, 2, 29, 0, 0, 0, 0, 0));
    EXPECT_CODE(0x80070057u, CDateTime::from_ticks(1ull << 63).year());
}

TEST(DateTime, ReadsGeneralizedTimeByPlace) {
    struct Case {
        const char* text;
        const char* result;
    };
    for (const auto& [text, result] :
         {Case{"20240102030405Z", "20240102030405Z"}, Case{"20240102030405", "20240102030405Z"},
          Case{"20240102030405.5Z", "20240102030405.5Z"},
          Case{"20240102030405x25", "20240102030405.25Z"},
          Case{"20240102030405.1234567Z", "20240102030405.123456Z"},
          Case{"20240102030405.000001", "20240102030405.000001Z"},
          Case{"20240102", "20240102000000Z"}, Case{"2024010203040", "20240102030400Z"},
          Case{"202401020304056", "20240102030405Z"}}) {
        EXPECT_EQ(generalized(CDateTime(text)), result) << text;
    }
    EXPECT_CODE(0x8007076Du, CDateTime("2024010203040xZ"));
    EXPECT_CODE(0x8007076Du, CDateTime("20240102030405.+1Z"));
    EXPECT_CODE(0x80004005u, CDateTime("20241301000000Z"));
    EXPECT_CODE(0x80004005u, CDateTime(""));
}

TEST(DateTime, PrintsOnlyTheFractionThereIs) {
    EXPECT_STREQ(CDateTime(2024, 1, 2, 3, 4, 5, 5, 0).tostring().c_str(),
                 "02.01.2024 03:04:05.005");
    EXPECT_STREQ(CDateTime(2024, 1, 2, 3, 4, 5, 0, 1).tostring().c_str(),
                 "02.01.2024 03:04:05.000001");
    EXPECT_STREQ(CDateTime(2024, 1, 2, 3, 4, 5, 0, 0).tostring().c_str(), "02.01.2024 03:04:05");
    EXPECT_STREQ(CDateTime(2024, 1, 2, 3, 4, 5, 0, 1).towstring().c_str(),
                 L"02.01.2024 03:04:05.000001");
    EXPECT_STREQ(
        CDateTime(2024, 1, 2, 3, 4, 5, 999, 0).getGeneralizedTimeTrimMicroseconds().c_str(),
        "02.01.2024 03:04:05");
}

TEST(DateTime, TextFormsRethrowWhatIsInFlight) {
    const auto beyond = CDateTime::from_ticks(1ull << 63);
    try {
        throw std::string("outer");
    } catch (const std::string&) {
        EXPECT_THROW(beyond.tostring(), std::string);
        EXPECT_THROW(beyond.getGeneralizedTime(), std::string);
        EXPECT_THROW(toXsdDateTimeString(beyond), std::string);
    }
    EXPECT_DEATH(beyond.getGeneralizedTime(), "");
}

TEST(DateTime, TakesSpansButNeverGoesBelowZero) {
    const CDateTime early(0L, 0);
    const auto late = early + CDateTimeSpan(0, 1);
    EXPECT_EQ((late - early).ticks(), 10u);
    EXPECT_CODE(0x80004005u, early - late);
    auto moved = early;
    moved += CDateTimeSpan::OneDay();
    moved -= CDateTimeSpan::OneDay();
    EXPECT_EQ(moved, early);
    EXPECT_CODE(0x80004005u, moved -= CDateTimeSpan::from_ticks(kUnixEpoch + 1));
    EXPECT_TRUE(early < late && late > early && early <= late && late >= early && early != late);
    EXPECT_LT(CDateTime::from_ticks(0xFFFFFFFF), CDateTime::from_ticks(0x100000000));
}

TEST(DateTime, ConvertsByTheZoneOfThisMoment) {
    ::setenv("TZ", "TST-3", 1);
    const CDateTime winter(2024, 1, 1, 12, 0, 0, 0, 0);
    EXPECT_EQ(winter.utcToLocal().hour(), 15u);
    EXPECT_EQ(winter.localToUtc().hour(), 9u);
    // Summer time all the year but the first hour: the offset is one hour more, also for a date of
    // the rest.
    ::setenv("TZ", "TST-3TDT,J1/0,J365/23", 1);
    ::tzset();
    EXPECT_EQ(winter.utcToLocal().hour(), 16u);
    ::unsetenv("TZ");
    ::tzset();
}

TEST(DateTimeSpan, WrapsMicrosecondsIn32Bits) {
    EXPECT_EQ(CDateTimeSpan(0, 429496730).ticks(), 4u);
    EXPECT_EQ(CDateTimeSpan(0, 429497u * 1000u).ticks(), 2704u);
    EXPECT_EQ(CDateTimeSpan(0xFFFFFFFF, 0).ticks(), 0xFFFFFFFFull * 10000000);
    EXPECT_EQ(CDateTimeSpan::OneYear().ticks(), 315360000000000u);
    EXPECT_EQ(CDateTimeSpan::OneMonth().ticks(), 25920000000000u);
    EXPECT_EQ(CDateTimeSpan::OneMillisecond().ticks(), 10000u);
}

TEST(DateTimeSpan, Computes) {
    const auto ten = CDateTimeSpan(10, 0);
    auto span = CDateTimeSpan(25, 0);
    EXPECT_EQ(span / ten, 2u);
    EXPECT_EQ(span % ten, CDateTimeSpan(5, 0));
    span -= ten;
    EXPECT_EQ(span, CDateTimeSpan(15, 0));
    EXPECT_CODE(0x80004005u, ten - span);
    span *= 4;
    span /= 3;
    EXPECT_EQ(span, CDateTimeSpan(20, 0));
    auto large = CDateTimeSpan::from_ticks(~0ull);
    large %= 7;
    EXPECT_EQ(large.getHighPart(), 0u);
    EXPECT_EQ(large.getLowPart(), ~0ull % 7);
}

TEST(DateTimeSpan, LosesZerosOfTheWholePartInItsText) {
    struct Case {
        CDateTimeSpan span;
        const char* text;
    };
    for (const auto& [span, text] :
         {Case{CDateTimeSpan(1, 0), "00000000000001Z"},
          Case{CDateTimeSpan(1, 500000), "00000000000001.5Z"},
          Case{CDateTimeSpan(10, 0), "0000000000001Z"}, Case{CDateTimeSpan(), "Z"},
          Case{CDateTimeSpan::OneYear() + CDateTimeSpan::OneMonth() * 11 + CDateTimeSpan(1, 1),
               "00011100000001.000001Z"}}) {
        EXPECT_STREQ(span.getGeneralizedTime().c_str(), text);
        EXPECT_STREQ(span.tostring().c_str(), text);
        const std::wstring wide(text, text + std::strlen(text));
        EXPECT_EQ(span.towstring().c_str(), wide);
    }
}

TEST(DateTimeSpan, ReadsLengthsByPlace) {
    EXPECT_EQ(CDateTimeSpan("00010203040506.5Z"),
              CDateTimeSpan::OneYear() + CDateTimeSpan::OneMonth() * 2 +
                  CDateTimeSpan::OneDay() * 3 + CDateTimeSpan::OneHour() * 4 +
                  CDateTimeSpan::OneMinute() * 5 + CDateTimeSpan(6, 500000));
    EXPECT_CODE(0x8007076Du, CDateTimeSpan("000x"));
}

} // namespace
} // namespace Halcyon
