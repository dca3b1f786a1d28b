#include <basalt/sup/pem_text.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kNone = std::string_view::npos;

std::string_view without_blanks_behind(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Whether a block may begin behind what stands between it and the block, or the text's beginning,
// before it. Editors write the mark, and it is inside when texts are put together.
bool leads_to_block(std::string_view between) {
    between = without_blanks_behind(between);
    if (between.ends_with(kByteOrderMark)) {
        between = without_blanks_behind(between.substr(0, between.size() - kByteOrderMark.size()));
    }
    return between.empty() || between.back() == '\n' || between.back() == '\r';
}

// Without "Proc-Type: ..." and the like, up to an empty line.
std::string_view without_headers(std::string_view body) {
    if (body.substr(0, body.find("\n\n")).find(':') == kNone) {
        return body;
    }
    const std::size_t gap = std::min(body.find("\n\n"), body.find("\r\n\r\n"));
    return gap == kNone ? body : body.substr(gap);
}

// Where the label that begins there ends, in dashes on its line.
std::size_t end_of_label(std::string_view text, std::size_t label) {
    const std::size_t end = text.find(kDashes, label);
    return end == kNone || text.substr(label, end - label).find_first_of("\r\n") != kNone ? kNone
                                                                                          : end;
}

// Behind the line that ends a block; before the dashes of a next one, if its own have been lost.
std::size_t behind_end(std::string_view text, std::size_t end) {
    const std::size_t label = end + kEnd.size();
    const std::size_t dashes = end_of_label(text, label);
    if (dashes == kNone) {
        return label;
    }
    return text.substr(dashes).starts_with(kBegin) ? dashes : dashes + kDashes.size();
}

} // namespace

std::optional<PemText> PemReader::next() {
    for (std::size_t at = text_.find(kBegin, from_); at != kNone; at = text_.find(kBegin, at + 1)) {
        const std::size_t label = at + kBegin.size();
        if (!leads_to_block(text_.substr(from_, at - from_))) {
            continue;
        }
        const std::size_t label_end = end_of_label(text_, label);
        if (label_end == kNone) {
            continue;
        }
        PemText block{text_.substr(label, label_end - label), {}};
        const std::size_t body = label_end + kDashes.size();
        std::size_t end = text_.find(kDashes, body);
        for (; end != kNone; end = text_.find(kDashes, end + 1)) {
            const std::string_view rest = text_.substr(end);
            block.is_whole = rest.starts_with(kEnd);
            if (block.is_whole ||
                (rest.starts_with(kBegin) && leads_to_block(text_.substr(body, end - body)))) {
                break;
            }
        }
        block.base64 = without_headers(text_.substr(body, end - body));
        if (end == kNone) {
            from_ = text_.size();
        } else {
            from_ = block.is_whole ? behind_end(text_, end) : body;
        }
        return block;
    }
    from_ = text_.size();
    return std::nullopt;
}

bool begins_as_sequence(std::string_view bytes) {
    constexpr char kSequence = 0x30;
    constexpr unsigned kIndefinite = 0x80;
    if (bytes.size() < 2 || bytes[0] != kSequence) {
        return false;
    }
    const unsigned first = static_cast<unsigned char>(bytes[1]);
    if (first == kIndefinite) {
        return true; // no text has that for its second character
    }
    if (first < kIndefinite) { // a text may
        return bytes.size() - 2 == first;
    }
    const std::size_t octets = first - kIndefinite;
    if (octets > sizeof(std::size_t) || bytes.size() - 2 < octets) {
        return false;
    }
    std::size_t length = 0;
    for (const char octet : bytes.substr(2, octets)) {
        length = length << 8 | static_cast<unsigned char>(octet);
    }
    return length <= bytes.size() - 2 - octets;
}

} // namespace basalt
