// What the platform knows about object identifiers: hash, signature and public key algorithms, and
// the extended key usages. GOST algorithms are known only when OpenSSL can do them on this machine.
#pragma once

#include <basalt/algorithm.h>
#include <basalt/blob.h>
#include <basalt/types.h>
#include <basalt/visibility.h>

// Key types of CryptFindOIDInfo, and what `key` points to.
inline constexpr DWORD CRYPT_OID_INFO_OID_KEY = 1;   // the dotted text, char
inline constexpr DWORD CRYPT_OID_INFO_NAME_KEY = 2;  // the name, wchar_t, case doesn't count
inline constexpr DWORD CRYPT_OID_INFO_ALGID_KEY = 3; // one ALG_ID
inline constexpr DWORD CRYPT_OID_INFO_SIGN_KEY = 4;  // two ALG_IDs: hash, public key

// Groups; 0 looks in all.
inline constexpr DWORD CRYPT_HASH_ALG_OID_GROUP_ID = 1;
inline constexpr DWORD CRYPT_ENCRYPT_ALG_OID_GROUP_ID = 2;
inline constexpr DWORD CRYPT_PUBKEY_ALG_OID_GROUP_ID = 3;
inline constexpr DWORD CRYPT_SIGN_ALG_OID_GROUP_ID = 4;
inline constexpr DWORD CRYPT_RDN_ATTR_OID_GROUP_ID = 5;
inline constexpr DWORD CRYPT_EXT_OR_ATTR_OID_GROUP_ID = 6;
inline constexpr DWORD CRYPT_ENHKEY_USAGE_OID_GROUP_ID = 7;
inline constexpr DWORD CRYPT_POLICY_OID_GROUP_ID = 8;

struct _CRYPT_OID_INFO {
    DWORD cbSize;
    LPCSTR pszOID;
    LPCWSTR pwszName;
    DWORD dwGroupId;
    union {
        DWORD dwValue;
        ALG_ID Algid; // hash group: the hash; signature group: its hash; key group: the key
        DWORD dwLength;
    };
    CRYPT_DATA_BLOB ExtraInfo; // signature group: the public key's ALG_ID, 4 bytes
};
using CRYPT_OID_INFO = _CRYPT_OID_INFO;
using PCRYPT_OID_INFO = CRYPT_OID_INFO*;
using PCCRYPT_OID_INFO = const CRYPT_OID_INFO*;

extern "C" {

// The first entry for the key, owned by the platform for the life of the process. Null with last
// error CRYPT_E_NOT_FOUND, or NTE_BAD_ALGID where an ALG_ID was asked for, when there is none, and
// ERROR_INVALID_PARAMETER for a null key or an unknown key type.
BASALT_API PCCRYPT_OID_INFO CryptFindOIDInfo(DWORD keyType, const void* key, DWORD group) noexcept;

// The identifier of a dotted OID among hashes, public keys and signatures (for these the hash's). 0
// with last error NTE_BAD_ALGID when it is unknown, or known without an identifier.
BASALT_API DWORD CertOIDToAlgId(LPCSTR oid) noexcept;

// The dotted OID of an identifier; null with last error NTE_BAD_ALGID when it is unknown.
BASALT_API LPCSTR CertAlgIdToOID(DWORD algId) noexcept;
}
