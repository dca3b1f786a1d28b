// Bytes as text and back: Base64, with and without the lines around it that certificates and
// requests have, and plain hexadecimal. All calls return 0 on failure with the last error set.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

// Forms.
inline constexpr DWORD CRYPT_STRING_BASE64HEADER = 0x00000000; // "-----BEGIN CERTIFICATE-----"
inline constexpr DWORD CRYPT_STRING_BASE64 = 0x00000001;       // Base64 alone
inline constexpr DWORD CRYPT_STRING_BASE64REQUESTHEADER = 0x00000003; // "NEW CERTIFICATE REQUEST"
inline constexpr DWORD CRYPT_STRING_BASE64_ANY = 0x00000006; // decoding: with lines or without
inline constexpr DWORD CRYPT_STRING_BASE64X509CRLHEADER = 0x00000009; // "X509 CRL"
inline constexpr DWORD CRYPT_STRING_HEXRAW = 0x0000000C;              // lower-case digits
// Modifiers of encoding: no line ends at all; line ends of LF rather than CR LF.
inline constexpr DWORD CRYPT_STRING_NOCRLF = 0x40000000;
inline constexpr DWORD CRYPT_STRING_NOCR = 0x80000000;

extern "C" {

// Base64 in lines of 64 characters, each with its line end; hexadecimal in one line with its line
// end. A null `text` asks for the size, which counts the end mark; after a call that writes, *size
// is the length without it. A buffer too small: ERROR_MORE_DATA (234) with the needed size. No
// bytes, another form, or NOCRLF with a form that has lines around it: ERROR_INVALID_PARAMETER
// (87). More than fits in *size: ERROR_ARITHMETIC_OVERFLOW (534).
BASALT_API BOOL CryptBinaryToStringA(const BYTE* data, DWORD size, DWORD flags, LPSTR text,
                                     DWORD* textSize) noexcept;
BASALT_API BOOL CryptBinaryToStringW(const BYTE* data, DWORD size, DWORD flags, LPWSTR text,
                                     DWORD* textSize) noexcept;

// `length` characters, or up to the end mark when it is 0. White space is skipped everywhere. A
// form with lines around it takes any label, and skips what stands before: `skipped` gets the
// number of those characters, `form` the form that was found; both may be null. A null `data` asks
// for the size. ERROR_INVALID_DATA (13) for anything but that form, ERROR_MORE_DATA (234) with the
// needed size for a small buffer.
BASALT_API BOOL CryptStringToBinaryA(LPCSTR text, DWORD length, DWORD flags, BYTE* data,
                                     DWORD* size, DWORD* skipped, DWORD* form) noexcept;
BASALT_API BOOL CryptStringToBinaryW(LPCWSTR text, DWORD length, DWORD flags, BYTE* data,
                                     DWORD* size, DWORD* skipped, DWORD* form) noexcept;
}
