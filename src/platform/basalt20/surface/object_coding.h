// Encoding and decoding of single structures by structure type.
//
// A structure type is a small number in the place of a pointer. Both functions work by size and
// data: a null output pointer asks for the size, a buffer too small gives ERROR_MORE_DATA and the
// size. Failures: a structure type that isn't there gives ERROR_FILE_NOT_FOUND; bytes that aren't
// such a structure give CRYPT_E_ASN1_CORRUPT, _EOD, _BADTAG or _LARGE (0x800931xx); a record that
// can't be encoded gives CRYPT_E_ASN1_BADARGS.
#pragma once

#include <basalt/encoded_values.h>
#include <basalt/visibility.h>

extern "C" {

/// The record is told behind the name.
inline const LPCSTR PKCS_TIME_REQUEST =
    reinterpret_cast<LPCSTR>(18);                                  // CRYPT_TIME_STAMP_REQUEST_INFO
inline const LPCSTR PKCS_ATTRIBUTE = reinterpret_cast<LPCSTR>(22); // CRYPT_ATTRIBUTE
inline const LPCSTR X509_OCTET_STRING = reinterpret_cast<LPCSTR>(25);       // CRYPT_DATA_BLOB
inline const LPCSTR X509_INTEGER = reinterpret_cast<LPCSTR>(27);            // int
inline const LPCSTR X509_MULTI_BYTE_INTEGER = reinterpret_cast<LPCSTR>(28); // CRYPT_INTEGER_BLOB
inline const LPCSTR CMS_SIGNER_INFO =
    reinterpret_cast<LPCSTR>(501); // CMSG_CMS_SIGNER_INFO, decoding only

inline constexpr DWORD CRYPT_DECODE_NOCOPY_FLAG = 0x1;
inline constexpr DWORD CRYPT_ENCODE_ALLOC_FLAG = 0x8000;
inline constexpr DWORD CRYPT_DECODE_ALLOC_FLAG = 0x8000;

/// The request of the Authenticode time-stamp protocol: algorithm OID, attributes (none: left out),
/// content of a type. `pszTimeStampAlgorithm` and `pszContentType` are dotted OIDs.
typedef struct _CRYPT_TIME_STAMP_REQUEST_INFO {
    LPSTR pszTimeStampAlgorithm;
    LPSTR pszContentType;
    CRYPT_OBJID_BLOB Content;
    DWORD cAttribute;
    CRYPT_ATTRIBUTE* rgAttribute;
} CRYPT_TIME_STAMP_REQUEST_INFO, *PCRYPT_TIME_STAMP_REQUEST_INFO;

/// A signer of a CMS message. Text, blobs and attributes lie in the same block as the record.
typedef struct _CMSG_CMS_SIGNER_INFO {
    DWORD dwVersion;
    CERT_ID SignerId;
    CRYPT_ALGORITHM_IDENTIFIER HashAlgorithm;
    CRYPT_ALGORITHM_IDENTIFIER HashEncryptionAlgorithm;
    CRYPT_DATA_BLOB EncryptedHash;
    CRYPT_ATTRIBUTES AuthAttrs;
    CRYPT_ATTRIBUTES UnauthAttrs;
} CMSG_CMS_SIGNER_INFO, *PCMSG_CMS_SIGNER_INFO;

BASALT_API BOOL CryptEncodeObject(DWORD dwCertEncodingType, LPCSTR lpszStructType,
                                  const void* pvStructInfo, BYTE* pbEncoded, DWORD* pcbEncoded);

/// Decodes into one block whose pointers lead into the block itself, so `pvStructInfo` has to be
/// aligned for pointers. Decoding of an X509_MULTI_BYTE_INTEGER gives the little-endian bytes with
/// the sign byte, if the encoding has one.
BASALT_API BOOL CryptDecodeObject(DWORD dwCertEncodingType, LPCSTR lpszStructType,
                                  const BYTE* pbEncoded, DWORD cbEncoded, DWORD dwFlags,
                                  void* pvStructInfo, DWORD* pcbStructInfo);

/// With the ALLOC flag `pvEncoded` (`pvStructInfo`) is the address of a pointer that gets a new
/// block from LocalAlloc. The parameter records must be null.
BASALT_API BOOL CryptEncodeObjectEx(DWORD dwCertEncodingType, LPCSTR lpszStructType,
                                    const void* pvStructInfo, DWORD dwFlags, void* pEncodePara,
                                    void* pvEncoded, DWORD* pcbEncoded);
BASALT_API BOOL CryptDecodeObjectEx(DWORD dwCertEncodingType, LPCSTR lpszStructType,
                                    const BYTE* pbEncoded, DWORD cbEncoded, DWORD dwFlags,
                                    void* pDecodePara, void* pvStructInfo, DWORD* pcbStructInfo);

} // extern "C"
