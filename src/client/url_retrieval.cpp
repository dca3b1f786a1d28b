// Retrieval by address through the platform's cache.
#include <chronoseal/client/url_retrieval.h>

#include <pthread.h>

#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string>

#include <basalt/configuration.h>
#include <basalt/network.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/result_codes.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr std::uint64_t kStatusUnexplained = 456;

pthread_once_t onceSendRequestTimeout = PTHREAD_ONCE_INIT;
unsigned SendRequestTimeoutMilliseconds = 5000;

extern "C" void SetSendRequestTimeoutMilliseconds() {
    long timeout = -1;
    if (support_registry_get_long("\\config\\Tinlayer\\SendRequestTimeoutMilliseconds", &timeout) ==
            0 &&
        timeout >= 0) {
        SendRequestTimeoutMilliseconds = static_cast<unsigned>(timeout);
    }
}

// Base64 in one line, or the empty text.
std::wstring base64(const CBlob& bytes) {
    constexpr DWORD kForm = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
    const auto size = static_cast<DWORD>(bytes.cbData());
    DWORD count = 0;
    if (!CryptBinaryToStringW(bytes.pbData(), size, kForm, nullptr, &count)) {
        return {};
    }
    std::wstring text(count, L'\0');
    if (!CryptBinaryToStringW(bytes.pbData(), size, kForm, text.data(), &count)) {
        return {};
    }
    text.resize(std::wcslen(text.c_str()));
    return text;
}

std::wstring escaped(const std::wstring& base64_text) {
    std::wstring result;
    for (const wchar_t c : base64_text) {
        switch (c) {
        case L'+':
            result += L"%2B";
            break;
        case L'/':
            result += L"%2F";
            break;
        case L'=':
            result += L"%3D";
            break;
        default:
            result += c;
        }
    }
    return result;
}

// The tail tells the layer below the content type of the cached object.
std::wstring address_of(const std::wstring& base, const CBlob& body) {
    const auto text = base64(body);
    if (text.empty()) {
        return {};
    }
    return base + L'/' + escaped(text) + L"?Content-type: application/ocsp-request";
}

struct FreeObject {
    void operator()(CRYPT_BLOB_ARRAY* object) const noexcept { std::free(object); }
};

DWORD retrieval_flags(bool useCache, bool cacheOnly) {
    return CRYPT_HTTP_POST_RETRIEVAL | (cacheOnly ? CRYPT_CACHE_ONLY_RETRIEVAL : 0u) |
           (useCache ? 0u : CRYPT_WIRE_ONLY_RETRIEVAL);
}

} // namespace

CBlob retrieve_by_url(WinHTTPParams& params, const CBlob& body, bool useCache,
                      FILETIME* cacheResync, bool cacheOnly) {
    params.httpStatus = kStatusUnexplained;
    const auto url = address_of(params.address, body);
    if (url.empty()) {
        throw_last_error();
    }
    CRYPT_RETRIEVE_AUX_INFO info{};
    info.cbSize = sizeof(info);
    info.pftCacheResync = cacheResync;
    pthread_once(&onceSendRequestTimeout, &SetSendRequestTimeoutMilliseconds);
    void* object = nullptr;
    if (!CryptRetrieveObjectByUrlW(
            url.c_str(), CONTEXT_OID_OCSP_RESP, retrieval_flags(useCache, cacheOnly),
            SendRequestTimeoutMilliseconds, &object, nullptr, nullptr, nullptr, &info)) {
        if (info.dwHttpStatusCode != 0) {
            params.httpStatus = info.dwHttpStatusCode;
        }
        return {};
    }
    const std::unique_ptr<CRYPT_BLOB_ARRAY, FreeObject> found(
        static_cast<CRYPT_BLOB_ARRAY*>(object));
    if (found->cBlob != 1) {
        ATL::AtlThrowImpl(hr(kResultBadRetrieval));
    }
    params.httpStatus = 200;
    return CBlob(found->rgBlob[0].pbData, found->rgBlob[0].cbData);
}

} // namespace Halcyon::PKI::TSP::Client
