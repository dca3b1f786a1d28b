// Options of an exchange, and the callbacks that take its answer. These run inside curl, so nothing
// may be thrown in them.
#include <basalt/basaltnet/curl_handle.h>

#include <basalt/basaltnet/inner_address.h>

#include <strings.h>
#include <sys/socket.h>

#include <mutex>
#include <new>

namespace basalt {

namespace {

constexpr std::size_t kHeaderBytes = std::size_t{256} << 10;

bool begins_with(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && strncasecmp(text.data(), start.data(), start.size()) == 0;
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

bool keep(Arrival& arrival, std::string_view bytes) {
    if (bytes.size() > arrival.bound - arrival.body.size()) {
        arrival.too_large = true;
        return false;
    }
    // As bytes: an insertion of chars would go one by one.
    const auto* const first = reinterpret_cast<const BYTE*>(bytes.data());
    arrival.body.insert(arrival.body.end(), first, first + bytes.size());
    return true;
}

bool keep_chunks(Arrival& arrival, std::string_view coded) {
    while (!coded.empty()) {
        if (!keep(arrival, arrival.chunks.next(coded))) {
            return false;
        }
        if (arrival.chunks.bad()) {
            arrival.bad_coding = true;
            return false;
        }
    }
    return true;
}

std::size_t take_body(char* data, std::size_t, std::size_t count, void* user) noexcept {
    auto& arrival = *static_cast<Arrival*>(user);
    try {
        const std::string_view bytes(data, count);
        const bool kept = arrival.chunked ? keep_chunks(arrival, bytes) : keep(arrival, bytes);
        return kept ? count : CURL_WRITEFUNC_ERROR;
    } catch (...) {
        arrival.no_memory = true;
        return CURL_WRITEFUNC_ERROR;
    }
}

// Called for each address that the host's name has, before it is connected to.
curl_socket_t open_outside_socket(void*, curlsocktype, curl_sockaddr* address) noexcept {
    if (is_inner(address->addr)) {
        return CURL_SOCKET_BAD;
    }
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Of the header only what tells how the body is coded counts, since chunks are taken apart here. A
// server could send lines without end, so they are bounded together.
std::size_t take_header(char* data, std::size_t, std::size_t count, void* user) noexcept {
    constexpr std::string_view kCoding = "transfer-encoding:";
    auto& arrival = *static_cast<Arrival*>(user);
    const std::string_view line(data, count);
    arrival.header_bytes += count;
    if (arrival.header_bytes > kHeaderBytes) {
        arrival.too_large = true;
        return CURL_WRITEFUNC_ERROR;
    }
    if (begins_with(line, "http/")) { // an answer behind another, such as a challenge
        arrival.chunked = false;
        arrival.chunks = {};
    } else if (begins_with(line, kCoding)) {
        const std::string_view coding = trimmed(line.substr(kCoding.size()));
        arrival.chunked = coding.size() == 7 && begins_with(coding, "chunked");
        if (!arrival.chunked) {
            arrival.bad_coding = true; // none that was asked for
            return CURL_WRITEFUNC_ERROR;
        }
    }
    return count;
}

} // namespace

CurlHandle& CurlHandle::of_thread() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    thread_local CurlHandle handle;
    handle.renew_after_fork();
    if (handle.handle_ == nullptr) {
        handle.handle_.reset(curl_easy_init());
    }
    if (handle.handle_ == nullptr) {
        throw std::bad_alloc();
    }
    return handle;
}

// After a fork the connections belong to the parent: to close them properly here would end its TLS
// sessions, so the handle is let go as it is.
void CurlHandle::renew_after_fork() {
    if (const pid_t self = getpid(); owner_ != self) {
        static_cast<void>(handle_.release());
        prepared_ = false;
        owner_ = self;
    }
}

bool CurlHandle::fits(const HttpRequest& request, const std::string& ca_file) const {
    return prepared_ && kept_.body.has_value() == request.body.has_value() &&
           kept_.url == request.url && kept_.user_agent == request.user_agent &&
           kept_.headers == request.headers && kept_.proxy == request.proxy &&
           kept_.proxy_user == request.proxy_user &&
           kept_.proxy_password == request.proxy_password && kept_.limits == request.limits &&
           kept_.user == request.user && kept_.password == request.password &&
           kept_.client_certificate == request.client_certificate &&
           kept_.client_key == request.client_key && kept_.ca_file == request.ca_file &&
           kept_ca_file_ == ca_file && kept_.outside_only == request.outside_only;
}

bool CurlHandle::prepare(const HttpRequest& request, const std::string& ca_file) {
    if (fits(request, ca_file)) {
        return true;
    }
    forget();
    kept_ = request;
    if (kept_.body) {
        kept_.body.emplace();
    }
    kept_ca_file_ = ca_file;
    headers_ = header_list(request);
    curl_easy_setopt(get(), CURLOPT_HTTPHEADER, headers_.get());
    set_limits(request.limits);
    set_target(request, request.ca_file.empty() ? ca_file : request.ca_file);
    set_identity(request);
    set_arrival();
    set_reach(request);
    prepared_ = set_proxy(request);
    return prepared_;
}

CURLcode CurlHandle::perform(const HttpRequest& request) {
    arrival_ = {};
    arrival_.bound = request.limits.answer_bytes;
    error_[0] = '\0';
    if (request.body) {
        // Not copied: the caller's bytes outlive the exchange. Null would mean a read callback.
        const void* data =
            request.body->empty() ? "" : static_cast<const void*>(request.body->data());
        curl_easy_setopt(get(), CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body->size()));
        curl_easy_setopt(get(), CURLOPT_POSTFIELDS, data);
    }
    return curl_easy_perform(get());
}

void CurlHandle::release_body() {
    if (prepared_ && kept_.body) {
        curl_easy_setopt(get(), CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t{0});
        curl_easy_setopt(get(), CURLOPT_POSTFIELDS, "");
    }
}

void CurlHandle::forget() {
    curl_easy_reset(get());
    headers_.reset();
    prepared_ = false;
    kept_ = {}; // it may hold a password
}

std::string CurlHandle::error_text(CURLcode code) const {
    return error_[0] != '\0' ? error_.data() : curl_easy_strerror(code);
}

void CurlHandle::set_limits(const HttpLimits& limits) {
    curl_easy_setopt(get(), CURLOPT_NOSIGNAL, 1L);
    // Silent name servers keep a thread for half a minute, which isn't waited for.
    curl_easy_setopt(get(), CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(get(), CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(limits.connect_timeout.count()));
    curl_easy_setopt(get(), CURLOPT_TIMEOUT_MS, static_cast<long>(limits.total_timeout.count()));
    curl_easy_setopt(get(), CURLOPT_MAXFILESIZE_LARGE,
                     static_cast<curl_off_t>(limits.answer_bytes));
}

// Redirects are followed outside of curl, which wouldn't hold to what was secure once.
void CurlHandle::set_target(const HttpRequest& request, const std::string& ca_file) {
    curl_easy_setopt(get(), CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(get(), CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(get(), CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    if (!request.user_agent.empty()) {
        curl_easy_setopt(get(), CURLOPT_USERAGENT, request.user_agent.c_str());
    }
    if (!ca_file.empty()) {
        curl_easy_setopt(get(), CURLOPT_CAINFO, ca_file.c_str());
        curl_easy_setopt(get(), CURLOPT_CAPATH, nullptr);
        curl_easy_setopt(get(), CURLOPT_PROXY_CAINFO, ca_file.c_str());
        curl_easy_setopt(get(), CURLOPT_PROXY_CAPATH, nullptr);
    }
    if (request.body) {
        curl_easy_setopt(get(), CURLOPT_POST, 1L);
    }
}

// The password goes out with the first request, since a time-stamp authority may count requests
// that it refuses.
void CurlHandle::set_identity(const HttpRequest& request) {
    if (!request.user.empty()) {
        curl_easy_setopt(get(), CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        curl_easy_setopt(get(), CURLOPT_USERNAME, request.user.c_str());
        curl_easy_setopt(get(), CURLOPT_PASSWORD, request.password.c_str());
    }
    if (!request.client_certificate.empty()) {
        const std::string& key =
            request.client_key.empty() ? request.client_certificate : request.client_key;
        curl_easy_setopt(get(), CURLOPT_SSLCERT, request.client_certificate.c_str());
        curl_easy_setopt(get(), CURLOPT_SSLKEY, key.c_str());
    }
}

// A connection that another exchange has left open wasn't looked at.
void CurlHandle::set_reach(const HttpRequest& request) {
    if (request.outside_only && request.proxy.empty()) {
        curl_easy_setopt(get(), CURLOPT_OPENSOCKETFUNCTION, open_outside_socket);
        curl_easy_setopt(get(), CURLOPT_FRESH_CONNECT, 1L);
    }
}

void CurlHandle::set_arrival() {
    curl_easy_setopt(get(), CURLOPT_ERRORBUFFER, error_.data());
    curl_easy_setopt(get(), CURLOPT_WRITEFUNCTION, take_body);
    curl_easy_setopt(get(), CURLOPT_WRITEDATA, &arrival_);
    curl_easy_setopt(get(), CURLOPT_HEADERFUNCTION, take_header);
    curl_easy_setopt(get(), CURLOPT_HEADERDATA, &arrival_);
    curl_easy_setopt(get(), CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(get(), CURLOPT_HTTP_TRANSFER_DECODING, 0L); // see chunked_body.h
}

bool CurlHandle::set_proxy(const HttpRequest& request) {
    const std::string address = request.proxy.empty() ? "" : proxy_address(request);
    // Empty texts, not absent ones: these keep curl from looking at http_proxy and no_proxy.
    curl_easy_setopt(get(), CURLOPT_PROXY, address.c_str());
    curl_easy_setopt(get(), CURLOPT_NOPROXY, "");
    curl_easy_setopt(get(), CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
    return address.empty() == request.proxy.empty();
}

void CurlHandle::append(List& list, const char* line) {
    curl_slist* longer = curl_slist_append(list.get(), line);
    if (longer == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(list.release());
    list.reset(longer);
}

// A name with a colon and nothing behind it takes curl's own header away: the content type of a
// form, which a body without a declared type would get, and the wait for "100 Continue".
CurlHandle::List CurlHandle::header_list(const HttpRequest& request) {
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

} // namespace basalt
