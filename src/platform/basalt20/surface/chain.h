// Certificate chains: building, revocation, and judging by a policy.
//
// CertGetCertificateChain builds the best chain it can from a certificate to a trust anchor and
// tells by trust bits what is wrong with it; CertVerifyCertificateChainPolicy turns a chain into
// one verdict. Certificates of the additional store and of the system stores `CA` and `My` are
// candidates for the path, never trusted; trust comes from the `Root` store alone, or from the
// anchors that the process has put in its place. A chain belongs to its owner and may be read by
// several threads.
#pragma once

#include "basalt20/surface/crl.h"
#include "basalt20/surface/store.h"

extern "C" {

typedef void* HCERTCHAINENGINE;

/// The current user's engine is null, the machine's 1; both are the same here.
inline const HCERTCHAINENGINE HCCE_CURRENT_USER = nullptr;

typedef struct _CTL_USAGE {
    DWORD cUsageIdentifier;
    LPSTR* rgpszUsageIdentifier;
} CERT_ENHKEY_USAGE, *PCERT_ENHKEY_USAGE, CTL_USAGE, *PCTL_USAGE;

inline constexpr DWORD USAGE_MATCH_TYPE_AND = 0;
inline constexpr DWORD USAGE_MATCH_TYPE_OR = 1;

typedef struct _CERT_USAGE_MATCH {
    DWORD dwType;
    CERT_ENHKEY_USAGE Usage;
} CERT_USAGE_MATCH, *PCERT_USAGE_MATCH;

/// `cbSize` is 32. An empty usage asks for none.
typedef struct _CERT_CHAIN_PARA {
    DWORD cbSize;
    CERT_USAGE_MATCH RequestedUsage;
} CERT_CHAIN_PARA, *PCERT_CHAIN_PARA;

// Flags of CertGetCertificateChain. Without one of the three revocation flags no revocation is
// looked at.
inline constexpr DWORD CERT_CHAIN_CACHE_END_CERT = 0x00000001;
inline constexpr DWORD CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL = 0x00000004;      // nothing is fetched
inline constexpr DWORD CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE = 0x00000100; // always so here
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_END_CERT = 0x10000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CHAIN = 0x20000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT = 0x40000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY = 0x80000000;

// Bits of CERT_TRUST_STATUS::dwErrorStatus.
inline constexpr DWORD CERT_TRUST_NO_ERROR = 0x00000000;
inline constexpr DWORD CERT_TRUST_IS_NOT_TIME_VALID = 0x00000001;
inline constexpr DWORD CERT_TRUST_IS_REVOKED = 0x00000004;
inline constexpr DWORD CERT_TRUST_IS_NOT_SIGNATURE_VALID = 0x00000008;
inline constexpr DWORD CERT_TRUST_IS_NOT_VALID_FOR_USAGE = 0x00000010;
inline constexpr DWORD CERT_TRUST_IS_UNTRUSTED_ROOT = 0x00000020;
inline constexpr DWORD CERT_TRUST_REVOCATION_STATUS_UNKNOWN = 0x00000040;
inline constexpr DWORD CERT_TRUST_IS_CYCLIC = 0x00000080;
inline constexpr DWORD CERT_TRUST_INVALID_EXTENSION = 0x00000100;
inline constexpr DWORD CERT_TRUST_INVALID_POLICY_CONSTRAINTS = 0x00000200;
inline constexpr DWORD CERT_TRUST_INVALID_BASIC_CONSTRAINTS = 0x00000400;
inline constexpr DWORD CERT_TRUST_INVALID_NAME_CONSTRAINTS = 0x00000800;
inline constexpr DWORD CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT = 0x00001000;
inline constexpr DWORD CERT_TRUST_IS_PARTIAL_CHAIN = 0x00010000;
inline constexpr DWORD CERT_TRUST_HAS_WEAK_SIGNATURE = 0x00100000;
inline constexpr DWORD CERT_TRUST_IS_OFFLINE_REVOCATION = 0x01000000;
inline constexpr DWORD CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY = 0x02000000;
inline constexpr DWORD CERT_TRUST_IS_EXPLICIT_DISTRUST = 0x04000000;
inline constexpr DWORD CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT = 0x08000000;

// Bits of CERT_TRUST_STATUS::dwInfoStatus.
inline constexpr DWORD CERT_TRUST_HAS_EXACT_MATCH_ISSUER = 0x00000001;
inline constexpr DWORD CERT_TRUST_HAS_KEY_MATCH_ISSUER = 0x00000002;
inline constexpr DWORD CERT_TRUST_HAS_NAME_MATCH_ISSUER = 0x00000004;
inline constexpr DWORD CERT_TRUST_IS_SELF_SIGNED = 0x00000008;
inline constexpr DWORD CERT_TRUST_HAS_PREFERRED_ISSUER = 0x00000100;

typedef struct _CERT_TRUST_STATUS {
    DWORD dwErrorStatus;
    DWORD dwInfoStatus;
} CERT_TRUST_STATUS, *PCERT_TRUST_STATUS;

typedef struct _CERT_REVOCATION_CRL_INFO {
    DWORD cbSize;
    PCCRL_CONTEXT pBaseCrlContext;
    PCCRL_CONTEXT pDeltaCrlContext;
    CRL_ENTRY* pCrlEntry;
    BOOL fDeltaCrlEntry;
} CERT_REVOCATION_CRL_INFO, *PCERT_REVOCATION_CRL_INFO;

/// `dwRevocationResult`: 0 good, CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK,
/// CRYPT_E_REVOCATION_OFFLINE. `pszRevocationOid` is null. `pvOidSpecificInfo` is null. `pCrlInfo`
/// is null for an OCSP answer.
typedef struct _CERT_REVOCATION_INFO {
    DWORD cbSize;
    DWORD dwRevocationResult;
    LPCSTR pszRevocationOid;
    void* pvOidSpecificInfo;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
    CERT_REVOCATION_CRL_INFO* pCrlInfo;
} CERT_REVOCATION_INFO, *PCERT_REVOCATION_INFO;

typedef struct _CERT_CHAIN_ELEMENT {
    DWORD cbSize;
    PCCERT_CONTEXT pCertContext;
    CERT_TRUST_STATUS TrustStatus;
    CERT_REVOCATION_INFO* pRevocationInfo;
    CERT_ENHKEY_USAGE* pIssuanceUsage;
    CERT_ENHKEY_USAGE* pApplicationUsage;
    LPCWSTR pwszExtendedErrorInfo;
} CERT_CHAIN_ELEMENT, *PCERT_CHAIN_ELEMENT;

/// Elements from the certificate asked about to the root. `pTrustListInfo` is null.
typedef struct _CERT_SIMPLE_CHAIN {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cElement;
    CERT_CHAIN_ELEMENT** rgpElement;
    void* pTrustListInfo;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
} CERT_SIMPLE_CHAIN, *PCERT_SIMPLE_CHAIN;

typedef struct _CERT_CHAIN_CONTEXT {
    DWORD cbSize;
    CERT_TRUST_STATUS TrustStatus;
    DWORD cChain;
    CERT_SIMPLE_CHAIN** rgpChain;
    DWORD cLowerQualityChainContext;
    const struct _CERT_CHAIN_CONTEXT** rgpLowerQualityChainContext;
    BOOL fHasRevocationFreshnessTime;
    DWORD dwRevocationFreshnessTime;
} CERT_CHAIN_CONTEXT, *PCERT_CHAIN_CONTEXT;
const typedef CERT_CHAIN_CONTEXT* PCCERT_CHAIN_CONTEXT;

/// Builds the chain of `pCertContext`, judged at `pTime` (null: now). `hAdditionalStore` may be
/// null; its CRLs and OCSP answers are used too. What is wrong with the chain stands in the trust
/// bits and is no failure. FALSE only for bad arguments (E_INVALIDARG) and lack of memory
/// (E_OUTOFMEMORY).
BASALT_API BOOL CertGetCertificateChain(HCERTCHAINENGINE hChainEngine, PCCERT_CONTEXT pCertContext,
                                        FILETIME* pTime, HCERTSTORE hAdditionalStore,
                                        CERT_CHAIN_PARA* pChainPara, DWORD dwFlags,
                                        void* pvReserved, PCCERT_CHAIN_CONTEXT* ppChainContext);

BASALT_API PCCERT_CHAIN_CONTEXT CertDuplicateCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext);
/// Null is allowed.
BASALT_API void CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext);

// Chain policies.
inline const LPCSTR CERT_CHAIN_POLICY_BASE = reinterpret_cast<LPCSTR>(1);
/// The time-stamp policy goes by this text.
inline constexpr char CERT_CHAIN_POLICY_TIME_STAMP[] = "{AF74EE92-A059-492F-9B4B-EAD239B22A1B}";

// Flags of CERT_CHAIN_POLICY_PARA, as far as they are looked at.
inline constexpr DWORD CERT_CHAIN_POLICY_IGNORE_NOT_TIME_VALID_FLAG = 0x00000001;
inline constexpr DWORD CERT_CHAIN_POLICY_ALLOW_UNKNOWN_CA_FLAG = 0x00000010;
inline constexpr DWORD CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS = 0x00000F00;
/// What the client passes to the time-stamp policy; nothing hangs on it.
inline constexpr DWORD CERT_CHAIN_POLICY_TIME_STAMP_CLIENT_FLAG = 0x00020000;

/// `cbSize` is 16.
typedef struct _CERT_CHAIN_POLICY_PARA {
    DWORD cbSize;
    DWORD dwFlags;
    void* pvExtraPolicyPara;
} CERT_CHAIN_POLICY_PARA, *PCERT_CHAIN_POLICY_PARA;

/// `cbSize` is 24. The indices name the chain and the element at fault, -1 when the fault has none.
typedef struct _CERT_CHAIN_POLICY_STATUS {
    DWORD cbSize;
    DWORD dwError;
    LONG lChainIndex;
    LONG lElementIndex;
    void* pvExtraPolicyStatus;
} CERT_CHAIN_POLICY_STATUS, *PCERT_CHAIN_POLICY_STATUS;

/// The extra record of the time-stamp policy: `cbSize` is 16, `pCheckTime` the moment at which the
/// chain is judged (null: now).
typedef struct _BASALT_TIME_STAMP_POLICY_PARA {
    DWORD cbSize;
    const FILETIME* pCheckTime;
} BASALT_TIME_STAMP_POLICY_PARA;

/// Judges a chain. TRUE when the policy could run: the verdict is `pPolicyStatus->dwError`, 0 for a
/// good chain. FALSE with ERROR_FILE_NOT_FOUND for an unknown policy and E_INVALIDARG for bad
/// records. The time-stamp policy judges validity and revocation at the check time, whatever the
/// time at which the chain was built: each certificate valid then; the end certificate with time
/// stamping as its sole, critical extended usage, and no CA; none revoked before then, nor ever for
/// compromise of its key. Codes: CERT_E_EXPIRED, CERT_E_UNTRUSTEDROOT, CERT_E_CHAINING,
/// CERT_E_WRONG_USAGE, TRUST_E_CERT_SIGNATURE, TRUST_E_BASIC_CONSTRAINTS, CERT_E_CRITICAL,
/// CRYPT_E_REVOKED, CRYPT_E_NO_REVOCATION_CHECK, CRYPT_E_REVOCATION_OFFLINE.
BASALT_API BOOL CertVerifyCertificateChainPolicy(LPCSTR pszPolicyOID,
                                                 PCCERT_CHAIN_CONTEXT pChainContext,
                                                 CERT_CHAIN_POLICY_PARA* pPolicyPara,
                                                 CERT_CHAIN_POLICY_STATUS* pPolicyStatus);

/// An extension of this surface: puts the certificates of `hStore` in the place of the trust
/// anchors of the machine, for all chains that this process builds from now on. The store is
/// duplicated. Null puts the machine's back. FALSE with ERROR_INVALID_HANDLE when the handle isn't
/// an open store's.
BASALT_API BOOL BasaltSetTrustAnchors(HCERTSTORE hStore);

// How revocation is judged.
inline constexpr DWORD BASALT_REVOCATION_CONFIGURED = 0; // as the configuration tree says
inline constexpr DWORD BASALT_REVOCATION_REQUIRE = 1;    // a named source must answer
inline constexpr DWORD BASALT_REVOCATION_AVAILABLE = 2;  // what lies at hand or answers counts
inline constexpr DWORD BASALT_REVOCATION_OFF = 3;        // none is looked at

/// An extension of this surface: sets how this process judges revocation from now on, over the
/// configuration tree. E_INVALIDARG for another number.
BASALT_API BOOL BasaltSetRevocationMode(DWORD dwMode);

} // extern "C"
