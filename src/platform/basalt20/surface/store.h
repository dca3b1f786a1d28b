// Certificate stores: memory, collections, folders of the user and of the machine, files and
// messages.
//
// A store holds certificates, CRLs and (an extension of this surface) OCSP answers. A handle is
// counted: CertDuplicateStore adds a reference, CertCloseStore gives one up. A handle that isn't an
// open store's is refused with ERROR_INVALID_HANDLE and never touched. Stores may be used by
// several threads at once, and the folders of system stores by several processes.
//
// Walking a store: each walk sees the store as it stood when the walk began. The context handed
// over as the previous one is freed by the call, on failure too. When nothing is left the result is
// null and the last error CRYPT_E_NOT_FOUND. A previous context that came from elsewhere (another
// store, or free-standing) lets the walk go on behind the store's own copy of that certificate;
// where there is no such copy the result is null with E_INVALIDARG.
//
// System stores are folders: `<data>/stores/<name>/` of the user, and behind it
// `/etc/basalt/stores/<name>/` of the machine, where `<data>` is $XDG_DATA_HOME/basalt or
// ~/.local/share/basalt. `<sha1>.cer`, `.crl` and `.ocsp` hold the encoded objects,
// `<sha1>.properties` the properties of the certificate of that name. Any other file with one of
// these endings is read too. `Root` and `AuthRoot` also show the system's trusted roots,
// /etc/ssl/certs/ca-certificates.crt. BASALT_USER_STORES, BASALT_MACHINE_STORES and
// BASALT_SYSTEM_ROOTS name other places for tests and containers; set-uid programs ignore them. New
// objects always go to the folder that the store was opened for.
#pragma once

#include <basalt/certificate.h>
#include <basalt/crl.h>

extern "C" {

// Store providers.
inline const LPCSTR CERT_STORE_PROV_MSG = reinterpret_cast<LPCSTR>(1);
inline const LPCSTR CERT_STORE_PROV_MEMORY = reinterpret_cast<LPCSTR>(2);
inline const LPCSTR CERT_STORE_PROV_PKCS7 = reinterpret_cast<LPCSTR>(5);
inline const LPCSTR CERT_STORE_PROV_FILENAME_A = reinterpret_cast<LPCSTR>(7);
inline const LPCSTR CERT_STORE_PROV_FILENAME_W = reinterpret_cast<LPCSTR>(8);
inline const LPCSTR CERT_STORE_PROV_SYSTEM_A = reinterpret_cast<LPCSTR>(9);
inline const LPCSTR CERT_STORE_PROV_SYSTEM_W = reinterpret_cast<LPCSTR>(10);
inline const LPCSTR CERT_STORE_PROV_COLLECTION = reinterpret_cast<LPCSTR>(11);

// Flags of CertOpenStore.
inline constexpr DWORD CERT_STORE_CREATE_NEW_FLAG = 0x00002000;
inline constexpr DWORD CERT_STORE_OPEN_EXISTING_FLAG = 0x00004000;
inline constexpr DWORD CERT_STORE_READONLY_FLAG = 0x00008000;
inline constexpr DWORD CERT_SYSTEM_STORE_CURRENT_USER = 0x00010000;
inline constexpr DWORD CERT_SYSTEM_STORE_LOCAL_MACHINE = 0x00020000;
inline constexpr DWORD CERT_SYSTEM_STORE_LOCATION_MASK = 0x00FF0000;

// Flags of CertCloseStore.
inline constexpr DWORD CERT_CLOSE_STORE_FORCE_FLAG = 1;
inline constexpr DWORD CERT_CLOSE_STORE_CHECK_FLAG = 2;

// Flags of CertAddStoreToCollection.
inline constexpr DWORD CERT_PHYSICAL_STORE_ADD_ENABLE_FLAG = 1;

// Dispositions of the CertAdd functions.
inline constexpr DWORD CERT_STORE_ADD_NEW = 1;
inline constexpr DWORD CERT_STORE_ADD_USE_EXISTING = 2;
inline constexpr DWORD CERT_STORE_ADD_REPLACE_EXISTING = 3;
inline constexpr DWORD CERT_STORE_ADD_ALWAYS = 4;
inline constexpr DWORD CERT_STORE_ADD_REPLACE_EXISTING_INHERIT_PROPERTIES = 5;
inline constexpr DWORD CERT_STORE_ADD_NEWER = 6;

// Find types of CertFindCertificateInStore, and what `pvFindPara` is.
inline constexpr DWORD CERT_FIND_ANY = 0;                     // not used
inline constexpr DWORD CERT_FIND_SHA1_HASH = 0x00010000;      // CRYPT_HASH_BLOB
inline constexpr DWORD CERT_FIND_HASH = CERT_FIND_SHA1_HASH;  //
inline constexpr DWORD CERT_FIND_MD5_HASH = 0x00040000;       // CRYPT_HASH_BLOB
inline constexpr DWORD CERT_FIND_PROPERTY = 0x00050000;       // DWORD, property number
inline constexpr DWORD CERT_FIND_PUBLIC_KEY = 0x00060000;     // CERT_PUBLIC_KEY_INFO
inline constexpr DWORD CERT_FIND_ISSUER_NAME = 0x00020004;    // CERT_NAME_BLOB
inline constexpr DWORD CERT_FIND_SUBJECT_NAME = 0x00020007;   // CERT_NAME_BLOB
inline constexpr DWORD CERT_FIND_SUBJECT_CERT = 0x000B0000;   // CERT_INFO, issuer and serial number
inline constexpr DWORD CERT_FIND_EXISTING = 0x000D0000;       // CERT_CONTEXT, the same bytes
inline constexpr DWORD CERT_FIND_KEY_IDENTIFIER = 0x000F0000; // CRYPT_HASH_BLOB
inline constexpr DWORD CERT_FIND_CERT_ID = 0x00100000;        // CERT_ID
inline constexpr DWORD CERT_FIND_PUBKEY_MD5_HASH = 0x00120000; // CRYPT_HASH_BLOB

// Find types of CertFindCRLInStore, and what `pvFindPara` is.
inline constexpr DWORD CRL_FIND_ANY = 0;       // not used
inline constexpr DWORD CRL_FIND_ISSUED_BY = 1; // CERT_CONTEXT of the issuer, by name; null: any
inline constexpr DWORD CRL_FIND_EXISTING = 2;  // CRL_CONTEXT, the same bytes

/// Opens a store. `pvPara`: the HCRYPTMSG of CERT_STORE_PROV_MSG, the CRYPT_DATA_BLOB (DER or BER
/// SignedData) of PKCS7, the name of a file (PEM or DER: certificates, CRLs, or a SignedData; PEM
/// also "OCSP RESPONSE") or of a system store, each as the provider's letter says; null for memory
/// and collection. `dwEncodingType` and `hCryptProv` aren't looked at. A file is read only, once.
/// Fails with ERROR_FILE_NOT_FOUND for a provider this surface doesn't have, a file that isn't
/// there, or a system store opened by CERT_STORE_OPEN_EXISTING_FLAG whose folder isn't there;
/// ERROR_FILE_EXISTS when CERT_STORE_CREATE_NEW_FLAG finds one; E_INVALIDARG for an empty or
/// path-like name of a system store; a system error else. A system store without folder opens
/// empty, and the folder is made with the first object.
BASALT_API HCERTSTORE CertOpenStore(LPCSTR lpszStoreProvider, DWORD dwEncodingType,
                                    HCRYPTPROV hCryptProv, DWORD dwFlags, const void* pvPara);

/// The current user's system store by name.
BASALT_API HCERTSTORE CertOpenSystemStoreA(HCRYPTPROV hProv, LPCSTR szSubsystemProtocol);
BASALT_API HCERTSTORE CertOpenSystemStoreW(HCRYPTPROV hProv, LPCWSTR szSubsystemProtocol);

/// Adds a reference and returns the handle; null with ERROR_INVALID_HANDLE when it isn't an open
/// store's.
BASALT_API HCERTSTORE CertDuplicateStore(HCERTSTORE hCertStore);

/// Gives up a reference. Contexts of the store live on. CERT_CLOSE_STORE_CHECK_FLAG gives FALSE
/// with CRYPT_E_PENDING_CLOSE when contexts are left (the store is closed all the same);
/// CERT_CLOSE_STORE_FORCE_FLAG closes the store whatever its count. A null handle is TRUE.
BASALT_API BOOL CertCloseStore(HCERTSTORE hCertStore, DWORD dwFlags);

/// Puts `hSiblingStore` into the collection, which keeps it open. Stores of higher priority come
/// first, those of one priority in the order in which they were added. With
/// CERT_PHYSICAL_STORE_ADD_ENABLE_FLAG new objects may go into it; they go into the first store
/// that takes them. E_INVALIDARG when the first handle isn't a collection's, or when the collection
/// would hold itself.
BASALT_API BOOL CertAddStoreToCollection(HCERTSTORE hCollectionStore, HCERTSTORE hSiblingStore,
                                         DWORD dwUpdateFlags, DWORD dwPriority);
BASALT_API void CertRemoveStoreFromCollection(HCERTSTORE hCollectionStore,
                                              HCERTSTORE hSiblingStore);

/// Adds a copy of the certificate with its properties. `*ppStoreContext`, when wanted, gets a
/// context of the store. Dispositions against a certificate with the same issuer and serial number:
/// NEW gives CRYPT_E_EXISTS; USE_EXISTING keeps it and adds to it the properties it lacks;
/// REPLACE_EXISTING replaces it; 5 replaces it and keeps its properties; NEWER replaces it only if
/// the new `NotBefore` is later, else CRYPT_E_EXISTS; ALWAYS adds without looking. E_ACCESSDENIED
/// when the store is read-only or a collection without a store that takes objects.
BASALT_API BOOL CertAddCertificateContextToStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pCertContext,
                                                 DWORD dwAddDisposition,
                                                 PCCERT_CONTEXT* ppStoreContext);
BASALT_API BOOL CertAddEncodedCertificateToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                                 const BYTE* pbCertEncoded, DWORD cbCertEncoded,
                                                 DWORD dwAddDisposition,
                                                 PCCERT_CONTEXT* ppCertContext);

/// Takes the certificate out of the store it came from, the file included; frees the context in any
/// case.
BASALT_API BOOL CertDeleteCertificateFromStore(PCCERT_CONTEXT pCertContext);

BASALT_API PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE hCertStore,
                                                      PCCERT_CONTEXT pPrevCertContext);

/// The next certificate that fits. `dwFindFlags` isn't looked at; an unknown find type gives
/// E_INVALIDARG.
BASALT_API PCCERT_CONTEXT CertFindCertificateInStore(HCERTSTORE hCertStore,
                                                     DWORD dwCertEncodingType, DWORD dwFindFlags,
                                                     DWORD dwFindType, const void* pvFindPara,
                                                     PCCERT_CONTEXT pPrevCertContext);

/// The certificate with the issuer and serial number of `pCertId`.
BASALT_API PCCERT_CONTEXT CertGetSubjectCertificateFromStore(HCERTSTORE hCertStore,
                                                             DWORD dwCertEncodingType,
                                                             CERT_INFO* pCertId);

/// CRLs: the same operations. Dispositions look at a list of the same issuer; NEWER compares
/// `ThisUpdate`.
BASALT_API BOOL CertAddCRLContextToStore(HCERTSTORE hCertStore, PCCRL_CONTEXT pCrlContext,
                                         DWORD dwAddDisposition, PCCRL_CONTEXT* ppStoreContext);
BASALT_API BOOL CertAddEncodedCRLToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                         const BYTE* pbCrlEncoded, DWORD cbCrlEncoded,
                                         DWORD dwAddDisposition, PCCRL_CONTEXT* ppCrlContext);
BASALT_API BOOL CertDeleteCRLFromStore(PCCRL_CONTEXT pCrlContext);
BASALT_API PCCRL_CONTEXT CertEnumCRLsInStore(HCERTSTORE hCertStore, PCCRL_CONTEXT pPrevCrlContext);
BASALT_API PCCRL_CONTEXT CertFindCRLInStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                            DWORD dwFindFlags, DWORD dwFindType,
                                            const void* pvFindPara, PCCRL_CONTEXT pPrevCrlContext);

/// An OCSP answer that lies in a store (an extension of this surface): the encoded OCSPResponse.
typedef struct _BASALT_OCSP_CONTEXT {
    BYTE* pbEncoded;
    DWORD cbEncoded;
    HCERTSTORE hCertStore;
} BASALT_OCSP_CONTEXT;
const typedef BASALT_OCSP_CONTEXT* PCBASALT_OCSP_CONTEXT;

/// Puts a copy of the answer into the store, unless the same bytes are there. The bytes must be one
/// OCSPResponse at the outside (SEQUENCE with an ENUMERATED in front); who uses the answer judges
/// it.
BASALT_API BOOL BasaltAddOcspResponseToStore(HCERTSTORE hCertStore, const BYTE* pbEncoded,
                                             DWORD cbEncoded);
BASALT_API PCBASALT_OCSP_CONTEXT BasaltEnumOcspResponsesInStore(HCERTSTORE hCertStore,
                                                                PCBASALT_OCSP_CONTEXT pPrev);
/// Always TRUE; null is allowed.
BASALT_API BOOL BasaltFreeOcspContext(PCBASALT_OCSP_CONTEXT pContext);

} // extern "C"
