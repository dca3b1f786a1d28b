// The base types of the platform surface under their published names, for a 64-bit system with a
// 32-bit wchar_t. `long` is not used for LONG or DWORD: both are 32 bits wide, as published.
// <winscard.h> has DWORD and LONG of 64 bits and BOOL of 16 under the same names, so it can't be
// included where this is; the headers of <chronoseal/...> do without this one.
#pragma once

#ifdef __wintypes_h__
#error "<winscard.h> has other types of these names: no file can include both"
#endif

#include <cstddef>
#include <cstdint>

#include <basalt/file_time.h>

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

// Others have macros of these names, with the same values.
#ifndef FALSE
inline constexpr BOOL FALSE = 0;
#endif
#ifndef TRUE
inline constexpr BOOL TRUE = 1;
#endif
