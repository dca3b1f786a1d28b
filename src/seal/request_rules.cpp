// The rules of the machine's policy, one by one.
#include <chronoseal/seal/request_rules.h>

#include <basalt/configuration.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

using namespace Halcyon::PKI::TSP::Client;
using Switch = Halcyon::PKI::CGPBool CRequestPolicy::*;

// What goes out is a login by basic authentication, or none.
struct DenySwitches {
    Switch anonymous, basic;
};
constexpr DenySwitches kServer{&CRequestPolicy::AuthDenyAnonym, &CRequestPolicy::AuthDenyBasic};
constexpr DenySwitches kServerTls{&CRequestPolicy::AuthSSLDenyAnonym,
                                  &CRequestPolicy::AuthSSLDenyBasic};
constexpr DenySwitches kProxy{&CRequestPolicy::ProxyAuthDenyAnonym,
                              &CRequestPolicy::ProxyAuthDenyBasic};
constexpr DenySwitches kProxyTls{&CRequestPolicy::ProxyAuthSSLDenyAnonym,
                                 &CRequestPolicy::ProxyAuthSSLDenyBasic};

bool denies(const RequestRules& rules, const DenySwitches& switches, bool login) {
    return (rules.*(login ? switches.basic : switches.anonymous)).value;
}

void refuse(std::uint32_t code, const std::string& what) {
    const Error words = error_of_code(code);
    throw Error(words.category(), words.word(), code, words.text() + ": " + what, words.advice());
}

} // namespace

RequestRules read_rules() {
    support_registry_refresh();
    try {
        return RequestRules();
    } catch (const ATL::CAtlException&) {
        throw policy_unreadable();
    }
}

RequestRules settled_rules() {
    RequestRules rules = read_rules();
    for (const ConfigurationSlip& slip : configuration_slips()) {
        if (slip.kind == Slip::wrong_type) {
            throw Error(Category::unreachable, "setting_invalid", kResultPolicyUnreadable,
                        "the setting " + quote_foreign(toml_path(slip.path)) + " in " +
                            quote_foreign(configured_origin(slip.path)) + " has a wrong type",
                        "put it right; until then nothing is asked");
        }
    }
    return rules;
}

HashAlgorithm default_hash(const std::string& configured) {
    // A comment may stand behind the OID.
    const std::string oid = configured.substr(0, configured.find(' '));
    return HashAlgorithm::by_name(oid.empty() ? "SHA-256" : oid);
}

void check_shape(const RequestRules& rules, const RequestShape& shape) {
    const std::wstring hash = wide(shape.hash_oid);
    if ((rules.HashAlgsAllowed.isSet && !rules.HashAlgsAllowed.Find(hash.c_str())) ||
        rules.HashAlgsDenied.Find(hash.c_str())) {
        refuse(kResultHashAlgDenied, algorithm_name(shape.hash_oid));
    }
    const bool listed =
        !rules.AllowedPolicyID.isSet || rules.AllowedPolicyID.Find(wide(shape.policy).c_str());
    if (!shape.policy.empty() && (rules.DisablePolicyID.value || !listed)) {
        refuse(kResultPolicyIdDenied, quote_foreign(shape.policy));
    }
    if (shape.nonce ? rules.DisableNonce.value : rules.RequireNonce.value) {
        refuse(kResultNonceDenied, shape.nonce ? "with a nonce" : "without a nonce");
    }
}

void check_endpoint(const RequestRules& rules, const Endpoint& endpoint) {
    if (rules.AllowedTSPs.isSet && !rules.AllowedTSPs.Find(wide(endpoint.url).c_str())) {
        refuse(kResultAddressDenied, endpoint.shown);
    }
    // No proxy is the empty address, which such a list has to name as well.
    if (rules.AllowedProxies.isSet && !rules.AllowedProxies.Find(wide(endpoint.proxy).c_str())) {
        refuse(kResultAddressDenied,
               endpoint.proxy.empty() ? "a direct connection" : quote_address(endpoint.proxy));
    }
    const bool secure = endpoint.url.starts_with("https:");
    if (denies(rules, secure ? kServerTls : kServer, endpoint.login.has_value())) {
        refuse(kResultAuthDenied, endpoint.shown);
    }
    if (!endpoint.proxy.empty()) {
        const bool secure_proxy = endpoint.proxy.starts_with("https://");
        if (denies(rules, secure_proxy ? kProxyTls : kProxy, endpoint.proxy_login.has_value())) {
            refuse(kResultProxyAuthDenied, quote_address(endpoint.proxy));
        }
    }
}

} // namespace chronoseal
