// For tests of this floor: an authority in the process behind a server on loopback, a configuration
// of the test's own, and what a request and an answer hold.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <loopback/loopback_server.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/client/testing/authority.h>
#include <chronoseal/client/testing/configuration.h>

namespace chronoseal::testing {

namespace tsp = Halcyon::PKI::TSP::Client::testing;

inline Bytes to_bytes(const std::string& text) {
    const ByteView view = bytes_of(text);
    return Bytes(view.begin(), view.end());
}

inline std::string to_text(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::string utf8(const std::wstring& ascii) {
    return {ascii.begin(), ascii.end()};
}

// As GeneralizedTime.
inline std::string generalized(std::chrono::system_clock::time_point time) {
    std::string text = utc_text(std::chrono::floor<std::chrono::seconds>(time));
    std::erase_if(text, [](char c) { return c == '-' || c == ':' || c == 'T'; });
    return text;
}

// What an Authenticode server answers: a PKCS#7 message over the content.
inline std::string authenticode_answer(const tsp::Authority& authority,
                                       const std::string& content) {
    return tsp::base64(authority.token(content, {.contentType = tsp::kDataOid, .flags = 0}));
}

inline std::string body_of(const std::string& request) {
    return request.substr(request.find("\r\n\r\n") + 4);
}

// The word of the error that the call throws; empty if it throws none.
template <class Call>
std::string word_of(Call&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.word();
    }
    return {};
}
#define EXPECT_WORD(word, ...) EXPECT_EQ(::chronoseal::testing::word_of([&] { __VA_ARGS__; }), word)

// A time-stamp authority that answers as OpenSSL does, unless the test gives another answer.
class LiveAuthority {
public:
    using Answer = std::function<LoopbackReply(const tsp::Authority&, const std::string& request)>;

    explicit LiveAuthority(Answer answer = {})
        : answer_(std::move(answer)), server_([this](const std::string& request) {
              return answer_ ? answer_(authority_, request)
                             : http_reply(200, authority_.answer(body_of(request)));
          }) {}

    std::string url() const { return utf8(server_.url()); }
    chronoseal::Authority settings() const { return {.url = url()}; }
    const tsp::Authority& authority() const { return authority_; }
    std::size_t requests() const { return server_.requests().size(); }
    std::string request(std::size_t i) const { return server_.requests().at(i); }
    void forget_requests() { server_.forget_requests(); }
    Trust trust() const { return {.roots = {to_bytes(authority_.root_der())}}; }

private:
    tsp::Authority authority_;
    Answer answer_;
    LoopbackServer server_;
};

// A folder that goes with the test.
class Folder {
public:
    Folder() {
        std::string pattern = ::testing::TempDir() + "chronoseal-seal-XXXXXX";
        path_ = ::mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::filesystem::path write(const std::string& name, const std::string& content,
                                int mode = 0600) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        std::filesystem::permissions(path_ / name, std::filesystem::perms(mode));
        return path_ / name;
    }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Options for quick tests: nothing waits long, nothing of the user's is touched.
inline SealerOptions quick(std::vector<Authority> authorities, Trust trust, const Folder& folder) {
    SealerOptions options;
    options.authorities = std::move(authorities);
    options.trust = std::move(trust);
    options.first_wait = std::chrono::milliseconds(5);
    options.longest_wait = std::chrono::milliseconds(50);
    options.rate_file = folder.path() / "rates";
    return options;
}

class SealTest : public ::testing::Test {
protected:
    SealTest() { tsp::Configuration::instance().set(""); }

    Folder folder;
};

} // namespace chronoseal::testing
