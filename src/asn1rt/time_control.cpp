// ASN1CTime: the fields, their ranges, and the arithmetic of days that brings times to UTC.
#include <chronoseal/asn1rt/time_control.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <chronoseal/asn1rt/calendar.h>
#include <chronoseal/asn1rt/character_text.h>
#include <chronoseal/asn1rt/status.h>

namespace {

// Days of a common year before the first of the month behind the index.
constexpr std::uint32_t daysAfterMonth[13] = {0,   31,  59,  90,  120, 151, 181,
                                              212, 243, 273, 304, 334, 365};

constexpr std::int64_t kDayMillis = 86'400'000;
constexpr int kMaxDiffHours = 12;

std::int64_t floor_div(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

int days_before(int month, int year) {
    const int leap_day = month > 2 && rtIsLeapYear(year) ? 1 : 0;
    return static_cast<int>(daysAfterMonth[month - 1]) + leap_day;
}

// The number stands for its own digits behind the point: 5 is half a second, 25 a quarter.
int fraction_millis(int fraction) {
    std::int64_t scaled = std::int64_t{fraction} * 100;
    for (int tenths = fraction; tenths >= 10; tenths /= 10) {
        scaled /= 10;
    }
    return static_cast<int>(scaled);
}

// As many leading digits as an int holds.
int fraction_number(const char* digits) {
    char leading[10];
    std::memcpy(leading, digits, sizeof leading - 1);
    leading[sizeof leading - 1] = '\0';
    return std::atoi(leading);
}

} // namespace

ASN1CTime::ASN1CTime(ASN1MessageBufferIF& buffer, char*& text, int size, unsigned char der)
    : ASN1CType(buffer), utc(der != 0), derRules(der != 0),
      timeStr(const_cast<const char**>(&text)), strSize(size) {}

ASN1CTime::ASN1CTime(ASN1MessageBufferIF& buffer, const char*& text, unsigned char der)
    : ASN1CType(buffer), utc(der != 0), derRules(der != 0), timeStr(&text), strSize(0) {}

ASN1CTime::ASN1CTime(ASN1Context& sharedContext, char*& text, int size, unsigned char der)
    : ASN1CType(sharedContext), utc(der != 0), derRules(der != 0),
      timeStr(const_cast<const char**>(&text)), strSize(size) {}

ASN1CTime::ASN1CTime(ASN1Context& sharedContext, const char*& text, unsigned char der)
    : ASN1CType(sharedContext), utc(der != 0), derRules(der != 0), timeStr(&text), strSize(0) {}

ASN1CTime::ASN1CTime(char*& text, int size, unsigned char der)
    : utc(der != 0), derRules(der != 0), timeStr(const_cast<const char**>(&text)), strSize(size) {}

ASN1CTime::ASN1CTime(const char*& text, unsigned char der)
    : utc(der != 0), derRules(der != 0), timeStr(&text), strSize(0) {}

bool ASN1CTime::checkDate(int day, int month, int year) {
    if (day < 1 || month < 1) {
        return true;
    }
    constexpr int kSomeLeapYear = 2000;
    return day <= rtDaysInMonth(month, year < 0 ? kSomeLeapYear : year);
}

std::int64_t ASN1CTime::getDaysNum(int year, int month, int day) {
    const std::int64_t before = std::int64_t{year} - 1;
    return before * 365 + floor_div(before, 4) - floor_div(before, 100) + floor_div(before, 400) +
           days_before(month, year) + day - 1;
}

std::int64_t ASN1CTime::getMillisNum(const Fields& fields) {
    const std::int64_t seconds =
        (std::int64_t{fields.hour} * 60 + fields.minute) * 60 + fields.second;
    return seconds * 1000 + fraction_millis(fields.fraction);
}

void ASN1CTime::addDays(std::int64_t days, int& year, int& month, int& day) {
    std::int64_t rest = getDaysNum(year, month, day) + days;
    const std::int64_t cycles = floor_div(rest, 146097);
    rest -= cycles * 146097;
    // The last day of a cycle of 400 or 4 years belongs to its last century or year.
    const std::int64_t centuries = std::min<std::int64_t>(rest / 36524, 3);
    rest -= centuries * 36524;
    const std::int64_t fours = rest / 1461;
    rest -= fours * 1461;
    const std::int64_t years = std::min<std::int64_t>(rest / 365, 3);
    rest -= years * 365;
    year = static_cast<int>(cycles * 400 + centuries * 100 + fours * 4 + years + 1);
    month = 12;
    while (days_before(month, year) > rest) {
        --month;
    }
    day = static_cast<int>(rest - days_before(month, year) + 1);
}

void ASN1CTime::addMilliseconds(std::int64_t millis, Fields& fields) {
    // A move by whole seconds leaves the fraction with all its digits. Any other leaves tenths.
    const int fraction = fields.fraction;
    const bool whole_seconds = millis % 1000 == 0;
    fields.fraction = whole_seconds ? 0 : fraction;
    const std::int64_t sum = getMillisNum(fields) + millis;
    const std::int64_t days = floor_div(sum, kDayMillis);
    const auto rest = static_cast<int>(sum - days * kDayMillis);
    fields.fraction = whole_seconds ? fraction : rest % 1000 / 100;
    fields.second = rest / 1000 % 60;
    fields.minute = rest / 60'000 % 60;
    fields.hour = rest / 3'600'000;
    addDays(days, fields.year, fields.month, fields.day);
}

int ASN1CTime::fail(int status) {
    ASN1CTXT* ctxt = getCtxtPtr();
    return ctxt != nullptr ? rtErrSetData(&ctxt->errInfo, status) : status;
}

int ASN1CTime::ensure_parsed() {
    if (parsed) {
        return rtStatusOk;
    }
    // A fixed text that isn't terminated within its array is none.
    const bool bounded = strSize <= 0 || *timeStr == nullptr || getTimeStringLen() < strSize;
    const int status = bounded ? parseString(*timeStr) : rtStatusInvalidTime;
    return status != rtStatusOk ? fail(status) : status;
}

bool ASN1CTime::is_complete() const {
    return year >= 0 && month >= 1 && day >= 1 && hour >= 0;
}

void ASN1CTime::load(const ASN1DateTime& time) {
    year = time.year;
    month = time.month;
    day = time.day;
    hour = time.hour;
    minute = time.minute;
    second = time.second;
    diffHour = time.diffHour;
    diffMinute = time.diffMinute;
    fraction = fraction_number(time.fraction);
    utc = time.utc != 0;
    parsed = true;
}

int ASN1CTime::get(short ASN1CTime::*field) {
    const int status = ensure_parsed();
    return status != rtStatusOk ? status : this->*field;
}

int ASN1CTime::getYear() {
    return get(&ASN1CTime::year);
}
int ASN1CTime::getMonth() {
    return get(&ASN1CTime::month);
}
int ASN1CTime::getDay() {
    return get(&ASN1CTime::day);
}
int ASN1CTime::getHour() {
    return get(&ASN1CTime::hour);
}
int ASN1CTime::getMinute() {
    return get(&ASN1CTime::minute);
}
int ASN1CTime::getSecond() {
    return get(&ASN1CTime::second);
}
int ASN1CTime::getDiffHour() {
    return get(&ASN1CTime::diffHour);
}
int ASN1CTime::getDiffMinute() {
    return get(&ASN1CTime::diffMinute);
}

int ASN1CTime::getFraction() {
    const int status = ensure_parsed();
    return status != rtStatusOk ? status : fraction;
}

int ASN1CTime::getDiff() {
    const int status = ensure_parsed();
    return status != rtStatusOk ? status : diffHour * 60 + diffMinute;
}

int ASN1CTime::getUTC() {
    const int status = ensure_parsed();
    return status != rtStatusOk ? status : static_cast<int>(utc);
}

long ASN1CTime::getTime() {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    // The offset is added, not taken away: callers compensate for it.
    return std::mktime(&fields) + (diffHour * 3600L + diffMinute * 60L);
}

int ASN1CTime::changed() {
    return is_complete() ? compileString() : rtStatusOk;
}

int ASN1CTime::set(short ASN1CTime::*field, int value, int lowest, int highest) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    if (value < lowest || value > highest) {
        return fail(rtStatusInvalidTime);
    }
    this->*field = static_cast<short>(value);
    return changed();
}

int ASN1CTime::setYear(int value) {
    return set(&ASN1CTime::year, value, 0, 9999);
}
int ASN1CTime::setMonth(int value) {
    return set(&ASN1CTime::month, value, 1, 12);
}
int ASN1CTime::setHour(int value) {
    return set(&ASN1CTime::hour, value, 0, 23);
}
int ASN1CTime::setMinute(int value) {
    return set(&ASN1CTime::minute, value, 0, 59);
}
int ASN1CTime::setSecond(int value) {
    return set(&ASN1CTime::second, value, 0, 59);
}

int ASN1CTime::setDay(int value) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    if (!checkDate(value, month, year)) {
        return fail(rtStatusInvalidTime);
    }
    // Without a month any day passes here, and is judged when the text is compiled.
    return set(&ASN1CTime::day, std::max<int>(value, kUnset), kUnset, SHRT_MAX);
}

int ASN1CTime::setFraction(int value) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    if (value < 0) {
        return fail(rtStatusInvalidTime);
    }
    fraction = value;
    return changed();
}

int ASN1CTime::setUTC(unsigned char value) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    utc = value != 0;
    return changed();
}

int ASN1CTime::setDiffHour(int value) {
    const int status = ensure_parsed();
    return status != rtStatusOk ? status : setDiff(value, diffMinute);
}

int ASN1CTime::setDiff(int hours, int minutes) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    if (hours < -kMaxDiffHours || hours > kMaxDiffHours || minutes <= -60 || minutes >= 60) {
        return fail(rtStatusInvalidTime);
    }
    if (hours != 0) {
        minutes = hours < 0 ? -std::abs(minutes) : std::abs(minutes);
    }
    diffHour = static_cast<short>(hours);
    diffMinute = static_cast<short>(minutes);
    return changed();
}

int ASN1CTime::setDiff(int minutes) {
    return setDiff(minutes / 60, minutes % 60);
}

void ASN1CTime::clear() {
    year = month = day = hour = kUnset;
    minute = second = diffHour = diffMinute = 0;
    fraction = 0;
    utc = derRules;
    parsed = true;
}

bool ASN1CTime::instant(std::int64_t& millis) {
    if (ensure_parsed() != rtStatusOk || !is_complete()) {
        return false;
    }
    const Fields fields{year, month, day, hour, minute, second, fraction};
    millis = getDaysNum(year, month, day) * kDayMillis + getMillisNum(fields) -
             (diffHour * 60 + diffMinute) * 60'000;
    return true;
}

bool ASN1CTime::equals(ASN1CTime& other) {
    std::int64_t a = 0;
    std::int64_t b = 0;
    return instant(a) && other.instant(b) && a == b;
}

bool ASN1CTime::operator==(ASN1CTime& other) {
    return equals(other);
}

bool ASN1CTime::operator!=(ASN1CTime& other) {
    return !equals(other);
}

bool ASN1CTime::operator>(ASN1CTime& other) {
    std::int64_t a = 0;
    std::int64_t b = 0;
    return instant(a) && other.instant(b) && a > b;
}

bool ASN1CTime::operator<(ASN1CTime& other) {
    std::int64_t a = 0;
    std::int64_t b = 0;
    return instant(a) && other.instant(b) && a < b;
}

bool ASN1CTime::operator>=(ASN1CTime& other) {
    return *this > other || equals(other);
}

bool ASN1CTime::operator<=(ASN1CTime& other) {
    return *this < other || equals(other);
}

bool ASN1CTime::written_fields(bool in_utc, Fields& fields) const {
    if (!is_complete() || !checkDate(day, month, year)) {
        return false;
    }
    fields = {year, month, day, hour, minute, second, fraction};
    if (in_utc) {
        addMilliseconds(-(diffHour * 60 + diffMinute) * 60'000LL, fields);
    }
    return fields.year >= 0 && fields.year <= 9999;
}

int ASN1CTime::fill_from_time(long time, unsigned char diffTime) {
    const std::time_t seconds = time;
    std::tm universal{};
    std::tm local{};
    if (gmtime_r(&seconds, &universal) == nullptr || localtime_r(&seconds, &local) == nullptr) {
        return fail(rtStatusInvalidTime);
    }
    const auto minutes_of = [](const std::tm& tm) {
        return getDaysNum(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday) * 1440 + tm.tm_hour * 60 +
               tm.tm_min;
    };
    const bool in_utc = diffTime == 0 || utc;
    const std::tm& tm = in_utc ? universal : local;
    const auto diff = in_utc ? 0 : static_cast<int>(minutes_of(local) - minutes_of(universal));
    if (tm.tm_year < -1900 || tm.tm_year > 9999 - 1900 || std::abs(diff) / 60 > kMaxDiffHours) {
        return fail(rtStatusInvalidTime);
    }
    year = static_cast<short>(tm.tm_year + 1900);
    month = static_cast<short>(tm.tm_mon + 1);
    day = static_cast<short>(tm.tm_mday);
    hour = static_cast<short>(tm.tm_hour);
    minute = static_cast<short>(tm.tm_min);
    second = static_cast<short>(std::min(tm.tm_sec, 59));
    fraction = 0;
    diffHour = static_cast<short>(diff / 60);
    diffMinute = static_cast<short>(diff % 60);
    utc = in_utc;
    parsed = true;
    return compileString();
}

int ASN1CTime::store_text(const char* made) {
    if (strSize == 0) {
        const char* copy = rtUTF8Strdup(getCtxtPtr(), made);
        if (copy == nullptr) {
            return fail(rtStatusNoMemory);
        }
        *timeStr = copy;
        return rtStatusOk;
    }
    const std::size_t size = std::strlen(made) + 1;
    if (*timeStr == nullptr || strSize < 0 || size > static_cast<std::size_t>(strSize)) {
        return fail(rtStatusInvalidTime);
    }
    std::memcpy(const_cast<char*>(*timeStr), made, size);
    return rtStatusOk;
}

int ASN1CTime::getTimeStringLen() const {
    if (*timeStr == nullptr) {
        return 0;
    }
    const std::size_t limit = strSize > 0 ? static_cast<std::size_t>(strSize) : INT_MAX;
    return static_cast<int>(strnlen(*timeStr, limit));
}

char* ASN1CTime::getTimeString(char* out, int size) const {
    const int length = getTimeStringLen();
    if (*timeStr == nullptr || length >= size) {
        return nullptr;
    }
    std::memcpy(out, *timeStr, static_cast<std::size_t>(length));
    out[length] = '\0';
    return out;
}
