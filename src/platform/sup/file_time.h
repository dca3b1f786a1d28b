// The two forms of a point in time, FILETIME and SYSTEMTIME, without the base types, whose names
// other systems' headers claim too.
#pragma once

#include <cstdint>

// Ticks of 100 nanoseconds since 1601-01-01 00:00:00 UTC, in two halves.
struct _FILETIME {
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;
};
using FILETIME = _FILETIME;
using PFILETIME = FILETIME*;
using LPFILETIME = FILETIME*;

// A calendar time in UTC. Months and days count from 1, days of the week from 0 for Sunday.
struct _SYSTEMTIME {
    std::uint16_t wYear;
    std::uint16_t wMonth;
    std::uint16_t wDayOfWeek;
    std::uint16_t wDay;
    std::uint16_t wHour;
    std::uint16_t wMinute;
    std::uint16_t wSecond;
    std::uint16_t wMilliseconds;
};
using SYSTEMTIME = _SYSTEMTIME;
using LPSYSTEMTIME = SYSTEMTIME*;
