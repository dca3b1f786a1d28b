// Calendar times and file times, both in UTC, in the proleptic Gregorian calendar from 1601 to
// 30827. Failures return 0 with last error ERROR_INVALID_PARAMETER (87).
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

extern "C" {

// Fails for a file time of 0x8000000000000000 or more. Ticks below a millisecond are cut.
BASALT_API BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime) noexcept;

// Fails for fields that name no time from 1601-01-01 to 30827-12-31 (a second of 60 included).
// wDayOfWeek isn't looked at.
BASALT_API BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, LPFILETIME fileTime) noexcept;

BASALT_API void GetSystemTimeAsFileTime(LPFILETIME fileTime) noexcept;

// -1, 0 or 1 as the first time is earlier than, equal to or later than the second.
BASALT_API LONG CompareFileTime(const FILETIME* first, const FILETIME* second) noexcept;
}
