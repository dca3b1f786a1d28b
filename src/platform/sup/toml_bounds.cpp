// The walk over a TOML text.
#include <basalt/sup/toml_bounds.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::size_t kLongQuote = 3;
// A long string may end in up to two quotes of its own.
constexpr std::size_t kLongestClosing = 5;

class TomlWalk {
public:
    explicit TomlWalk(std::string_view text) : text_(text) {}

    TomlFault run() {
        while (!failed() && at_ < text_.size()) {
            step();
        }
        return fault_;
    }

private:
    bool failed() const { return fault_.line != 0; }

    void fail(const char* text) {
        if (!failed()) {
            fault_ = {line_, at_ - line_start_ + 1, text};
        }
    }

    // Takes one character of any kind.
    void take() {
        const auto c = static_cast<unsigned char>(text_[at_]);
        const bool line_end =
            c == '\n' || (c == '\r' && at_ + 1 < text_.size() && text_[at_ + 1] == '\n');
        if ((c < 0x20 && c != '\t' && !line_end) || c == 0x7F) {
            fail("a control character");
        }
        ++at_;
        if (c == '\n') {
            ++line_;
            line_start_ = at_;
        }
        blank_so_far_ = c == '\n' || (blank_so_far_ && (c == ' ' || c == '\t'));
    }

    // Other line ends of Unicode: whether a comment or a name stops there is nothing to rely on.
    bool at_foreign_line_end() const {
        const std::string_view rest = text_.substr(at_);
        return rest.starts_with("\xC2\x85") || rest.starts_with("\xE2\x80\xA8") ||
               rest.starts_with("\xE2\x80\xA9");
    }

    // Whether a name follows the bracket of a table's header, or of two. The parser takes it for
    // granted.
    bool names_table() const {
        std::size_t at = text_.find_first_not_of(" \t", at_ + 1);
        if (at < text_.size() && text_[at] == '[') {
            at = text_.find_first_not_of(" \t", at + 1);
        }
        const char c = at < text_.size() ? text_[at] : '\0';
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               std::string_view("_-\"'").find(c) != std::string_view::npos;
    }

    void step() {
        if (at_foreign_line_end()) {
            return fail("a line end that isn't TOML's");
        }
        switch (text_[at_]) {
        case '"':
        case '\'':
            return pass_string(text_[at_]);
        case '#':
            return pass_comment();
        case '.':
            if (++dots_ > kMostTomlDots) {
                return fail("nested too deeply");
            }
            break;
        case '[':
            if (blank_so_far_ && brackets_ == 0 && !names_table()) {
                return fail("a table without a name");
            }
            [[fallthrough]];
        case '{':
            dots_ = 0;
            if (++brackets_ > kMostTomlBrackets) {
                return fail("nested too deeply");
            }
            break;
        case ']':
        case '}':
            brackets_ -= brackets_ > 0 ? 1 : 0;
            dots_ = 0;
            break;
        case '=':
        case ',':
        case '\n':
            dots_ = 0;
            break;
        default:
            break;
        }
        take();
    }

    void pass_comment() {
        while (at_ < text_.size() && text_[at_] != '\n' && !failed()) {
            if (at_foreign_line_end()) {
                return fail("a line end that isn't TOML's");
            }
            take();
        }
    }

    std::size_t quotes_here(char quote) const {
        const std::size_t end = std::min(text_.find_first_not_of(quote, at_), text_.size());
        return end - at_;
    }

    void pass_string(char quote) {
        const std::size_t quotes = quotes_here(quote);
        blank_so_far_ = false;
        if (quotes == 2) {
            at_ += 2; // an empty one
            return;
        }
        const bool is_long = quotes >= kLongQuote;
        at_ += is_long ? kLongQuote : 1;
        while (at_ < text_.size() && !failed()) {
            if (text_[at_] == quote && (!is_long || quotes_here(quote) >= kLongQuote)) {
                return close_string(quote, is_long);
            }
            if (text_[at_] == '\n' && !is_long) {
                break;
            }
            const bool escape = text_[at_] == '\\' && quote == '"';
            take();
            if (escape && at_ < text_.size() && (is_long || text_[at_] != '\n')) {
                take();
            }
        }
        fail("a quote that isn't closed");
    }

    void close_string(char quote, bool is_long) {
        const std::size_t quotes = is_long ? quotes_here(quote) : 1;
        if (quotes > kLongestClosing) {
            return fail("too many quotes");
        }
        at_ += quotes;
        blank_so_far_ = false;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    std::size_t line_start_ = 0;
    bool blank_so_far_ = true; // in this line
    std::size_t dots_ = 0;
    std::size_t brackets_ = 0;
    TomlFault fault_;
};

} // namespace

TomlFault find_toml_fault(std::string_view text) {
    return TomlWalk(text).run();
}

} // namespace basalt
