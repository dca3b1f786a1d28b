// Certificate contexts: a counted record over the encoded certificate, its fields and its
// properties.
//
// A context is immutable but for its properties, so any number of threads may read one. Each
// function that returns a context gives the caller one reference. A context that came from a store
// keeps what it needs of that store alive, and setting a property on it changes the store's
// certificate. All functions fail with FALSE, 0 or null and a last error; null arguments that
// aren't allowed give E_INVALIDARG.
#pragma once

#include <basalt/encoded_values.h>
#include <basalt/visibility.h>

extern "C" {

typedef void* HCERTSTORE;

inline constexpr DWORD CERT_V1 = 0;
inline constexpr DWORD CERT_V2 = 1;
inline constexpr DWORD CERT_V3 = 2;

/// The fields of a certificate. All pointers lead into the context that holds the record.
/// `SerialNumber` is little-endian, as it stands everywhere on this surface; `Issuer` and `Subject`
/// are the encoded names; the times are UTC.
typedef struct _CERT_INFO {
    DWORD dwVersion;
    CRYPT_INTEGER_BLOB SerialNumber;
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CERT_NAME_BLOB Issuer;
    FILETIME NotBefore;
    FILETIME NotAfter;
    CERT_NAME_BLOB Subject;
    CERT_PUBLIC_KEY_INFO SubjectPublicKeyInfo;
    CRYPT_BIT_BLOB IssuerUniqueId;
    CRYPT_BIT_BLOB SubjectUniqueId;
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;
} CERT_INFO, *PCERT_INFO;

/// `pbCertEncoded` is the certificate byte for byte as it was given. `hCertStore` is the store that
/// the context came from, null for a free-standing one; it is borrowed.
typedef struct _CERT_CONTEXT {
    DWORD dwCertEncodingType;
    BYTE* pbCertEncoded;
    DWORD cbCertEncoded;
    CERT_INFO* pCertInfo;
    HCERTSTORE hCertStore;
} CERT_CONTEXT, *PCERT_CONTEXT;
const typedef CERT_CONTEXT* PCCERT_CONTEXT;

// Property identifiers. Any other number below 0x10000 can be used too, as a block of bytes.
inline constexpr DWORD CERT_KEY_PROV_HANDLE_PROP_ID = 1;
inline constexpr DWORD CERT_KEY_PROV_INFO_PROP_ID = 2;
inline constexpr DWORD CERT_SHA1_HASH_PROP_ID = 3;
inline constexpr DWORD CERT_HASH_PROP_ID = CERT_SHA1_HASH_PROP_ID;
inline constexpr DWORD CERT_MD5_HASH_PROP_ID = 4;
inline constexpr DWORD CERT_KEY_CONTEXT_PROP_ID = 5;
inline constexpr DWORD CERT_KEY_SPEC_PROP_ID = 6;
inline constexpr DWORD CERT_FRIENDLY_NAME_PROP_ID = 11;
inline constexpr DWORD CERT_DESCRIPTION_PROP_ID = 13;
inline constexpr DWORD CERT_SIGNATURE_HASH_PROP_ID = 15;
inline constexpr DWORD CERT_ARCHIVED_PROP_ID = 19;
inline constexpr DWORD CERT_KEY_IDENTIFIER_PROP_ID = 20;
inline constexpr DWORD CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID = 25;
inline constexpr DWORD CERT_SHA256_HASH_PROP_ID = 107;

typedef struct _CRYPT_KEY_PROV_PARAM {
    DWORD dwParam;
    BYTE* pbData;
    DWORD cbData;
    DWORD dwFlags;
} CRYPT_KEY_PROV_PARAM, *PCRYPT_KEY_PROV_PARAM;

/// Where the certificate's private key lives; the value of CERT_KEY_PROV_INFO_PROP_ID.
typedef struct _CRYPT_KEY_PROV_INFO {
    LPWSTR pwszContainerName;
    LPWSTR pwszProvName;
    DWORD dwProvType;
    DWORD dwFlags;
    DWORD cProvParam;
    CRYPT_KEY_PROV_PARAM* rgProvParam;
    DWORD dwKeySpec;
} CRYPT_KEY_PROV_INFO, *PCRYPT_KEY_PROV_INFO;

/// Makes a free-standing context over a copy of the first `cbCertEncoded` bytes.
/// Bytes that aren't one X.509 certificate: CRYPT_E_ASN1_EOD when they are cut short,
/// CRYPT_E_ASN1_BADTAG for a wrong tag, CRYPT_E_ASN1_CORRUPT for any other fault, bytes behind the
/// certificate among them.
BASALT_API PCCERT_CONTEXT CertCreateCertificateContext(DWORD dwCertEncodingType,
                                                       const BYTE* pbCertEncoded,
                                                       DWORD cbCertEncoded);

/// Adds a reference and returns the same pointer; null gives null.
BASALT_API PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT pCertContext);

/// Gives up a reference. Always TRUE; null is allowed.
BASALT_API BOOL CertFreeCertificateContext(PCCERT_CONTEXT pCertContext);

/// Reads a property by size and data: a null `pvData` asks for the size, a buffer too small gives
/// ERROR_MORE_DATA and the size. A property that isn't set gives CRYPT_E_NOT_FOUND; the hashes 3,
/// 4, 25 and 107 and the key identifier 20 are computed when they aren't set.
/// CERT_KEY_PROV_INFO_PROP_ID gives one block that begins with a CRYPT_KEY_PROV_INFO whose pointers
/// lead into the same block, so `pvData` has to be aligned for pointers.
BASALT_API BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId,
                                                  void* pvData, DWORD* pcbData);

/// Sets a property, or deletes it when `pvData` is null. `pvData` is a CRYPT_KEY_PROV_INFO for 2, a
/// DWORD for 6, a provider handle for 1, a CERT_KEY_CONTEXT for 5, and a CRYPT_DATA_BLOB for all
/// others. The value is copied. On a certificate of a folder store the new value is written there;
/// a store opened read-only keeps it in memory.
BASALT_API BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId,
                                                  DWORD dwFlags, const void* pvData);

/// Walks the numbers of the properties that are set, in rising order: give 0 first, then the last
/// result. 0 ends the walk.
BASALT_API DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT pCertContext, DWORD dwPropId);

/// The value of the property 5.
typedef struct _CERT_KEY_CONTEXT {
    DWORD cbSize;
    HCRYPTPROV hCryptProv;
    DWORD dwKeySpec;
} CERT_KEY_CONTEXT, *PCERT_KEY_CONTEXT;

/// TRUE when issuer and serial number of both are the same, which is what names a certificate.
BASALT_API BOOL CertCompareCertificate(DWORD dwCertEncodingType, CERT_INFO* pCertId1,
                                       CERT_INFO* pCertId2);

/// TRUE when the encoded names are the same bytes.
BASALT_API BOOL CertCompareCertificateName(DWORD dwCertEncodingType, CERT_NAME_BLOB* pCertName1,
                                           CERT_NAME_BLOB* pCertName2);

/// TRUE when the little-endian integers have the same value; superfluous sign bytes don't count.
BASALT_API BOOL CertCompareIntegerBlob(CRYPT_INTEGER_BLOB* pInt1, CRYPT_INTEGER_BLOB* pInt2);

/// TRUE when algorithm and key bits are the same; absent and NULL parameters count as equal.
BASALT_API BOOL CertComparePublicKeyInfo(DWORD dwCertEncodingType,
                                         CERT_PUBLIC_KEY_INFO* pPublicKey1,
                                         CERT_PUBLIC_KEY_INFO* pPublicKey2);

/// The first extension with that OID, null when there is none. Borrowed from the array.
BASALT_API CERT_EXTENSION* CertFindExtension(LPCSTR pszObjId, DWORD cExtensions,
                                             CERT_EXTENSION rgExtensions[]);

/// The first attribute with that OID, null when there is none. Borrowed from the array.
BASALT_API CRYPT_ATTRIBUTE* CertFindAttribute(LPCSTR pszObjId, DWORD cAttr,
                                              CRYPT_ATTRIBUTE rgAttr[]);

/// 0 when `pTimeToVerify` (null: now) lies in the validity, -1 before it, 1 behind it.
BASALT_API LONG CertVerifyTimeValidity(FILETIME* pTimeToVerify, CERT_INFO* pCertInfo);

/// Hashes any bytes by an algorithm identifier (0: SHA-1). `hCryptProv` and `dwFlags` aren't looked
/// at. A null `pbComputedHash` asks for the size; a buffer too small gives ERROR_MORE_DATA and the
/// size; an unknown algorithm gives NTE_BAD_ALGID.
BASALT_API BOOL CryptHashCertificate(HCRYPTPROV hCryptProv, ALG_ID Algid, DWORD dwFlags,
                                     const BYTE* pbEncoded, DWORD cbEncoded, BYTE* pbComputedHash,
                                     DWORD* pcbComputedHash);

} // extern "C"
