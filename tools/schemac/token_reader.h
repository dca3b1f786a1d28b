// A cursor over tokens for the parsers. A token that isn't the expected one ends the reading by a
// SyntaxError, which the parsers catch and report.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "schemac/lexer.h"
#include "schemac/syntax.h"

namespace schemac {

struct SyntaxError {
    std::size_t offset;
    std::string text;
};

class TokenReader {
public:
    /// The tokens must outlive the reader; behind `range` every token reads as the end.
    TokenReader(const Source& source, const std::vector<Token>& tokens, syntax::TokenRange range)
        : source_(source), tokens_(tokens), at_(range.begin), end_(range.end) {}

    const Token& peek(std::size_t ahead = 0) const {
        return at_ + ahead < end_ ? tokens_[at_ + ahead] : tokens_.back();
    }
    std::size_t index() const { return at_; }
    Place place() const { return {&source_, peek().offset}; }
    const Source& source() const { return source_; }

    bool is(std::string_view text, std::size_t ahead = 0) const {
        const Token& token = peek(ahead);
        return token.text == text && token.kind != TokenKind::text;
    }
    bool is(TokenKind kind, std::size_t ahead = 0) const { return peek(ahead).kind == kind; }
    bool at_end() const { return is(TokenKind::end); }

    const Token& take() {
        const Token& token = peek();
        at_ += at_ < end_ ? 1 : 0;
        return token;
    }
    /// One token back, unless the cursor is at the beginning.
    void step_back() { at_ -= at_ > 0 ? 1 : 0; }
    bool take_if(std::string_view text) {
        const bool found = is(text);
        if (found) {
            take();
        }
        return found;
    }
    void expect(std::string_view text) {
        if (!take_if(text)) {
            fail("expected '" + std::string(text) + "'" + found());
        }
    }
    std::string expect(TokenKind kind, std::string_view what) {
        if (!is(kind)) {
            fail("expected " + std::string(what) + found());
        }
        return std::string(take().text);
    }

    /// Skips a balanced group; the cursor stands on its opening token.
    void skip_group() {
        std::size_t depth = 0;
        do {
            const Token& token = peek();
            if (at_end() || is("::=")) {
                fail("group without its closing token");
            }
            if (token.kind == TokenKind::symbol) {
                if (is("{") || is("(") || is("[") || is("[[")) {
                    ++depth;
                } else if (is("}") || is(")") || is("]") || is("]]")) {
                    --depth;
                }
            }
            take();
        } while (depth > 0);
    }

    [[noreturn]] void fail(const std::string& text) const {
        throw SyntaxError{peek().offset, text};
    }

    std::string found() const {
        return at_end() ? ", found the end" : ", found '" + std::string(peek().text) + "'";
    }

private:
    const Source& source_;
    const std::vector<Token>& tokens_;
    std::size_t at_;
    std::size_t end_;
};

} // namespace schemac
