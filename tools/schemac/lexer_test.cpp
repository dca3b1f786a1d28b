// Tokens and annotations out of text.
#include "schemac/lexer.h"

#include <gtest/gtest.h>

namespace schemac {
namespace {

std::string tokens_of(const std::string& text) {
    const Source source("test.asn1", text);
    Diagnostics diagnostics;
    std::string result;
    for (const Token& token : scan(source, diagnostics).tokens) {
        result += token.kind == TokenKind::end ? "." : std::string(token.text) + "|";
    }
    return result + diagnostics.report();
}

TEST(Lexer, TakesHyphensIntoNamesOnlyBetweenLetters) {
    EXPECT_EQ("id-at-name|::=|a|-|5|.", tokens_of("id-at-name ::= a - 5"));
    EXPECT_EQ("a|-|b|.", tokens_of("a- b"));
    EXPECT_EQ("Gost28147-89-Key|_SetOfPCI-Attribute|Implied_|.",
              tokens_of("Gost28147-89-Key _SetOfPCI-Attribute Implied_"));
}

TEST(Lexer, PrefersTheLongestSymbol) {
    EXPECT_EQ("1|..|MAX|...|::=|:|[[|]]|.", tokens_of("1..MAX ... ::= : [[ ]]"));
}

TEST(Lexer, SkipsComments) {
    EXPECT_EQ("a|b|c|.", tokens_of("a -- one -- still the comment\nb /* two\nlines */ c"));
    EXPECT_EQ("a|.test.asn1:1:3: comment without an end\n", tokens_of("a /* open"));
}

TEST(Lexer, GoesOnBehindWhatIsNotAToken) {
    EXPECT_EQ("a|b|.test.asn1:1:3: this character begins nothing that a module may hold\n",
              tokens_of("a ~ b"));
    EXPECT_EQ("99999999999999999999|.test.asn1:1:1: number is too large\n",
              tokens_of("99999999999999999999"));
    EXPECT_EQ(".test.asn1:1:1: text without a closing quote\n", tokens_of("\"open"));
}

TEST(Lexer, KeepsAnnotationsWithTheirLines) {
    const Source source("test.asn1", "A ::= X --@ array tag=SET\n-- @ no annotation\n\n--@ raw\n");
    Diagnostics diagnostics;
    const TokenList list = scan(source, diagnostics);
    ASSERT_EQ(3U, list.annotations.size());
    EXPECT_EQ("array", list.annotations[0].word);
    EXPECT_EQ("tag", list.annotations[1].word);
    EXPECT_EQ("SET", list.annotations[1].value);
    EXPECT_EQ(1U, list.annotations[1].line);
    EXPECT_EQ("raw", list.annotations[2].word);
    EXPECT_EQ(4U, list.annotations[2].line);
}

TEST(Source, TellsLineAndColumn) {
    const Source source("folder/name.asn1", "ab\ncd\n");
    EXPECT_EQ("name", source.stem());
    EXPECT_EQ(2U, source.position(4).line);
    EXPECT_EQ(2U, source.position(4).column);
    EXPECT_EQ(3U, source.position(99).line);
}

} // namespace
} // namespace schemac
