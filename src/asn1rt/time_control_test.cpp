// The time objects: accessors, the compiled text, comparison, day arithmetic.
#include <chronoseal/asn1rt/time_control.h>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>

#include <gmock/gmock.h>

#include <chronoseal/asn1rt/decode_buffer.h>
#include <chronoseal/asn1rt/generalized_time_control.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/utc_time_control.h>

namespace {

using testing::ElementsAre;

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
    const int fields[] = {g->getYear(),       g->getMonth(),  g->getDay(),      g->getHour(),
                          g->getMinute(),     g->getSecond(), g->getFraction(), g->getDiffHour(),
                          g->getDiffMinute(), g->getDiff(),   g->getUTC(),      g->getCentury()};
    EXPECT_THAT(fields, ElementsAre(2024, 2, 29, 12, 34, 56, 75, -3, -30, -210, 0, 20));
    Generalized precise("20240101000000.12345678901234567890Z");
    EXPECT_EQ(precise->getFraction(), 123456789) << "the leading digits";
    Utc u("500101000000Z");
    EXPECT_EQ(u->getYear(), 1950);
    EXPECT_EQ(u->getUTC(), 1);
    EXPECT_EQ(u->getFraction(), 0);
    EXPECT_EQ(u->setFraction(1), rtStatusNotSupported);
}

TEST(TimeControl, EveryAccessorReportsATextThatIsNoTime) {
    for (const char* text : {"nonsense", static_cast<const char*>(nullptr)}) {
        Generalized g(text);
        for (const int status :
             {g->getYear(), g->getFraction(), g->getDiff(), g->getUTC(),
              static_cast<int>(g->getTime()), g->setYear(2024), g->setDay(1), g->setFraction(1),
              g->setUTC(1), g->setDiffHour(1), g->setDiff(1, 1), g->setDiff(60), g->getCentury(),
              g->setCentury(20), g->getCtxtPtr()->errInfo.status}) {
            EXPECT_EQ(status, rtStatusInvalidTime);
        }
        EXPECT_EQ(g.text, text);
        EXPECT_FALSE(g->equals(g.control)) << "it doesn't even equal itself";
    }
}

TEST(TimeControl, FieldByField) {
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
    EXPECT_STREQ(u->getTimeString(out, 14), "491231235958Z");
    Utc fresh(nullptr);
    fill(fresh.control, 24, 1, 2, 3, 4, 5);
    EXPECT_STREQ(fresh.text, "240102030405Z") << "a cleared UTCTime is one of UTC";
    Generalized without_text(nullptr);
    EXPECT_EQ(without_text->getTimeStringLen(), 0);
    EXPECT_EQ(without_text->getTimeString(out, 1), nullptr);
}

TEST(TimeControl, NothingIsCompiledBeforeTheDateIsWhole) {
    Generalized g("kept");
    g->clear();
    EXPECT_EQ(g->compileString(), rtStatusInvalidTime);
    EXPECT_EQ(g->getYear(), -3);
    EXPECT_EQ(g->setDay(31), 0) << "a day before its month";
    EXPECT_EQ(g->setMonth(4) | g->setYear(2024), 0);
    EXPECT_EQ(g->setHour(1), rtStatusInvalidTime) << "31 April";
    EXPECT_STREQ(g.text, "kept");
    EXPECT_EQ(g->setDay(0), 0) << "taken, and leaves the date without a day";
    EXPECT_EQ(g->setDay(30), 0);
    EXPECT_STREQ(g.text, "2024043001+00");
}

TEST(TimeControl, SettersRefuseWhatIsOutOfRange) {
    Generalized g("20240229120000Z");
    for (const int status :
         {g->setYear(-1), g->setYear(10000), g->setYear(65536), g->setMonth(0), g->setMonth(13),
          g->setDay(30), g->setDay(70000), g->setHour(24), g->setHour(-1), g->setMinute(60),
          g->setSecond(60), g->setFraction(-1), g->setDiffHour(13), g->setDiffHour(-13),
          g->setDiff(0, 60), g->setDiff(0, -60), g->setDiff(13 * 60), g->setCentury(100),
          g->setCentury(-1)}) {
        EXPECT_EQ(status, rtStatusInvalidTime);
    }
    EXPECT_STREQ(g.text, "20240229120000Z") << "untouched";
    EXPECT_EQ(g->setYear(2023), rtStatusInvalidTime) << "29 February";
    EXPECT_EQ(g->setCentury(19), rtStatusInvalidTime) << "1923 has none either";
    EXPECT_EQ(g->setYear(2020) | g->setCentury(16), 0);
    EXPECT_STREQ(g.text, "1620022912Z");
    Utc u("240101120000Z");
    for (const int year : {100, 1949, 2050, -1}) {
        EXPECT_EQ(u->setYear(year), rtStatusInvalidTime);
    }
    EXPECT_EQ(u->setYear(50), 0);
    EXPECT_EQ(u->getYear(), 1950);
    EXPECT_EQ(u->setYear(49), 0);
    EXPECT_STREQ(u.text, "490101120000Z");
}

// What a change makes of a text: as short as its fields, in UTC or with its offset.
TEST(TimeControl, ChangedTexts) {
    struct Row {
        const char* text;
        std::function<int(ASN1CTime&)> change;
        const char* changed;
    };
    using T = ASN1CTime;
    const auto check = [](auto* kind, unsigned char der, const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            TimeOn<std::remove_pointer_t<decltype(kind)>> time(row.text, der);
            EXPECT_EQ(row.change(time.control), row.changed == nullptr ? rtStatusInvalidTime : 0);
            EXPECT_STREQ(time.text, row.changed == nullptr ? row.text : row.changed);
        }
    };
    const auto second = [](T& t) { return t.setSecond(1); };
    const auto half_past = [](T& t) { return t.setMinute(30); };
    const auto in_utc = [](T& t) { return t.setUTC(1); };
    check(static_cast<ASN1CGeneralizedTime*>(nullptr), 0,
          {{"20240101120000Z", [](T& t) { return t.setHour(13); }, "2024010113Z"},
           {"2024010113Z", [](T& t) { return t.setMinute(5); }, "202401011305Z"},
           {"2024010113Z", second, "20240101130001Z"},
           {"20240101130007Z", [](T& t) { return t.setSecond(0); }, "2024010113Z"},
           {"2024010113Z", [](T& t) { return t.setFraction(25); }, "20240101130000.25Z"},
           {"20240101120000.05Z", half_past, "20240101123000.5Z"}, // it's kept as a number
           {"20240101003000+0100", second, "20240101003001+01"},
           {"20240101003001+01", [](T& t) { return t.setDiff(-3, 30); }, "20240101003001-0330"},
           {"20240101003001-0330", [](T& t) { return t.setDiff(-30); }, "20240101003001-0030"},
           {"20240101003001-0030", [](T& t) { return t.setDiffHour(1); }, "20240101003001+0130"},
           {"20240101003001+0130", in_utc, "20231231230001Z"},
           {"20240101120000", half_past, "202401011230+00"}}); // local time has no form
    check(static_cast<ASN1CGeneralizedTime*>(nullptr), 1,
          {{"20240229233000.25-0100", half_past, "20240301003000.25Z"},
           {"99991231233000-0100", half_past, nullptr}}); // year 10000
    check(static_cast<ASN1CUTCTime*>(nullptr), 0,
          {{"240101003000+0100", second, "240101003001+0100"},
           {"240101003001+0100", in_utc, "231231233001Z"},
           {"491231233000-0100", in_utc, nullptr}, // 2050 has no UTCTime
           {"240101120000", half_past, "240101123000+0000"}});
    Generalized g("20240101003001+01");
    EXPECT_EQ(g->setUTC(1), 0);
    EXPECT_EQ(g->getHour(), 0) << "the fields stay those that were set";
}

TEST(TimeControl, FixedTextIsNotOverrunNorTextLostWithoutMemory) {
    char array[16] = "20240101120000Z";
    char* text = array;
    ASN1CGeneralizedTime time(text, sizeof array, 1);
    EXPECT_EQ(time.setSecond(59), 0);
    EXPECT_STREQ(array, "20240101120059Z");
    EXPECT_EQ(time.setFraction(5), rtStatusInvalidTime);
    EXPECT_STREQ(array, "20240101120059Z");
    struct {
        char array[15] = {'2', '0', '2', '4', '0', '1', '0', '1',
                          '1', '2', '0', '0', '0', '0', 'Z'};
        char behind[5] = "tail";
    } full;
    text = full.array;
    ASN1CGeneralizedTime endless(text, sizeof full.array, 1);
    EXPECT_EQ(endless.getYear(), rtStatusInvalidTime) << "no terminator in the array";
    EXPECT_EQ(endless.getTimeStringLen(), 15);
    char copy[16];
    EXPECT_EQ(endless.getTimeString(copy, 15), nullptr);
    EXPECT_STREQ(endless.getTimeString(copy, 16), "20240101120000Z");
    char* nothing = nullptr;
    ASN1CUTCTime absent(nothing, 16, 1);
    EXPECT_EQ(fill(absent, 24, 1, 1, 0, 0, 0), rtStatusInvalidTime);
    Generalized dynamic("20240101120000Z");
    dynamic->getYear();
    const FailingAllocator none(0);
    EXPECT_EQ(dynamic->setSecond(1), rtStatusNoMemory);
    EXPECT_STREQ(dynamic.text, "20240101120000Z");
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
    const Zone too_far_east("XYZ-13");
    EXPECT_EQ(Generalized(nullptr)->setTime(0, 1), rtStatusInvalidTime) << "no such offset";
}

// Of both forms, with a text that grows and one in an array.
template <typename Control>
void outlives(ASN1MessageBufferIF& buffer, const char* expected) {
    ASN1CtxtPtr context = buffer.getContext();
    const char* texts[2] = {};
    char arrays[2][16] = {};
    char* fixed[2] = {arrays[0], arrays[1]};
    const auto filled = [](Control time) { return fill(time, 2024, 1, 2, 3, 4, 5); };
    EXPECT_EQ(filled(Control(buffer, texts[0], 1)) | filled(Control(*context, texts[1], 1)), 0);
    EXPECT_EQ(filled(Control(buffer, fixed[0], 16, 1)) | filled(Control(*context, fixed[1], 16, 1)),
              0);
    for (const char* text :
         std::initializer_list<const char*>{texts[0], texts[1], fixed[0], fixed[1]}) {
        EXPECT_STREQ(text, expected);
    }
}

TEST(TimeControl, OnBufferAndContextTextsOutliveTheControl) {
    ASN1BERDecodeBuffer buffer;
    outlives<ASN1CGeneralizedTime>(buffer, "20240102030405Z");
    outlives<ASN1CUTCTime>(buffer, "240102030405Z");
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
