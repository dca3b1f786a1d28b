// The judgement of a request by the machine's policy.
#include <array>
#include <cstdint>

#include "asn1/text_width.h"
#include "base/atl_exception.h"
#include "client/request_impl.h"
#include "client/result_codes.h"
#include "client/trace.h"

namespace Halcyon::PKI::TSP::Client {

namespace {

using Switch = CGPBool CRequestPolicy::*;

// In the order of anonymous, basic, digest, NTLM and negotiate.
using DenySwitches = std::array<Switch, 5>;

constexpr std::array<enumAuthTypes, 5> schemes{AuthAnonymous, AuthBasic, AuthDigest, AuthNTLM,
                                               AuthNegotiate};

constexpr DenySwitches denyOverHttps{
    &CRequestPolicy::AuthSSLDenyAnonym, &CRequestPolicy::AuthSSLDenyBasic,
    &CRequestPolicy::AuthSSLDenyDigest, &CRequestPolicy::AuthSSLDenyNTLM,
    &CRequestPolicy::AuthSSLDenyNegotiate};
constexpr DenySwitches denyOverHttp{&CRequestPolicy::AuthDenyAnonym, &CRequestPolicy::AuthDenyBasic,
                                    &CRequestPolicy::AuthDenyDigest, &CRequestPolicy::AuthDenyNTLM,
                                    &CRequestPolicy::AuthDenyNegotiate};
constexpr DenySwitches denyProxyOverHttps{
    &CRequestPolicy::ProxyAuthSSLDenyAnonym, &CRequestPolicy::ProxyAuthSSLDenyBasic,
    &CRequestPolicy::ProxyAuthSSLDenyDigest, &CRequestPolicy::ProxyAuthSSLDenyNTLM,
    &CRequestPolicy::ProxyAuthSSLDenyNegotiate};
constexpr DenySwitches denyProxyOverHttp{
    &CRequestPolicy::ProxyAuthDenyAnonym, &CRequestPolicy::ProxyAuthDenyBasic,
    &CRequestPolicy::ProxyAuthDenyDigest, &CRequestPolicy::ProxyAuthDenyNTLM,
    &CRequestPolicy::ProxyAuthDenyNegotiate};

void refuseIf(bool broken, ResultCode code) {
    if (broken) {
        ATL::AtlThrowImpl(hr(code));
    }
}

bool isDenied(const CRequestPolicy& policy, const DenySwitches& switches, std::int64_t scheme) {
    for (std::size_t i = 0; i < schemes.size(); ++i) {
        if ((policy.*switches[i]).value && scheme == schemes[i]) {
            return true;
        }
    }
    return false;
}

// An address of neither scheme, in lower case, is under no switch.
void checkScheme(const CRequestPolicy& policy, const std::wstring& address, std::int64_t scheme,
                 const DenySwitches& overHttps, const DenySwitches& overHttp, ResultCode code) {
    refuseIf(address.starts_with(L"https://") && isDenied(policy, overHttps, scheme), code);
    refuseIf(address.starts_with(L"http://") && isDenied(policy, overHttp, scheme), code);
}

} // namespace

void CRequest::Impl::CheckPolicies() const {
    const auto& rules = *policy;
    trace("CheckPolicies", "Checking policies...\n");
    refuseIf(rules.AllowedTSPs.isSet && !rules.AllowedTSPs.Find(httpParams.address.c_str()),
             resultAddressDenied);
    // No proxy is the empty address, which such a list has to name as well.
    refuseIf(rules.AllowedProxies.isSet &&
                 !rules.AllowedProxies.Find(httpParams.proxyAddress.c_str()),
             resultAddressDenied);
    if (!policyID.empty()) {
        refuseIf(rules.DisablePolicyID.value, resultPolicyIdDenied);
        refuseIf(rules.AllowedPolicyID.isSet &&
                     !rules.AllowedPolicyID.Find(ASN1::towstring(policyID.c_str()).c_str()),
                 resultPolicyIdDenied);
    }
    const auto hashAlg = ASN1::towstring(dataHashAlgOID.c_str());
    refuseIf(rules.HashAlgsAllowed.isSet && !rules.HashAlgsAllowed.Find(hashAlg.c_str()),
             resultHashAlgDenied);
    refuseIf(rules.HashAlgsDenied.Find(hashAlg.c_str()), resultHashAlgDenied);
    refuseIf(useNonce ? rules.DisableNonce.value : rules.RequireNonce.value, resultNonceDenied);
    checkScheme(rules, httpParams.address, httpParams.authType, denyOverHttps, denyOverHttp,
                resultAuthDenied);
    checkScheme(rules, httpParams.proxyAddress, httpParams.proxyAuthType, denyProxyOverHttps,
                denyProxyOverHttp, resultProxyAuthDenied);
    trace("CheckPolicies", "Checking policies... OK.\n");
}

} // namespace Halcyon::PKI::TSP::Client
