// Addresses cut at their scheme and host.
#include <basalt/sup/web_address.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::string_view kMark = "://";

// Scheme and host with all that belongs to it, as offsets. Without a scheme the host comes first.
struct Authority {
    std::size_t begin = 0;
    std::size_t end = 0;
};

Authority authority_of(std::string_view address) {
    const std::size_t mark = address.find(kMark);
    const std::size_t start = mark == std::string_view::npos ? 0 : mark + kMark.size();
    // More slashes than two are passed over by some readers.
    const std::size_t begin = std::min(address.find_first_not_of("/\\", start), address.size());
    return {begin, std::min(address.find_first_of("/?#", begin), address.size())};
}

bool same_word(std::string_view text, std::string_view word) {
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [](char a, char b) { return (a | 0x20) == b; });
}

} // namespace

WebScheme scheme_of(std::string_view address) {
    const std::size_t mark = address.find(kMark);
    if (mark == std::string_view::npos || mark == 0) {
        return WebScheme::kNone;
    }
    const std::string_view scheme = address.substr(0, mark);
    const std::string_view rest = address.substr(mark + kMark.size());
    const bool http = same_word(scheme, "http");
    if (!http && !same_word(scheme, "https")) {
        return WebScheme::kOther;
    }
    if (rest.empty() || rest.find_first_of("/\\?#") == 0) {
        return WebScheme::kNone;
    }
    return http ? WebScheme::kHttp : WebScheme::kHttps;
}

bool has_user_info(std::string_view address) {
    const Authority authority = authority_of(address);
    return address.substr(authority.begin, authority.end - authority.begin).find('@') !=
           std::string_view::npos;
}

std::string masked_address(std::string_view address) {
    const Authority authority = authority_of(address);
    const std::size_t at = address.substr(0, authority.end).find_last_of('@');
    if (at == std::string_view::npos || at < authority.begin) {
        return std::string(address);
    }
    return std::string(address.substr(0, authority.begin)) + "***" +
           std::string(address.substr(at));
}

} // namespace basalt
