// Which blocks of a text are PEM.
#include <basalt/sup/pem_text.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace basalt {
namespace {

constexpr char kMark[] = "\xEF\xBB\xBF";

std::string block(const std::string& label, const std::string& body) {
    return "-----BEGIN " + label + "-----\n" + body + "\n-----END " + label + "-----";
}

// "A=body" for each; of those that are cut off "A!".
std::string blocks_of(const std::string& text) {
    std::string found;
    PemReader reader(text);
    while (const auto next = reader.next()) {
        std::string body(next->base64);
        std::erase_if(body, [](char c) { return c == ' ' || c == '\n' || c == '\r'; });
        found += found.empty() ? "" : " ";
        found += std::string(next->label) + (next->is_whole ? "=" + body : "!");
    }
    return found;
}

TEST(PemText, BlocksBeginALineOrBehindAnother) {
    const std::string a = block("A", "aa");
    const std::string b = block("B", "bb");
    const struct {
        const char* name;
        std::string text;
        const char* found;
    } rows[] = {
        {"two", a + "\n" + b, "A=aa B=bb"},
        {"glued", a + b + a + "\n", "A=aa B=bb A=aa"},
        {"glued with blanks", a + " \t" + b, "A=aa B=bb"},
        {"behind a mark", kMark + a + "\n" + kMark + b + kMark + a, "A=aa B=bb A=aa"},
        {"indented", "x:\n  " + a + "\n\t" + b, "A=aa B=bb"},
        {"by carriage returns", "-----BEGIN A-----\raa\r-----END A-----\r" + b, "A=aa B=bb"},
        {"commented out", "# " + a + "\n#" + b, ""},
        {"between others", a + "\n# " + a + "\n" + b, "A=aa B=bb"},
        {"in a line of text", "see " + a + "\n" + a, "A=aa"},
        {"header lines", "-----BEGIN A-----\nComment: -----BEGIN B----- x\n\naa\n-----END A-----",
         "A=aa"},
        {"cut off", "-----BEGIN A-----\naa\n", "A!"},
        {"cut off before another", "-----BEGIN A-----\naa\n" + b, "A! B=bb"},
        {"cut off in its first line", "-----BEGIN A-----" + b, "A! B=bb"},
        {"cut off in its last line", "-----BEGIN A-----\naa\n-----END " + b, "A=aa B=bb"},
        {"no end of the label", "-----BEGIN A\n" + b, "B=bb"},
        {"too many dashes", "-" + a + "\n" + b, "B=bb"},
        {"nothing", "", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(blocks_of(row.text), row.found) << row.name;
    }
}

TEST(PemText, WhatIsCutOffCostsNoMoreThanReadingIt) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) {
        text += "-----BEGIN A-----\n";
    }
    const auto begin = std::chrono::steady_clock::now();
    PemReader reader(text);
    int count = 0;
    while (reader.next()) {
        ++count;
    }
    EXPECT_EQ(count, 100'000);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(PemText, BytesThatAreNoTextAreTold) {
    const std::string long_form = std::string("\x30\x81\x80", 3) + std::string(128, 'x');
    EXPECT_TRUE(begins_as_sequence(long_form));
    EXPECT_TRUE(begins_as_sequence(long_form + "more"));
    EXPECT_FALSE(begins_as_sequence(long_form.substr(0, 130)));
    EXPECT_TRUE(begins_as_sequence("\x30\x02xx"));
    EXPECT_TRUE(begins_as_sequence(std::string("\x30\x80\0\0", 4)));
    EXPECT_FALSE(begins_as_sequence("05.03.2026 the contract\n" + std::string(100, '-')));
    EXPECT_FALSE(begins_as_sequence("\x30\xC3\xA9"));
    EXPECT_FALSE(begins_as_sequence("\x30\x89\x01\x01\x01\x01\x01\x01\x01\x01\x01"));
    EXPECT_FALSE(begins_as_sequence("0"));
    EXPECT_FALSE(begins_as_sequence(""));
}

} // namespace
} // namespace basalt
