// CRL contexts: a counted record over an encoded certificate revocation list and its fields.
// Ownership, threads and failures are those of certificate contexts.
#pragma once

#include <basalt/certificate.h>

extern "C" {

/// `SerialNumber` is little-endian.
typedef struct _CRL_ENTRY {
    CRYPT_INTEGER_BLOB SerialNumber;
    FILETIME RevocationDate;
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;
} CRL_ENTRY, *PCRL_ENTRY;

/// The fields of a list; a list without `nextUpdate` has a `NextUpdate` of zero.
typedef struct _CRL_INFO {
    DWORD dwVersion;
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CERT_NAME_BLOB Issuer;
    FILETIME ThisUpdate;
    FILETIME NextUpdate;
    DWORD cCRLEntry;
    CRL_ENTRY* rgCRLEntry;
    DWORD cExtension;
    CERT_EXTENSION* rgExtension;
} CRL_INFO, *PCRL_INFO;

typedef struct _CRL_CONTEXT {
    DWORD dwCertEncodingType;
    BYTE* pbCrlEncoded;
    DWORD cbCrlEncoded;
    CRL_INFO* pCrlInfo;
    HCERTSTORE hCertStore;
} CRL_CONTEXT, *PCRL_CONTEXT;
const typedef CRL_CONTEXT* PCCRL_CONTEXT;

/// Makes a free-standing context over a copy of the bytes; failures as
/// CertCreateCertificateContext.
BASALT_API PCCRL_CONTEXT CertCreateCRLContext(DWORD dwCertEncodingType, const BYTE* pbCrlEncoded,
                                              DWORD cbCrlEncoded);
BASALT_API PCCRL_CONTEXT CertDuplicateCRLContext(PCCRL_CONTEXT pCrlContext);
/// Always TRUE; null is allowed.
BASALT_API BOOL CertFreeCRLContext(PCCRL_CONTEXT pCrlContext);

/// Looks the certificate's serial number up in the list. TRUE with a null `*ppCrlEntry` when it
/// isn't listed. The entry is borrowed from the context. The list's issuer isn't compared.
BASALT_API BOOL CertFindCertificateInCRL(PCCERT_CONTEXT pCert, PCCRL_CONTEXT pCrlContext,
                                         DWORD dwFlags, void* pvReserved, CRL_ENTRY** ppCrlEntry);

} // extern "C"
