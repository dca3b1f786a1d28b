#include <chronoseal/client/request.h>

#include <cstdlib>
#include <cstring>

#include <openssl/crypto.h>
#include <openssl/ts.h>
#include <unistd.h>

#include <basalt/store.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

void set_policy(const std::string& policy) {
    Configuration::instance().set(policy);
}

void feed(CRequest& request, const std::string& data) {
    request.AddData(bytes(data), data.size());
}

void import(CRequest& request, std::string der) {
    request.Import(reinterpret_cast<unsigned char*>(der.data()), der.size());
}

std::string exported(CRequest& request) {
    return delivered(request, &CRequest::Export);
}

std::string hash_of(const CRequest& request) {
    return delivered(request, &CRequest::get_DataHash);
}

// All values, one after the other.
std::wstring told(const CRequest& request) {
    const auto wide = [](const char* text) { return std::wstring(text, text + std::strlen(text)); };
    std::wstring text = wide(request.get_PolicyID()) + L'|' + wide(request.get_DataHashAlgOID());
    for (const unsigned long number :
         {0ul + request.get_CertReq(), 0ul + request.get_UseNonce(),
          0ul + request.get_DataHashAlg(), 0ul + request.get_Flags(),
          0ul + request.get_TSAAuthType(), 0ul + request.get_ProxyAuthType(),
          request.get_HTTPStatus()}) {
        text += L'|' + std::to_wstring(number);
    }
    for (const auto* value :
         {request.get_TSAAddress(), request.get_TSAUserName(), request.get_TSAPassword(),
          request.get_ProxyAddress(), request.get_ProxyUserName(), request.get_ProxyPassword()}) {
        text += std::wstring(L"|") + value;
    }
    return text;
}

class Request : public ::testing::Test {
protected:
    Request() { set_policy("DefaultHashAlg = '2.16.840.1.101.3.4.2.1'"); }

    void give_hash(CRequest& request) {
        const auto digest = sha256("data");
        request.put_DataHash(bytes(digest), digest.size());
    }
};

TEST_F(Request, HoldsAllItsValuesAsOpenSslReadsThem) {
    CRequest request;
    request.put_UseNonce(false);
    request.put_PolicyID("1.2.3.4");
    request.put_CertReq(true);
    feed(request, "da");
    feed(request, "ta");
    const auto imprint = sequence(sequence(oid(kSha256Oid)) + element(4, sha256("data")));
    const auto encoded = exported(request);
    EXPECT_EQ(encoded,
              sequence(integer("\x01") + imprint + oid("1.2.3.4") + element(0x01, "\xFF")));
    request.put_UseNonce(true);
    for (const auto& each : {encoded, exported(request)}) {
        const auto* place = bytes(each);
        const auto read =
            owned(d2i_TS_REQ(nullptr, &place, static_cast<long>(each.size())), &TS_REQ_free);
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(der(read.get(), &i2d_TS_REQ), each);
        EXPECT_EQ(TS_REQ_get_nonce(read.get()) != nullptr, each != encoded);
    }
}

TEST_F(Request, StaysTheSameUntilAValueChanges) {
    CRequest request;
    give_hash(request);
    const auto first = exported(request);
    EXPECT_EQ(exported(request), first);
    request.put_UseNonce(true);
    request.put_CertReq(false);
    request.put_PolicyID("");
    request.put_TSAAddress(L"http://tsa/");
    request.put_Flags(7);
    EXPECT_EQ(request.get_Flags(), 7u);
    EXPECT_EQ(exported(request), first);
    request.put_CertReq(true);
    const auto second = exported(request);
    EXPECT_NE(second, first);
    request.put_CertReq(false);
    EXPECT_NE(exported(request), first) << "the nonce is drawn anew";
    request.put_UseNonce(false);
    const auto bare = exported(request);
    request.put_PolicyID(L"1.2");
    request.put_PolicyID("");
    EXPECT_EQ(exported(request), bare);
}

TEST_F(Request, NeedsDataOnce) {
    CRequest request;
    unsigned long size = 0;
    EXPECT_CODE(0xC2100123u, request.Export(nullptr, &size));
    request.put_DataHash(nullptr, 0);
    EXPECT_CODE(0xC2100123u, request.Export(nullptr, &size));
    feed(request, "data");
    EXPECT_CODE(0x8009000Cu, give_hash(request));
    EXPECT_CODE(0x8009000Cu, request.put_DataHashAlg(0x8004u));
    EXPECT_CODE(0x8009000Cu, request.put_DataHashAlg("1.3.14.3.2.26"));
    EXPECT_EQ(hash_of(request), sha256("data")); // ends the hashing
    EXPECT_CODE(0x80092005u, feed(request, "more"));
    request.ResetData();
    feed(request, "more");
    EXPECT_EQ(hash_of(request), sha256("more"));
}

TEST_F(Request, KeepsAlgorithmNumberAndTextTogetherWhereItCan) {
    CRequest request;
    EXPECT_EQ(request.get_DataHashAlg(), 0x800Cu);
    request.put_DataHashAlg(0x8004u);
    EXPECT_STREQ(request.get_DataHashAlgOID(), "1.3.14.3.2.26");
    EXPECT_CODE(0x80090008u, request.put_DataHashAlg(0x8123u));
    EXPECT_EQ(request.get_DataHashAlg(), 0x8123u); // the pair doesn't match after this failure
    EXPECT_STREQ(request.get_DataHashAlgOID(), "1.3.14.3.2.26");
    request.put_DataHashAlg(L"1.2.3");
    EXPECT_EQ(request.get_DataHashAlg(), 0u);
    EXPECT_STREQ(request.get_DataHashAlgOID(), "1.2.3");
    EXPECT_CODE(0x80090008u, feed(request, "data"));
    give_hash(request);
    EXPECT_FALSE(exported(request).empty());
}

TEST_F(Request, ImportTakesAllOverAndLeavesNothingOfAnEarlierRequest) {
    CRequest plain;
    plain.put_PolicyID("1.2.3.4");
    give_hash(plain);
    CRequest other;
    other.put_DataHashAlg("1.3.14.3.2.26");
    other.put_CertReq(true);
    other.put_UseNonce(false);
    other.put_PolicyID("1.2.5");
    const std::string hash(20, 'h');
    other.put_DataHash(bytes(hash), hash.size());
    CRequest request;
    for (CRequest* const source : {&plain, &other, &plain}) {
        const auto der = exported(*source);
        import(request, der);
        EXPECT_EQ(exported(request), der);
        EXPECT_EQ(told(request), told(*source));
        EXPECT_EQ(hash_of(request), hash_of(*source));
    }
    CRequest without_policy;
    give_hash(without_policy);
    import(request, exported(without_policy));
    EXPECT_STREQ(request.get_PolicyID(), "1.2.3.4") << "the one value that stays where none comes";
    const std::string changed(32, 'c');
    request.put_DataHash(bytes(changed), changed.size());
    EXPECT_NE(exported(request).find(changed), std::string::npos) << "a new hash, a new request";
}

TEST_F(Request, RefusesWhatWouldBeReadAsSomethingElse) {
    const auto imprint = sequence(sequence(oid(kSha256Oid)) + element(4, sha256("data")));
    const auto code = [&](const std::string& rest) {
        CRequest request;
        return code_of([&] { import(request, sequence(integer("\x01") + imprint + rest)); });
    };
    const auto arcs = [](const std::string& contents) { return element(6, contents); };
    EXPECT_EQ(code(arcs(std::string("\x2A\x8F\xFF\xFF\xFF\x7F"))), 0u);
    EXPECT_EQ(code(arcs(std::string("\x2A\x90\x80\x80\x80\x03"))), 0x80093101u);
    EXPECT_EQ(code(element(0xA0, repeated(256, extension("1.2", false)))), 0u);
    EXPECT_EQ(code(element(0xA0, repeated(257, extension("1.2", false)))), 0x80093101u);
}

TEST_F(Request, FailedImportLeavesTheBytesBehind) {
    CRequest request;
    give_hash(request);
    EXPECT_CODE(0x80093101u, import(request, "noise"));
    EXPECT_EQ(exported(request), "noise");
    request.put_CertReq(!request.get_CertReq());
    EXPECT_EQ(hash_of(request), sha256("data"));
}

TEST_F(Request, ImportedExtensionsDoNotSurviveAChange) {
    const auto extensions = element(0xA0, testing::extension("1.2.3.5", false));
    const auto imprint = sequence(sequence(oid(kSha256Oid)) + element(4, sha256("data")));
    const auto with = sequence(integer("\x01") + imprint + extensions);
    const auto without = sequence(integer("\x01") + imprint);
    CRequest request;
    import(request, with);
    EXPECT_FALSE(request.get_UseNonce());
    EXPECT_EQ(exported(request), with);
    request.put_CertReq(true);
    request.put_CertReq(false);
    EXPECT_EQ(exported(request), without);
}

TEST_F(Request, CopiesRunOnTheirOwn) {
    CRequest request;
    request.put_CertReq(true);
    request.put_UseNonce(false);
    request.put_PolicyID("1.2.9");
    request.put_TSAAddress(L"http://tsa/");
    request.put_TSAAuthType(AuthNTLM);
    request.put_TSAUserName(L"user");
    request.put_TSAPassword(L"secret");
    request.put_ProxyAddress(L"http://proxy/");
    request.put_ProxyAuthType(AuthDigest);
    request.put_ProxyUserName(L"me");
    request.put_ProxyPassword(L"hush");
    request.put_Flags(3);
    feed(request, "da");
    CRequest copy(request);
    feed(request, "y");
    feed(copy, "ta");
    EXPECT_EQ(hash_of(copy), sha256("data"));
    EXPECT_EQ(hash_of(request), sha256("day"));
    EXPECT_EQ(told(copy), told(request));
    CRequest given;
    give_hash(given);
    EXPECT_EQ(hash_of(CRequest(given)), sha256("data"));
    copy = CRequest();
    EXPECT_NE(told(copy), told(request));
    copy = request;
    EXPECT_EQ(told(copy), told(request));
    EXPECT_EQ(exported(copy), exported(request));
}

TEST_F(Request, TakesItsDefaultsFromPolicy) {
    set_policy("DefaultHashAlg = '1.3.14.3.2.26 SHA-1'\nDefaultTSPURL = 'https://tsa/'\n"
               "DefaultProxy = 'http://proxy/'\nAuthSSLTypeDefault = 1\nAuthTypeDefault = 2\n"
               "ProxyAuthSSLTypeDefault = 8\nProxyAuthTypeDefault = 16\nDefaultPolicyID = '1.2'\n"
               "UseNonceByDefault = false\nDefaultCertReq = true");
    CRequest request;
    EXPECT_STREQ(request.get_DataHashAlgOID(), "1.3.14.3.2.26");
    EXPECT_STREQ(request.get_TSAAddress(), L"https://tsa/");
    EXPECT_EQ(request.get_TSAAuthType(), AuthBasic);
    EXPECT_EQ(request.get_ProxyAuthType(), AuthNegotiate);
    EXPECT_STREQ(request.get_PolicyID(), "1.2");
    EXPECT_FALSE(request.get_UseNonce());
    EXPECT_TRUE(request.get_CertReq());
    request.put_TSAAddress(L"http://tsa/");
    EXPECT_EQ(request.get_TSAAuthType(), AuthBasic) << "an address leaves the scheme alone";
    request.put_ProxyAddress(nullptr);
    EXPECT_STREQ(request.get_ProxyAddress(), L"");
    set_policy("DefaultTSPURL = 'http://tsa/'\nAuthSSLTypeDefault = 1\nAuthTypeDefault = 2\n"
               "DefaultProxy = 'https://proxy/'\nProxyAuthSSLTypeDefault = 8\n"
               "ProxyAuthTypeDefault = 16");
    const CRequest other;
    EXPECT_STREQ(other.get_TSAAddress(), L"http://tsa/") << "read anew for each request";
    EXPECT_EQ(other.get_TSAAuthType(), AuthNTLM);
    EXPECT_EQ(other.get_ProxyAuthType(), AuthDigest);
}

TEST_F(Request, PolicyThatCannotBeReadLeavesTheOldOneInForce) {
    CRequest request;
    give_hash(request);
    const CRequest source(request);
    set_policy("DefaultTSPURL = 3");
    EXPECT_CODE(1629u, request = source);
    set_policy("");
    request.put_TSAAddress(L"http://127.0.0.1:1/");
    EXPECT_CODE(0x80072EFDu, request.Send(false)) << "it still has a policy";
}

TEST_F(Request, FallsBackOnGostWhereThePlatformHasIt) {
    set_policy("");
    const std::string engine = std::string(OPENSSL_info(OPENSSL_INFO_ENGINES_DIR)) + "/gost.so";
    if (::access(engine.c_str(), R_OK) != 0) {
        GTEST_SKIP() << "OpenSSL has no GOST engine here";
    }
    CRequest request;
    EXPECT_EQ(request.get_DataHashAlg(), 0x801Eu);
    EXPECT_STREQ(request.get_DataHashAlgOID(), "1.2.643.2.2.9");
    feed(request, "data");
    EXPECT_EQ(hash_of(request).size(), 32u);
}

// In a process of its own, for OpenSSL looks for its engines once.
TEST_F(Request, FallsBackOnSha1WhereThePlatformHasNoGost) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto without_engines = [] {
        ::setenv("OPENSSL_ENGINES", Configuration::instance().folder().c_str(), 1);
        set_policy("");
        CRequest request;
        const bool sha1 = request.get_DataHashAlg() == 0x8004 &&
                          std::string(request.get_DataHashAlgOID()) == "1.3.14.3.2.26";
        feed(request, "data");
        const bool refused = code_of([] { CRequest().put_DataHashAlg(0x801Eu); }) == 0x80090008u;
        std::exit(sha1 && refused && hash_of(request).size() == 20 ? 0 : 1);
    };
    EXPECT_EXIT(without_engines(), ::testing::ExitedWithCode(0), "");
}

TEST(RequestDeathTest, OtherwisePolicyIsReadOnceForTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto& configuration = Configuration::instance();
    EXPECT_EXIT(
        {
            configuration.set("DefaultTSPURL = 'http://one/'", {}, false);
            const CRequest first;
            configuration.set("DefaultTSPURL = 'http://two/'", {}, false);
            const std::wstring seen = CRequest().get_TSAAddress();
            std::_Exit(seen == L"http://one/" ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            configuration.set("DefaultTSPURL = 3", {}, false); // can't be read, for ever
            const auto first = code_of([] { CRequest(); });
            configuration.set("", {}, false);
            const auto second = code_of([] { CRequest(); });
            std::_Exit(first == 0x8007045A && second == 0x8007045A ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    configuration.set("");
}

TEST_F(Request, ClientCertificateIsHeldOrReplacedByTheUsersCopy) {
    const Authority authority;
    const auto certificate = certificate_of(authority.signer_der());
    CRequest request;
    request.put_ClientCertificate(certificate.get());
    EXPECT_EQ(request.get_ClientCertificate(), certificate.get());

    ATL2::CCertStore my;
    my.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"My");
    wchar_t container[] = L"container";
    CRYPT_KEY_PROV_INFO key{};
    key.pwszContainerName = container;
    const auto with_key = certificate_of(authority.signer_der());
    ASSERT_TRUE(
        CertSetCertificateContextProperty(with_key.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, &key));
    ASSERT_TRUE(
        CertAddCertificateContextToStore(my.get(), with_key.get(), CERT_STORE_ADD_ALWAYS, nullptr));
    request.put_ClientCertificate(certificate.get());
    ASSERT_NE(request.get_ClientCertificate(), certificate.get());
    DWORD size = 0;
    EXPECT_TRUE(CertGetCertificateContextProperty(request.get_ClientCertificate(),
                                                  CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size));
    request.put_ClientCertificate(nullptr);
    EXPECT_EQ(request.get_ClientCertificate(), nullptr);
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
