// Names of certificates as text.
#pragma once

#include <basalt/encoded_values.h>
#include <basalt/visibility.h>

extern "C" {

// Forms of the text: values alone, dotted OIDs ("2.5.4.3=..."), or the usual short names ("CN=...",
// and "OID.1.2.3=..." where there is none).
inline constexpr DWORD CERT_SIMPLE_NAME_STR = 1;
inline constexpr DWORD CERT_OID_NAME_STR = 2;
inline constexpr DWORD CERT_X500_NAME_STR = 3;

// Flags beside the form: what stands between the parts (", " else), values of one part joined by a
// blank and not by " + ", values never in quotes, the parts from the last to the first.
inline constexpr DWORD CERT_NAME_STR_REVERSE_FLAG = 0x02000000;
inline constexpr DWORD CERT_NAME_STR_CRLF_FLAG = 0x08000000;
inline constexpr DWORD CERT_NAME_STR_NO_QUOTING_FLAG = 0x10000000;
inline constexpr DWORD CERT_NAME_STR_NO_PLUS_FLAG = 0x20000000;
inline constexpr DWORD CERT_NAME_STR_SEMICOLON_FLAG = 0x40000000;

/// Writes an encoded name as text (UTF-8) with its end mark, cut to `csz` characters if there is
/// more; a null `psz` or a `csz` of 0 asks for the size. The result is the number of characters
/// with the end mark. A value with a special character or a blank at an end stands in quotes; one
/// that is no string, as "#" and its bytes in hexadecimal. Bytes that aren't a name give an empty
/// text (result 1) and a CRYPT_E_ASN1_ last error.
BASALT_API DWORD CertNameToStrA(DWORD dwCertEncodingType, CERT_NAME_BLOB* pName, DWORD dwStrType,
                                LPSTR psz, DWORD csz);
BASALT_API DWORD CertNameToStrW(DWORD dwCertEncodingType, CERT_NAME_BLOB* pName, DWORD dwStrType,
                                LPWSTR psz, DWORD csz);

} // extern "C"
