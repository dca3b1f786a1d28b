// SendPKIRequest and what it rests on can be made to answer as a test wants: see the functions with
// C linkage.
#include <chronoseal/client/send_request.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <tuple>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/network.h>
#include <basalt/provider.h>
#include <chronoseal/base/test_seam.h>
#include <chronoseal/client/testing/suite.h>

namespace {

struct FakeAnswer {
    std::uint64_t status = 0;
    DWORD last_error = 0;
    std::string body = {};
};

std::optional<FakeAnswer> fake_answer;
bool provider_missing = false;
std::optional<std::pair<DWORD, DWORD>> layer; // version and build

// What the cached road was asked for; set: asked nothing of the network.
struct Retrieval {
    std::wstring url;
    DWORD flags = 0;
    DWORD timeout = 0;
    const FILETIME* resync = nullptr;
    DWORD count = 1;
};
std::optional<Retrieval> retrieval;

} // namespace

extern "C" {

std::uint64_t SendPKIRequest(LPCWSTR url, LPCWSTR userAgent, LPCWSTR headers, LPCWSTR proxy,
                             LPCWSTR credentials, PKI_BUFFER* request,
                             PKI_BUFFER* response) noexcept {
    if (!fake_answer) {
        return REAL(SendPKIRequest)(url, userAgent, headers, proxy, credentials, request, response);
    }
    const auto size = fake_answer->body.size();
    response->data = new BYTE[size];
    std::memcpy(response->data, fake_answer->body.data(), size);
    response->size = response->capacity = static_cast<std::uint32_t>(size);
    SetLastError(fake_answer->last_error);
    return fake_answer->status;
}

BOOL CryptGetProvParam(HCRYPTPROV context, DWORD parameter, BYTE* data, DWORD* size,
                       DWORD flags) noexcept {
    if (layer && parameter == PP_VERSION) {
        std::memcpy(data, &layer->first, sizeof(DWORD));
        return TRUE;
    }
    if (layer && parameter == PP_BUILD_INFORMATION) {
        std::memcpy(data, &layer->second, sizeof(DWORD));
        return TRUE;
    }
    return REAL(CryptGetProvParam)(context, parameter, data, size, flags);
}

BOOL CryptRetrieveObjectByUrlW(LPCWSTR url, LPCSTR type, DWORD flags, DWORD timeout, LPVOID* object,
                               HANDLE async, void* credentials, LPVOID verify,
                               PCRYPT_RETRIEVE_AUX_INFO auxiliary) noexcept {
    if (!retrieval) {
        return REAL(CryptRetrieveObjectByUrlW)(url, type, flags, timeout, object, async,
                                               credentials, verify, auxiliary);
    }
    *retrieval = {url, flags, timeout, auxiliary->pftCacheResync, retrieval->count};
    auto* const found = static_cast<CRYPT_BLOB_ARRAY*>(
        std::calloc(1, sizeof(CRYPT_BLOB_ARRAY) + sizeof(CRYPT_DATA_BLOB)));
    found->cBlob = retrieval->count;
    found->rgBlob = reinterpret_cast<CRYPT_DATA_BLOB*>(found + 1);
    *object = found;
    return TRUE;
}

BOOL CryptAcquireContextA(HCRYPTPROV* context, LPCSTR container, LPCSTR provider, DWORD type,
                          DWORD flags) noexcept {
    if (provider_missing && type == PROV_GOST_2012_256) {
        SetLastError(NTE_PROV_TYPE_NOT_DEF);
        return FALSE;
    }
    return REAL(CryptAcquireContextA)(context, container, provider, type, flags);
}
}

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

constexpr wchar_t kOcsp[] = L"Content-type: application/ocsp-request";

CBlob blob_of(const std::string& text) {
    return CBlob(bytes(text), text.size());
}

std::string text_of(const CBlob& blob) {
    return {reinterpret_cast<const char*>(blob.pbData()), blob.cbData()};
}

struct Sent {
    std::string answer;
    std::uint64_t status;
    DWORD error;
};

Sent send(WinHTTPParams params, const std::string& text, const wchar_t* headers = nullptr,
          bool useCache = false, bool cacheOnly = false, FILETIME* resync = nullptr) {
    auto body = blob_of(text);
    SetLastError(77);
    const auto answer =
        SendRequest(&params, L"agent", headers, &body, false, useCache, resync, cacheOnly);
    return {text_of(answer), params.httpStatus, GetLastError()};
}

TEST(SendRequest, PostsAndReturnsTheBodyWhateverTheStatus) {
    int status = 200;
    LoopbackServer server([&](const std::string& r) {
        return http_reply(status, "got " + std::to_string(LoopbackRequest(r).body.size()));
    });
    WinHTTPParams params;
    params.address = server.url();
    const auto large = send(params, std::string(10000, 'x'));
    EXPECT_EQ(large.answer, "got 10000");
    EXPECT_EQ(large.status, 200u);
    status = 500;
    const auto failed = send(params, "");
    EXPECT_EQ(failed.answer, "got 0");
    EXPECT_EQ(failed.status, 500u);
    const auto head = LoopbackRequest(server.requests().at(0)).head;
    EXPECT_TRUE(head.starts_with("POST / HTTP/1.1\r\n"));
    EXPECT_NE(head.find("User-Agent: agent\r\n"), std::string::npos);
    EXPECT_EQ(head.find("Content-Type:"), std::string::npos) << "null headers mean none";
}

TEST(SendRequest, CacheOnlyNeverGoesByPost) {
    Configuration::instance().set("");
    LoopbackServer server([](const std::string&) { return http_reply(200, "x"); });
    WinHTTPParams params;
    params.address = server.url();
    params.httpStatus = 42;
    auto with_proxy = params;
    with_proxy.proxyAddress = L"http://proxy/";
    for (const auto* headers : {kOcsp, static_cast<const wchar_t*>(nullptr)}) {
        for (const auto& each : {params, with_proxy}) {
            const auto sent = send(each, "x", headers, false, true);
            EXPECT_EQ(sent.answer, "");
            EXPECT_EQ(sent.status, 42u);
        }
    }
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ(send(params, "x", kOcsp).status, 200u) << "not configured: by POST";
}

TEST(SendRequest, NewLayersLastErrorIsPassedOn) {
    fake_answer = FakeAnswer{404, 1234};
    const auto sent = send({}, "x");
    fake_answer.reset();
    EXPECT_EQ(sent.status, 404u);
    EXPECT_EQ(sent.error, 1234u);
}

// The bodies of the death tests, which run in processes of their own and give their exit status: 0
// when all is well.

int old_layer() {
    struct Case {
        std::uint64_t status;
        DWORD error;
    };
    static constexpr Case cases[] = {
        {400, 12009}, {505, 12009}, {508, 12009}, {401, 12015}, {403, 12175}, {404, 12007},
        {405, 12011}, {406, 12029}, {409, 12029}, {410, 12029}, {503, 12029}, {407, 12187},
        {408, 12002}, {504, 12002}, {411, 12153}, {412, 12153}, {413, 12154}, {414, 12005},
        {429, 12030}, {500, 12030}, {501, 12030}, {502, 12188}, {506, 12017}, {507, 8},
        {0, 12004},   {204, 12004}, {402, 12004}};
    provider_missing = true;
    int wrong = 0;
    for (const auto& [status, error] : cases) {
        fake_answer = FakeAnswer{status, 0};
        wrong += send({}, "x").error != error;
    }
    fake_answer = FakeAnswer{404, 0};
    Configuration::instance().set("");
    CRequest request;
    request.put_TSAAddress(L"http://tsa/");
    request.put_DataHash(bytes("x"), 1);
    return wrong + (code_of([&] { request.Send(false); }) != 0x80072EE7u);
}

int cached_road() {
    auto& configuration = Configuration::instance();
    configuration.set("", "[config.Tinlayer]\nSendRequestTimeoutMilliseconds = 3000\n"
                          "[config.Tinlayer.cache_settings]\nOcspValiditySeconds = 60\n");
    ::setenv("XDG_CACHE_HOME", configuration.folder().c_str(), 1);
    int status = 200;
    LoopbackServer server([&](const std::string& r) {
        return http_reply(status, "answer to " + LoopbackRequest(r).body);
    });
    WinHTTPParams params;
    params.address = server.url(L"/ocsp");
    const std::string body = "\xFB\xEF\xBE\xFF?"; // its Base64 has +, / and =
    int wrong = 0;
    const auto good = send(params, body, kOcsp);
    wrong |= good.status != 200 || good.answer != "answer to " + body ? 1 : 0;
    status = 500;
    const auto failed = send(params, body, kOcsp);
    wrong |= failed.status != 500 || !failed.answer.empty() ? 2 : 0;
    params.address = L"http://127.0.0.1:1/x";
    const auto lost = send(params, body, kOcsp);
    wrong |= lost.status != 456 || !lost.answer.empty() ? 4 : 0;
    wrong |= code_of([&] { send(params, "", kOcsp); }) == 0 ? 8 : 0;
    const auto uncached = send(params, body, kOcsp, true, true);
    wrong |= uncached.status == 200 ? 16 : 0;
    return wrong;
}

// The number of calls whose address, flags or time-out aren't as they have to be.
int exact_retrievals() {
    Configuration::instance().set("",
                                  "[config.Tinlayer]\nSendRequestTimeoutMilliseconds = 0\n"
                                  "[config.Tinlayer.cache_settings]\nOcspValiditySeconds = 1\n");
    const std::string body = "\xFB\xEF\xBE\xFF?"; // ++++/z8= in Base64
    WinHTTPParams params;
    params.address = L"http://ocsp";
    FILETIME resync{};
    int wrong = 0;
    for (const auto& [use, only, flags] :
         {std::tuple{false, false, 0x100004u}, std::tuple{true, false, 0x100000u},
          std::tuple{true, true, 0x100002u}, std::tuple{false, true, 0x100006u}}) {
        retrieval.emplace();
        const auto sent = send(params, body, kOcsp, use, only, &resync);
        wrong += sent.status != 200 || retrieval->flags != flags || retrieval->timeout != 0 ||
                 retrieval->resync != &resync ||
                 retrieval->url != L"http://ocsp/%2B%2B%2B%2B%2Fz8%3D"
                                   L"?Content-type: application/ocsp-request";
    }
    for (const DWORD count : {0u, 2u}) {
        retrieval->count = count;
        wrong += code_of([&] { send(params, body, kOcsp); }) != 0x8007000Du;
    }
    retrieval.emplace();
    auto with_proxy = params;
    with_proxy.proxyAddress = L"http://proxy";
    auto with_user = params;
    with_user.proxyUserName = L"me";
    for (const auto& posted : {with_proxy, with_user}) {
        fake_answer = FakeAnswer{200, 0, "posted"};
        wrong += send(posted, body, kOcsp).answer != "posted" || !retrieval->url.empty();
    }
    return wrong;
}

int default_timeout() {
    Configuration::instance().set("",
                                  "[config.Tinlayer]\nSendRequestTimeoutMilliseconds = -7\n"
                                  "[config.Tinlayer.cache_settings]\nOcspValiditySeconds = 1\n");
    retrieval.emplace();
    send({}, "x", kOcsp);
    return retrieval->timeout != 5000;
}

int layer_tells_errors(DWORD version, DWORD build) {
    layer = std::pair{version, build};
    fake_answer = FakeAnswer{404, 1234};
    return send({}, "x").error == 1234;
}

TEST(SendRequestDeathTest, OldLayersLastErrorComesFromTheStatus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(old_layer()), ::testing::ExitedWithCode(0), "");
}

TEST(SendRequestDeathTest, OcspGoesByTheCacheWhereThatIsConfigured) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto road : {&cached_road, &exact_retrievals, &default_timeout}) {
        EXPECT_EXIT(std::_Exit(road()), ::testing::ExitedWithCode(0), "");
    }
}

TEST(SendRequestDeathTest, LayersUpToABuildCountAsOld) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto& [version, build, tells] :
         {std::tuple{0x4FFu, 99999u, 0}, std::tuple{0x500u, 13300u, 0},
          std::tuple{0x500u, 13301u, 1}, std::tuple{0x501u, 0u, 1}}) {
        EXPECT_EXIT(std::_Exit(layer_tells_errors(version, build)),
                    ::testing::ExitedWithCode(tells), "");
    }
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
