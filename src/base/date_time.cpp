// Points in time: construction, calendar fields, zone conversion and arithmetic.
#include <basalt/error_codes.h>
#include <chronoseal/base/date_time.h>

#include <utility>

#include <basalt/last_error.h>
#include <basalt/time_conversion.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/generalized_time.h>

namespace Halcyon {

namespace {

constexpr std::uint64_t kUnixEpoch = 116444736000000000u;
constexpr std::uint64_t kTicksPerSecond = 10000000;

std::uint64_t ticks_of(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

std::uint64_t cut_to_microseconds(std::uint64_t ticks) {
    return ticks - ticks % 10;
}

std::uint64_t ticks_of_unix_time(std::uint64_t seconds, unsigned int microseconds) {
    return kUnixEpoch + seconds * kTicksPerSecond + microseconds * 10u;
}

bool convert(const SYSTEMTIME& from, std::uint64_t& ticks) {
    FILETIME time{};
    if (!SystemTimeToFileTime(&from, &time)) {
        return false;
    }
    ticks = ticks_of(time);
    return true;
}

std::uint64_t ticks_of(const SYSTEMTIME& time) {
    std::uint64_t ticks = 0;
    if (!convert(time, ticks)) {
        throw_last_error();
    }
    return ticks;
}

// Seconds west of UTC at this moment, daylight saving time included.
std::uint64_t current_zone_offset() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    ::tzset();
    long offset = ::timezone;
    if (local.tm_isdst > 0) {
        offset -= 3600;
    }
    return static_cast<std::uint64_t>(offset);
}

} // namespace

void CDateTime::put_ticks(std::uint64_t ticks) noexcept {
    dwHighDateTime_ = static_cast<std::uint32_t>(ticks >> 32);
    dwLowDateTime_ = static_cast<std::uint32_t>(ticks);
}

CDateTime CDateTime::from_ticks(std::uint64_t ticks) noexcept {
    CDateTime date;
    date.put_ticks(ticks);
    return date;
}

CDateTime::CDateTime(long seconds, unsigned int microseconds) noexcept {
    put_ticks(ticks_of_unix_time(static_cast<std::uint64_t>(seconds), microseconds));
}

CDateTime::CDateTime(long long seconds, unsigned int microseconds) noexcept {
    put_ticks(ticks_of_unix_time(static_cast<std::uint64_t>(seconds), microseconds));
}

CDateTime::CDateTime(FILETIME time) noexcept {
    put_ticks(cut_to_microseconds(ticks_of(time)));
}

CDateTime::CDateTime(const SYSTEMTIME& time) {
    put_ticks(cut_to_microseconds(ticks_of(time)));
}

CDateTime::CDateTime(unsigned int year, unsigned int month, unsigned int day, unsigned int hour,
                     unsigned int minute, unsigned int second, unsigned int millisecond,
                     unsigned int microsecond) {
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    time.wMilliseconds = static_cast<WORD>(millisecond);
    put_ticks(ticks_of(time) + microsecond * 10u);
}

CDateTime::CDateTime(const char* generalizedTime) {
    int microseconds = 0;
    const auto tm =
        GeneralizedTimeToTm(generalizedTime ? generalizedTime : "", microseconds, false);
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(tm.tm_year + 1900);
    time.wMonth = static_cast<WORD>(tm.tm_mon + 1);
    time.wDay = static_cast<WORD>(tm.tm_mday);
    time.wHour = static_cast<WORD>(tm.tm_hour);
    time.wMinute = static_cast<WORD>(tm.tm_min);
    time.wSecond = static_cast<WORD>(tm.tm_sec);
    time.wDayOfWeek = static_cast<WORD>(tm.tm_wday);
    std::uint64_t ticks = 0;
    if (!convert(time, ticks)) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    put_ticks(ticks + static_cast<std::uint64_t>(microseconds) * 10);
}

SYSTEMTIME CDateTime::getSystemTime() const {
    const FILETIME time{dwLowDateTime_, dwHighDateTime_};
    SYSTEMTIME fields{};
    if (!FileTimeToSystemTime(&time, &fields)) {
        throw_last_error();
    }
    return fields;
}

unsigned int CDateTime::year() const {
    return getSystemTime().wYear;
}

unsigned int CDateTime::month() const {
    return getSystemTime().wMonth;
}

unsigned int CDateTime::day() const {
    return getSystemTime().wDay;
}

unsigned int CDateTime::hour() const {
    return getSystemTime().wHour;
}

unsigned int CDateTime::minute() const {
    return getSystemTime().wMinute;
}

unsigned int CDateTime::second() const {
    return getSystemTime().wSecond;
}

unsigned int CDateTime::millisecond() const noexcept {
    return static_cast<unsigned int>(ticks() % kTicksPerSecond / 10000);
}

unsigned int CDateTime::microsecond() const noexcept {
    return static_cast<unsigned int>(ticks() % kTicksPerSecond / 10 % 1000);
}

std::time_t CDateTime::getTime() const noexcept {
    return static_cast<std::time_t>((ticks() - kUnixEpoch) / kTicksPerSecond);
}

FILETIME CDateTime::getFileTime() const noexcept {
    return FILETIME{dwLowDateTime_, dwHighDateTime_};
}

CDateTime CDateTime::Now() {
    FILETIME time{};
    GetSystemTimeAsFileTime(&time);
    return CDateTime(time);
}

void CDateTime::swap(CDateTime& other) noexcept {
    std::swap(*this, other);
}

CDateTime CDateTime::utcToLocal() const {
    return from_ticks(cut_to_microseconds(ticks() - current_zone_offset() * kTicksPerSecond));
}

CDateTime CDateTime::localToUtc() const {
    return from_ticks(cut_to_microseconds(ticks() + current_zone_offset() * kTicksPerSecond));
}

CDateTime operator+(const CDateTime& date, const CDateTimeSpan& span) noexcept {
    return CDateTime::from_ticks(date.ticks() + span.ticks());
}

CDateTime& operator+=(CDateTime& date, const CDateTimeSpan& span) noexcept {
    return date = date + span;
}

CDateTime operator-(const CDateTime& date, const CDateTimeSpan& span) {
    if (span.ticks() > date.ticks()) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    return CDateTime::from_ticks(date.ticks() - span.ticks());
}

CDateTime& operator-=(CDateTime& date, const CDateTimeSpan& span) {
    return date = date - span;
}

CDateTimeSpan operator-(const CDateTime& later, const CDateTime& earlier) {
    if (earlier > later) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    return CDateTimeSpan::from_ticks(later.ticks() - earlier.ticks());
}

} // namespace Halcyon
