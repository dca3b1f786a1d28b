// Running hashes. A hash belongs to one thread and holds a reference on its provider's context. All
// calls return 0 on failure with the last error set; a handle that is none gives
// ERROR_INVALID_HANDLE (6).
#pragma once

#include <basalt/key.h>
#include <basalt/provider.h>

using HCRYPTHASH = ULONG_PTR;

inline constexpr DWORD HP_ALGID = 1;
inline constexpr DWORD HP_HASHVAL = 2;
inline constexpr DWORD HP_HASHSIZE = 4;

extern "C" {

// `key` and `flags` are 0. NTE_BAD_ALGID for an algorithm that the provider doesn't list.
BASALT_API BOOL CryptCreateHash(HCRYPTPROV context, ALG_ID algorithm, HCRYPTKEY key, DWORD flags,
                                HCRYPTHASH* hash) noexcept;

// NTE_BAD_HASH_STATE once the value has been taken. 0 bytes are allowed.
BASALT_API BOOL CryptHashData(HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD flags) noexcept;

// HP_ALGID and HP_HASHSIZE (4 bytes), HP_HASHVAL: the value, which ends the hash when it is given
// out, but not when null `data` asks for the size. A buffer too small: ERROR_MORE_DATA with the
// needed size.
BASALT_API BOOL CryptGetHashParam(HCRYPTHASH hash, DWORD parameter, BYTE* data, DWORD* size,
                                  DWORD flags) noexcept;

// An independent copy in the same state. `reserved` is null and `flags` 0.
BASALT_API BOOL CryptDuplicateHash(HCRYPTHASH hash, DWORD* reserved, DWORD flags,
                                   HCRYPTHASH* copy) noexcept;

BASALT_API BOOL CryptDestroyHash(HCRYPTHASH hash) noexcept;
}
