// Records shared by certificates, messages and object coding: algorithm identifiers, bit strings,
// attributes, public keys, under their published names. They borrow what they point to; the
// function that fills one tells who owns it.
#pragma once

#include <basalt/algorithm.h>
#include <basalt/blob.h>
#include <basalt/provider.h>
#include <basalt/types.h>

extern "C" {

/// The encodings of certificates and messages; every function here works on both together.
inline constexpr DWORD X509_ASN_ENCODING = 0x00000001;
inline constexpr DWORD PKCS_7_ASN_ENCODING = 0x00010000;

/// `Parameters` is the encoded parameters field, empty when the field is absent.
typedef struct _CRYPT_ALGORITHM_IDENTIFIER {
    LPSTR pszObjId;
    CRYPT_OBJID_BLOB Parameters;
} CRYPT_ALGORITHM_IDENTIFIER, *PCRYPT_ALGORITHM_IDENTIFIER;

/// `pbData` holds the bits from the first byte's highest bit on, the unused bits at the end.
typedef struct _CRYPT_BIT_BLOB {
    DWORD cbData;
    BYTE* pbData;
    DWORD cUnusedBits;
} CRYPT_BIT_BLOB, *PCRYPT_BIT_BLOB;

/// One attribute: dotted OID text and its values, each one encoded value.
typedef struct _CRYPT_ATTRIBUTE {
    LPSTR pszObjId;
    DWORD cValue;
    CRYPT_ATTR_BLOB* rgValue;
} CRYPT_ATTRIBUTE, *PCRYPT_ATTRIBUTE;

typedef struct _CRYPT_ATTRIBUTES {
    DWORD cAttr;
    CRYPT_ATTRIBUTE* rgAttr;
} CRYPT_ATTRIBUTES, *PCRYPT_ATTRIBUTES;

typedef struct _CERT_PUBLIC_KEY_INFO {
    CRYPT_ALGORITHM_IDENTIFIER Algorithm;
    CRYPT_BIT_BLOB PublicKey;
} CERT_PUBLIC_KEY_INFO, *PCERT_PUBLIC_KEY_INFO;

/// `Value` is the contents of the extension's OCTET STRING.
typedef struct _CERT_EXTENSION {
    LPSTR pszObjId;
    BOOL fCritical;
    CRYPT_OBJID_BLOB Value;
} CERT_EXTENSION, *PCERT_EXTENSION;

/// `SerialNumber` is little-endian.
typedef struct _CERT_ISSUER_SERIAL_NUMBER {
    CERT_NAME_BLOB Issuer;
    CRYPT_INTEGER_BLOB SerialNumber;
} CERT_ISSUER_SERIAL_NUMBER, *PCERT_ISSUER_SERIAL_NUMBER;

inline constexpr DWORD CERT_ID_ISSUER_SERIAL_NUMBER = 1;
inline constexpr DWORD CERT_ID_KEY_IDENTIFIER = 2;
inline constexpr DWORD CERT_ID_SHA1_HASH = 3;

/// Names one certificate; `dwIdChoice` is one of the CERT_ID_ numbers above.
typedef struct _CERT_ID {
    DWORD dwIdChoice;
    union {
        CERT_ISSUER_SERIAL_NUMBER IssuerSerialNumber;
        CRYPT_HASH_BLOB KeyId;
        CRYPT_HASH_BLOB HashId;
    };
} CERT_ID, *PCERT_ID;

} // extern "C"
