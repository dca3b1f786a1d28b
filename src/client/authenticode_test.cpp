#include <chronoseal/client/authenticode.h>

#include <vector>

#include <basalt/last_error.h>
#include <basalt/object_coding.h>
#include <chronoseal/atl/base64.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

class Authenticode : public ::testing::Test {
protected:
    Authenticode() { Configuration::instance().set(""); }

    // The answer's bytes, or "null" and the last error.
    std::string stamp(const wchar_t* url, const CRYPT_ATTRIBUTES* attributes = nullptr) {
        BYTE content[] = {'s', 'i', 'g'};
        const CRYPT_DATA_BLOB blob{sizeof(content), content};
        SetLastError(77);
        auto* const result = GetMSStamp(&blob, url, attributes);
        if (!result) {
            return "null " + std::to_string(GetLastError());
        }
        std::string bytes(reinterpret_cast<char*>(result->pbData), result->cbData);
        EXPECT_EQ(FreeMSStamp(result), 1);
        return bytes;
    }
};

TEST_F(Authenticode, PostsPaddedBase64AndDecodesTheAnswer) {
    const std::string answer(100, '\xA5');
    LoopbackServer server([&](const std::string&) { return http_reply(200, base64(answer)); });
    EXPECT_EQ(stamp(server.url().c_str()), answer);
    const auto body = LoopbackRequest(server.requests().at(0)).body;
    const auto der =
        sequence(oid("1.3.6.1.4.1.311.3.2.1") +
                 sequence(oid("1.2.840.113549.1.7.1") + element(0xA0, element(0x04, "sig"))));
    auto text = base64(der);
    text.resize(static_cast<std::size_t>(
        ATL::Base64EncodeGetRequiredLength(static_cast<int>(der.size()), 0)));
    EXPECT_EQ(body, text) << "zeros up to the computed size";
    EXPECT_EQ(LoopbackRequest(server.requests().at(0)).head.find("Content-Type"),
              std::string::npos);
}

TEST_F(Authenticode, SendsAttributes) {
    LoopbackServer server([](const std::string&) { return http_reply(200, "AA=="); });
    char type[] = "1.2.3";
    BYTE value[] = {0x05, 0x00};
    CRYPT_ATTR_BLOB values{2, value};
    CRYPT_ATTRIBUTE attribute{type, 1, &values};
    const CRYPT_ATTRIBUTES attributes{1, &attribute};
    EXPECT_EQ(stamp(server.url().c_str(), &attributes), std::string(1, '\0'));
    EXPECT_EQ(stamp(server.url().c_str()), std::string(1, '\0'));
    EXPECT_GT(server.requests().at(0).size(), server.requests().at(1).size());
}

TEST_F(Authenticode, PolicyChoosesTheServer) {
    LoopbackServer server([](const std::string&) { return http_reply(200, "QQ=="); });
    const auto url = server.url();
    const std::string name(url.begin(), url.end());
    auto& configuration = Configuration::instance();
    EXPECT_TRUE(stamp(nullptr).starts_with("null ")) << "no address: the transport's failure";
    configuration.set("DefaultMSTSPURL = '" + name + "'");
    EXPECT_EQ(stamp(nullptr), "A");
    configuration.set("DefaultMSTSPURL = '" + name + "'\nAllowedMSTSPs = ['http://other/']");
    EXPECT_EQ(stamp(nullptr), "null 1260");
    EXPECT_EQ(stamp(url.c_str()), "null 1260");
    configuration.set("AllowedMSTSPs = ['" + name + "']\nDefaultMSTSPURL = '" + name + "'");
    EXPECT_EQ(stamp(nullptr), "A");
    EXPECT_EQ(stamp(url.c_str()), "A");
    configuration.set("AllowedMSTSPs = '" + name + "'\nAllowedTSPs = ['http://other/']");
    EXPECT_EQ(stamp(url.c_str()), "A") << "the servers for the other protocol are no restriction";
    configuration.set("AllowedMSTSPs = 3");
    EXPECT_EQ(stamp(url.c_str()), "null 1629") << "a policy that can't be read allows nothing";
}

TEST_F(Authenticode, RetriesOnceOnProxyAuthentication) {
    std::vector<int> statuses{407, 200};
    std::size_t next = 0;
    LoopbackServer server([&](const std::string&) { return http_reply(statuses[next++], "QQ=="); });
    EXPECT_EQ(stamp(server.url().c_str()), "A");
    statuses = {407, 407};
    next = 0;
    EXPECT_EQ(stamp(server.url().c_str()), "null " + std::to_string(0xC2100100u));
    EXPECT_EQ(next, 2u);
}

TEST_F(Authenticode, TellsFailuresByTheLastError) {
    LoopbackReply answer;
    LoopbackServer server([&](const std::string&) { return answer; });
    for (const int status : {500, 404, 203}) {
        answer = http_reply(status, "QQ==");
        EXPECT_EQ(stamp(server.url().c_str()), "null " + std::to_string(0xC2100100u)) << status;
    }
    EXPECT_EQ(server.requests().size(), 3u) << "each is final";
    answer = http_reply(200, "Q\r\nQ==");
    EXPECT_EQ(stamp(server.url().c_str()), "A");
    answer = http_reply(200, "");
    EXPECT_TRUE(stamp(server.url().c_str()).starts_with("null "));
    answer = http_reply(200, "====");
    EXPECT_EQ(stamp(server.url().c_str()), "");
    EXPECT_EQ(GetMSStamp(nullptr, L"http://x/", nullptr), nullptr);
    EXPECT_EQ(FreeMSStamp(nullptr), 1);
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
