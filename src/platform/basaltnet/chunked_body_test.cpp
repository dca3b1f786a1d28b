// Chunked bodies in pieces of every size, and such as break the rules.
#include <basalt/basaltnet/chunked_body.h>

#include <gtest/gtest.h>

#include <string>

namespace {

// The content, or "?" for a bad body.
std::string decoded(const std::string& coded, std::size_t piece) {
    basalt::ChunkedBody body;
    std::string content;
    for (std::size_t at = 0; at < coded.size(); at += piece) {
        std::string_view rest = std::string_view(coded).substr(at, piece);
        while (!rest.empty()) {
            content += body.next(rest);
            if (body.bad()) {
                return "?";
            }
        }
    }
    return content;
}

TEST(ChunkedBody, ContentInPiecesOfAnySize) {
    const std::string coded = "5\r\nhello\r\n1A;name=\"v\"\r\nabcdefghijklmnopqrstuvwxyz\r\n"
                              "3 \n!\r\n\n0;last\r\nTrailer: 1\r\n\r\nwhat follows";
    for (std::size_t piece = 1; piece <= coded.size(); ++piece) {
        EXPECT_EQ(decoded(coded, piece), "helloabcdefghijklmnopqrstuvwxyz!\r\n") << piece;
    }
}

TEST(ChunkedBody, BrokenRulesAreTold) {
    for (const std::string& coded :
         {std::string("x\r\n"), std::string("\r\n"), std::string(";a\r\n"), std::string("1\r\nab"),
          std::string("1000000000000000\r\n"), "1;" + std::string(20000, 'a'),
          std::string("1") + std::string(20000, ' ')}) {
        EXPECT_EQ(decoded(coded, 7), "?") << coded.substr(0, 20);
        EXPECT_EQ(decoded(coded, coded.size()), "?") << coded.substr(0, 20);
    }
    std::string small; // honest extensions don't add up
    for (int i = 0; i < 1000; ++i) {
        small += "1;" + std::string(100, 'e') + "\r\nx\r\n";
    }
    EXPECT_EQ(decoded(small + "0\r\n\r\n", 4096), std::string(1000, 'x'));
}

} // namespace
