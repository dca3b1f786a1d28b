// What the platform offers of the network: one POST of a PKI message, and the retrieval of an
// object by its address. Only http and https; TLS is verified against the system's roots, or those
// of the configuration tree; no proxy is used but the one given, or for retrieval the one of the
// configuration tree; time-outs and the bound on an answer come from the configuration tree
// (docs/configuration.md).
//
// Last errors: 12002 time-out, 12005 bad address, or one with a name or password in it, which is
// refused before anything is sent, 12006 unknown scheme, 12007 name unknown, 12029 no connection,
// 12030 connection lost or body cut off, 12152 no HTTP answer, 12156 a redirect that isn't
// followed, 12157 no TLS; of a server's certificate: 12037 not valid now, 12038 for another name,
// 12045 by an unknown issuer, 12170 revoked, 12179 for another usage, 12175 anything else, 12188
// the proxy's; 12184 answer over its bound, 126 the module with the HTTP client is missing, 8 no
// memory.
#pragma once

#include <basalt/binary_string.h>
#include <basalt/blob.h>
#include <basalt/types.h>
#include <basalt/visibility.h>

// A growing buffer that crosses SendPKIRequest. `data` is made with array new, or null; whoever
// holds the record frees it with array delete, also when the callee filled it.
struct PKI_BUFFER {
    std::uint32_t size;
    BYTE* data;
    std::uint32_t capacity;
};

struct _CRYPT_BLOB_ARRAY {
    DWORD cBlob;
    PCRYPT_DATA_BLOB rgBlob;
};
using CRYPT_BLOB_ARRAY = _CRYPT_BLOB_ARRAY;
using PCRYPT_BLOB_ARRAY = CRYPT_BLOB_ARRAY*;

// In: cbSize, dwMaxUrlRetrievalByteCount (0: the configured bound), pftCacheResync (null or the
// time since which a cached object must have been fetched). Out: pLastSyncTime (when not null, the
// time the object was fetched), dwHttpStatusCode (0 when there was no HTTP answer). The rest is
// left alone.
struct _CRYPT_RETRIEVE_AUX_INFO {
    DWORD cbSize;
    FILETIME* pLastSyncTime;
    DWORD dwMaxUrlRetrievalByteCount;
    void* pPreFetchInfo;
    void* pFlushInfo;
    void** ppResponseInfo;
    LPWSTR pwszCacheFileNamePrefix;
    LPFILETIME pftCacheResync;
    BOOL fProxyCacheRetrieval;
    DWORD dwHttpStatusCode;
    LPWSTR* ppwszErrorResponseHeaders;
    PCRYPT_DATA_BLOB* ppErrorContentBlob;
};
using CRYPT_RETRIEVE_AUX_INFO = _CRYPT_RETRIEVE_AUX_INFO;
using PCRYPT_RETRIEVE_AUX_INFO = CRYPT_RETRIEVE_AUX_INFO*;
static_assert(sizeof(CRYPT_RETRIEVE_AUX_INFO) == 88);

inline constexpr DWORD CRYPT_CACHE_ONLY_RETRIEVAL = 0x00000002;
inline constexpr DWORD CRYPT_WIRE_ONLY_RETRIEVAL = 0x00000004;
inline constexpr DWORD CRYPT_HTTP_POST_RETRIEVAL = 0x00100000;
// The object type of an OCSP response; a null type means bytes of any kind.
inline const LPCSTR CONTEXT_OID_OCSP_RESP = reinterpret_cast<LPCSTR>(std::uintptr_t{6});

extern "C" {

// Posts the bytes of `request`. `headers` are lines with CR LF between them, or null, in which case
// no content type is sent; `proxy` is null or empty for a direct connection; `proxyCredentials` is
// null, empty or "name:password". Puts the body of the answer into `response`, whatever the status,
// and returns the HTTP status with last error 0 (12156 for a redirect, which isn't followed; 12015
// for 401; 12187 for 407). Returns 0 with the last error set and an empty `response` when there is
// no complete answer.
BASALT_API std::uint64_t SendPKIRequest(LPCWSTR url, LPCWSTR userAgent, LPCWSTR headers,
                                        LPCWSTR proxy, LPCWSTR proxyCredentials,
                                        PKI_BUFFER* request, PKI_BUFFER* response) noexcept;

// Fetches the object by GET, or under CRYPT_HTTP_POST_RETRIEVAL by POST, for which the address has
// the form BASE/DATA?HEADERS with DATA in Base64 and escaped. *object becomes a CRYPT_BLOB_ARRAY
// with one blob in one block, which the caller gives back with free(). A GET follows up to 5
// redirects, none of which leads from https to http. `asyncRetrieve`, `credentials` and `verify`
// are 0. `timeout` is in milliseconds, 0 for the configured one.
//
// Unless CRYPT_WIRE_ONLY_RETRIEVAL is given, an object is taken from the user's cache when it was
// fetched within the time that the configuration allows (OcspValiditySeconds) and not before
// pftCacheResync; what is fetched is put there. CRYPT_CACHE_ONLY_RETRIEVAL never uses the network:
// CRYPT_E_NOT_FOUND when the cache hasn't got it. A status other than 200 gives the errors of
// SendPKIRequest, and 12152 where that has none. Both CACHE_ONLY and WIRE_ONLY, other flags or
// another type: ERROR_INVALID_PARAMETER (87).
BASALT_API BOOL CryptRetrieveObjectByUrlW(LPCWSTR url, LPCSTR objectType, DWORD flags,
                                          DWORD timeout, LPVOID* object, HANDLE asyncRetrieve,
                                          void* credentials, LPVOID verify,
                                          PCRYPT_RETRIEVE_AUX_INFO auxiliary) noexcept;

// An extension of this surface: a POST for which everything about the way can be said. Texts are
// UTF-8; null and empty ones count as absent. `cbSize` is the size of the record.
typedef struct _BASALT_POST {
    DWORD cbSize;
    LPCSTR pszUrl; // without user-info
    LPCSTR pszUserAgent;
    LPCSTR pszContentType;
    LPCSTR pszUser; // for basic authentication
    LPCSTR pszPassword;
    LPCSTR pszProxy; // absent: a direct connection
    LPCSTR pszProxyUser;
    LPCSTR pszProxyPassword;
    LPCSTR pszClientCertificate; // PEM files for TLS; an absent key stands in the certificate's
    LPCSTR pszClientKey;
    LPCSTR pszCaFile; // roots for TLS; absent: the configured ones
    DWORD dwTimeout;  // milliseconds for the whole exchange; 0: the configured time
    const BYTE* pbBody;
    DWORD cbBody;
} BASALT_POST;

// What came back. `pbBody` belongs to the record until BasaltFreePostAnswer.
typedef struct _BASALT_POST_ANSWER {
    DWORD cbSize;
    DWORD dwHttpStatus;
    DWORD dwRetryAfter; // seconds that the server wants one to wait, 0: not told
    BYTE* pbBody;
    DWORD cbBody;
} BASALT_POST_ANSWER;

// TRUE for any complete answer, whatever its status. FALSE with the last errors of SendPKIRequest
// when there is none; the status stands in the record where one came. The same rules hold: no
// redirect is followed, and time-outs and the bound on the answer are those of the configuration.
BASALT_API BOOL BasaltPost(const BASALT_POST* request, BASALT_POST_ANSWER* answer) noexcept;
// Null is allowed.
BASALT_API void BasaltFreePostAnswer(BASALT_POST_ANSWER* answer) noexcept;
}
