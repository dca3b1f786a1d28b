// CDateTime: a point in UTC, in ticks of 100 nanoseconds since 1601, cut to microseconds. Failures
// are thrown as CAtlException; the calendar is that of the platform's conversions.
#pragma once

#include <cstdint>
#include <ctime>

#include <basalt/file_time.h>
#include <chronoseal/base/date_time_span.h>
#include <chronoseal/base/string_proxy.h>
#include <chronoseal/visibility.h>

namespace Halcyon {

// A plain value of eight bytes, the high half first. One thread at a time.
class CHRONOSEAL_API CDateTime {
public:
    // Unix time. microseconds * 10 is taken in 32 bits.
    CDateTime(long seconds, unsigned int microseconds) noexcept;
    CDateTime(long long seconds, unsigned int microseconds) noexcept;
    // The count, cut to a multiple of 10 ticks.
    explicit CDateTime(FILETIME time) noexcept;
    // Throws the platform's code for a date that isn't one.
    explicit CDateTime(const SYSTEMTIME& time);
    // As above; nothing checks that `microsecond`, which is added last, is below 1000.
    CDateTime(unsigned int year, unsigned int month, unsigned int day, unsigned int hour,
              unsigned int minute, unsigned int second, unsigned int millisecond,
              unsigned int microsecond);
    // YYYYMMDDhhmmss, then one character that isn't looked at and up to six digits of fraction;
    // taken as UTC whatever follows. Fields that the text is too short for read as 0. Throws
    // 0x8007076D for a character that is no digit, and 0x80004005 for a date that isn't one.
    explicit CDateTime(const char* generalizedTime);

    // The calendar fields, month 1 to 12. Throw the platform's code if the count is beyond its
    // range.
    unsigned int year() const;
    unsigned int month() const;
    unsigned int day() const;
    unsigned int hour() const;
    unsigned int minute() const;
    unsigned int second() const;
    SYSTEMTIME getSystemTime() const;

    unsigned int millisecond() const noexcept;
    // The microseconds within the millisecond.
    unsigned int microsecond() const noexcept;
    // Unix seconds. A time before 1970 wraps to a large number.
    std::time_t getTime() const noexcept;
    FILETIME getFileTime() const noexcept;
    static CDateTime Now();
    void swap(CDateTime& other) noexcept;

    // By the zone offset that holds at the moment of the call, not at the time that is converted.
    CDateTime utcToLocal() const;
    CDateTime localToUtc() const;

    // The text forms have no failure code of their own: where the count is beyond the platform's
    // calendar they rethrow what is in flight, and with nothing in flight the process ends.

    // YYYYMMDDhhmmss, a point and up to six digits without trailing zeros if there is a fraction,
    // "Z".
    CStringProxy getGeneralizedTime() const;
    // DD.MM.YYYY and the time of day in the locale's form, without fraction: for display.
    CStringProxy getGeneralizedTimeTrimMicroseconds() const;
    // DD.MM.YYYY hh:mm:ss, and three or six digits of fraction where there is one.
    CStringProxy tostring() const;
    CWStringProxy towstring() const;

    // The tick count as one number.
    std::uint64_t ticks() const noexcept {
        return (std::uint64_t{dwHighDateTime_} << 32) | dwLowDateTime_;
    }
    static CDateTime from_ticks(std::uint64_t ticks) noexcept;

private:
    CDateTime() noexcept = default;
    void put_ticks(std::uint64_t ticks) noexcept;

    std::uint32_t dwHighDateTime_ = 0;
    std::uint32_t dwLowDateTime_ = 0;
};

inline bool operator==(const CDateTime& a, const CDateTime& b) noexcept {
    return a.ticks() == b.ticks();
}
inline bool operator!=(const CDateTime& a, const CDateTime& b) noexcept {
    return !(a == b);
}
inline bool operator<(const CDateTime& a, const CDateTime& b) noexcept {
    return a.ticks() < b.ticks();
}
inline bool operator<=(const CDateTime& a, const CDateTime& b) noexcept {
    return !(b < a);
}
inline bool operator>(const CDateTime& a, const CDateTime& b) noexcept {
    return b < a;
}
inline bool operator>=(const CDateTime& a, const CDateTime& b) noexcept {
    return !(a < b);
}

// Sums aren't tested for overflow. A difference below zero throws CAtlException 0x80004005.
CHRONOSEAL_API CDateTime operator+(const CDateTime& date, const CDateTimeSpan& span) noexcept;
CHRONOSEAL_API CDateTime& operator+=(CDateTime& date, const CDateTimeSpan& span) noexcept;
CHRONOSEAL_API CDateTime operator-(const CDateTime& date, const CDateTimeSpan& span);
CHRONOSEAL_API CDateTime& operator-=(CDateTime& date, const CDateTimeSpan& span);
// The later one has to stand on the left.
CHRONOSEAL_API CDateTimeSpan operator-(const CDateTime& later, const CDateTime& earlier);

} // namespace Halcyon
