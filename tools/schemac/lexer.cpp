// One pass over the bytes; every branch moves forward.
#include "schemac/lexer.h"

#include <algorithm>
#include <array>

namespace schemac {
namespace {

constexpr std::array<std::string_view, 81> kKeywords = {"ABSENT",
                                                        "ABSTRACT-SYNTAX",
                                                        "ALL",
                                                        "ANY",
                                                        "APPLICATION",
                                                        "AUTOMATIC",
                                                        "BEGIN",
                                                        "BIT",
                                                        "BMPString",
                                                        "BOOLEAN",
                                                        "BY",
                                                        "CHARACTER",
                                                        "CHOICE",
                                                        "CLASS",
                                                        "COMPONENT",
                                                        "COMPONENTS",
                                                        "CONSTRAINED",
                                                        "CONTAINING",
                                                        "DEFAULT",
                                                        "DEFINED",
                                                        "DEFINITIONS",
                                                        "EMBEDDED",
                                                        "ENCODED",
                                                        "END",
                                                        "ENUMERATED",
                                                        "EXCEPT",
                                                        "EXPLICIT",
                                                        "EXPORTS",
                                                        "EXTENSIBILITY",
                                                        "EXTERNAL",
                                                        "FALSE",
                                                        "FROM",
                                                        "GeneralString",
                                                        "GeneralizedTime",
                                                        "GraphicString",
                                                        "IA5String",
                                                        "IDENTIFIER",
                                                        "IMPLICIT",
                                                        "IMPLIED",
                                                        "IMPORTS",
                                                        "INCLUDES",
                                                        "INSTANCE",
                                                        "INTEGER",
                                                        "INTERSECTION",
                                                        "ISO646String",
                                                        "MAX",
                                                        "MIN",
                                                        "MINUS-INFINITY",
                                                        "NULL",
                                                        "NumericString",
                                                        "OBJECT",
                                                        "OCTET",
                                                        "OF",
                                                        "OPTIONAL",
                                                        "ObjectDescriptor",
                                                        "PATTERN",
                                                        "PDV",
                                                        "PLUS-INFINITY",
                                                        "PRESENT",
                                                        "PRIVATE",
                                                        "PrintableString",
                                                        "REAL",
                                                        "RELATIVE-OID",
                                                        "SEQUENCE",
                                                        "SET",
                                                        "SIZE",
                                                        "STRING",
                                                        "SYNTAX",
                                                        "T61String",
                                                        "TAGS",
                                                        "TRUE",
                                                        "TYPE-IDENTIFIER",
                                                        "TeletexString",
                                                        "UNION",
                                                        "UNIQUE",
                                                        "UNIVERSAL",
                                                        "UTCTime",
                                                        "UTF8String",
                                                        "UniversalString",
                                                        "VideotexString",
                                                        "VisibleString"};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
bool is_small(char c) {
    return c >= 'a' && c <= 'z';
}
bool is_letter(char c) {
    return is_small(c) || (c >= 'A' && c <= 'Z');
}
bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

class Scanner {
public:
    Scanner(const Source& source, Diagnostics& diagnostics)
        : source_(source), text_(source.text()), diagnostics_(diagnostics) {}

    TokenList run() {
        while (skip_blanks_and_comments()) {
            next();
        }
        add(TokenKind::end, at_, 0);
        return std::move(result_);
    }

private:
    char peek(std::size_t ahead = 0) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }

    bool skip_blanks_and_comments() {
        while (at_ < text_.size()) {
            if (is_space(text_[at_])) {
                ++at_;
            } else if (text_.substr(at_, 2) == "--") {
                line_comment();
            } else if (text_.substr(at_, 2) == "/*") {
                block_comment();
            } else {
                return true;
            }
        }
        return false;
    }

    // A comment ends at the line's end; a second "--" doesn't end it, which keeps words like "a--b"
    // in comments harmless.
    void line_comment() {
        const std::size_t start = at_;
        while (at_ < text_.size() && text_[at_] != '\n') {
            ++at_;
        }
        if (text_.substr(start, 3) == "--@") {
            annotations(start + 3, at_);
        }
    }

    void block_comment() {
        const std::size_t start = at_;
        const std::size_t end = text_.find("*/", at_ + 2);
        if (end == std::string_view::npos) {
            error(start, "comment without an end");
            at_ = text_.size();
        } else {
            at_ = end + 2;
        }
    }

    void annotations(std::size_t from, std::size_t to) {
        while (from < to) {
            if (is_space(text_[from])) {
                ++from;
                continue;
            }
            const std::size_t start = from;
            while (from < to && !is_space(text_[from])) {
                ++from;
            }
            const std::string_view word = text_.substr(start, from - start);
            const std::size_t equals = word.find('=');
            Annotation annotation;
            annotation.word = word.substr(0, equals);
            if (equals != std::string_view::npos) {
                annotation.value = word.substr(equals + 1);
            }
            annotation.place = {&source_, start};
            annotation.line = source_.position(start).line;
            result_.annotations.push_back(annotation);
        }
    }

    void next() {
        const char c = peek();
        if (is_letter(c) || c == '_') {
            name();
        } else if (is_digit(c)) {
            number();
        } else if (c == '"') {
            quoted('"', TokenKind::text);
        } else if (c == '\'') {
            quoted('\'', TokenKind::bits);
        } else {
            symbol();
        }
    }

    // A hyphen belongs to the name when a letter or digit follows.
    void name() {
        const std::size_t start = at_;
        const TokenKind kind = is_small(peek()) ? TokenKind::lower : TokenKind::upper;
        while (is_letter(peek()) || is_digit(peek()) || peek() == '_' ||
               (peek() == '-' && (is_letter(peek(1)) || is_digit(peek(1))))) {
            ++at_;
        }
        add(kind, start, at_ - start);
    }

    void number() {
        const std::size_t start = at_;
        std::int64_t value = 0;
        bool fits = true;
        while (is_digit(peek())) {
            const std::int64_t digit = peek() - '0';
            fits = fits && value <= (INT64_MAX - digit) / 10;
            value = fits ? value * 10 + digit : value;
            ++at_;
        }
        if (!fits) {
            error(start, "number is too large");
        }
        add(TokenKind::number, start, at_ - start);
        result_.tokens.back().value = value;
    }

    void quoted(char quote, TokenKind kind) {
        const std::size_t start = at_++;
        while (at_ < text_.size() && text_[at_] != quote) {
            ++at_;
        }
        if (at_ == text_.size()) {
            error(start, "text without a closing quote");
            return;
        }
        ++at_;
        if (kind == TokenKind::bits && (peek() == 'B' || peek() == 'H')) {
            ++at_;
        }
        add(kind, start, at_ - start);
    }

    void symbol() {
        static constexpr std::array<std::string_view, 5> kLongOnes = {"::=", "...", "..", "[[",
                                                                      "]]"};
        for (const std::string_view candidate : kLongOnes) {
            if (text_.substr(at_, candidate.size()) == candidate) {
                add(TokenKind::symbol, at_, candidate.size());
                at_ += candidate.size();
                return;
            }
        }
        static constexpr std::string_view kSingle = "{}()[]<>,;.:|&@^!-";
        if (kSingle.find(peek()) == std::string_view::npos) {
            error(at_, "this character begins nothing that a module may hold");
        } else {
            add(TokenKind::symbol, at_, 1);
        }
        ++at_;
    }

    void add(TokenKind kind, std::size_t offset, std::size_t size) {
        result_.tokens.push_back(
            {kind, text_.substr(std::min(offset, text_.size()), size), offset, 0});
    }

    void error(std::size_t offset, const std::string& text) {
        diagnostics_.error({&source_, offset}, text);
    }

    const Source& source_;
    std::string_view text_;
    Diagnostics& diagnostics_;
    std::size_t at_ = 0;
    TokenList result_;
};

} // namespace

bool is_keyword(std::string_view name) {
    return std::find(kKeywords.begin(), kKeywords.end(), name) != kKeywords.end();
}

TokenList scan(const Source& source, Diagnostics& diagnostics) {
    return Scanner(source, diagnostics).run();
}

} // namespace schemac
