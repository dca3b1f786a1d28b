// PEM and Base64.
#include <chronoseal/seal/armor.h>

#include <algorithm>
#include <array>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/smime.h>

namespace chronoseal {

namespace {

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

Base64Place place_in(std::string_view text, std::string_view base64) {
    return {static_cast<std::size_t>(base64.data() - text.data()), base64.size()};
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

PemBlocks::PemBlocks(ByteView text)
    : reader_(basalt::begins_as_sequence(text_of(text)) ? std::string_view() : text_of(text)) {}

std::optional<PemBlock> PemBlocks::next() {
    const auto block = reader_.next();
    if (!block) {
        return std::nullopt;
    }
    auto der = block->is_whole ? decode_base64(block->base64) : std::nullopt;
    return PemBlock{std::string(block->label), std::move(der).value_or(Bytes()),
                    block->base64.size()};
}

Unarmored unarmor(ByteView bytes) {
    const std::string_view text = text_of(bytes);
    const bool der = basalt::begins_as_sequence(text);
    // First, since a mail may quote PEM.
    if (const auto mail = der ? std::nullopt : find_smime(text)) {
        auto decoded = decode_base64(mail->base64);
        if (decoded && std::to_integer<unsigned>(decoded->front()) == der_tag::kSequence) {
            return {Form::smime, {}, *std::move(decoded), place_in(text, mail->base64)};
        }
    }
    basalt::PemReader reader(der ? std::string_view() : text);
    while (const auto block = reader.next()) {
        auto decoded = block->is_whole ? decode_base64(block->base64) : std::nullopt;
        if (decoded) {
            return {Form::pem, std::string(block->label), *std::move(decoded),
                    place_in(text, block->base64)};
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
