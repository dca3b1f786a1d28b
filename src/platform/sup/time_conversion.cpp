// Calendar arithmetic by <chrono>, whose years reach to 32767.
#include <basalt/time_conversion.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <chrono>
#include <ctime>

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsPerDay = 86'400;
constexpr std::uint64_t kUnixEpochTicks = 116'444'736'000'000'000;
constexpr sys_days kFirstDay = std::chrono::year{1601} / 1 / 1;
constexpr int kLastYear = 30827;

std::uint64_t ticks_of(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME file_time_of(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

BOOL refuse() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

year_month_day date_of(const SYSTEMTIME& time) {
    return std::chrono::year{time.wYear} / std::chrono::month{time.wMonth} /
           std::chrono::day{time.wDay};
}

bool names_a_time(const SYSTEMTIME& time) {
    // A month or day above 255 would be cut by the chrono types.
    return time.wYear >= 1601 && time.wYear <= kLastYear && time.wMonth <= 12 && time.wDay <= 31 &&
           date_of(time).ok() && time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 &&
           time.wMilliseconds < 1000;
}

} // namespace

BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime) noexcept {
    if (fileTime == nullptr || systemTime == nullptr || ticks_of(*fileTime) >> 63 != 0) {
        return refuse();
    }
    const std::uint64_t ticks = ticks_of(*fileTime);
    const std::uint64_t second = ticks / kTicksPerSecond % kSecondsPerDay;
    const sys_days day = kFirstDay + days{ticks / kTicksPerSecond / kSecondsPerDay};
    const year_month_day date{day};
    systemTime->wYear = static_cast<WORD>(static_cast<int>(date.year()));
    systemTime->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    systemTime->wDayOfWeek = static_cast<WORD>(std::chrono::weekday{day}.c_encoding());
    systemTime->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    systemTime->wHour = static_cast<WORD>(second / 3600);
    systemTime->wMinute = static_cast<WORD>(second / 60 % 60);
    systemTime->wSecond = static_cast<WORD>(second % 60);
    systemTime->wMilliseconds = static_cast<WORD>(ticks % kTicksPerSecond / kTicksPerMillisecond);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, LPFILETIME fileTime) noexcept {
    if (systemTime == nullptr || fileTime == nullptr || !names_a_time(*systemTime)) {
        return refuse();
    }
    const days day = sys_days{date_of(*systemTime)} - kFirstDay;
    const std::uint64_t seconds = static_cast<std::uint64_t>(day.count()) * kSecondsPerDay +
                                  systemTime->wHour * 3600ULL + systemTime->wMinute * 60ULL +
                                  systemTime->wSecond;
    const std::uint64_t ticks =
        seconds * kTicksPerSecond + systemTime->wMilliseconds * kTicksPerMillisecond;
    // The scale ends within September 30828, so every time of the years allowed fits in 63 bits.
    *fileTime = file_time_of(ticks);
    return TRUE;
}

void GetSystemTimeAsFileTime(LPFILETIME fileTime) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *fileTime =
        file_time_of(kUnixEpochTicks + static_cast<std::uint64_t>(now.tv_sec) * kTicksPerSecond +
                     static_cast<std::uint64_t>(now.tv_nsec) / 100);
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second) noexcept {
    const std::uint64_t a = ticks_of(*first);
    const std::uint64_t b = ticks_of(*second);
    return a < b ? -1 : a > b ? 1 : 0;
}
