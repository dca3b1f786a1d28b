// The exchange over libcurl's easy interface, and the way from one address to the next.
#include <basalt/basaltnet/exchange.h>

#include <basalt/basaltnet/curl_handle.h>
#include <basalt/basaltnet/inner_address.h>
#include <basalt/basaltnet/transfer_error.h>
#include <basalt/error_codes.h>
#include <basalt/sup/web_address.h>

#include <algorithm>
#include <new>

namespace basalt {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostRedirects = 5;

unsigned status_of(CURL* handle, CURLINFO which) {
    long status = 0;
    curl_easy_getinfo(handle, which, &status);
    return static_cast<unsigned>(status);
}

std::uint32_t retry_after_of(CURL* handle) {
    curl_off_t seconds = 0;
    curl_easy_getinfo(handle, CURLINFO_RETRY_AFTER, &seconds);
    return static_cast<std::uint32_t>(std::clamp<curl_off_t>(seconds, 0, UINT32_MAX));
}

void fail(HttpAnswer& answer, DWORD error, std::string detail) {
    answer.error = error;
    answer.body.clear();
    answer.detail = std::move(detail);
}

// What became of the exchange, as far as the handle tells.
void judge(CurlHandle& handle, CURLcode code, HttpAnswer& answer) {
    const unsigned status = status_of(handle.get(), CURLINFO_RESPONSE_CODE);
    const unsigned tunnel = status_of(handle.get(), CURLINFO_HTTP_CONNECTCODE);
    const Arrival& arrival = handle.arrival();
    if (code == CURLE_OK) {
        answer.error = ERROR_SUCCESS;
        answer.status = status;
        answer.retry_after = retry_after_of(handle.get());
    } else if (arrival.too_large) {
        fail(answer, ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW, "the answer is over its bound");
    } else if (arrival.bad_coding) {
        fail(answer, ERROR_WINHTTP_INVALID_SERVER_RESPONSE, "a transfer coding that is none");
    } else if (code == CURLE_RECV_ERROR && status == 0 && tunnel >= 300) {
        fail(answer, ERROR_SUCCESS, handle.error_text(code));
        answer.status = tunnel; // the proxy has answered in the server's place
    } else {
        fail(answer, last_error_of(handle.get(), code), handle.error_text(code));
    }
}

// One request and its answer; gives where a redirect leads, or nothing.
std::string step(const HttpRequest& request, const std::string& ca_file, HttpAnswer& answer) {
    if (request.outside_only && names_inner_host(request.url)) {
        fail(answer, ERROR_WINHTTP_CANNOT_CONNECT,
             "an address of this machine or an inner network");
        return {};
    }
    CurlHandle& handle = CurlHandle::of_thread();
    if (!handle.prepare(request, ca_file)) {
        handle.forget();
        fail(answer, ERROR_WINHTTP_INVALID_URL, "the proxy's address is none");
        return {};
    }
    const CURLcode code = handle.perform(request);
    judge(handle, code, answer);
    if (handle.arrival().no_memory) {
        handle.forget();
        throw std::bad_alloc();
    }
    if (code != CURLE_OK) {
        handle.forget();
        return {};
    }
    answer.body = std::move(handle.arrival().body);
    char* location = nullptr;
    curl_easy_getinfo(handle.get(), CURLINFO_REDIRECT_URL, &location);
    std::string target = location != nullptr ? location : "";
    handle.release_body();
    return target;
}

// What is secure stays so at each step, and no server chooses credentials for us.
bool may_lead_to(const std::string& from, const std::string& to) {
    const WebScheme scheme = scheme_of(to);
    const bool kept = scheme == WebScheme::kHttps ||
                      (scheme == WebScheme::kHttp && scheme_of(from) == WebScheme::kHttp);
    return kept && !has_user_info(to);
}

void follow(HttpRequest request, std::string target, const std::string& ca_file,
            Clock::time_point deadline, HttpAnswer& answer) {
    for (int redirects = 0; !target.empty(); ++redirects) {
        if (redirects == kMostRedirects || !may_lead_to(request.url, target)) {
            return fail(answer, ERROR_WINHTTP_REDIRECT_FAILED,
                        "the way to " + masked_address(target) + " isn't followed");
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return fail(answer, ERROR_WINHTTP_TIMEOUT, "time was up behind a redirect");
        }
        request.url = target;
        request.limits.total_timeout = left;
        answer = {};
        answer.is_redirected = true;
        target = step(request, ca_file, answer);
    }
}

} // namespace

} // namespace basalt

void basalt_net_exchange(const basalt::HttpRequest& request, const std::string& ca_file,
                         basalt::HttpAnswer& answer) {
    using namespace basalt;
    const Clock::time_point deadline = Clock::now() + request.limits.total_timeout;
    std::string target = step(request, ca_file, answer);
    if (request.follow_redirects && !request.body && !target.empty()) {
        follow(request, std::move(target), ca_file, deadline, answer);
    }
}
