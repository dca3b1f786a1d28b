// PEM (RFC 7468, read leniently) and Base64.
#include <chronoseal/seal/armor.h>

#include <algorithm>
#include <array>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/smime.h>

namespace chronoseal {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n\f\v";

std::string_view text_of(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<signed char, 256> kValues = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    }
    return values;
}();

// Behind blanks at most.
bool is_at_line_start(std::string_view text, std::size_t at) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const std::string_view before = text.substr(0, at);
    const std::size_t last = before.find_last_not_of(" \t");
    return last == std::string_view::npos || before[last] == '\n' || before[last] == '\r' ||
           before.substr(0, last + 1) == kByteOrderMark;
}

Base64Place place_in(std::string_view text, std::string_view base64) {
    return {static_cast<std::size_t>(base64.data() - text.data()), base64.size()};
}

// The body without header lines ("Proc-Type: ..." up to an empty line).
std::string_view without_headers(std::string_view body) {
    if (body.substr(0, body.find("\n\n")).find(':') == std::string_view::npos) {
        return body;
    }
    const std::size_t gap = std::min(body.find("\n\n"), body.find("\r\n\r\n"));
    return gap == std::string_view::npos ? body : body.substr(gap);
}

// A SEQUENCE, whatever text it holds. No text begins with the octet of an indefinite length second.
bool begins_as_sequence(ByteView bytes) {
    constexpr std::byte kIndefinite{0x80};
    return bytes.size() > 1 && std::to_integer<unsigned>(bytes[0]) == der_tag::kSequence &&
           (bytes[1] == kIndefinite || DerReader(bytes).next().has_value());
}

} // namespace

std::optional<Bytes> decode_base64(std::string_view text) {
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    unsigned count = 0;
    unsigned padding = 0;
    for (const char c : text) {
        if (kBlanks.find(c) != std::string_view::npos) {
            continue;
        }
        const int value = kValues[static_cast<unsigned char>(c)];
        if (c == '=' ? ++padding > 2 : (value < 0 || padding != 0)) {
            return std::nullopt;
        }
        bits = bits << 6 | (c == '=' ? 0U : static_cast<unsigned>(value));
        if (++count % 4 == 0) {
            for (unsigned i = 0; i < 3 - padding; ++i) {
                bytes.push_back(static_cast<std::byte>(bits >> (16 - 8 * i) & 0xFF));
            }
        }
    }
    return count % 4 == 0 && count != 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

std::string encode_base64(ByteView bytes) {
    std::string text;
    for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(bytes.size(), 3))) {
        unsigned bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < bytes.size() ? std::to_integer<unsigned>(bytes[i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= bytes.size() ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
    return text;
}

std::size_t find_pem(std::string_view text, std::size_t from) {
    std::size_t at = text.find(kBegin, from);
    while (at != std::string_view::npos && !is_at_line_start(text, at)) {
        at = text.find(kBegin, at + kBegin.size());
    }
    return at;
}

std::vector<PemBlock> pem_blocks(ByteView bytes, std::size_t most) {
    std::vector<PemBlock> blocks;
    const std::string_view text = text_of(bytes);
    std::size_t from = 0;
    while (blocks.size() < most) {
        const std::size_t begin = find_pem(text, from);
        if (begin == std::string_view::npos) {
            break;
        }
        const std::size_t label = begin + kBegin.size();
        const std::size_t label_end = text.find(kDashes, label);
        if (label_end == std::string_view::npos) {
            break;
        }
        const std::size_t body = label_end + kDashes.size();
        const std::size_t end = text.find(kEnd, body);
        if (end == std::string_view::npos) {
            break;
        }
        const std::string_view base64 = without_headers(text.substr(body, end - body));
        if (auto der = decode_base64(base64)) {
            blocks.push_back({std::string(text.substr(label, label_end - label)), *std::move(der),
                              place_in(text, base64)});
        }
        from = end + kEnd.size();
    }
    return blocks;
}

Unarmored unarmor(ByteView bytes) {
    const std::string_view text = text_of(bytes);
    const bool der = begins_as_sequence(bytes);
    // First, since a mail may quote PEM.
    if (const auto mail = der ? std::nullopt : find_smime(text)) {
        auto decoded = decode_base64(mail->base64);
        if (decoded && std::to_integer<unsigned>(decoded->front()) == der_tag::kSequence) {
            return {Form::smime, {}, *std::move(decoded), place_in(text, mail->base64)};
        }
    }
    if (!der && find_pem(text, 0) != std::string_view::npos) {
        if (auto blocks = pem_blocks(bytes, 1); !blocks.empty()) {
            return {Form::pem, std::move(blocks[0].label), std::move(blocks[0].der),
                    blocks[0].base64};
        }
    }
    if (!der) {
        if (auto decoded = decode_base64(text);
            decoded && std::to_integer<unsigned>(decoded->front()) == der_tag::kSequence) {
            return {Form::base64, {}, *std::move(decoded), place_in(text, text)};
        }
    }
    return {Form::binary, {}, Bytes(bytes.begin(), bytes.end()), {}};
}

} // namespace chronoseal
