// Certificate chains: building, revocation, and judging by a policy.
//
// CertGetCertificateChain builds the best chain it can from a certificate to a trust anchor and
// tells by trust bits what is wrong with it; CertVerifyCertificateChainPolicy turns a chain into
// one verdict. Certificates of the additional store and of the system stores `CA` and `My` are
// candidates for the path, never trusted; trust comes from the `Root` store alone, or from the
// anchors that the engine or the process has put in its place. A chain belongs to its owner and may
// be read by several threads.
//
// Every whole path from the certificate to an anchor is judged by itself, and the first good one is
// the chain; if none is, the best of the others is, with what is wrong with it. The order of the
// certificates in the stores decides nothing.
//
// The network is asked only for what a path needs that ends in an anchor and is good but for what
// is asked: for statements about its certificates, 15 seconds in all for one chain and the verdicts
// over it. Where no path is found, missing issuers are fetched from the addresses that the
// certificates below them name (authorityInfoAccess), four at most, and only where a certificate
// between is truly missing: a search that reached a root, self-signed and by good signatures, which
// is no anchor, has found an unknown root and asks nobody.
#pragma once

#include <basalt/crl.h>
#include <basalt/store.h>

extern "C" {

typedef void* HCERTCHAINENGINE;

/// The current user's engine is null, the machine's 1; both are the same here, and judge as the
/// configuration tree and the process say. Other engines come from
/// CertCreateCertificateChainEngine.
inline const HCERTCHAINENGINE HCCE_CURRENT_USER = nullptr;
inline const HCERTCHAINENGINE HCCE_LOCAL_MACHINE = reinterpret_cast<HCERTCHAINENGINE>(1);

/// What an engine of one's own has in the place of the common ones. `cbSize` is 88. A null store
/// leaves things as they are. `hExclusiveRoot`: the anchors, in the place of the `Root` store and
/// of BasaltSetTrustAnchors. `hRestrictedOther`: the candidates, in the place of the system stores
/// `CA` and `My`. `rghAdditionalStore`: more candidates. The flag
/// CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL in `dwFlags` keeps all chains of the engine off the network.
/// BASALT_CHAIN_GIVEN_ONLY there leaves the system stores `CA` and `My` and the cache of fetched
/// objects aside as well: then nothing counts but anchors and what the caller gives.
/// `dwUrlRetrievalTimeout`: milliseconds for all fetching of a chain, 0 for 15,000, which is also
/// the most. The other fields must be null or 0: E_INVALIDARG, so that nothing that was asked for
/// is silently left out.
typedef struct _CERT_CHAIN_ENGINE_CONFIG {
    DWORD cbSize;
    HCERTSTORE hRestrictedRoot;
    HCERTSTORE hRestrictedTrust;
    HCERTSTORE hRestrictedOther;
    DWORD cAdditionalStore;
    HCERTSTORE* rghAdditionalStore;
    DWORD dwFlags;
    DWORD dwUrlRetrievalTimeout;
    DWORD MaximumCachedCertificates;
    DWORD CycleDetectionModulus;
    HCERTSTORE hExclusiveRoot;
    HCERTSTORE hExclusiveTrustedPeople;
    DWORD dwExclusiveFlags;
} CERT_CHAIN_ENGINE_CONFIG, *PCERT_CHAIN_ENGINE_CONFIG;

// How revocation is judged.
inline constexpr DWORD BASALT_REVOCATION_CONFIGURED = 0; // as the process and its configuration say
inline constexpr DWORD BASALT_REVOCATION_DEFAULT = BASALT_REVOCATION_CONFIGURED;
inline constexpr DWORD BASALT_REVOCATION_REQUIRE = 1;   // a named source must answer
inline constexpr DWORD BASALT_REVOCATION_AVAILABLE = 2; // what lies at hand or answers counts
inline constexpr DWORD BASALT_REVOCATION_OFF = 3;       // none is looked at

// How strong signatures and keys must be. The floor refuses MD2, MD4, MD5, MDC2 and RIPEMD, RSA and
// DSA below 1024 bits, elliptic curves below 160 and digests shorter than 160 bits; it lets SHA-1
// and RSA and DSA below 2048 bits pass with a remark. `current` refuses these too.
inline constexpr DWORD BASALT_STRENGTH_DEFAULT = 0; // as configured, else the floor
inline constexpr DWORD BASALT_STRENGTH_FLOOR = 1;
inline constexpr DWORD BASALT_STRENGTH_CURRENT = 2;

/// An extension of this surface: the published record with more behind it. `Base.cbSize` is the
/// size of the whole. `pNow` is the moment that counts as the present one, null: the clock.
typedef struct _BASALT_CHAIN_ENGINE_CONFIG {
    CERT_CHAIN_ENGINE_CONFIG Base;
    DWORD dwRevocationMode;
    DWORD dwStrength;
    const FILETIME* pNow;
} BASALT_CHAIN_ENGINE_CONFIG;

/// Makes an engine, which belongs to the caller and may serve several threads. Its stores are
/// duplicated. FALSE with E_INVALIDARG for a bad record and ERROR_INVALID_HANDLE for a store that
/// isn't open.
BASALT_API BOOL CertCreateCertificateChainEngine(CERT_CHAIN_ENGINE_CONFIG* pConfig,
                                                 HCERTCHAINENGINE* phChainEngine);
/// Chains that the engine has made live on. Null, 1 and handles of no engine are allowed.
BASALT_API void CertFreeCertificateChainEngine(HCERTCHAINENGINE hChainEngine);

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

/// `cbSize` is 32. An empty usage asks for none; of several, all or (USAGE_MATCH_TYPE_OR) one must
/// be allowed by every certificate below the anchor that restricts its usages.
typedef struct _CERT_CHAIN_PARA {
    DWORD cbSize;
    CERT_USAGE_MATCH RequestedUsage;
} CERT_CHAIN_PARA, *PCERT_CHAIN_PARA;

/// The published record with its next field, for which `Base.cbSize` is 56 or more. The policies
/// are the initial set of RFC 5280, 6.1.1 (2.5.29.32.0: any), of which one must hold for the whole
/// path; `dwType` isn't looked at. Without them any policy will do, but what the certificates
/// themselves demand is judged all the same.
typedef struct _BASALT_CHAIN_PARA {
    CERT_CHAIN_PARA Base;
    CERT_USAGE_MATCH RequestedIssuancePolicy;
} BASALT_CHAIN_PARA;

/// What several chains have together, such as those of all stamps in one file. They take no more
/// time for fetching than one chain may, 15 seconds, which begin with the first fetching. What has
/// failed for one of them, or was answered, isn't asked for again, and 512 exchanges are all. Their
/// signatures and keys take the processor some 1.5 seconds at most; what is beyond that can't be
/// told. Any thread may use it.
typedef void* HBASALT_FETCHING;

/// FALSE with E_INVALIDARG for a null pointer.
BASALT_API BOOL BasaltCreateFetching(HBASALT_FETCHING* phFetching);
/// Chains that were built with it keep what they need of it. Null and handles of nothing are
/// allowed.
BASALT_API void BasaltFreeFetching(HBASALT_FETCHING hFetching);

/// Takes what a signature by the certificate's key costs off what the chains of the handle share,
/// for a caller who is about to verify one. FALSE with TRUST_E_SYSTEM_ERROR when so much isn't
/// left, ERROR_INVALID_HANDLE for a handle of nothing, E_INVALIDARG for a null certificate, and a
/// CRYPT_E_ASN1 or NTE code for a certificate or key that can't be read.
BASALT_API BOOL BasaltTakeSignature(HBASALT_FETCHING hFetching, PCCERT_CONTEXT pCertContext);

/// An extension of this surface: BASALT_CHAIN_PARA with more behind it. `Base.Base.cbSize` is
/// exactly the size of the whole, 64. `hFetching` may be null; one that isn't open is
/// ERROR_INVALID_HANDLE.
typedef struct _BASALT_FETCHING_CHAIN_PARA {
    BASALT_CHAIN_PARA Base;
    HBASALT_FETCHING hFetching;
} BASALT_FETCHING_CHAIN_PARA;

/// A flag of CERT_CHAIN_ENGINE_CONFIG, an extension of this surface.
inline constexpr DWORD BASALT_CHAIN_GIVEN_ONLY = 0x40000000;

// Flags of CertGetCertificateChain. Without one of the three revocation flags no revocation is
// looked at.
inline constexpr DWORD CERT_CHAIN_CACHE_END_CERT = 0x00000001;
inline constexpr DWORD CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL = 0x00000004;      // nothing is fetched
inline constexpr DWORD CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE = 0x00000100; // always so here
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_END_CERT = 0x10000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CHAIN = 0x20000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT = 0x40000000;
inline constexpr DWORD CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY = 0x80000000;

// Bits of CERT_TRUST_STATUS::dwErrorStatus. CERT_TRUST_IS_CYCLIC and
// CERT_TRUST_IS_EXPLICIT_DISTRUST are published bits that no chain has here.
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
/// An extension of this surface: a signature or a key that passes but is no longer state of the art
/// (SHA-1, RSA or DSA below 2048 bits).
inline constexpr DWORD BASALT_TRUST_HAS_AGED_STRENGTH = 0x40000000;
/// An extension of this surface, of a chain as a whole: the end certificate is revoked, or its key
/// or that of its issuer in strange hands, by the only root there is, so that no other chain can be
/// good.
inline constexpr DWORD BASALT_TRUST_IS_CONDEMNED = 0x20000000;
/// An extension of this surface, of one certificate: another one of its key is called compromised,
/// and of whoever says so nobody tells whether he may.
inline constexpr DWORD BASALT_TRUST_KEY_IS_ACCUSED = 0x10000000;

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

inline constexpr DWORD BASALT_EVIDENCE_CRL = 1;
inline constexpr DWORD BASALT_EVIDENCE_OCSP = 2;
inline constexpr DWORD BASALT_EVIDENCE_FROM_STORE = 1; // the token itself or a store that was given
inline constexpr DWORD BASALT_EVIDENCE_FROM_CACHE = 2;
inline constexpr DWORD BASALT_EVIDENCE_FROM_NETWORK = 3;

/// An extension of this surface: the list or answer that decided on a certificate. Times that
/// aren't told are zero. `ftRevoked` and `dwReason`, the number of RFC 5280, 5.3.1, are those of a
/// revoked certificate, or of one that was on hold and of which nothing newer tells;
/// BASALT_REASON_NONE where no reason is told. `pszUrl` is where it was fetched from, null for a
/// store. `pNext` is another one that the judgement needed, or null: the base of a delta, a list
/// for other reasons, and what speaks of the signer of one before it; that one's revocation times
/// are zero. All belongs to the chain.
inline constexpr DWORD BASALT_REASON_NONE = 0xFFFFFFFF;
typedef struct _BASALT_REVOCATION_EVIDENCE {
    DWORD cbSize;
    DWORD dwKind;
    DWORD dwSource;
    FILETIME ftThisUpdate;
    FILETIME ftNextUpdate;
    FILETIME ftRevoked;
    DWORD dwReason;
    DWORD cbEncoded;
    BYTE* pbEncoded;
    LPCSTR pszUrl;
    const struct _BASALT_REVOCATION_EVIDENCE* pNext;
} BASALT_REVOCATION_EVIDENCE, *PBASALT_REVOCATION_EVIDENCE;

/// `dwRevocationResult`: 0 good, CRYPT_E_REVOKED, CRYPT_E_REVOCATION_OFFLINE when no source that is
/// named has given a statement that counts, CRYPT_E_NO_REVOCATION_CHECK when the certificate names
/// no source and none lies at hand, when not every reason is covered, or when what revokes can't be
/// relied upon, since its signer isn't trusted or isn't at hand, TRUST_E_SYSTEM_ERROR when so much
/// lay at hand that not all of it could be looked at. `pszRevocationOid` and `pCrlInfo` are null.
/// `pvOidSpecificInfo` is a BASALT_REVOCATION_EVIDENCE, or null when nothing decided.
typedef struct _CERT_REVOCATION_INFO {
    DWORD cbSize;
    DWORD dwRevocationResult;
    LPCSTR pszRevocationOid;
    void* pvOidSpecificInfo;
    BOOL fHasFreshnessTime;
    DWORD dwFreshnessTime;
    CERT_REVOCATION_CRL_INFO* pCrlInfo;
} CERT_REVOCATION_INFO, *PCERT_REVOCATION_INFO;

/// `pwszExtendedErrorInfo`: of one whose revocation is unknown, or whose key is accused, the first
/// address that was asked in vain; else null. It is foreign text, in ASCII.
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
/// bits and is no failure. FALSE only for bad arguments (E_INVALIDARG), an additional store or an
/// engine that isn't open (ERROR_INVALID_HANDLE) and lack of memory (E_OUTOFMEMORY). A certificate
/// that names no source of revocation, and for which none lies at hand, passes: that stands in its
/// CERT_REVOCATION_INFO.
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

/// What the time-stamp policy tells beside CRYPT_E_REVOKED where `pvExtraPolicyStatus` points to
/// one with its `cbSize` set: whether the revocation came after the check time, for a reason that
/// voids what was signed before too; when; and why (BASALT_REASON_NONE when not told).
typedef struct _BASALT_TIME_STAMP_POLICY_STATUS {
    DWORD cbSize;
    BOOL fRevokedLater;
    FILETIME ftRevoked;
    DWORD dwReason;
} BASALT_TIME_STAMP_POLICY_STATUS;

/// Judges a chain. TRUE when the policy could run: the verdict is `pPolicyStatus->dwError`, 0 for a
/// good chain. FALSE with ERROR_FILE_NOT_FOUND for an unknown policy and E_INVALIDARG for bad
/// records. The time-stamp policy judges validity and revocation at the check time, whatever the
/// time at which the chain was built, and by another path where that is the good one then: each
/// certificate valid then, its last second whole; the end certificate with time stamping as its
/// sole, critical extended usage, and no CA; each CA below the anchor that restricts its usages
/// with time stamping or any usage among them; none revoked before then, nor ever for compromise of
/// its key. Codes: CERT_E_EXPIRED, CERT_E_UNTRUSTEDROOT, CERT_E_CHAINING, CERT_E_WRONG_USAGE,
/// CERT_E_INVALID_NAME, CERT_E_INVALID_POLICY, CERT_E_MALFORMED, TRUST_E_CERT_SIGNATURE,
/// TRUST_E_BASIC_CONSTRAINTS, TRUST_E_FAIL, CERT_E_CRITICAL, CRYPT_E_REVOKED,
/// CRYPT_E_REVOCATION_OFFLINE, CRYPT_E_NO_REVOCATION_CHECK when what is known of a revocation
/// doesn't cover every reason for one or can't be relied upon, and TRUST_E_SYSTEM_ERROR when so
/// much lay at hand that not all of it could be looked at, and what was doesn't decide: then
/// nothing is known to be bad.
BASALT_API BOOL CertVerifyCertificateChainPolicy(LPCSTR pszPolicyOID,
                                                 PCCERT_CHAIN_CONTEXT pChainContext,
                                                 CERT_CHAIN_POLICY_PARA* pPolicyPara,
                                                 CERT_CHAIN_POLICY_STATUS* pPolicyStatus);

/// An extension of this surface: puts the certificates of `hStore` in the place of the trust
/// anchors of the machine, for all chains that this process builds from now on. The store is
/// duplicated. Null puts the machine's back. FALSE with ERROR_INVALID_HANDLE when the handle isn't
/// an open store's.
BASALT_API BOOL BasaltSetTrustAnchors(HCERTSTORE hStore);

/// An extension of this surface: sets how this process judges revocation from now on, over the
/// configuration tree. E_INVALIDARG for another number.
BASALT_API BOOL BasaltSetRevocationMode(DWORD dwMode);

} // extern "C"
