#include <basalt/revocation/retrieval.h>

#include <basalt/error_codes.h>
#include <basalt/network/http_client.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::chrono::milliseconds kConnectTimeout{5000};
constexpr std::size_t kLongestAddress = 2048;
constexpr unsigned kStatusOk = 200;

// A backslash is a slash to some and none to others.
bool is_plain(char c) {
    return c > ' ' && c < '\x7F' && c != '\\';
}

// "http://host:80" of an address with scheme and host.
std::string server_of(const std::string& url) {
    return url.substr(0, url.find_first_of("/?#", url.find("//") + 2));
}

// Nobody is there, whatever is asked for. Whoever keeps silent may answer at another address, and
// whoever leads to where nobody is has answered.
bool is_nobody_there(const HttpAnswer& answer) {
    return !answer.is_redirected && (answer.error == ERROR_WINHTTP_NAME_NOT_RESOLVED ||
                                     answer.error == ERROR_WINHTTP_CANNOT_CONNECT);
}

} // namespace

std::optional<std::string> fetchable_address(const ASN1_IA5STRING* text) {
    const std::string url(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
                          static_cast<std::size_t>(ASN1_STRING_length(text)));
    const WebScheme scheme = scheme_of(url);
    const bool known = scheme == WebScheme::kHttp || scheme == WebScheme::kHttps;
    if (!known || url.size() > kLongestAddress || !std::all_of(url.begin(), url.end(), is_plain) ||
        has_user_info(url)) {
        return std::nullopt;
    }
    return url;
}

std::optional<std::vector<BYTE>> Retrieval::get(const std::string& url) {
    HttpRequest request;
    request.url = url;
    request.follow_redirects = true;
    return fetch(request, url, {budget_.exchange_time(), budget_.fair_exchange_time()});
}

std::optional<std::vector<BYTE>> Retrieval::post(const std::string& url,
                                                 const std::string& content_type, Bytes body) {
    HttpRequest request;
    request.url = url;
    request.headers = {"Content-Type: " + content_type};
    request.body = body;
    return fetch(request, url + '\n' + std::string(body.begin(), body.end()),
                 {budget_.exchange_time(), budget_.fair_exchange_time()});
}

std::optional<std::vector<BYTE>> Retrieval::get_issuer(const std::string& url, bool outside_only) {
    HttpRequest request;
    request.outside_only = outside_only;
    request.url = url;
    request.follow_redirects = true;
    const Budget::TimePoint begin = budget_.now();
    auto body = fetch(request, "issuer " + url,
                      {budget_.issuer_exchange_time(), budget_.least_issuer_exchange_time(), true});
    budget_.take_issuer_time(begin);
    return body;
}

// No address holds a blank: what is kept in mind of one is never taken for a server's.
std::optional<std::vector<BYTE>> Retrieval::fetch(HttpRequest& request, const std::string& key,
                                                  const Share& share) {
    const std::string server = "server " + server_of(request.url);
    const std::string too_large = "too large " + key;
    Fetching& fetching = budget_.fetching();
    if (fetching.has_failed(key) || fetching.has_failed(server)) {
        not_asked_ += fetching.has_failed(too_large) ? 1 : 0;
        return std::nullopt;
    }
    if (auto known = fetching.answer_to(key)) {
        return known;
    }
    if (share.time.count() <= 0 || (share.for_issuer && !fetching.take_issuer_exchange()) ||
        !fetching.take_exchange()) {
        ++not_asked_;
        return std::nullopt;
    }
    request.proxy = fetching_proxy();
    HttpLimits& limits = request.limits;
    limits = network_limits();
    limits.total_timeout = std::min(limits.total_timeout, share.time);
    limits.connect_timeout = std::min({limits.connect_timeout, kConnectTimeout, share.time});
    limits.answer_bytes = std::min(limits.answer_bytes, budget_.limits().object_bytes);
    ++exchanges_;
    HttpAnswer answer = http_exchange(request);
    fetching.note_received(answer.error == ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW
                               ? limits.answer_bytes
                               : answer.body.size());
    if (answer.error == ERROR_WINHTTP_TIMEOUT && share.time < share.fair) {
        ++not_asked_; // whoever has used up the time would decide who is silent
        return std::nullopt;
    }
    if (answer.error == ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW) {
        ++not_asked_; // nor is that silence
        fetching.note_failure(too_large);
    }
    if (answer.error != 0 || answer.status != kStatusOk) {
        fetching.note_failure(is_nobody_there(answer) && !share.for_issuer ? server : key);
        return std::nullopt;
    }
    fetching.note_answer(key, answer.body);
    return std::move(answer.body);
}

} // namespace basalt
