// The authorities that the machine's configuration names.
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/request_rules.h>

namespace chronoseal {

namespace {

std::filesystem::path path_at(const std::string& table, const char* key) {
    return configured_text(table + key).value_or("");
}

Authority authority_at(const std::string& table, const std::string& url) {
    Authority authority{.url = url};
    authority.login_file = path_at(table, "LoginFile");
    authority.proxy_login_file = path_at(table, "ProxyLoginFile");
    authority.netrc = path_at(table, "Netrc");
    authority.client_certificate = path_at(table, "ClientCertificate");
    authority.client_key = path_at(table, "ClientKey");
    authority.ca_file = path_at(table, "CaFile");
    authority.proxy = configured_text(table + "Proxy");
    const auto number = [&](const char* key, long otherwise) {
        return std::max(configured_number(table + key).value_or(otherwise), 0L);
    };
    authority.rate.count = static_cast<unsigned>(std::min(number("RateCount", 0), 1000L));
    authority.rate.period = std::chrono::milliseconds(number("RateMilliseconds", 1000));
    authority.timeout = std::chrono::milliseconds(number("TimeoutMilliseconds", 0));
    return authority;
}

} // namespace

std::vector<Authority> configured_authorities() {
    return guarded("read the authorities", [] {
        const RequestRules rules = settled_rules();
        std::vector<Authority> authorities;
        for (std::size_t i = 0; i < kMostAuthorities; ++i) {
            const std::string table =
                "\\config\\chronoseal\\authority\\" + std::to_string(i) + "\\";
            const auto url = configured_text(table + "Url");
            if (!url) {
                break;
            }
            authorities.push_back(authority_at(table, *url));
        }
        if (const std::string url = narrow(rules.DefaultTSPURL.value);
            authorities.empty() && !url.empty()) {
            authorities.push_back({.url = url});
        }
        return authorities;
    });
}

} // namespace chronoseal
