// The chunked coding, a character at a time but for the content.
#include <basalt/basaltnet/chunked_body.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::size_t kMostOverhead = std::size_t{16} << 10;
constexpr unsigned kMostDigits = 15;

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

std::string_view ChunkedBody::next(std::string_view& coded) {
    while (!coded.empty() && !bad_ && place_ != Place::kEnd) {
        if (place_ == Place::kContent) {
            const std::size_t size = std::min<std::uint64_t>(left_, coded.size());
            const std::string_view content = coded.substr(0, size);
            coded.remove_prefix(size);
            left_ -= size;
            overhead_ = 0;
            place_ = left_ == 0 ? Place::kAfterContent : Place::kContent;
            return content;
        }
        take(coded.front());
        coded.remove_prefix(1);
        bad_ = bad_ || ++overhead_ > kMostOverhead;
    }
    coded = {}; // behind the last chunk stand the trailers, which curl reads and bounds
    return {};
}

void ChunkedBody::take(char c) {
    switch (place_) {
    case Place::kSize:
        return take_size_digit(c);
    case Place::kExtension:
        if (c == '\n') {
            place_ = left_ == 0 ? Place::kEnd : Place::kContent;
            digits_ = 0;
        }
        return;
    case Place::kAfterContent:
        if (c == '\n') {
            place_ = Place::kSize;
        } else {
            bad_ = c != '\r';
        }
        return;
    case Place::kContent:
    case Place::kEnd:
        return;
    }
}

void ChunkedBody::take_size_digit(char c) {
    if (const int digit = hex_digit(c); digit >= 0) {
        left_ = left_ * 16 + static_cast<unsigned>(digit);
        bad_ = ++digits_ > kMostDigits;
        return;
    }
    bad_ = digits_ == 0;
    place_ = Place::kExtension;
    if (c == '\n') {
        take(c);
    }
}

} // namespace basalt
