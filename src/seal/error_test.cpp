#include <set>

#include <gtest/gtest.h>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/client/result_codes.h>

namespace chronoseal {
namespace {

TEST(Error, EveryCodeOfTheClientHasWordsOfItsOwn) {
    std::set<std::string> words;
    for (std::uint32_t code :
         {0xC2100100, 0xC2100101, 0xC2100102, 0xC2100103, 0xC2100104, 0xC2100110, 0xC2100111,
          0xC2100120, 0xC2100121, 0xC2100122, 0xC2100123, 0xC2100124}) {
        const Error error = error_of_code(code);
        EXPECT_NE(error.word(), "platform_refused") << code_text(code);
        EXPECT_TRUE(words.insert(error.word()).second) << error.word();
    }
}

TEST(Error, WordsAreWordsAndSentencesAreSafeToPrint) {
    for (const ErrorWords& row : error_table()) {
        EXPECT_EQ(row.word.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string_view::npos)
            << row.word;
        EXPECT_FALSE(row.text.empty() || row.advice.empty()) << row.word;
        EXPECT_NE(row.text.back(), '.') << row.text;
        EXPECT_EQ(quote_foreign(row.text), row.text);
        EXPECT_EQ(error_of_code(row.code).code(), row.code);
    }
}

TEST(Error, TellsWhatFailedWithWhichCodeAndWhatToDo) {
    EXPECT_STREQ(error_of_code(0xC2100103, "stamp a.pdf").what(),
                 "can't stamp a.pdf: the policy doesn't allow this authority or this proxy "
                 "(0xC2100103); see AllowedTSPs and AllowedProxies in the machine's policy");
    EXPECT_EQ(error_of_code(0x80072F99).word(), "network_failed");
    EXPECT_EQ(error_of_code(0x8009AAAA).word(), "platform_refused");
    EXPECT_EQ(code_text(1260), "1260");
    EXPECT_EQ(code_text(0x80070005), "0x80070005");
}

} // namespace
} // namespace chronoseal
