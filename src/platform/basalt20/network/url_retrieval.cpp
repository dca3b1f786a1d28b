// CryptRetrieveObjectByUrlW: an address taken apart, the cache, one exchange.
#include <basalt/coding/fault.h>
#include <basalt/coding/narrow_text.h>
#include <basalt/configuration.h>
#include <basalt/network.h>
#include <basalt/network/http_client.h>
#include <basalt/network/http_status_error.h>
#include <basalt/network/retrieval_cache.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using basalt::HttpAnswer;
using basalt::HttpRequest;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

constexpr DWORD kKnownFlags =
    CRYPT_CACHE_ONLY_RETRIEVAL | CRYPT_WIRE_ONLY_RETRIEVAL | CRYPT_HTTP_POST_RETRIEVAL;
constexpr std::int64_t kUnixEpochTicks = 116'444'736'000'000'000;

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hex_digit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hex_digit(text[i + 2]) : -1;
        basalt::require(high >= 0 && low >= 0, ERROR_WINHTTP_INVALID_URL);
        result += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return result;
}

std::vector<BYTE> from_base64(const std::string& text) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    basalt::require(length != 0 && CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64,
                                                        nullptr, &size, nullptr, nullptr) != FALSE,
                    ERROR_WINHTTP_INVALID_URL);
    std::vector<BYTE> bytes(size);
    CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, bytes.data(), &size, nullptr,
                         nullptr);
    return bytes;
}

// BASE/DATA?HEADERS becomes a POST of the data to BASE. The data has no "/" of its own left, so
// that the last one in front of the headers is the separator. `body` has to outlive the request.
void make_post(HttpRequest& request, std::vector<BYTE>& body) {
    const std::size_t mark = request.url.rfind('?');
    if (mark != std::string::npos) {
        request.headers.push_back(request.url.substr(mark + 1));
        request.url.resize(mark);
    }
    const std::size_t slash = request.url.rfind('/');
    basalt::require(slash != std::string::npos, ERROR_WINHTTP_INVALID_URL);
    body = from_base64(unescaped(request.url.substr(slash + 1)));
    request.body = body;
    request.url.resize(slash);
}

FILETIME file_time_of(system_clock::time_point time) {
    const auto micro =
        std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch());
    const auto ticks = static_cast<std::uint64_t>(kUnixEpochTicks + micro.count() * 10);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// How long a fetched object may be used again; 0: there is no cache.
seconds validity() {
    long value = 0;
    const int code = support_registry_get_long(
        "\\config\\Tinlayer\\cache_settings\\OcspValiditySeconds", &value);
    constexpr long kLongest = 100L * 365 * 24 * 60 * 60; // far from the ends of the clock's scale
    return seconds(code == 0 && value > 0 ? std::min(value, kLongest) : 0);
}

bool is_fresh(system_clock::time_point fetched, const CRYPT_RETRIEVE_AUX_INFO* auxiliary) {
    if (fetched + validity() <= system_clock::now()) {
        return false;
    }
    if (auxiliary == nullptr || auxiliary->pftCacheResync == nullptr) {
        return true;
    }
    const FILETIME time = file_time_of(fetched);
    const FILETIME& since = *auxiliary->pftCacheResync;
    return time.dwHighDateTime != since.dwHighDateTime ? time.dwHighDateTime > since.dwHighDateTime
                                                       : time.dwLowDateTime >= since.dwLowDateTime;
}

// An array of one blob in one block of the C library's heap.
void* make_object(const std::vector<BYTE>& bytes) {
    struct Block {
        CRYPT_BLOB_ARRAY array;
        CRYPT_DATA_BLOB blob;
    };
    auto* block = static_cast<Block*>(std::malloc(sizeof(Block) + bytes.size()));
    basalt::require(block != nullptr, E_OUTOFMEMORY);
    auto* data = reinterpret_cast<BYTE*>(block + 1);
    block->array = {1, &block->blob};
    block->blob = {static_cast<DWORD>(bytes.size()), data};
    if (!bytes.empty()) {
        std::memcpy(data, bytes.data(), bytes.size());
    }
    return block;
}

void set_limits(HttpRequest& request, DWORD timeout, const CRYPT_RETRIEVE_AUX_INFO* auxiliary) {
    request.limits = basalt::network_limits();
    request.proxy = basalt::fetching_proxy();
    if (timeout != 0) {
        request.limits.total_timeout = milliseconds(timeout);
        request.limits.connect_timeout =
            std::min(request.limits.connect_timeout, request.limits.total_timeout);
    }
    if (auxiliary != nullptr && auxiliary->dwMaxUrlRetrievalByteCount != 0) {
        request.limits.answer_bytes = auxiliary->dwMaxUrlRetrievalByteCount;
    }
}

std::vector<BYTE> fetch(const HttpRequest& request, CRYPT_RETRIEVE_AUX_INFO* auxiliary) {
    HttpAnswer answer = basalt::http_exchange(request);
    if (auxiliary != nullptr) {
        auxiliary->dwHttpStatusCode = answer.status;
    }
    if (answer.error != ERROR_SUCCESS) {
        basalt::fail(answer.error);
    }
    if (answer.status != 200) {
        const DWORD code = basalt::http_status_error(answer.status);
        basalt::fail(code != ERROR_SUCCESS ? code : ERROR_WINHTTP_INVALID_SERVER_RESPONSE);
    }
    return std::move(answer.body);
}

struct Retrieved {
    std::vector<BYTE> bytes;
    system_clock::time_point fetched;
};

Retrieved retrieve(const std::string& address, DWORD flags, DWORD timeout,
                   CRYPT_RETRIEVE_AUX_INFO* auxiliary) {
    HttpRequest request;
    std::vector<BYTE> body;
    request.url = address;
    if ((flags & CRYPT_HTTP_POST_RETRIEVAL) != 0) {
        make_post(request, body);
    } else {
        request.follow_redirects = true;
    }
    const std::string key = (request.body ? "POST " : "GET ") + address;
    if ((flags & CRYPT_WIRE_ONLY_RETRIEVAL) == 0) {
        if (auto cached = basalt::cached_object(key);
            cached && is_fresh(cached->fetched, auxiliary)) {
            return {std::move(cached->bytes), cached->fetched};
        }
    }
    basalt::require((flags & CRYPT_CACHE_ONLY_RETRIEVAL) == 0, CRYPT_E_NOT_FOUND);
    set_limits(request, timeout, auxiliary);
    Retrieved result{fetch(request, auxiliary), system_clock::now()};
    if (validity() > seconds(0)) {
        basalt::cache_object(key, result.bytes);
    }
    return result;
}

} // namespace

BOOL CryptRetrieveObjectByUrlW(LPCWSTR url, LPCSTR objectType, DWORD flags, DWORD timeout,
                               LPVOID* object, HANDLE asyncRetrieve, void* credentials,
                               LPVOID verify, PCRYPT_RETRIEVE_AUX_INFO auxiliary) noexcept {
    return basalt::guarded<BOOL>(FALSE, [&] {
        if (object != nullptr) {
            *object = nullptr;
        }
        constexpr DWORD kBoth = CRYPT_CACHE_ONLY_RETRIEVAL | CRYPT_WIRE_ONLY_RETRIEVAL;
        basalt::require(
            url != nullptr && object != nullptr && asyncRetrieve == nullptr &&
                credentials == nullptr && verify == nullptr && (flags & ~kKnownFlags) == 0 &&
                (flags & kBoth) != kBoth &&
                (objectType == nullptr || objectType == CONTEXT_OID_OCSP_RESP) &&
                (auxiliary == nullptr || auxiliary->cbSize >= sizeof(CRYPT_RETRIEVE_AUX_INFO)),
            ERROR_INVALID_PARAMETER);
        *object = nullptr;
        if (auxiliary != nullptr) {
            auxiliary->dwHttpStatusCode = 0;
        }
        const Retrieved found = retrieve(basalt::narrow_text(url), flags, timeout, auxiliary);
        *object = make_object(found.bytes);
        if (auxiliary != nullptr && auxiliary->pLastSyncTime != nullptr) {
            *auxiliary->pLastSyncTime = file_time_of(found.fetched);
        }
        return TRUE;
    });
}
