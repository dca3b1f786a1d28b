// Options, settings of authorities, trust.
#include <chronoseal/c_interface/options.h>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/watch.h>

namespace chronoseal::c_interface {

namespace {

// 0 stands for the default.
std::chrono::milliseconds wait_of(std::int64_t milliseconds, std::chrono::milliseconds otherwise,
                                  const char* name) {
    constexpr std::int64_t kMost = std::int64_t{1000} * 60 * 60 * 24 * 366;
    if (milliseconds < 0 || milliseconds > kMost) {
        refuse_value(name);
    }
    return milliseconds == 0 ? otherwise : std::chrono::milliseconds(milliseconds);
}

std::optional<Login> login_of(const char* user, const char* password) {
    if (user == nullptr) {
        return std::nullopt;
    }
    return Login{user, optional_text(password)};
}

Authority authority_of(const chronoseal_authority* given) {
    const auto known = sized(given, "authority");
    Authority authority;
    authority.url = needed_text(known.url, "url");
    authority.login = login_of(known.user, known.password);
    authority.login_file = optional_text(known.login_file);
    authority.netrc = optional_text(known.netrc);
    authority.client_certificate = optional_text(known.client_certificate);
    authority.client_key = optional_text(known.client_key);
    authority.ca_file = optional_text(known.ca_file);
    if (known.proxy != nullptr) {
        authority.proxy = known.proxy;
    }
    authority.proxy_login = login_of(known.proxy_user, known.proxy_password);
    authority.rate.count = known.rate_count;
    authority.rate.period = wait_of(known.rate_period_ms, authority.rate.period, "rate_period_ms");
    authority.timeout = wait_of(known.timeout_ms, authority.timeout, "timeout_ms");
    authority.proxy_login_file = optional_text(known.proxy_login_file);
    return authority;
}

std::vector<Authority> authorities_of(const chronoseal_sealer_options& known) {
    std::vector<Authority> all;
    if (known.url != nullptr) {
        if (known.authority_count != 0) {
            throw Error(Category::misuse, "value_unknown", 0,
                        "'url' and 'authorities' can't both be given", "give one of them");
        }
        all.push_back({.url = known.url});
    }
    if (known.authority_count != 0) {
        needed(known.authorities, "authorities");
    }
    for (std::size_t i = 0; i < known.authority_count; ++i) {
        all.push_back(authority_of(known.authorities[i]));
    }
    return all;
}

std::optional<bool> choice_of(const chronoseal_choice& choice, const char* name) {
    const int number = chosen(choice, CHRONOSEAL_NO, name);
    return number == CHRONOSEAL_BY_DEFAULT ? std::nullopt : std::optional(number == CHRONOSEAL_YES);
}

} // namespace

std::vector<Source> sources_of(const chronoseal_source* first, std::size_t count,
                               const char* name) {
    std::vector<Source> all;
    if (count != 0) {
        needed(first, name);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (first[i].path != nullptr) {
            all.emplace_back(std::filesystem::path(first[i].path));
        } else {
            const auto* const data = static_cast<const std::byte*>(first[i].data);
            const ByteView bytes(&needed(data, name), first[i].size);
            all.emplace_back(Bytes(bytes.begin(), bytes.end()));
        }
    }
    return all;
}

Trust trust_of(const chronoseal_trust* given) {
    if (given == nullptr) {
        return {};
    }
    const auto known = sized(given, "trust");
    Trust trust;
    trust.roots = sources_of(known.roots, known.root_count, "roots");
    trust.certificates = sources_of(known.certificates, known.certificate_count, "certificates");
    trust.evidence = sources_of(known.evidence, known.evidence_count, "evidence");
    trust.revocation =
        static_cast<Revocation>(chosen(known.revocation, CHRONOSEAL_REVOCATION_OFF, "revocation"));
    trust.strength =
        static_cast<Strength>(chosen(known.strength, CHRONOSEAL_STRENGTH_CURRENT, "strength"));
    if (known.as_of != 0) {
        trust.as_of = needed_time(known.as_of, "as_of");
    }
    trust.offline = known.offline != 0;
    return trust;
}

SealerOptions options_of(const chronoseal_sealer_options* given) {
    if (given == nullptr) {
        return {};
    }
    const auto known = sized(given, "options");
    SealerOptions options;
    options.authorities = authorities_of(known);
    options.hash = optional_text(known.hash);
    options.policy = optional_text(known.policy);
    options.nonce = choice_of(known.nonce, "nonce");
    options.certificates = choice_of(known.certificates, "certificates");
    options.quorum = known.quorum != 0 ? known.quorum : options.quorum;
    options.attempts = known.attempts != 0 ? known.attempts : options.attempts;
    options.first_wait = wait_of(known.first_wait_ms, options.first_wait, "first_wait_ms");
    options.longest_wait = wait_of(known.longest_wait_ms, options.longest_wait, "longest_wait_ms");
    options.rest = wait_of(known.rest_ms, options.rest, "rest_ms");
    options.clock_tolerance =
        wait_of(known.clock_tolerance_ms, options.clock_tolerance, "clock_tolerance_ms");
    options.trust = trust_of(known.trust);
    options.verify = known.without_verification == 0;
    options.only_requests = known.only_requests != 0;
    options.rate_file = optional_text(known.rate_file);
    return options;
}

Expected expected_of(const chronoseal_expected* given) {
    const auto known = sized(given, "expected");
    Expected expected;
    if (known.digest != nullptr) {
        expected.digest = digest_of(known.digest);
    }
    expected.without_data = known.without_data != 0;
    const ByteView nonce = needed_bytes(known.nonce.data, known.nonce.size, "nonce");
    if (!nonce.empty()) {
        expected.nonce = Bytes(nonce.begin(), nonce.end());
    }
    expected.nonce_known = known.nonce_known != 0;
    expected.policy = optional_text(known.policy);
    return expected;
}

} // namespace chronoseal::c_interface
