#include <basalt/time_conversion.h>

#include <basalt/last_error.h>
#include <basalt/sup/test_error.h>

#include <gtest/gtest.h>

#include <ctime>

namespace {

FILETIME file_time(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t ticks(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

struct Moment {
    std::uint64_t ticks;
    SYSTEMTIME fields; // year, month, day of week, day, hour, minute, second, millisecond
};

// The day of week was taken from another calendar program.
const Moment kMoments[] = {
    {0, {1601, 1, 1, 1, 0, 0, 0, 0}},
    {116'444'736'000'000'000, {1970, 1, 4, 1, 0, 0, 0, 0}},
    {133'486'382'450'070'000, {2024, 1, 2, 2, 3, 4, 5, 7}},
    {125'963'423'999'990'000, {2000, 2, 2, 29, 23, 59, 59, 999}},
    {0x7FFF35F4F06C58F0 / 10000 * 10000, {30827, 12, 5, 31, 23, 59, 59, 999}},
};

BOOL to_file_time(const SYSTEMTIME& fields, std::uint64_t& result) {
    FILETIME time{};
    const BOOL good = SystemTimeToFileTime(&fields, &time);
    result = ticks(time);
    return good;
}

} // namespace

TEST(TimeConversion, KnownMomentsInBothDirections) {
    for (const Moment& moment : kMoments) {
        SCOPED_TRACE(moment.ticks);
        std::uint64_t result = 0;
        ASSERT_TRUE(to_file_time(moment.fields, result));
        EXPECT_EQ(result, moment.ticks);
        SYSTEMTIME fields{};
        const FILETIME time = file_time(moment.ticks + 9999); // below a millisecond: cut
        ASSERT_TRUE(FileTimeToSystemTime(&time, &fields));
        EXPECT_EQ(fields.wYear, moment.fields.wYear);
        EXPECT_EQ(fields.wMonth, moment.fields.wMonth);
        EXPECT_EQ(fields.wDayOfWeek, moment.fields.wDayOfWeek);
        EXPECT_EQ(fields.wDay, moment.fields.wDay);
        EXPECT_EQ(fields.wHour, moment.fields.wHour);
        EXPECT_EQ(fields.wMinute, moment.fields.wMinute);
        EXPECT_EQ(fields.wSecond, moment.fields.wSecond);
        EXPECT_EQ(fields.wMilliseconds, moment.fields.wMilliseconds);
    }
}

TEST(TimeConversion, AgreesWithTheCLibraryOverFourCenturies) {
    for (std::int64_t seconds = -11'644'473'600; seconds < 5'000'000'000; seconds += 8'640'067) {
        const std::time_t unix_time = seconds;
        std::tm parts{};
        gmtime_r(&unix_time, &parts);
        const FILETIME time =
            file_time(116'444'736'000'000'000 + static_cast<std::uint64_t>(seconds * 10'000'000));
        SYSTEMTIME fields{};
        ASSERT_TRUE(FileTimeToSystemTime(&time, &fields));
        ASSERT_EQ(fields.wYear, parts.tm_year + 1900);
        ASSERT_EQ(fields.wMonth, parts.tm_mon + 1);
        ASSERT_EQ(fields.wDay, parts.tm_mday);
        ASSERT_EQ(fields.wDayOfWeek, parts.tm_wday);
        ASSERT_EQ(fields.wSecond, parts.tm_sec);
        std::uint64_t back = 0;
        ASSERT_TRUE(to_file_time(fields, back));
        ASSERT_EQ(back, ticks(time));
    }
}

TEST(TimeConversion, FieldsThatNameNoTimeAreRefused) {
    const SYSTEMTIME bad[] = {
        {1600, 12, 0, 31, 0, 0, 0, 0}, {30828, 1, 0, 1, 0, 0, 0, 0},   {2024, 0, 0, 1, 0, 0, 0, 0},
        {2024, 13, 0, 1, 0, 0, 0, 0},  {2024, 257, 0, 1, 0, 0, 0, 0},  {2024, 1, 0, 0, 0, 0, 0, 0},
        {2024, 1, 0, 32, 0, 0, 0, 0},  {2024, 1, 0, 257, 0, 0, 0, 0},  {2023, 2, 0, 29, 0, 0, 0, 0},
        {1900, 2, 0, 29, 0, 0, 0, 0},  {2024, 1, 0, 1, 24, 0, 0, 0},   {2024, 1, 0, 1, 0, 60, 0, 0},
        {2024, 1, 0, 1, 0, 0, 60, 0},  {2024, 1, 0, 1, 0, 0, 0, 1000},
    };
    for (const SYSTEMTIME& fields : bad) {
        std::uint64_t result = 0;
        SetLastError(0);
        EXPECT_FALSE(to_file_time(fields, result)) << fields.wYear << "-" << fields.wMonth;
        EXPECT_EQ(GetLastError(), 87U);
    }
    SYSTEMTIME fields{};
    const FILETIME negative = file_time(0x8000000000000000);
    EXPECT_ERROR(87U, FileTimeToSystemTime(&negative, &fields));
    const FILETIME last = file_time(0x7FFFFFFFFFFFFFFF);
    EXPECT_TRUE(FileTimeToSystemTime(&last, &fields));
    EXPECT_EQ(fields.wYear, 30828);
}

TEST(TimeConversion, NowIsNow) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const auto seconds =
        static_cast<std::int64_t>((ticks(now) - 116'444'736'000'000'000) / 10'000'000);
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 2.0);
}

TEST(TimeConversion, HighHalfDecidesTheComparison) {
    const FILETIME early{0xFFFFFFFF, 1};
    const FILETIME late{0, 2};
    EXPECT_EQ(CompareFileTime(&early, &late), -1);
    EXPECT_EQ(CompareFileTime(&late, &early), 1);
    EXPECT_EQ(CompareFileTime(&late, &late), 0);
}
