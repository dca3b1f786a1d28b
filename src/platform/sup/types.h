// The base types of the platform surface under their published names, for a 64-bit system with a
// 32-bit wchar_t. `long` is not used for LONG or DWORD: both are 32 bits wide, as published.
#pragma once

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using BOOL = int;
using CHAR = char;
using WCHAR = wchar_t;
using SIZE_T = std::size_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;

using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using PBYTE = BYTE*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using LPBOOL = BOOL*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;

using HANDLE = void*;
using HLOCAL = void*;

// A result code: negative means failure. The constants of sup/error_codes.h are DWORDs.
using HRESULT = std::int32_t;

static_assert(sizeof(wchar_t) == 4);

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

// Ticks of 100 nanoseconds since 1601-01-01 00:00:00 UTC, in two halves.
struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using FILETIME = _FILETIME;
using PFILETIME = FILETIME*;
using LPFILETIME = FILETIME*;

// A calendar time in UTC. Months and days count from 1, days of the week from 0 for Sunday.
struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using SYSTEMTIME = _SYSTEMTIME;
using LPSYSTEMTIME = SYSTEMTIME*;
