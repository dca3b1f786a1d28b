// CryptRetrieveObjectByUrlW against a server on loopback, with a cache folder of the test's own.
#include <basalt/configuration.h>
#include <basalt/last_error.h>
#include <basalt/network.h>
#include <basalt/network/network_fixture.h>
#include <basalt/sup/test_error.h>
#include <basalt/time_conversion.h>
#include <loopback/loopback_server.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class UrlRetrieval : public testing::Test {
protected:
    UrlRetrieval() : folder_(NetworkFixture::get().folder() + "/retrieval") {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        setenv("XDG_CACHE_HOME", folder_.c_str(), 1);
        set_validity(0);
    }
    ~UrlRetrieval() override {
        unsetenv("XDG_CACHE_HOME");
        unsetenv("BASALT_CONFIG");
    }

    void set_validity(int seconds) const {
        const std::string file = folder_ + "/config.toml";
        std::ofstream(file) << "[config.Tinlayer.cache_settings]\nOcspValiditySeconds = " << seconds
                            << "\n";
        setenv("BASALT_CONFIG", file.c_str(), 1);
        support_registry_refresh();
    }

    // The object's bytes; the last error is in error_ when it is refused.
    std::string retrieve(const std::wstring& url, DWORD flags,
                         LPCSTR type = CONTEXT_OID_OCSP_RESP) {
        auxiliary_.cbSize = sizeof auxiliary_;
        auxiliary_.pLastSyncTime = &fetched_;
        auxiliary_.dwHttpStatusCode = 99;
        void* object = &object;
        SetLastError(0);
        const BOOL good = CryptRetrieveObjectByUrlW(url.c_str(), type, flags, timeout_, &object,
                                                    nullptr, nullptr, nullptr, &auxiliary_);
        error_ = good != FALSE ? 0 : GetLastError();
        if (good == FALSE) {
            EXPECT_EQ(object, nullptr);
            return {};
        }
        const auto* array = static_cast<const CRYPT_BLOB_ARRAY*>(object);
        EXPECT_EQ(array->cBlob, 1U);
        std::string bytes(reinterpret_cast<const char*>(array->rgBlob[0].pbData),
                          array->rgBlob[0].cbData);
        std::free(object);
        return bytes;
    }

    std::string folder_;
    CRYPT_RETRIEVE_AUX_INFO auxiliary_{};
    FILETIME fetched_{};
    DWORD timeout_ = 1000;
    DWORD error_ = 0;
};

LoopbackServer counting_server() {
    return LoopbackServer([n = 0](const std::string&) mutable {
        return http_reply(200, "object " + std::to_string(++n));
    });
}

} // namespace

TEST_F(UrlRetrieval, PostTakesItsBodyAndHeaderFromTheAddress) {
    LoopbackServer server([](const std::string&) { return http_reply(200, "answer"); });
    // The bytes are fb ff fe 00 01: text with all three characters that are escaped.
    const std::wstring tail = L"/%2B%2F%2F%2BAAE%3D?Content-type: application/ocsp-request";
    EXPECT_EQ(retrieve(server.url(L"/ocsp?id=1") + tail, 0x100004), "answer");
    EXPECT_EQ(auxiliary_.dwHttpStatusCode, 200U);
    const std::string request = server.requests().at(0);
    EXPECT_THAT(request, StartsWith("POST /ocsp?id=1 HTTP/1.1\r\n"));
    EXPECT_THAT(request, HasSubstr("\r\nContent-type: application/ocsp-request\r\n"));
    EXPECT_TRUE(request.ends_with(std::string("\r\n\r\n\xFB\xFF\xFE\x00\x01", 9)));
}

TEST_F(UrlRetrieval, AddressesWithoutAGoodBodyAreRefused) {
    for (const wchar_t* url : {L"http://127.0.0.1:1/%2?x", L"http://127.0.0.1:1/AAA?x",
                               L"http://127.0.0.1:1/?x", L"http://127.0.0.1:1/%zz%zz"}) {
        retrieve(url, 0x100004);
        EXPECT_EQ(error_, 12005U);
    }
}

TEST_F(UrlRetrieval, GetFollowsRedirectsButNotToAnotherScheme) {
    LoopbackServer server([](const std::string& request) {
        if (request.starts_with("GET /a ")) {
            return http_reply(302, "gone", "Location: /b\r\n");
        }
        if (request.starts_with("GET /file ")) {
            return http_reply(302, "", "Location: file:///etc/passwd\r\n");
        }
        if (request.starts_with("GET /round ")) {
            return http_reply(302, "", "Location: /round\r\n");
        }
        return http_reply(200, "crl");
    });
    EXPECT_EQ(retrieve(server.url(L"/a"), 4, nullptr), "crl");
    retrieve(server.url(L"/file"), 4, nullptr);
    EXPECT_EQ(error_, 12156U);
    retrieve(server.url(L"/round"), 4, nullptr);
    EXPECT_EQ(error_, 12156U);
    LoopbackServer secure(
        [&](const std::string&) {
            return http_reply(
                302, "", "Location: http://127.0.0.1:" + std::to_string(server.port()) + "/b\r\n");
        },
        NetworkFixture::get().trusted());
    retrieve(secure.url(), 4, nullptr);
    EXPECT_EQ(error_, 12156U);
    EXPECT_EQ(server.requests().size(), 9U); // /a and /b, /file, six times /round
}

// By way of a secure address the last one would be reached again, were only the first looked at.
TEST_F(UrlRetrieval, RedirectsNeverLeadBackToHttpNorToCredentials) {
    LoopbackServer plain([](const std::string&) { return http_reply(200, "crl"); });
    LoopbackServer secure(
        [&](const std::string&) {
            return http_reply(
                302, "", "Location: http://127.0.0.1:" + std::to_string(plain.port()) + "/b\r\n");
        },
        NetworkFixture::get().trusted());
    LoopbackServer first([&](const std::string& request) {
        const bool secret = request.starts_with("GET /secret ");
        return http_reply(
            302, "",
            (secret ? "Location: http://user:pw@127.0.0.1:" + std::to_string(plain.port())
                    : "Location: https://127.0.0.1:" + std::to_string(secure.port())) +
                "/\r\n");
    });
    retrieve(first.url(), 4, nullptr);
    EXPECT_EQ(error_, 12156U);
    EXPECT_EQ(secure.requests().size(), 1U);
    retrieve(first.url(L"/secret"), 4, nullptr);
    EXPECT_EQ(error_, 12156U);
    EXPECT_EQ(plain.connections(), 0);
}

TEST_F(UrlRetrieval, TimeIsForAllRedirectsTogether) {
    LoopbackServer server([](const std::string&) {
        LoopbackReply reply = http_reply(302, "", "Location: /again\r\n");
        reply.delay = std::chrono::milliseconds(300);
        return reply;
    });
    timeout_ = 800;
    retrieve(server.url(), 4, nullptr);
    EXPECT_EQ(error_, 12002U);
    EXPECT_LE(server.requests().size(), 3U);
}

TEST_F(UrlRetrieval, FailureTellsTheStatus) {
    LoopbackServer server([](const std::string&) { return http_reply(404, "no"); });
    retrieve(server.url(), 4);
    EXPECT_EQ(error_, 12152U);
    EXPECT_EQ(auxiliary_.dwHttpStatusCode, 404U);
    retrieve(L"ftp://host/", 4);
    EXPECT_EQ(error_, 12006U);
    EXPECT_EQ(auxiliary_.dwHttpStatusCode, 0U);
}

TEST_F(UrlRetrieval, OwnTimeOutAndBound) {
    LoopbackServer server([](const std::string& request) {
        LoopbackReply reply = http_reply(200, std::string(2000, 'x'));
        reply.delay = std::chrono::milliseconds(request.starts_with("GET /slow") ? 60'000 : 0);
        return reply;
    });
    timeout_ = 100;
    retrieve(server.url(L"/slow"), 4);
    EXPECT_EQ(error_, 12002U);
    timeout_ = 0; // the configured one
    auxiliary_.dwMaxUrlRetrievalByteCount = 1999;
    retrieve(server.url(), 4);
    EXPECT_EQ(error_, 12184U);
    auxiliary_.dwMaxUrlRetrievalByteCount = 2000;
    EXPECT_EQ(retrieve(server.url(), 4).size(), 2000U);
}

TEST_F(UrlRetrieval, WithoutValidityNothingIsCached) {
    LoopbackServer server = counting_server();
    EXPECT_EQ(retrieve(server.url(), 0), "object 1");
    EXPECT_EQ(retrieve(server.url(), 0), "object 2");
    EXPECT_FALSE(std::filesystem::exists(folder_ + "/basalt"));
    retrieve(server.url(), 2);
    EXPECT_EQ(error_, 0x80092004U);
}

TEST_F(UrlRetrieval, CacheIsUsedWithinItsValidity) {
    set_validity(1000);
    LoopbackServer server = counting_server();
    retrieve(server.url(), 2);
    EXPECT_EQ(error_, 0x80092004U);
    EXPECT_EQ(retrieve(server.url(), 0), "object 1");
    EXPECT_EQ(retrieve(server.url(), 0), "object 1");
    EXPECT_EQ(retrieve(server.url(), 2), "object 1");
    EXPECT_EQ(auxiliary_.dwHttpStatusCode, 0U);
    EXPECT_EQ(retrieve(server.url(), 4), "object 2"); // from the wire, into the cache
    EXPECT_EQ(retrieve(server.url(), 0), "object 2");
    EXPECT_EQ(retrieve(server.url(L"/other"), 0), "object 3");

    FILETIME since{};
    GetSystemTimeAsFileTime(&since);
    since.dwHighDateTime += 1; // seven minutes ahead
    auxiliary_.pftCacheResync = &since;
    EXPECT_EQ(retrieve(server.url(), 0), "object 4");
    EXPECT_EQ(CompareFileTime(&fetched_, &since), -1);
    since.dwHighDateTime -= 2;
    EXPECT_EQ(retrieve(server.url(), 0), "object 4");
}

TEST_F(UrlRetrieval, OldAndFutureObjectsAreFetchedAgain) {
    set_validity(1000);
    LoopbackServer server = counting_server();
    EXPECT_EQ(retrieve(server.url(), 0), "object 1");
    std::string name;
    for (const auto& entry : std::filesystem::directory_iterator(folder_ + "/basalt/retrieved")) {
        name = entry.path();
    }
    using std::chrono::seconds;
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(name, now - seconds(1001));
    EXPECT_EQ(retrieve(server.url(), 0), "object 2");
    std::filesystem::last_write_time(name, now + seconds(100));
    EXPECT_EQ(retrieve(server.url(), 0), "object 3");
}

TEST_F(UrlRetrieval, CacheThatCantBeWrittenIsNoFailure) {
    set_validity(1000);
    std::ofstream(folder_ + "/basalt") << "a file where the folder should be";
    LoopbackServer server = counting_server();
    EXPECT_EQ(retrieve(server.url(), 0), "object 1");
    EXPECT_EQ(retrieve(server.url(), 0), "object 2");
}

TEST_F(UrlRetrieval, WrongArguments) {
    const auto code = [this](DWORD flags, LPCSTR type) {
        retrieve(L"http://127.0.0.1:1/", flags, type);
        return error_;
    };
    EXPECT_EQ(code(6, nullptr), 87U);
    EXPECT_EQ(code(0x10, nullptr), 87U);
    EXPECT_EQ(code(4, "1.2.3"), 87U);
    void* object = nullptr;
    EXPECT_ERROR(87U, CryptRetrieveObjectByUrlW(nullptr, nullptr, 4, 0, &object, nullptr, nullptr,
                                                nullptr, nullptr));
    CRYPT_RETRIEVE_AUX_INFO small{};
    small.cbSize = 80;
    EXPECT_FALSE(CryptRetrieveObjectByUrlW(L"http://127.0.0.1:1/", nullptr, 4, 0, &object, nullptr,
                                           nullptr, nullptr, &small));
}
