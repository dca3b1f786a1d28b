// Loading of the whole policy.
#include <chronoseal/client/request_policy.h>

namespace Halcyon::PKI::TSP::Client {

CRequestPolicy::CRequestPolicy() {
    wchar_t folder_name[] = L"tsppolicy";
    wchar_t* folder = folder_name;
    wchar_t* unused = nullptr;
    auto load = [&](auto& field, const wchar_t* name, auto... arguments) {
        field.Load(unused, folder, name, arguments...);
    };
    load(StampAccuracy, L"StampAccuracy", 180000L);
    load(DefaultCertReq, L"DefaultCertReq", false);
    load(NonceLength, L"NonceLength", 8L);
    load(AuthTypeDefault, L"AuthTypeDefault", 0L);
    load(AuthSSLTypeDefault, L"AuthSSLTypeDefault", 0L);
    load(ProxyAuthTypeDefault, L"ProxyAuthTypeDefault", 0L);
    load(ProxyAuthSSLTypeDefault, L"ProxyAuthSSLTypeDefault", 0L);
    load(RequireNonce, L"RequireNonce", false);
    load(DisableNonce, L"DisableNonce", false);
    load(UseNonceByDefault, L"UseNonceByDefault", true);
    load(DisablePolicyID, L"DisablePolicyID", false);
    load(AuthSSLDenyAnonym, L"AuthSSLDenyAnonym", false);
    load(AuthSSLDenyBasic, L"AuthSSLDenyBasic", false);
    load(AuthSSLDenyDigest, L"AuthSSLDenyDigest", false);
    load(AuthSSLDenyNTLM, L"AuthSSLDenyNTLM", false);
    load(AuthSSLDenyNegotiate, L"AuthSSLDenyNegotiate", false);
    load(AuthDenyAnonym, L"AuthDenyAnonym", false);
    load(AuthDenyBasic, L"AuthDenyBasic", false);
    load(AuthDenyDigest, L"AuthDenyDigest", false);
    load(AuthDenyNTLM, L"AuthDenyNTLM", false);
    load(AuthDenyNegotiate, L"AuthDenyNegotiate", false);
    load(ProxyAuthSSLDenyAnonym, L"ProxyAuthSSLDenyAnonym", false);
    load(ProxyAuthSSLDenyBasic, L"ProxyAuthSSLDenyBasic", false);
    load(ProxyAuthSSLDenyDigest, L"ProxyAuthSSLDenyDigest", false);
    load(ProxyAuthSSLDenyNTLM, L"ProxyAuthSSLDenyNTLM", false);
    load(ProxyAuthSSLDenyNegotiate, L"ProxyAuthSSLDenyNegotiate", false);
    load(ProxyAuthDenyAnonym, L"ProxyAuthDenyAnonym", false);
    load(ProxyAuthDenyBasic, L"ProxyAuthDenyBasic", false);
    load(ProxyAuthDenyDigest, L"ProxyAuthDenyDigest", false);
    load(ProxyAuthDenyNTLM, L"ProxyAuthDenyNTLM", false);
    load(ProxyAuthDenyNegotiate, L"ProxyAuthDenyNegotiate", false);
    load(DefaultHashAlg, L"DefaultHashAlg");
    load(DefaultTSPURL, L"DefaultTSPURL");
    load(DefaultProxy, L"DefaultProxy");
    load(DefaultPolicyID, L"DefaultPolicyID");
    load(HashAlgsAllowed, L"HashAlgsAllowed", L"HashAlgsAllowedSetted", false);
    load(HashAlgsDenied, L"HashAlgsDenied", L"HashAlgsDeniedSetted", false);
    load(AllowedTSPs, L"AllowedTSPs", L"AllowedTSPsSetted", false);
    load(AllowedProxies, L"AllowedProxies", L"AllowedProxiesSetted", false);
    load(AllowedPolicyID, L"AllowedPolicyID", L"AllowedPolicyIDSetted", false);
}

} // namespace Halcyon::PKI::TSP::Client
