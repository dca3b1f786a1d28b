// The judgement of a request by the machine's policy.
#include <array>
#include <cstdint>

#include <chronoseal/asn1/text_width.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request_impl.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

using Switch = CGPBool CRequestPolicy::*;

// In the order of anonymous, basic, digest, NTLM and negotiate.
using DenySwitches = std::array<Switch, 5>;

constexpr std::array<enumAuthTypes, 5> kSchemes{AuthAnonymous, AuthBasic, AuthDigest, AuthNTLM,
                                                AuthNegotiate};

constexpr DenySwitches kDenyOverHttps{
    &CRequestPolicy::AuthSSLDenyAnonym, &CRequestPolicy::AuthSSLDenyBasic,
    &CRequestPolicy::AuthSSLDenyDigest, &CRequestPolicy::AuthSSLDenyNTLM,
    &CRequestPolicy::AuthSSLDenyNegotiate};
constexpr DenySwitches kDenyOverHttp{&CRequestPolicy::AuthDenyAnonym,
                                     &CRequestPolicy::AuthDenyBasic,
                                     &CRequestPolicy::AuthDenyDigest, &CRequestPolicy::AuthDenyNTLM,
                                     &CRequestPolicy::AuthDenyNegotiate};
constexpr DenySwitches kDenyProxyOverHttps{
    &CRequestPolicy::ProxyAuthSSLDenyAnonym, &CRequestPolicy::ProxyAuthSSLDenyBasic,
    &CRequestPolicy::ProxyAuthSSLDenyDigest, &CRequestPolicy::ProxyAuthSSLDenyNTLM,
    &CRequestPolicy::ProxyAuthSSLDenyNegotiate};
constexpr DenySwitches kDenyProxyOverHttp{
    &CRequestPolicy::ProxyAuthDenyAnonym, &CRequestPolicy::ProxyAuthDenyBasic,
    &CRequestPolicy::ProxyAuthDenyDigest, &CRequestPolicy::ProxyAuthDenyNTLM,
    &CRequestPolicy::ProxyAuthDenyNegotiate};

void refuse_if(bool broken, ResultCode code) {
    if (broken) {
        ATL::AtlThrowImpl(hr(code));
    }
}

bool is_denied(const CRequestPolicy& policy, const DenySwitches& switches, std::int64_t scheme) {
    for (std::size_t i = 0; i < kSchemes.size(); ++i) {
        if ((policy.*switches[i]).value && scheme == kSchemes[i]) {
            return true;
        }
    }
    return false;
}

// An address of neither scheme, in lower case, is under no switch.
void check_scheme(const CRequestPolicy& policy, const std::wstring& address, std::int64_t scheme,
                  const DenySwitches& over_https, const DenySwitches& over_http, ResultCode code) {
    refuse_if(address.starts_with(L"https://") && is_denied(policy, over_https, scheme), code);
    refuse_if(address.starts_with(L"http://") && is_denied(policy, over_http, scheme), code);
}

} // namespace

void CRequest::Impl::CheckPolicies() const {
    const auto& rules = *policy;
    trace("CheckPolicies", "Checking policies...\n");
    refuse_if(rules.AllowedTSPs.isSet && !rules.AllowedTSPs.Find(httpParams.address.c_str()),
              kResultAddressDenied);
    // No proxy is the empty address, which such a list has to name as well.
    refuse_if(rules.AllowedProxies.isSet &&
                  !rules.AllowedProxies.Find(httpParams.proxyAddress.c_str()),
              kResultAddressDenied);
    if (!policyID.empty()) {
        refuse_if(rules.DisablePolicyID.value, kResultPolicyIdDenied);
        refuse_if(rules.AllowedPolicyID.isSet &&
                      !rules.AllowedPolicyID.Find(ASN1::towstring(policyID.c_str()).c_str()),
                  kResultPolicyIdDenied);
    }
    const auto hash_alg = ASN1::towstring(dataHashAlgOID.c_str());
    refuse_if(rules.HashAlgsAllowed.isSet && !rules.HashAlgsAllowed.Find(hash_alg.c_str()),
              kResultHashAlgDenied);
    refuse_if(rules.HashAlgsDenied.Find(hash_alg.c_str()), kResultHashAlgDenied);
    refuse_if(useNonce ? rules.DisableNonce.value : rules.RequireNonce.value, kResultNonceDenied);
    check_scheme(rules, httpParams.address, httpParams.authType, kDenyOverHttps, kDenyOverHttp,
                 kResultAuthDenied);
    check_scheme(rules, httpParams.proxyAddress, httpParams.proxyAuthType, kDenyProxyOverHttps,
                 kDenyProxyOverHttp, kResultProxyAuthDenied);
    trace("CheckPolicies", "Checking policies... OK.\n");
}

} // namespace Halcyon::PKI::TSP::Client
