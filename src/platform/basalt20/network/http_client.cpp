// The exchange over libcurl's easy interface: a handle for each thread, options set anew for each
// exchange.
#include "basalt20/network/http_client.h"

#include "basalt20/network/network_settings.h"
#include "sup/error_codes.h"
#include "sup/trace.h"

#include <curl/curl.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <new>

namespace basalt {

namespace {

constexpr std::size_t kHeaderBytes = std::size_t{256} << 10;
constexpr unsigned int kTraceLevel = 8;
constexpr int kMostRedirects = 5;

struct HandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using Handle = std::unique_ptr<CURL, HandleDeleter>;

struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using List = std::unique_ptr<curl_slist, ListDeleter>;

// The handle of the calling thread, with its connections and with all options at their defaults.
CURL* thread_handle() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    thread_local Handle handle;
    thread_local pid_t owner = 0;
    if (const pid_t self = getpid(); owner != self) {
        // After a fork the connections belong to the parent: to close them properly here would end
        // its TLS sessions, so the handle is let go as it is.
        static_cast<void>(handle.release());
        owner = self;
    }
    if (handle == nullptr) {
        handle.reset(curl_easy_init());
    }
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    return handle.get();
}

// Puts the options back at the end of an exchange: the handle outlives what they point to, and curl
// looks at some of them even when it closes a connection.
class Options {
public:
    explicit Options(CURL* handle) : handle_(handle) {}
    ~Options() { curl_easy_reset(handle_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

private:
    CURL* handle_;
};

void append(List& list, const char* line) {
    curl_slist* longer = curl_slist_append(list.get(), line);
    if (longer == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(list.release());
    list.reset(longer);
}

// Case doesn't count.
bool begins_with(const std::string& text, const char* start) {
    return strncasecmp(text.c_str(), start, std::char_traits<char>::length(start)) == 0;
}

// A name with a colon and nothing behind it takes curl's own header away: the content type of a
// form, which a body without a declared type would get, and the wait for "100 Continue".
List header_list(const HttpRequest& request) {
    List list;
    bool typed = false;
    for (const std::string& header : request.headers) {
        typed = typed || begins_with(header, "content-type:");
        append(list, header.c_str());
    }
    if (request.body && !typed) {
        append(list, "Content-Type:");
    }
    append(list, "Expect:");
    return list;
}

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlDeleter>;

std::string part_of(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    std::string part;
    if (curl_url_get(url, which, &text, 0) == CURLUE_OK && text != nullptr) {
        part = text;
    }
    curl_free(text);
    return part;
}

// The proxy's address with the credentials in it. Given on their own, curl would take escapes in
// them apart again with each request behind a challenge. Empty for a bad address.
std::string proxy_address(const HttpRequest& request) {
    const bool bare = request.proxy.find("://") == std::string::npos;
    const std::string address = (bare ? "http://" : "") + request.proxy;
    const Url url(curl_url());
    if (url == nullptr) {
        throw std::bad_alloc();
    }
    if (curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
        CURLUE_OK) {
        return {};
    }
    if (part_of(url.get(), CURLUPART_SCHEME) == "http" &&
        part_of(url.get(), CURLUPART_PORT).empty()) {
        curl_url_set(url.get(), CURLUPART_PORT, "80", 0); // curl's own default is 1080
    }
    if (!request.proxy_user.empty()) {
        curl_url_set(url.get(), CURLUPART_USER, request.proxy_user.c_str(), CURLU_URLENCODE);
        curl_url_set(url.get(), CURLUPART_PASSWORD, request.proxy_password.c_str(),
                     CURLU_URLENCODE);
    }
    return part_of(url.get(), CURLUPART_URL);
}

// Where an answer arrives. The callbacks run inside curl, so nothing may be thrown in them.
struct Arrival {
    std::vector<BYTE>& body;
    std::size_t bound;
    std::size_t header_bytes = 0;
    bool too_large = false;
    bool no_memory = false;
};

std::size_t take_body(char* data, std::size_t, std::size_t count, void* user) noexcept {
    auto& arrival = *static_cast<Arrival*>(user);
    if (count > arrival.bound - arrival.body.size()) {
        arrival.too_large = true;
        return CURL_WRITEFUNC_ERROR;
    }
    try {
        // As bytes: an insertion of chars would go one by one.
        const auto* const bytes = reinterpret_cast<const BYTE*>(data);
        arrival.body.insert(arrival.body.end(), bytes, bytes + count);
    } catch (...) {
        arrival.no_memory = true;
        return CURL_WRITEFUNC_ERROR;
    }
    return count;
}

// Header lines are not kept, but a server could send them without end.
std::size_t take_header(char*, std::size_t, std::size_t count, void* user) noexcept {
    auto& arrival = *static_cast<Arrival*>(user);
    arrival.header_bytes += count;
    if (arrival.header_bytes > kHeaderBytes) {
        arrival.too_large = true;
        return CURL_WRITEFUNC_ERROR;
    }
    return count;
}

void set_limits(CURL* handle, const HttpLimits& limits) {
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(limits.connect_timeout.count()));
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.total_timeout.count()));
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE,
                     static_cast<curl_off_t>(limits.answer_bytes));
}

void set_target(CURL* handle, const HttpRequest& request) {
    curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    if (!request.user_agent.empty()) {
        curl_easy_setopt(handle, CURLOPT_USERAGENT, request.user_agent.c_str());
    }
    if (const std::string& file = network_settings().ca_file; !file.empty()) {
        curl_easy_setopt(handle, CURLOPT_CAINFO, file.c_str());
        curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    }
    if (request.body) {
        // Not copied: the caller's bytes outlive the exchange. Null would mean a read callback.
        const void* data =
            request.body->empty() ? "" : static_cast<const void*>(request.body->data());
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body->size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, data);
    }
}

// False for a bad address.
bool set_proxy(CURL* handle, const HttpRequest& request) {
    const std::string address = request.proxy.empty() ? "" : proxy_address(request);
    // Empty texts, not absent ones: these keep curl from looking at http_proxy and no_proxy.
    curl_easy_setopt(handle, CURLOPT_PROXY, address.c_str());
    curl_easy_setopt(handle, CURLOPT_NOPROXY, "");
    curl_easy_setopt(handle, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
    return address.empty() == request.proxy.empty();
}

DWORD last_error_of(CURLcode code) {
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
    case CURLE_TOO_MANY_REDIRECTS:
        return ERROR_WINHTTP_REDIRECT_FAILED;
    case CURLE_SSL_CONNECT_ERROR:
        return ERROR_WINHTTP_SECURE_CHANNEL_ERROR;
    case CURLE_PEER_FAILED_VERIFICATION:
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

unsigned status_of(CURL* handle, CURLINFO which) {
    long status = 0;
    curl_easy_getinfo(handle, which, &status);
    return static_cast<unsigned>(status);
}

// What became of the exchange; `answer.body` holds what has arrived.
void judge(CURL* handle, CURLcode code, const Arrival& arrival, HttpAnswer& answer) {
    const unsigned status = status_of(handle, CURLINFO_RESPONSE_CODE);
    const unsigned tunnel = status_of(handle, CURLINFO_HTTP_CONNECTCODE);
    answer.error = arrival.too_large ? ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW : last_error_of(code);
    if (code == CURLE_OK) {
        answer.status = status;
        return;
    }
    answer.body.clear();
    if (code == CURLE_RECV_ERROR && status == 0 && tunnel >= 300) {
        answer.error = ERROR_SUCCESS; // the proxy has answered in the server's place
        answer.status = tunnel;
    }
}

void trace(const HttpRequest& request, const HttpAnswer& answer) {
    static TSupportDbContext_* const context = support_print_init(0, "network", 0, 127);
    if (context != nullptr && support_print_is(context, kTraceLevel) != 0) {
        support_dprint_print_(context, "%s \"%s\": status %u, error %u%s%s\n", "", 0,
                              "http_exchange", request.body ? "POST" : "GET", request.url.c_str(),
                              answer.status, answer.error, answer.detail.empty() ? "" : ", ",
                              answer.detail.c_str());
    }
}

// One request and its answer. Where a redirect leads goes into `location`, else it stays empty.
HttpAnswer perform(const HttpRequest& request, std::string& location) {
    HttpAnswer answer;
    if (!begins_with(request.url, "http://") && !begins_with(request.url, "https://")) {
        const bool other = request.url.find("://") != std::string::npos;
        answer.error = other ? ERROR_WINHTTP_UNRECOGNIZED_SCHEME : ERROR_WINHTTP_INVALID_URL;
        answer.detail = "not an http or https address";
        return answer;
    }
    CURL* handle = thread_handle();
    const List headers = header_list(request);
    std::array<char, CURL_ERROR_SIZE> detail{};
    Arrival arrival{answer.body, request.limits.answer_bytes};
    const Options options(handle);
    set_limits(handle, request.limits);
    set_target(handle, request);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail.data());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, take_body);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &arrival);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, take_header);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, &arrival);
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!set_proxy(handle, request)) {
        answer.error = ERROR_WINHTTP_INVALID_URL;
        answer.detail = "the proxy's address is none";
        return answer;
    }
    const CURLcode code = curl_easy_perform(handle);
    judge(handle, code, arrival, answer);
    if (char* target = nullptr;
        code == CURLE_OK && curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &target) == CURLE_OK &&
        target != nullptr) {
        location = target;
    }
    if (code != CURLE_OK) {
        answer.detail = detail[0] != '\0' ? detail.data() : curl_easy_strerror(code);
    }
    if (arrival.no_memory) {
        throw std::bad_alloc();
    }
    return answer;
}

// True for one that can't be taken apart, too.
bool has_user_info(const std::string& address) {
    const Url url(curl_url());
    if (url == nullptr) {
        throw std::bad_alloc();
    }
    return curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
               CURLUE_OK ||
           !part_of(url.get(), CURLUPART_USER).empty() ||
           !part_of(url.get(), CURLUPART_PASSWORD).empty();
}

// Where a server may send us on to: what is secure stays so at each step, and no one chooses
// credentials for us.
bool may_lead_to(const std::string& from, const std::string& to) {
    const bool secure = begins_with(to, "https://");
    return (secure || (begins_with(to, "http://") && !begins_with(from, "https://"))) &&
           !has_user_info(to);
}

HttpAnswer failed_redirect(DWORD error, unsigned status) {
    HttpAnswer answer;
    answer.error = error;
    answer.status = status;
    answer.detail = "a redirect that isn't followed";
    return answer;
}

} // namespace

HttpLimits network_limits() {
    return network_settings().limits;
}

const std::string& fetching_proxy() {
    return network_settings().fetching_proxy;
}

HttpAnswer http_exchange(const HttpRequest& request) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + request.limits.total_timeout;
    HttpRequest step = request;
    for (int redirects = 0;; ++redirects) {
        std::string location;
        HttpAnswer answer = perform(step, location);
        trace(step, answer);
        if (!request.follow_redirects || location.empty()) {
            return answer;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return failed_redirect(ERROR_WINHTTP_TIMEOUT, answer.status);
        }
        if (redirects == kMostRedirects || !may_lead_to(step.url, location)) {
            return failed_redirect(ERROR_WINHTTP_REDIRECT_FAILED, answer.status);
        }
        step.url = std::move(location);
        step.limits.total_timeout = left;
        step.limits.connect_timeout = std::min(step.limits.connect_timeout, left);
    }
}

} // namespace basalt
