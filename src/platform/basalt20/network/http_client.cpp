// Looks at the addresses, and hands the exchange to the module.
#include <basalt/network/http_client.h>

#include <basalt/error_codes.h>
#include <basalt/network/network_module.h>
#include <basalt/network/network_settings.h>
#include <basalt/trace.h>

namespace basalt {

namespace {

constexpr unsigned int kTraceLevel = 8;

HttpAnswer refusal(DWORD error, const char* detail) {
    HttpAnswer answer;
    answer.error = error;
    answer.detail = detail;
    return answer;
}

HttpAnswer perform(const HttpRequest& request) {
    switch (scheme_of(request.url)) {
    case WebScheme::kHttp:
    case WebScheme::kHttps:
        break;
    case WebScheme::kOther:
        return refusal(ERROR_WINHTTP_UNRECOGNIZED_SCHEME, "not an http or https address");
    case WebScheme::kNone:
        return refusal(ERROR_WINHTTP_INVALID_URL, "not an http or https address");
    }
    // Credentials in an address would go out whatever the policy says of them.
    if (has_user_info(request.url) || has_user_info(request.proxy)) {
        return refusal(ERROR_WINHTTP_INVALID_URL, "an address with a name or password in it");
    }
    std::string problem;
    const ExchangeFunction exchange = exchange_function(problem);
    if (exchange == nullptr) {
        return refusal(ERROR_MOD_NOT_FOUND, problem.c_str());
    }
    HttpAnswer answer;
    exchange(request, network_settings().ca_file, answer);
    return answer;
}

void trace(const HttpRequest& request, const HttpAnswer& answer) {
    static TSupportDbContext_* const context = support_print_init(0, "network", 0, 127);
    if (context != nullptr && support_print_is(context, kTraceLevel) != 0) {
        support_dprint_print_(context, "%s \"%s\": status %u, error %u%s%s\n", "", 0,
                              "http_exchange", request.body ? "POST" : "GET",
                              masked_address(request.url).c_str(), answer.status, answer.error,
                              answer.detail.empty() ? "" : ", ", answer.detail.c_str());
    }
}

} // namespace

HttpLimits network_limits() {
    return network_settings().limits;
}

IssuerReach configured_issuer_reach() {
    return network_settings().issuers;
}

const std::string& fetching_proxy() {
    return network_settings().fetching_proxy;
}

HttpAnswer http_exchange(const HttpRequest& request) {
    HttpAnswer answer = perform(request);
    trace(request, answer);
    return answer;
}

} // namespace basalt
