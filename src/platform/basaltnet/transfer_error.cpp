// curl's codes and, behind them, the verdicts of its TLS library.
#include <basalt/basaltnet/transfer_error.h>

#include <basalt/error_codes.h>

namespace basalt {

namespace {

// Verdicts of X509_verify_cert, which curl hands on when it was built with OpenSSL.
enum X509Verdict : long {
    kX509Ok = 0,
    kX509Unspecified = 1, // none yet
    kX509UnknownIssuer = 2,
    kX509NotYetValid = 9,
    kX509Expired = 10,
    kX509SelfSigned = 18,
    kX509SelfSignedInChain = 19,
    kX509UnknownLocalIssuer = 20,
    kX509UnverifiableLeaf = 21,
    kX509Revoked = 23,
    kX509WrongPurpose = 26,
    kX509HostMismatch = 62,
    kX509AddressMismatch = 64,
};

long verdict_of(CURL* handle, CURLINFO which) {
    long verdict = 0;
    curl_easy_getinfo(handle, which, &verdict);
    return verdict;
}

DWORD certificate_error(CURL* handle) {
    if (verdict_of(handle, CURLINFO_PROXY_SSL_VERIFYRESULT) != kX509Ok) {
        return ERROR_WINHTTP_SECURE_FAILURE_PROXY;
    }
    switch (verdict_of(handle, CURLINFO_SSL_VERIFYRESULT)) {
    case kX509Ok: // curl looks at the name itself, and before it keeps the verdict on a good chain
    case kX509Unspecified:
    case kX509HostMismatch:
    case kX509AddressMismatch:
        return ERROR_WINHTTP_SECURE_CERT_CN_INVALID;
    case kX509NotYetValid:
    case kX509Expired:
        return ERROR_WINHTTP_SECURE_CERT_DATE_INVALID;
    case kX509UnknownIssuer:
    case kX509SelfSigned:
    case kX509SelfSignedInChain:
    case kX509UnknownLocalIssuer:
    case kX509UnverifiableLeaf:
        return ERROR_WINHTTP_SECURE_INVALID_CA;
    case kX509Revoked:
        return ERROR_WINHTTP_SECURE_CERT_REVOKED;
    case kX509WrongPurpose:
        return ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE;
    default:
        return ERROR_WINHTTP_SECURE_FAILURE;
    }
}

} // namespace

DWORD last_error_of(CURL* handle, CURLcode code) {
    switch (code) {
    case CURLE_OK:
        return ERROR_SUCCESS;
    case CURLE_URL_MALFORMAT:
        return ERROR_WINHTTP_INVALID_URL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return ERROR_WINHTTP_NAME_NOT_RESOLVED;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
    case CURLE_INTERFACE_FAILED:
        return ERROR_WINHTTP_CANNOT_CONNECT;
    case CURLE_OPERATION_TIMEDOUT:
        return ERROR_WINHTTP_TIMEOUT;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return ERROR_WINHTTP_CONNECTION_ERROR;
    case CURLE_UNSUPPORTED_PROTOCOL: // the scheme was looked at before: what came isn't HTTP
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    case CURLE_SSL_CONNECT_ERROR:
        return ERROR_WINHTTP_SECURE_CHANNEL_ERROR;
    case CURLE_PEER_FAILED_VERIFICATION:
        return certificate_error(handle);
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
        return ERROR_WINHTTP_SECURE_FAILURE;
    case CURLE_FILESIZE_EXCEEDED:
        return ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW;
    case CURLE_LOGIN_DENIED:
        return ERROR_WINHTTP_LOGIN_FAILURE;
    case CURLE_OUT_OF_MEMORY:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return ERROR_WINHTTP_INTERNAL_ERROR;
    }
}

} // namespace basalt
