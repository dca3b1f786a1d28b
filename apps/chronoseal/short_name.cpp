// Common names cut out of distinguished ones.
#include "short_name.h"

#include <chronoseal/chronoseal.hpp>

namespace cli {

namespace {

constexpr std::size_t kLongest = 120;

// The value at the start of `text`, up to the next separator; what stands in quotation marks or
// behind a backslash is no separator.
std::string value_of(std::string_view text) {
    std::string value;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            value += text[++i];
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (c == ',' || c == '+' || c == ';')) {
            break;
        } else {
            value += c;
        }
    }
    while (!value.empty() && value.back() == ' ') {
        value.pop_back();
    }
    return value;
}

std::string common_name(std::string_view name) {
    for (std::size_t at = name.find("CN="); at != std::string_view::npos;
         at = name.find("CN=", at + 1)) {
        if (at == 0 || name[at - 1] == ' ' || name[at - 1] == ',') {
            return value_of(name.substr(at + 3));
        }
    }
    return std::string(name);
}

} // namespace

std::string short_name(std::string_view distinguished_name) {
    return "\"" + chronoseal::quote_foreign(common_name(distinguished_name), kLongest) + "\"";
}

} // namespace cli
