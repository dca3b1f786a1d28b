// The time objects: accessors, the compiled text, comparison, day arithmetic.
#include "asn1rt/time_control.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "asn1rt/decode_buffer.h"
#include "asn1rt/generalized_time_control.h"
#include "asn1rt/status.h"
#include "asn1rt/test_allocator.h"
#include "asn1rt/utc_time_control.h"

namespace {

// A time over a text of its own, without a buffer.
template <typename Control>
struct TimeOn {
    explicit TimeOn(const char* given, unsigned char der = 0) : text(given), control(text, der) {}
    Control* operator->() { return &control; }

    const char* text;
    Control control;
};

using Generalized = TimeOn<ASN1CGeneralizedTime>;
using Utc = TimeOn<ASN1CUTCTime>;

// Runs with the given zone and puts back the old one.
class Zone {
public:
    explicit Zone(const char* zone) {
        if (const char* old = std::getenv("TZ")) {
            old_ = old;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~Zone() {
        old_.empty() ? unsetenv("TZ") : setenv("TZ", old_.c_str(), 1);
        tzset();
    }

private:
    std::string old_;
};

int fill(ASN1CTime& time, int year, int month, int day, int hour, int minute, int second) {
    time.clear();
    return time.setYear(year) | time.setMonth(month) | time.setDay(day) | time.setHour(hour) |
           time.setMinute(minute) | time.setSecond(second);
}

TEST(TimeControl, ReadsTheFieldsOfBothForms) {
    Generalized g("20240229123456.75-0330");
    EXPECT_EQ(g->getYear(), 2024);
    EXPECT_EQ(g->getMonth(), 2);
    EXPECT_EQ(g->getDay(), 29);
    EXPECT_EQ(g->getHour(), 12);
    EXPECT_EQ(g->getMinute(), 34);
    EXPECT_EQ(g->getSecond(), 56);
    EXPECT_EQ(g->getFraction(), 75);
    EXPECT_EQ(g->getDiffHour(), -3);
    EXPECT_EQ(g->getDiffMinute(), -30);
    EXPECT_EQ(g->getDiff(), -210);
    EXPECT_EQ(g->getUTC(), 0);
    EXPECT_EQ(g->getCentury(), 20);
    Utc u("500101000000Z");
    EXPECT_EQ(u->getYear(), 1950);
    EXPECT_EQ(u->getUTC(), 1);
    EXPECT_EQ(u->getFraction(), 0);
    EXPECT_EQ(u->setFraction(1), rtStatusNotSupported);
}

TEST(TimeControl, LongFractionKeepsItsLeadingDigits) {
    Generalized g("20240101000000.12345678901234567890Z");
    EXPECT_EQ(g->getFraction(), 123456789);
}

TEST(TimeControl, EveryAccessorReportsATextThatIsNoTime) {
    for (const char* text : {"nonsense", static_cast<const char*>(nullptr)}) {
        Generalized g(text);
        EXPECT_EQ(g->getYear(), rtStatusInvalidTime);
        EXPECT_EQ(g->getCtxtPtr()->errInfo.status, rtStatusInvalidTime);
        for (const int status :
             {g->getFraction(), g->getDiff(), g->getUTC(), static_cast<int>(g->getTime()),
              g->setYear(2024), g->setDay(1), g->setFraction(1), g->setUTC(1), g->setDiffHour(1),
              g->setDiff(1, 1), g->setDiff(60), g->getCentury(), g->setCentury(20)}) {
            EXPECT_EQ(status, rtStatusInvalidTime);
        }
        EXPECT_EQ(g.text, text);
        EXPECT_FALSE(g->equals(g.control)) << "it doesn't even equal itself";
    }
}

TEST(TimeControl, FieldByFieldUnderDer) {
    Generalized g(nullptr, 1);
    EXPECT_EQ(fill(g.control, 2050, 1, 2, 3, 0, 0), 0);
    EXPECT_STREQ(g.text, "20500102030000Z") << "seconds are always written";
    Utc u(nullptr, 1);
    EXPECT_EQ(fill(u.control, 2049, 12, 31, 23, 59, 58), 0);
    EXPECT_STREQ(u.text, "491231235958Z");
    EXPECT_EQ(u->setUTC(0), 0);
    EXPECT_STREQ(u.text, "491231235958Z");
    EXPECT_EQ(u->getTimeStringLen(), 13);
    char out[14];
    EXPECT_EQ(u->getTimeString(out, 13), nullptr);
    EXPECT_EQ(u->getTimeString(out, 14), out);
    EXPECT_STREQ(out, "491231235958Z");
}

TEST(TimeControl, NothingIsCompiledBeforeTheDateIsWhole) {
    Generalized g("kept");
    g->clear();
    EXPECT_EQ(g->compileString(), rtStatusInvalidTime);
    EXPECT_EQ(g->getYear(), -3);
    EXPECT_EQ(g->setDay(31), 0) << "a day before its month";
    EXPECT_EQ(g->setMonth(4), 0);
    EXPECT_EQ(g->setYear(2024), 0);
    EXPECT_STREQ(g.text, "kept");
    EXPECT_EQ(g->setHour(1), rtStatusInvalidTime) << "31 April";
    EXPECT_STREQ(g.text, "kept");
    EXPECT_EQ(g->setDay(0), 0) << "taken, and leaves the date without a day";
    EXPECT_EQ(g->setDay(30), 0);
    EXPECT_STREQ(g.text, "2024043001+00");
    char none[1];
    Generalized without_text(nullptr);
    EXPECT_EQ(without_text->getTimeStringLen(), 0);
    EXPECT_EQ(without_text->getTimeString(none, 1), nullptr);
}

TEST(TimeControl, SettersRefuseWhatIsOutOfRange) {
    Generalized g("20240229120000Z");
    const auto refused = [](int status) { return status == rtStatusInvalidTime; };
    EXPECT_TRUE(refused(g->setYear(-1)) && refused(g->setYear(10000)) &&
                refused(g->setYear(65536)));
    EXPECT_TRUE(refused(g->setMonth(0)) && refused(g->setMonth(13)));
    EXPECT_TRUE(refused(g->setDay(30)) && refused(g->setDay(70000)));
    EXPECT_TRUE(refused(g->setHour(24)) && refused(g->setHour(-1)));
    EXPECT_TRUE(refused(g->setMinute(60)) && refused(g->setSecond(60)));
    EXPECT_TRUE(refused(g->setFraction(-1)));
    EXPECT_TRUE(refused(g->setDiffHour(13)) && refused(g->setDiffHour(-13)));
    EXPECT_TRUE(refused(g->setDiff(0, 60)) && refused(g->setDiff(0, -60)));
    EXPECT_TRUE(refused(g->setDiff(13 * 60)));
    EXPECT_TRUE(refused(g->setCentury(100)) && refused(g->setCentury(-1)));
    EXPECT_STREQ(g.text, "20240229120000Z") << "untouched";
    EXPECT_TRUE(refused(g->setYear(2023))) << "29 February";
    EXPECT_EQ(g->setCentury(19), rtStatusInvalidTime) << "1923 has none either";
    EXPECT_EQ(g->setYear(2020), 0);
    EXPECT_EQ(g->setCentury(16), 0);
    EXPECT_STREQ(g.text, "1620022912Z");

    Utc u("240101120000Z");
    EXPECT_TRUE(refused(u->setYear(100)) && refused(u->setYear(1949)) &&
                refused(u->setYear(2050)) && refused(u->setYear(-1)));
    EXPECT_EQ(u->setYear(50), 0);
    EXPECT_EQ(u->getYear(), 1950);
    EXPECT_EQ(u->setYear(49), 0);
    EXPECT_EQ(u->getYear(), 2049);
    EXPECT_STREQ(u.text, "490101120000Z");
}

TEST(TimeControl, GeneralizedTimeIsWrittenAsShortAsItsFields) {
    Generalized g("20240101120000Z");
    g->setHour(13);
    EXPECT_STREQ(g.text, "2024010113Z");
    g->setMinute(5);
    EXPECT_STREQ(g.text, "202401011305Z");
    g->setMinute(0);
    g->setSecond(7);
    EXPECT_STREQ(g.text, "20240101130007Z");
    g->setSecond(0);
    g->setFraction(25);
    EXPECT_STREQ(g.text, "20240101130000.25Z");
}

// The fraction is kept as a number.
TEST(TimeControl, FractionLosesItsLeadingZeros) {
    Generalized g("20240101120000.05Z");
    EXPECT_EQ(g->getFraction(), 5);
    g->setMinute(1);
    EXPECT_STREQ(g.text, "20240101120100.5Z");
}

TEST(TimeControl, OffsetsAreWrittenOrMovedToUtc) {
    Generalized g("20240101003000+0100");
    g->setSecond(1);
    EXPECT_STREQ(g.text, "20240101003001+01");
    g->setDiff(-3, 30);
    EXPECT_STREQ(g.text, "20240101003001-0330") << "minutes take the sign of the hours";
    EXPECT_EQ(g->getDiff(), -210);
    g->setDiff(-30);
    EXPECT_STREQ(g.text, "20240101003001-0030");
    g->setDiffHour(1);
    EXPECT_STREQ(g.text, "20240101003001+0130");
    EXPECT_EQ(g->setUTC(1), 0);
    EXPECT_STREQ(g.text, "20231231230001Z");
    EXPECT_EQ(g->getHour(), 0) << "the fields stay those that were set";

    Generalized der("20240229233000.25-0100", 1);
    der->setMinute(30);
    EXPECT_STREQ(der.text, "20240301003000.25Z");
    Generalized edge("99991231233000-0100", 1);
    EXPECT_EQ(edge->setMinute(30), rtStatusInvalidTime) << "year 10000";

    Utc u("240101003000+0100");
    u->setSecond(1);
    EXPECT_STREQ(u.text, "240101003001+0100");
    u->setUTC(1);
    EXPECT_STREQ(u.text, "231231233001Z");
    Utc late("491231233000-0100");
    EXPECT_EQ(late->setUTC(1), rtStatusInvalidTime) << "2050 has no UTCTime";
}

// A local time has no form of its own among the fields: when it's changed, it's written as UTC.
TEST(TimeControl, LocalTimeGetsAnOffsetOfZero) {
    Generalized g("20240101120000");
    g->setMinute(30);
    EXPECT_STREQ(g.text, "202401011230+00");
    Utc u("240101120000");
    u->setMinute(30);
    EXPECT_STREQ(u.text, "240101123000+0000");
    Utc fresh(nullptr);
    fill(fresh.control, 24, 1, 2, 3, 4, 5);
    EXPECT_STREQ(fresh.text, "240102030405Z") << "while a cleared UTCTime is one of UTC";
}

TEST(TimeControl, FixedTextIsNotOverrun) {
    char array[16] = "20240101120000Z";
    char* text = array;
    ASN1CGeneralizedTime time(text, sizeof array, 1);
    EXPECT_EQ(time.setSecond(59), 0);
    EXPECT_STREQ(array, "20240101120059Z");
    EXPECT_EQ(time.setFraction(5), rtStatusInvalidTime);
    EXPECT_STREQ(array, "20240101120059Z");
    char* nothing = nullptr;
    ASN1CUTCTime absent(nothing, 16, 1);
    EXPECT_EQ(fill(absent, 24, 1, 1, 0, 0, 0), rtStatusInvalidTime);
}

TEST(TimeControl, DynamicTextWithoutMemory) {
    Generalized g("20240101120000Z");
    g->getYear();
    const FailingAllocator none(0);
    EXPECT_EQ(g->setSecond(1), rtStatusNoMemory);
    EXPECT_STREQ(g.text, "20240101120000Z");
}

TEST(TimeControl, ComparesPointsInTime) {
    Generalized noon("20240101120000Z");
    Generalized same("20240101153000+0330");
    Utc other_form("240101080000-0400");
    Generalized later("20240101120000.5Z");
    Generalized quarter("20240101120000.25Z");
    EXPECT_TRUE(noon.control == same.control);
    EXPECT_TRUE(noon->equals(other_form.control));
    EXPECT_FALSE(noon.control != same.control);
    EXPECT_TRUE(noon.control < later.control);
    EXPECT_TRUE(quarter.control < later.control) << "25 behind the point is less than 5";
    EXPECT_TRUE(later.control > noon.control);
    EXPECT_TRUE(noon.control <= same.control && noon.control >= same.control);
    EXPECT_FALSE(noon.control > same.control || noon.control < same.control);
    EXPECT_TRUE(noon.control != later.control);
    Generalized leap("20000229000000Z"), next("20000301000000Z");
    EXPECT_TRUE(leap.control < next.control);
    Generalized bad("x");
    EXPECT_FALSE(noon.control < bad.control || noon.control > bad.control ||
                 noon.control <= bad.control || noon.control == bad.control);
}

TEST(TimeControl, SecondsSinceEpochInUtcAndInAZone) {
    const Zone zone("XYZ-05:30");       // five and a half hours east
    constexpr long moment = 1709210096; // 2024-02-29 12:34:56 UTC
    Generalized g(nullptr);
    EXPECT_EQ(g->setTime(moment, 0), 0);
    EXPECT_STREQ(g.text, "20240229123456Z");
    Generalized local(nullptr);
    EXPECT_EQ(local->setTime(moment, 1), 0);
    EXPECT_STREQ(local.text, "20240229180456+0530");
    EXPECT_TRUE(g.control == local.control);
    Utc u(nullptr);
    EXPECT_EQ(u->setTime(moment, 1), 0);
    EXPECT_STREQ(u.text, "240229180456+0530");
    EXPECT_EQ(u->setTime(4102444800, 0), rtStatusInvalidTime) << "2100";
    EXPECT_EQ(g->setTime(0x7FFFFFFFFFFFFFFF, 0), rtStatusInvalidTime);
    Generalized der(nullptr, 1);
    EXPECT_EQ(der->setTime(moment, 1), 0);
    EXPECT_STREQ(der.text, "20240229123456Z");
    // mktime takes the fields as local time, and the offset is added to that.
    EXPECT_EQ(g->getTime(), moment - 19800);
    EXPECT_EQ(local->getTime(), moment + 19800);
}

TEST(TimeControl, ZoneTooFarEastHasNoOffset) {
    const Zone zone("XYZ-13");
    Generalized g(nullptr);
    EXPECT_EQ(g->setTime(0, 1), rtStatusInvalidTime);
}

TEST(TimeControl, OnBufferAndContextTextsOutliveTheControl) {
    ASN1BERDecodeBuffer buffer;
    ASN1CtxtPtr context = buffer.getContext();
    const char* texts[4] = {};
    char arrays[4][16] = {};
    char* fixed[4] = {arrays[0], arrays[1], arrays[2], arrays[3]};
    EXPECT_EQ(
        fill(*std::make_unique<ASN1CGeneralizedTime>(buffer, texts[0], 1), 2024, 1, 2, 3, 4, 5), 0);
    EXPECT_EQ(
        fill(*std::make_unique<ASN1CGeneralizedTime>(*context, texts[1], 1), 2024, 1, 2, 3, 4, 5),
        0);
    EXPECT_EQ(fill(*std::make_unique<ASN1CUTCTime>(buffer, texts[2], 1), 2024, 1, 2, 3, 4, 5), 0);
    EXPECT_EQ(fill(*std::make_unique<ASN1CUTCTime>(*context, texts[3], 1), 2024, 1, 2, 3, 4, 5), 0);
    ASN1CGeneralizedTime on_array(buffer, fixed[0], 16, 1);
    ASN1CGeneralizedTime on_array_too(*context, fixed[1], 16, 1);
    ASN1CUTCTime utc_on_array(buffer, fixed[2], 16, 1);
    ASN1CUTCTime utc_on_array_too(*context, fixed[3], 16, 1);
    fill(on_array, 2024, 1, 2, 3, 4, 5);
    fill(on_array_too, 2024, 1, 2, 3, 4, 5);
    fill(utc_on_array, 2024, 1, 2, 3, 4, 5);
    fill(utc_on_array_too, 2024, 1, 2, 3, 4, 5);
    for (int i = 0; i < 4; ++i) {
        const char* expected = i < 2 ? "20240102030405Z" : "240102030405Z";
        EXPECT_STREQ(texts[i], expected);
        EXPECT_STREQ(arrays[i], expected);
    }
}

// The arithmetic of days, against the C library.
struct Arithmetic : ASN1CGeneralizedTime {
    using ASN1CTime::addDays;
    using ASN1CTime::addMilliseconds;
    using ASN1CTime::checkDate;
    using ASN1CTime::Fields;
    using ASN1CTime::getDaysNum;
};

TEST(TimeControl, DayNumbersAgreeWithTheCLibrary) {
    constexpr std::int64_t epoch = 719162;
    EXPECT_EQ(Arithmetic::getDaysNum(1, 1, 1), 0);
    EXPECT_EQ(Arithmetic::getDaysNum(1970, 1, 1), epoch);
    for (std::int64_t day = -150'000; day < 150'000; day += 17) {
        const std::time_t seconds = day * 86400;
        std::tm tm{};
        gmtime_r(&seconds, &tm);
        const int expected[] = {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday};
        ASSERT_EQ(Arithmetic::getDaysNum(expected[0], expected[1], expected[2]), epoch + day);
        int year = 1970, month = 1, date = 1;
        Arithmetic::addDays(day, year, month, date);
        ASSERT_TRUE(year == expected[0] && month == expected[1] && date == expected[2]) << day;
    }
    int year = 2000, month = 12, day = 31; // the last day of a cycle of 400 years
    Arithmetic::addDays(0, year, month, day);
    EXPECT_TRUE(year == 2000 && month == 12 && day == 31);
    Arithmetic::addDays(-730'500, year, month, day);
    EXPECT_EQ(year, 0) << "before the year 1";
}

TEST(TimeControl, MillisecondsCarryIntoDays) {
    Arithmetic::Fields fields{2024, 2, 28, 23, 59, 59, 9};
    Arithmetic::addMilliseconds(100, fields);
    EXPECT_TRUE(fields.day == 29 && fields.hour == 0 && fields.second == 0 && fields.fraction == 0);
    Arithmetic::addMilliseconds(-86'400'000LL * 29 - 200, fields);
    EXPECT_TRUE(fields.month == 1 && fields.day == 30 && fields.second == 59 &&
                fields.fraction == 8);
    EXPECT_TRUE(Arithmetic::checkDate(29, 2, -3) && Arithmetic::checkDate(99, -3, 2024));
    EXPECT_FALSE(Arithmetic::checkDate(30, 2, -3) || Arithmetic::checkDate(1, 13, 2024));
}

} // namespace
