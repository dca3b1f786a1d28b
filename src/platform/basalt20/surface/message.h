// Cryptographic messages: a decoded CMS message of signed data (or plain data).
//
// The handle keeps the bytes as they were given and cuts parameters out of them on demand: the
// encoded signer, the attributes, the certificates come back byte for byte. BER is taken with
// indefinite lengths and strings in pieces. A handle belongs to one thread at a time; its count is
// atomic.
//
// Failures: a last error and FALSE. Bytes that aren't a message: CRYPT_E_ASN1_EOD, _BADTAG,
// _CORRUPT, _LARGE (0x800931xx); a content type that isn't data or signed data:
// CRYPT_E_INVALID_MSG_TYPE 0x80091004 where signed data is needed; a signer that isn't there:
// CRYPT_E_INVALID_INDEX 0x80091008; no such attributes: CRYPT_E_ATTRIBUTES_MISSING 0x8009100F; a
// parameter of a message that hasn't had its last update: CRYPT_E_STREAM_MSG_NOT_READY 0x80091010;
// a parameter number unknown here: CRYPT_E_INVALID_MSG_TYPE.
#pragma once

#include <basalt/certificate.h>
#include <basalt/object_coding.h>

extern "C" {

typedef void* HCRYPTMSG;

// Message types of CMSG_TYPE_PARAM.
inline constexpr DWORD CMSG_DATA = 1;
inline constexpr DWORD CMSG_SIGNED = 2;
inline constexpr DWORD CMSG_ENVELOPED = 3;
inline constexpr DWORD CMSG_HASHED = 5;
inline constexpr DWORD CMSG_ENCRYPTED = 6;

/// Flag of CryptMsgOpenToDecode: the content doesn't lie in the message. The first last update ends
/// the message, the second the content; content may come in pieces.
inline constexpr DWORD CMSG_DETACHED_FLAG = 0x4;

// Parameters of CryptMsgGetParam: what is given, and whether `dwIndex` counts.
inline constexpr DWORD CMSG_TYPE_PARAM = 1;         // DWORD
inline constexpr DWORD CMSG_CONTENT_PARAM = 2;      // bytes: the content octets
inline constexpr DWORD CMSG_BARE_CONTENT_PARAM = 3; // bytes: the message without its ContentInfo
inline constexpr DWORD CMSG_INNER_CONTENT_TYPE_PARAM = 4; // dotted OID with its zero
inline constexpr DWORD CMSG_SIGNER_COUNT_PARAM = 5;       // DWORD
inline constexpr DWORD CMSG_SIGNER_INFO_PARAM = 6;        // CMSG_SIGNER_INFO; index
inline constexpr DWORD CMSG_SIGNER_CERT_INFO_PARAM = 7; // CERT_INFO, issuer and serial only; index
inline constexpr DWORD CMSG_SIGNER_HASH_ALGORITHM_PARAM = 8; // CRYPT_ALGORITHM_IDENTIFIER; index
inline constexpr DWORD CMSG_SIGNER_AUTH_ATTR_PARAM = 9;      // CRYPT_ATTRIBUTES; index
inline constexpr DWORD CMSG_SIGNER_UNAUTH_ATTR_PARAM = 10;   // CRYPT_ATTRIBUTES; index
inline constexpr DWORD CMSG_CERT_COUNT_PARAM = 11;           // DWORD
inline constexpr DWORD CMSG_CERT_PARAM = 12;                 // bytes; index
inline constexpr DWORD CMSG_CRL_COUNT_PARAM = 13;            // DWORD
inline constexpr DWORD CMSG_CRL_PARAM = 14;                  // bytes; index
inline constexpr DWORD CMSG_COMPUTED_HASH_PARAM =
    22;                                           // bytes: hash of the content; index of the signer
inline constexpr DWORD CMSG_ENCODED_SIGNER = 28;  // bytes of the SignerInfo; index
inline constexpr DWORD CMSG_ENCODED_MESSAGE = 29; // bytes: the message as it was given
inline constexpr DWORD CMSG_VERSION_PARAM = 30;   // DWORD
inline constexpr DWORD CMSG_SIGNER_CERT_ID_PARAM = 38;  // CERT_ID; index
inline constexpr DWORD CMSG_CMS_SIGNER_INFO_PARAM = 39; // CMSG_CMS_SIGNER_INFO; index

// Control types of CryptMsgControl.
inline constexpr DWORD CMSG_CTRL_VERIFY_SIGNATURE = 1; // CERT_INFO
inline constexpr DWORD CMSG_CTRL_VERIFY_HASH = 5; // not used: messageDigest of the first signer
inline constexpr DWORD CMSG_CTRL_VERIFY_SIGNATURE_EX = 19; // CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA
/// An extension of this surface: the signature over the signed attributes alone, for a detached
/// message whose content isn't at hand; takes a CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA.
/// CRYPT_E_AUTH_ATTR_MISSING for a signer without signed attributes.
inline constexpr DWORD BASALT_CTRL_VERIFY_ATTRIBUTES = 0x8001;

// What `pvSigner` of CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA is.
inline constexpr DWORD CMSG_VERIFY_SIGNER_PUBKEY = 1; // CERT_PUBLIC_KEY_INFO
inline constexpr DWORD CMSG_VERIFY_SIGNER_CERT = 2;   // CERT_CONTEXT

typedef struct _CMSG_SIGNER_INFO {
    DWORD dwVersion;
    CERT_NAME_BLOB Issuer;
    CRYPT_INTEGER_BLOB SerialNumber;
    CRYPT_ALGORITHM_IDENTIFIER HashAlgorithm;
    CRYPT_ALGORITHM_IDENTIFIER HashEncryptionAlgorithm;
    CRYPT_DATA_BLOB EncryptedHash;
    CRYPT_ATTRIBUTES AuthAttrs;
    CRYPT_ATTRIBUTES UnauthAttrs;
} CMSG_SIGNER_INFO, *PCMSG_SIGNER_INFO;

typedef struct _CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA {
    DWORD cbSize;
    HCRYPTPROV hCryptProv;
    DWORD dwSignerIndex;
    DWORD dwSignerType;
    void* pvSigner;
} CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA, *PCMSG_CTRL_VERIFY_SIGNATURE_EX_PARA;

/// A new handle with one reference. `dwMsgType` 0 takes the type from the ContentInfo; CMSG_SIGNED
/// takes a bare SignedData, or a ContentInfo all the same. `hCryptProv` isn't looked at; the last
/// two must be null.
BASALT_API HCRYPTMSG CryptMsgOpenToDecode(DWORD dwMsgEncodingType, DWORD dwFlags, DWORD dwMsgType,
                                          HCRYPTPROV hCryptProv, CERT_INFO* pRecipientInfo,
                                          void* pStreamInfo);

/// Appends bytes; with `fFinal` the message is taken apart. After a failed last update the handle
/// holds no message, and every parameter fails with CRYPT_E_STREAM_MSG_NOT_READY. An update behind
/// the last gives CRYPT_E_MSG_ERROR 0x80091001.
BASALT_API BOOL CryptMsgUpdate(HCRYPTMSG hCryptMsg, const BYTE* pbData, DWORD cbData, BOOL fFinal);

/// Gives a parameter by size and data: a null `pvData` asks for the size, a buffer too small gives
/// ERROR_MORE_DATA and the size. A record comes as one block whose pointers lead into the block
/// itself, so `pvData` has to be aligned for pointers.
BASALT_API BOOL CryptMsgGetParam(HCRYPTMSG hCryptMsg, DWORD dwParamType, DWORD dwIndex,
                                 void* pvData, DWORD* pcbData);

/// Verifies. CMSG_CTRL_VERIFY_SIGNATURE finds the signer by issuer and serial number (or key
/// identifier) of the CERT_INFO and uses its key: CRYPT_E_SIGNER_NOT_FOUND 0x8009100E when no
/// signer is named so. The EX form takes the signer by index, and the key as given; a CERT_CONTEXT
/// must be the one that the signer names (CRYPT_E_SIGNER_NOT_FOUND else), a bare key is taken at
/// its word.
///
/// With signed attributes: `contentType` and `messageDigest` once and with one value each
/// (CRYPT_E_AUTH_ATTR_MISSING 0x80091006 else), the first equal to the content's type
/// (CRYPT_E_UNEXPECTED_MSG_TYPE 0x8009200A else), the second to the hash of the content
/// (CRYPT_E_HASH_VALUE 0x80091007 else), and the signature over the SET OF the attributes: over the
/// bytes as they came, and over their DER form if that is another. Without them: the signature over
/// the content. A signature that doesn't fit: NTE_BAD_SIGNATURE 0x80090006. An algorithm unknown
/// here: CRYPT_E_UNKNOWN_ALGO 0x80091002; a key that can't be read: NTE_BAD_PUBLIC_KEY 0x80090015.
/// A good signature by a key or with a digest below the strength that chains must have:
/// NTE_BAD_ALGID 0x80090008.
BASALT_API BOOL CryptMsgControl(HCRYPTMSG hCryptMsg, DWORD dwFlags, DWORD dwCtrlType,
                                const void* pvCtrlPara);

/// Adds a reference and returns the handle; null gives null.
BASALT_API HCRYPTMSG CryptMsgDuplicate(HCRYPTMSG hCryptMsg);

/// Gives up a reference. TRUE; null is allowed. The last error stays as it is.
BASALT_API BOOL CryptMsgClose(HCRYPTMSG hCryptMsg);

} // extern "C"
