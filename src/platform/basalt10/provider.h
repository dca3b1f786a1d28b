// Providers: RSA and AES (type 24) and GOST (types 75, 80 and 81). All of them always exist and
// give random numbers; a GOST provider lists GOST algorithms only when OpenSSL can do them on this
// machine. There are no key containers: a context is acquired with CRYPT_VERIFYCONTEXT. A context
// is counted and may be used from several threads. All calls return 0 on failure with the last
// error set.
#pragma once

#include <basalt/algorithm.h>
#include <basalt/provider_handle.h>
#include <basalt/types.h>
#include <basalt/visibility.h>

inline constexpr DWORD PROV_RSA_AES = 24;
inline constexpr DWORD PROV_GOST_2001 = 75;
inline constexpr DWORD PROV_GOST_2012_256 = 80;
inline constexpr DWORD PROV_GOST_2012_512 = 81;

// Names of the providers, one for each type.
inline constexpr char BASALT_RSA_AES_PROV_A[] = "Basalt RSA and AES Cryptographic Provider";
inline constexpr char BASALT_GOST_2001_PROV_A[] = "Basalt GOST R 34.10-2001 Cryptographic Provider";
inline constexpr char BASALT_GOST_2012_256_PROV_A[] =
    "Basalt GOST R 34.10-2012 Cryptographic Provider";
inline constexpr char BASALT_GOST_2012_512_PROV_A[] =
    "Basalt GOST R 34.10-2012 Strong Cryptographic Provider";

// Flags of CryptAcquireContext.
inline constexpr DWORD CRYPT_VERIFYCONTEXT = 0xF0000000;
inline constexpr DWORD CRYPT_NEWKEYSET = 0x00000008;
inline constexpr DWORD CRYPT_DELETEKEYSET = 0x00000010;
inline constexpr DWORD CRYPT_MACHINE_KEYSET = 0x00000020;
inline constexpr DWORD CRYPT_SILENT = 0x00000040;

// Parameters of CryptGetProvParam.
inline constexpr DWORD PP_ENUMALGS = 1;
inline constexpr DWORD PP_NAME = 4;
inline constexpr DWORD PP_VERSION = 5;
inline constexpr DWORD PP_PROVTYPE = 16;
inline constexpr DWORD PP_ENUMALGS_EX = 22;
inline constexpr DWORD PP_BUILD_INFORMATION = 138;
inline constexpr DWORD CRYPT_FIRST = 1;
inline constexpr DWORD CRYPT_NEXT = 2;

// One record of PP_ENUMALGS.
struct _PROV_ENUMALGS {
    ALG_ID aiAlgid;
    DWORD dwBitLen;
    DWORD dwNameLen; // with the end mark
    CHAR szName[20];
};
using PROV_ENUMALGS = _PROV_ENUMALGS;

// One record of PP_ENUMALGS_EX. Lengths are bits, name lengths count the end mark.
struct _PROV_ENUMALGS_EX {
    ALG_ID aiAlgid;
    DWORD dwDefaultLen;
    DWORD dwMinLen;
    DWORD dwMaxLen;
    DWORD dwProtocols;
    DWORD dwNameLen;
    CHAR szName[20];
    DWORD dwLongNameLen;
    CHAR szLongName[40];
};
using PROV_ENUMALGS_EX = _PROV_ENUMALGS_EX;
static_assert(sizeof(PROV_ENUMALGS_EX) == 88);

extern "C" {

// A context with one reference. `container` is null or empty (else NTE_BAD_KEYSET), `provider`
// names a provider or is null or empty for the type's own (unknown: NTE_KEYSET_NOT_DEF; of another
// type: NTE_PROV_TYPE_NO_MATCH). Type 0: NTE_BAD_PROV_TYPE, an unknown one: NTE_PROV_TYPE_NOT_DEF.
// Without CRYPT_VERIFYCONTEXT: NTE_BAD_KEYSET; flags beside it and CRYPT_SILENT,
// CRYPT_MACHINE_KEYSET: NTE_BAD_FLAGS.
BASALT_API BOOL CryptAcquireContextA(HCRYPTPROV* context, LPCSTR container, LPCSTR provider,
                                     DWORD type, DWORD flags) noexcept;
BASALT_API BOOL CryptAcquireContextW(HCRYPTPROV* context, LPCWSTR container, LPCWSTR provider,
                                     DWORD type, DWORD flags) noexcept;

// One reference less, and more. A handle that is none: ERROR_INVALID_PARAMETER (87); flags or
// `reserved` not 0: NTE_BAD_FLAGS, ERROR_INVALID_PARAMETER. With non-zero flags the reference is
// released all the same, as published.
BASALT_API BOOL CryptReleaseContext(HCRYPTPROV context, DWORD flags) noexcept;
BASALT_API BOOL CryptContextAddRef(HCRYPTPROV context, DWORD* reserved, DWORD flags) noexcept;

// PP_NAME, PP_VERSION (major version in the second byte, minor in the lowest), PP_PROVTYPE,
// PP_BUILD_INFORMATION (20 bytes: the build number, then zeros), PP_ENUMALGS, PP_ENUMALGS_EX (one
// record a call, CRYPT_FIRST begins; ERROR_NO_MORE_ITEMS at the end). The position of a listing
// belongs to the context. Null `data` asks for the size; a buffer too small: ERROR_MORE_DATA with
// the size; another parameter: NTE_BAD_TYPE.
BASALT_API BOOL CryptGetProvParam(HCRYPTPROV context, DWORD parameter, BYTE* data, DWORD* size,
                                  DWORD flags) noexcept;

// `size` random bytes fit for keys; 0 bytes is allowed.
BASALT_API BOOL CryptGenRandom(HCRYPTPROV context, DWORD size, BYTE* buffer) noexcept;

// The type, or the provider, number `index` from 0, with its name. *size counts bytes with the end
// mark (in the wide form too); a null name asks for the size. ERROR_NO_MORE_ITEMS at the end,
// ERROR_MORE_DATA with the needed size for a small buffer. Each type has one provider, which is its
// default.
BASALT_API BOOL CryptEnumProviderTypesA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type,
                                        LPSTR name, DWORD* size) noexcept;
BASALT_API BOOL CryptEnumProviderTypesW(DWORD index, DWORD* reserved, DWORD flags, DWORD* type,
                                        LPWSTR name, DWORD* size) noexcept;
BASALT_API BOOL CryptEnumProvidersA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type,
                                    LPSTR name, DWORD* size) noexcept;
BASALT_API BOOL CryptEnumProvidersW(DWORD index, DWORD* reserved, DWORD flags, DWORD* type,
                                    LPWSTR name, DWORD* size) noexcept;

// A new context of the first provider that lists `algId`, and `algId2` unless that is 0, with a
// reference for the caller. 0 with last error NTE_BAD_ALGID when none does.
BASALT_API HCRYPTPROV HYCAPI_I_CryptGetDefaultCryptProv(ALG_ID algId, ALG_ID algId2) noexcept;
}
