// Wide text to narrow and back. Code page 0, the system's, is UTF-8, the same as 65001; wide
// characters are 32-bit code points. Both calls return the number of units written or needed, 0 on
// failure with the last error: ERROR_INSUFFICIENT_BUFFER (122; the buffer may be partly written),
// ERROR_NO_UNICODE_TRANSLATION (1113), ERROR_INVALID_FLAGS (1004), ERROR_INVALID_PARAMETER (87).
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 0x00000008;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x00000080;

extern "C" {

// `length` counts characters of `text`, -1 means up to and with the end mark; 0 is refused. `size`
// 0 asks for the size only. A value that is no code point (surrogates, above 0x10FFFF) becomes
// U+FFFD, or fails under WC_ERR_INVALID_CHARS. `defaultChar` and `usedDefaultChar` must be null.
BASALT_API int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR text, int length,
                                   LPSTR buffer, int size, LPCSTR defaultChar,
                                   LPBOOL usedDefaultChar) noexcept;

// The same in the other direction. Ill-formed UTF-8 becomes U+FFFD, one for each maximal subpart
// (Unicode 3.9), or fails under MB_ERR_INVALID_CHARS.
BASALT_API int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length,
                                   LPWSTR buffer, int size) noexcept;
}
