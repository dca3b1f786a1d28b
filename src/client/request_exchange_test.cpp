#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

class Exchange : public ::testing::Test {
protected:
    Exchange() { Configuration::instance().set(policy_); }

    CRequest request(const LoopbackServer& server) {
        CRequest request;
        request.put_TSAAddress(server.url().c_str());
        request.put_CertReq(true);
        request.AddData(bytes("data"), 4);
        return request;
    }
    void add_policy(const std::string& line) { Configuration::instance().set(policy_ + line); }

    // Answers as a real authority, from the request as it came.
    LoopbackServer::Handler genuine(const EVP_MD* ess_digest = EVP_sha256()) {
        return [this, ess_digest](const std::string& r) {
            return http_reply(200, authority_.answer(LoopbackRequest(r).body, ess_digest));
        };
    }
    LoopbackServer::Handler fixed(const std::string& body) {
        return [body](const std::string&) { return http_reply(200, body); };
    }
    std::string stamp_of(const TstInfo& info) { return response(0, authority_.token(info)); }

    std::string policy_ = "DefaultHashAlg = '2.16.840.1.101.3.4.2.1'\n";
    Authority authority_;
    Trust trust_{authority_.root_der()};
};

TEST_F(Exchange, StampsAndVerifiesEndToEnd) {
    for (const auto* ess_digest : {EVP_sha256(), EVP_sha1(), EVP_sha512()}) {
        LoopbackServer server(genuine(ess_digest));
        auto sent = request(server);
        const auto& stamp = sent.Send(true);
        EXPECT_EQ(stamp.get_Status(), 0u);
        EXPECT_TRUE(stamp.get_HasNonce());
        EXPECT_STREQ(stamp.get_PolicyID(), "1.2.3.4");
        EXPECT_EQ(stamp.get_Accuracy(), 1500000);
        EXPECT_STRNE(stamp.get_TSA(), L"");
        EXPECT_EQ(sent.get_HTTPStatus(), 200u);
        const auto now = CDateTime::Now();
        EXPECT_LT(now - stamp.get_Time(), CDateTimeSpan(60, 0));

        const LoopbackRequest posted(server.requests().at(0));
        EXPECT_EQ(posted.body, delivered(sent, &CRequest::Export));
        EXPECT_NE(posted.head.find("Content-type: application/timestamp-query\r\n"),
                  std::string::npos);
        EXPECT_NE(posted.head.find("User-Agent: Halcyon chronoseal.dll\r\n"), std::string::npos);
    }
}

TEST_F(Exchange, OnlyAChangedRequestGoesOutWithOtherBytes) {
    LoopbackServer server(genuine());
    auto sent = request(server);
    sent.Send(true);
    sent.Send(true);
    sent.put_CertReq(false);
    sent.Send(false);
    const auto posted = server.requests();
    ASSERT_EQ(posted.size(), 3u);
    EXPECT_EQ(posted[0], posted[1]);
    EXPECT_NE(posted[0], posted[2]);
}

TEST_F(Exchange, VerificationSeesAForgedSignature) {
    LoopbackServer server([this](const std::string& r) {
        auto body = authority_.answer(LoopbackRequest(r).body);
        body.back() = static_cast<char>(body.back() ^ 1); // the signature stands last
        return http_reply(200, body);
    });
    auto sent = request(server);
    EXPECT_CODE(0x80090006u, sent.Send(true));
    EXPECT_CODE(0u, sent.Send(false));
}

TEST_F(Exchange, HttpFailureLeavesTheOldStamp) {
    int status = 200;
    LoopbackServer server([&](const std::string& r) {
        return http_reply(status, authority_.answer(LoopbackRequest(r).body));
    });
    auto sent = request(server);
    sent.Send(false);
    const auto response = sent.get_Response();
    for (const int bad : {404, 500, 403, 204}) {
        status = bad;
        EXPECT_CODE(0xC2100100u, sent.Send(false)) << bad;
        EXPECT_EQ(sent.get_HTTPStatus(), static_cast<unsigned>(bad));
    }
    EXPECT_EQ(sent.get_Response(), response);
    status = 200;
    EXPECT_EQ(sent.Send(false).get_Status(), 0u);
    sent.put_CertReq(false);
    EXPECT_EQ(sent.get_HTTPStatus(), 0u);
    sent.put_TSAAddress(L"http://127.0.0.1:1/");
    EXPECT_CODE(0x80072EFDu, sent.Send(false));
}

TEST_F(Exchange, RefusalIsAFailureOnlyUnderVerification) {
    LoopbackServer server(fixed(response(2, "", element(0x0C, "no"), fail_info_bits(4))));
    auto sent = request(server);
    EXPECT_CODE(0xC2100124u, sent.Send(true));
    const auto& stamp = sent.Send(false);
    EXPECT_EQ(stamp.get_Status(), 2u);
    EXPECT_STREQ(stamp.get_StatusString(), L"no");
}

TEST_F(Exchange, AnswerHasToBeAboutThisRequest) {
    TstInfo info;
    auto answered = [&](const TstInfo& content) {
        LoopbackServer server(fixed(stamp_of(content)));
        auto sent = request(server);
        return code_of([&] { sent.Send(false); });
    };
    EXPECT_EQ(answered(info), 0xC2100120u) << "the nonce is left out";
    info.nonce = "\x05";
    EXPECT_EQ(answered(info), 0xC2100120u) << "another nonce";
    for (const auto& digest :
         {sha256("other"), sha256("data").substr(1), sha256("data") + '\0', std::string()}) {
        info.digest = digest;
        EXPECT_EQ(answered(info), 0x80091007u);
    }
}

TEST_F(Exchange, WithoutNoncesTheClockBindsTheAnswer) {
    auto send_at = [&](const CDateTime& time, const std::string& policy = {}) {
        add_policy("UseNonceByDefault = false\n" + policy);
        LoopbackServer server(fixed(stamp_of({.genTime = time.getGeneralizedTime().c_str()})));
        auto sent = request(server);
        return code_of([&] { sent.Send(false); });
    };
    const auto now = [] { return CDateTime::Now(); };
    EXPECT_EQ(send_at(now()), 0u);
    EXPECT_EQ(send_at(now() - CDateTimeSpan(170, 0)), 0u);
    EXPECT_EQ(send_at(now() + CDateTimeSpan(170, 0)), 0u);
    EXPECT_EQ(send_at(now() - CDateTimeSpan(190, 0)), 0xC2100122u);
    EXPECT_EQ(send_at(now() + CDateTimeSpan(190, 0)), 0xC2100122u);
    EXPECT_EQ(send_at(now() - CDateTimeSpan(50, 0), "StampAccuracy = 40000"), 0xC2100122u);
    // 429497 milliseconds wrap to 2704 ticks.
    EXPECT_EQ(send_at(now() - CDateTimeSpan(1, 0), "StampAccuracy = 429497"), 0xC2100122u);
}

TEST_F(Exchange, NonceTakesTheClocksPlace) {
    LoopbackServer server([this](const std::string& r) {
        // The nonce stands in the last INTEGER of eight bytes or less in the request.
        const auto place = r.find(sha256("data")) + 32;
        const auto nonce = r.substr(place + 2, static_cast<unsigned char>(r[place + 1]));
        return http_reply(200, stamp_of({.genTime = "20200101000000Z", .nonce = nonce}));
    });
    auto sent = request(server);
    EXPECT_CODE(0u, sent.Send(false));
}

TEST_F(Exchange, UnusableAnswersAreTheImportsFailure) {
    for (const auto& [body, code] :
         {std::pair{std::string(), 0x80093101u}, std::pair{std::string("noise"), 0x80093101u},
          std::pair{response(9, ""), 0x80004005u},
          // Granted without a token, and a token without an answer around it.
          std::pair{response(0, ""), 0x8007139Fu}}) {
        LoopbackServer server(fixed(body));
        auto sent = request(server);
        EXPECT_CODE(code, sent.Send(false));
    }
    add_policy("UseNonceByDefault = false\n");
    LoopbackServer server(fixed(authority_.token()));
    auto sent = request(server);
    EXPECT_CODE(0x8007139Fu, sent.Send(false));
}

TEST_F(Exchange, VerificationSeesAnUntrustedRoot) {
    const Authority other;
    const Trust trust(other.root_der());
    LoopbackServer server(genuine());
    auto sent = request(server);
    const auto code = code_of([&] { sent.Send(true); });
    EXPECT_TRUE(code == 0x800B0109 || code == 0x800B010A) << std::hex << code;
    EXPECT_CODE(0u, sent.Send(false));
}

TEST_F(Exchange, CopyTakesTheStatusButNotTheStamp) {
    LoopbackServer server(genuine());
    auto sent = request(server);
    sent.Send(false);
    CRequest copy(sent);
    EXPECT_EQ(copy.get_HTTPStatus(), 200u);
    EXPECT_EQ(copy.get_Response().cbData(), 0u);
    EXPECT_CODE(0u, copy.Send(true)) << "the answer is about the copied nonce";
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
