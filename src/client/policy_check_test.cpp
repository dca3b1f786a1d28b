#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

// Nothing listens there: what policy lets pass fails with this code.
constexpr wchar_t kNowhere[] = L"http://127.0.0.1:1/";
constexpr std::uint32_t kPassed = 0x80072EFD;

struct Case {
    const char* policy;
    std::uint32_t code;
    void (*change)(CRequest&) = [](CRequest&) {};
};

std::uint32_t judged(const Case& test) {
    Configuration::instance().set(test.policy);
    CRequest request;
    const auto digest = sha256("data");
    request.put_DataHashAlg(kSha256Oid);
    request.put_DataHash(bytes(digest), digest.size());
    request.put_TSAAddress(kNowhere);
    test.change(request);
    return code_of([&] { request.Send(false); });
}

TEST(PolicyCheck, RefusesByTheFirstRuleBroken) {
    const Case cases[] = {
        {"", kPassed},
        {"AllowedTSPs = ['http://127.0.0.1:1/']", kPassed},
        {"AllowedTSPs = ['http://127.0.0.1:1']", 0xC2100103},
        {"AllowedTSPs = []", 0xC2100103},
        {"AllowedTSPs = ['']", 0xC2100121, [](CRequest& r) { r.put_TSAAddress(L""); }},
        {"AllowedTSPs = ['x']", 0xC2100103, [](CRequest& r) { r.put_TSAAddress(L""); }},
        {"AllowedProxies = ['http://proxy/']", 0xC2100103},
        {"AllowedProxies = ['']", kPassed},
        {"DisablePolicyID = true", kPassed},
        {"DisablePolicyID = true", 0xC2100111, [](CRequest& r) { r.put_PolicyID("1.2"); }},
        {"AllowedPolicyID = ['1.2']", kPassed, [](CRequest& r) { r.put_PolicyID("1.2"); }},
        {"AllowedPolicyID = ['1.2']", 0xC2100111, [](CRequest& r) { r.put_PolicyID("1.2.3"); }},
        {"AllowedPolicyID = []", kPassed},
        {"HashAlgsAllowed = []", 0xC2100110},
        {"HashAlgsAllowed = ['2.16.840.1.101.3.4.2.1']", kPassed},
        {"HashAlgsDenied = ['2.16.840.1.101.3.4.2.1']", 0xC2100110},
        {"HashAlgsAllowed = ['2.16.840.1.101.3.4.2.1']\n"
         "HashAlgsDenied = ['2.16.840.1.101.3.4.2.1']",
         0xC2100110},
        {"DisableNonce = true", 0xC2100104},
        {"DisableNonce = true", kPassed, [](CRequest& r) { r.put_UseNonce(false); }},
        {"RequireNonce = true", kPassed},
        {"RequireNonce = true", 0xC2100104, [](CRequest& r) { r.put_UseNonce(false); }},
        {"RequireNonce = true\nDisableNonce = true", 0xC2100104},
        {"AllowedTSPs = []\nHashAlgsAllowed = []\nDisableNonce = true", 0xC2100103},
        // Two rules broken: the first of them in this order.
        {"AllowedProxies = []\nDisablePolicyID = true", 0xC2100103,
         [](CRequest& r) { r.put_PolicyID("1.2"); }},
        {"DisablePolicyID = true\nHashAlgsAllowed = []", 0xC2100111,
         [](CRequest& r) { r.put_PolicyID("1.2"); }},
        {"AllowedPolicyID = []\nHashAlgsDenied = ['2.16.840.1.101.3.4.2.1']", 0xC2100111,
         [](CRequest& r) { r.put_PolicyID("1.2"); }},
        {"HashAlgsAllowed = []\nDisableNonce = true", 0xC2100110},
        {"HashAlgsDenied = ['2.16.840.1.101.3.4.2.1']\nDisableNonce = true", 0xC2100110},
        {"DisableNonce = true\nAuthDenyAnonym = true", 0xC2100104},
        {"AuthDenyAnonym = true\nProxyAuthDenyAnonym = true", 0xC2100101,
         [](CRequest& r) { r.put_ProxyAddress(L"http://proxy/"); }},
        {"AuthDenyAnonym = true\nProxyAuthSSLDenyAnonym = true", 0xC2100101,
         [](CRequest& r) { r.put_ProxyAddress(L"https://proxy/"); }},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(judged(test), test.code) << test.policy;
    }
}

TEST(PolicyCheck, DeniesSchemesByTheAddressTheyGoTo) {
    using Scheme = std::pair<const char*, enumAuthTypes>;
    for (const auto& [name, type] :
         {Scheme{"Anonym", AuthAnonymous}, Scheme{"Basic", AuthBasic}, Scheme{"Digest", AuthDigest},
          Scheme{"NTLM", AuthNTLM}, Scheme{"Negotiate", AuthNegotiate}}) {
        for (const bool ssl : {false, true}) {
            for (const bool proxy : {false, true}) {
                for (const std::wstring scheme : {L"http://", L"https://", L"HTTP://", L""}) {
                    Configuration::instance().set(std::string(proxy ? "Proxy" : "") +
                                                  (ssl ? "AuthSSLDeny" : "AuthDeny") + name +
                                                  " = true");
                    CRequest request;
                    const auto digest = sha256("data");
                    request.put_DataHash(bytes(digest), digest.size());
                    const auto address = scheme + L"127.0.0.1:1/";
                    request.put_TSAAddress(proxy ? kNowhere : address.c_str());
                    request.put_ProxyAddress(proxy ? address.c_str() : L"");
                    // The other side has a scheme that no switch of this side's group is about.
                    (proxy ? request.put_ProxyAuthType(type) : request.put_TSAAuthType(type));
                    const auto code = code_of([&] { request.Send(false); });
                    const bool denied = scheme == (ssl ? L"https://" : L"http://");
                    if (denied) {
                        EXPECT_EQ(code, proxy ? 0xC2100102u : 0xC2100101u) << name;
                    } else {
                        EXPECT_NE(code & 0xFFFFFF00u, 0xC2100100u) << name;
                        EXPECT_NE(code, 0u);
                    }
                }
            }
        }
    }
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
