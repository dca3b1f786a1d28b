// Line breaking knows parentheses and quotes, and nothing else of the language.
#include "schemac/emit/writer.h"

#include <array>
#include <cstdint>
#include <vector>

namespace schemac::emit {
namespace {

constexpr std::size_t kMaxColumns = 100;

bool is_operator_at(std::string_view text, std::size_t at) {
    for (const std::string_view op : {" && ", " || ", " ? ", " : "}) {
        if (text.substr(at, op.size()) == op) {
            return true;
        }
    }
    return text.substr(at, 3) == " = ";
}

struct Break {
    std::size_t at = 0;     // 0: there is no place to break
    std::size_t column = 0; // where the rest goes on; 0: one step in
};

// Where to break a text so that the first part has at most `room` columns: behind a comma, or in
// front of an operator or of a call on a call's result, at the shallowest nesting and there as far
// to the right as possible; behind
// "=" if nothing else helps. The rest goes under the first argument of the call that is open there.
Break break_position(std::string_view text, std::size_t room) {
    constexpr std::size_t kLastResort = 1000;
    Break best;
    std::size_t best_rank = kLastResort * 2;
    std::vector<std::size_t> open;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size() && i < room; ++i) {
        const char c = text[i];
        quoted = quoted != (c == '"');
        if (quoted) {
            continue;
        }
        if (c == '(' || c == '[' || c == '{') {
            open.push_back(i + 1);
        } else if ((c == ')' || c == ']' || c == '}') && !open.empty()) {
            open.pop_back();
        }
        std::size_t here = 0;
        std::size_t rank = open.size();
        if (text.substr(i, 2) == ", " || text.substr(i, 2) == "; ") {
            here = i + 1;
        } else if (text.substr(i, 2) == ").") {
            here = i + 1;
        } else if (i > 0 && is_operator_at(text, i)) {
            const bool assignment = text.substr(i, 3) == " = ";
            here = assignment ? i + 2 : i;
            rank += assignment ? kLastResort : 0;
        }
        if (here != 0 && here <= room && rank <= best_rank) {
            best = {here, open.empty() ? 0 : open.back()};
            best_rank = rank;
        }
    }
    return best;
}

} // namespace

void Writer::line(std::string_view text) {
    if (text.empty()) {
        text_ += '\n';
        return;
    }
    const std::size_t indent = depth_ * 4;
    std::size_t column = indent;
    while (true) {
        const std::size_t room = kMaxColumns > column ? kMaxColumns - column : 1;
        const bool whole = text.size() <= room || text.starts_with("//");
        const Break place = whole ? Break() : break_position(text, room);
        text_.append(column, ' ');
        if (place.at == 0) {
            text_.append(text);
            text_ += '\n';
            return;
        }
        text_.append(text.substr(0, place.at));
        text_ += '\n';
        text.remove_prefix(place.at + (text[place.at] == ' ' ? 1 : 0));
        // Far to the right there is no room to align.
        const std::size_t aligned = column + place.column;
        column = place.column != 0 && aligned + text.size() <= kMaxColumns ? aligned : indent + 4;
    }
}

void Writer::open(std::string_view text) {
    line(cat(text, text.empty() ? "{" : " {"));
    ++depth_;
}

void Writer::close(std::string_view tail) {
    --depth_;
    line(cat("}", tail));
}

void Writer::reopen(std::string_view text) {
    --depth_;
    line(cat("} ", text, " {"));
    ++depth_;
}

void Writer::label(std::string_view text) {
    --depth_;
    line(text);
    ++depth_;
}

std::string hex(std::uint32_t value) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        result += kDigits[(value >> shift) & 15];
    }
    return result;
}

} // namespace schemac::emit
