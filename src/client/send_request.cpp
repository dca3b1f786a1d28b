// The transport: choice of the road, and the POST.
#include <chronoseal/client/send_request.h>

#include <pthread.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

#include <basalt/configuration.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/network.h>
#include <chronoseal/client/crypto_layer_version.h>
#include <chronoseal/client/url_retrieval.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr wchar_t kOcspHeader[] = L"Content-type: application/ocsp-request";

pthread_once_t onceRetrieveObjByUrlOcspAvailable = PTHREAD_ONCE_INIT;
bool RetrieveObjByUrlOcspAvailable = false;

extern "C" void SetRetrieveObjByUrlOcspAvailable() {
    long validity = 0;
    RetrieveObjByUrlOcspAvailable =
        support_registry_get_long("\\config\\Tinlayer\\cache_settings\\OcspValiditySeconds",
                                  &validity) == 0 &&
        validity >= 1;
}

bool takes_cached_road(const WinHTTPParams& params, const wchar_t* headers) {
    if (!params.proxyAddress.empty() || !headers || !params.proxyUserName.empty() ||
        std::wcscmp(headers, kOcspHeader) != 0) {
        return false;
    }
    pthread_once(&onceRetrieveObjByUrlOcspAvailable, &SetRetrieveObjByUrlOcspAvailable);
    return RetrieveObjByUrlOcspAvailable;
}

// Owns the bytes on both sides of the platform's call.
struct Buffer : PKI_BUFFER {
    Buffer() : PKI_BUFFER{} {}
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { delete[] data; }

    void assign(const CBlob& bytes) {
        const auto wanted = static_cast<std::uint32_t>(bytes.cbData());
        if (wanted == 0) {
            return;
        }
        std::uint32_t room = 4096;
        while (room < wanted) {
            room = wanted > 0x80000000u ? wanted : room * 2;
        }
        data = new BYTE[room];
        capacity = room;
        std::memcpy(data, bytes.pbData(), wanted);
        size = wanted;
    }
};

// What crypto layers that leave no last error of their own mean by a status.
DWORD error_of_status(std::uint64_t status) {
    switch (status) {
    case 400:
    case 505:
    case 508:
        return ERROR_WINHTTP_INVALID_OPTION;
    case 401:
        return ERROR_WINHTTP_LOGIN_FAILURE;
    case 403:
        return ERROR_WINHTTP_SECURE_FAILURE;
    case 404:
        return ERROR_WINHTTP_NAME_NOT_RESOLVED;
    case 405:
        return ERROR_WINHTTP_OPTION_NOT_SETTABLE;
    case 406:
    case 409:
    case 410:
    case 503:
        return ERROR_WINHTTP_CANNOT_CONNECT;
    case 407:
        return ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED_PROXY;
    case 408:
    case 504:
        return ERROR_WINHTTP_TIMEOUT;
    case 411:
    case 412:
        return ERROR_WINHTTP_INVALID_HEADER;
    case 413:
        return ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    case 414:
        return ERROR_WINHTTP_INVALID_URL;
    case 429:
    case 500:
    case 501:
        return ERROR_WINHTTP_CONNECTION_ERROR;
    case 502:
        return ERROR_WINHTTP_SECURE_FAILURE_PROXY;
    case 506:
        return ERROR_WINHTTP_OPERATION_CANCELLED;
    case 507:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return ERROR_WINHTTP_INTERNAL_ERROR;
    }
}

void settle_last_error(DWORD error, std::uint64_t status) {
    if (!is_old_crypto_layer()) {
        SetLastError(error);
    } else if (status != 200) {
        SetLastError(error_of_status(status));
    }
}

CBlob post(WinHTTPParams& params, const wchar_t* userAgent, const wchar_t* headers,
           const CBlob& body) {
    std::wstring credentials;
    if (!params.proxyUserName.empty()) {
        credentials = params.proxyUserName + L':' + params.proxyPassword;
    }
    Buffer request;
    Buffer response;
    request.assign(body);
    params.httpStatus =
        SendPKIRequest(params.address.c_str(), userAgent, headers, params.proxyAddress.c_str(),
                       credentials.c_str(), &request, &response);
    const auto error = GetLastError();
    settle_last_error(error, params.httpStatus);
    CBlob answer(response.data, response.size);
    return answer;
}

} // namespace

CBlob SendRequest(WinHTTPParams* params, const wchar_t* userAgent, const wchar_t* headers,
                  CBlob* body, bool /*flag*/, bool useCache, FILETIME* cacheResync,
                  bool cacheOnly) {
    if (takes_cached_road(*params, headers)) {
        return retrieve_by_url(*params, *body, useCache, cacheResync, cacheOnly);
    }
    if (cacheOnly) {
        return {};
    }
    return post(*params, userAgent, headers, *body);
}

} // namespace Halcyon::PKI::TSP::Client
