// Keys that live as long as their handle: nothing is stored. All calls return 0 on failure with the
// last error set; a handle that is none gives ERROR_INVALID_HANDLE (6).
#pragma once

#include <basalt/provider.h>

using HCRYPTKEY = ULONG_PTR;

inline constexpr ALG_ID AT_KEYEXCHANGE = 1;
inline constexpr ALG_ID AT_SIGNATURE = 2;
inline constexpr DWORD KP_ALGID = 7;
inline constexpr DWORD KP_KEYLEN = 9;

extern "C" {

// A new key pair of CALG_RSA_SIGN or CALG_RSA_KEYX (AT_SIGNATURE, AT_KEYEXCHANGE on a provider of
// type 24), its length in the upper 16 bits of `flags` (0: 2048; 1024 to 16384), or of a GOST
// algorithm that the provider lists. Any other algorithm: NTE_BAD_ALGID; a bad length: NTE_BAD_LEN;
// other flags: NTE_BAD_FLAGS.
BASALT_API BOOL CryptGenKey(HCRYPTPROV context, ALG_ID algorithm, DWORD flags,
                            HCRYPTKEY* key) noexcept;

// KP_ALGID and KP_KEYLEN (bits), 4 bytes each. Null `data` asks for the size; too small:
// ERROR_MORE_DATA.
BASALT_API BOOL CryptGetKeyParam(HCRYPTKEY key, DWORD parameter, BYTE* data, DWORD* size,
                                 DWORD flags) noexcept;

BASALT_API BOOL CryptDestroyKey(HCRYPTKEY key) noexcept;
}
