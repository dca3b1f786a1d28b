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

// The body without header lines ("Proc-Type: ..." up to an empty line).
std::string_view without_headers(std::string_view body) {
    if (body.substr(0, body.find("\n\n")).find(':') == std::string_view::npos) {
        return body;
    }
    const std::size_t gap = std::min(body.find("\n\n"), body.find("\r\n\r\n"));
    return gap == std::string_view::npos ? body : body.substr(gap);
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

std::vector<PemBlock> pem_blocks(ByteView bytes, std::size_t most) {
    std::vector<PemBlock> blocks;
    std::string_view text = text_of(bytes);
    while (blocks.size() < most) {
        const std::size_t begin = text.find(kBegin);
        if (begin == std::string_view::npos) {
            break;
        }
        text.remove_prefix(begin + kBegin.size());
        const std::size_t label_end = text.find(kDashes);
        if (label_end == std::string_view::npos) {
            break;
        }
        const std::string_view label = text.substr(0, label_end);
        text.remove_prefix(label_end + kDashes.size());
        const std::size_t end = text.find(kEnd);
        if (end == std::string_view::npos) {
            break;
        }
        if (auto der = decode_base64(without_headers(text.substr(0, end)))) {
            blocks.push_back({std::string(label), *std::move(der)});
        }
        text.remove_prefix(end + kEnd.size());
    }
    return blocks;
}

Unarmored unarmor(ByteView bytes) {
    const std::string_view text = text_of(bytes);
    const bool der = !bytes.empty() && std::to_integer<unsigned>(bytes[0]) == der_tag::kSequence &&
                     DerReader(bytes).next().has_value();
    // First, since a mail may quote PEM.
    if (const auto mail = der ? std::nullopt : find_smime(text)) {
        auto decoded = decode_base64(mail->base64);
        if (decoded && std::to_integer<unsigned>(decoded->front()) == der_tag::kSequence) {
            return {Form::smime, {}, *std::move(decoded)};
        }
    }
    if (!der && text.find(kBegin) != std::string_view::npos) {
        if (auto blocks = pem_blocks(bytes, 1); !blocks.empty()) {
            return {Form::pem, std::move(blocks[0].label), std::move(blocks[0].der)};
        }
    }
    if (!der) {
        if (auto decoded = decode_base64(text);
            decoded && std::to_integer<unsigned>(decoded->front()) == der_tag::kSequence) {
            return {Form::base64, {}, *std::move(decoded)};
        }
    }
    return {Form::binary, {}, Bytes(bytes.begin(), bytes.end())};
}

} // namespace chronoseal
