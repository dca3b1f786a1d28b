// Bytes in and out of the generated codecs, for the tests of this folder: hexadecimal text, files
// of testdata, and a decode or encode with its status and context kept together.
#pragma once

#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <chronoseal/asn1rt/runtime.h>

namespace test_coding {

using Bytes = std::vector<unsigned char>;

/// The bytes of hexadecimal text; blanks are skipped.
inline Bytes from_hex(std::string_view text) {
    Bytes bytes;
    int half = -1;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            continue;
        }
        const auto digit =
            std::string_view("0123456789abcdef")
                .find(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("not hexadecimal");
        }
        if (half < 0) {
            half = static_cast<int>(digit);
        } else {
            bytes.push_back(static_cast<unsigned char>(half << 4 | static_cast<int>(digit)));
            half = -1;
        }
    }
    return bytes;
}

inline std::string to_hex(const Bytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

inline Bytes read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("no file " + path.string());
    }
    return Bytes{std::istreambuf_iterator<char>(in), {}};
}

inline Bytes test_file(const std::string& name) {
    return read_file(std::filesystem::path(CHRONOSEAL_TESTDATA) / name);
}

/// Wraps contents of at most 65535 bytes in a tag of one byte and a shortest length.
inline Bytes tlv(unsigned char tag, const Bytes& contents) {
    Bytes bytes{tag};
    if (contents.size() < 0x80) {
        bytes.push_back(static_cast<unsigned char>(contents.size()));
    } else {
        bytes.push_back(contents.size() < 0x100 ? 0x81 : 0x82);
        if (contents.size() >= 0x100) {
            bytes.push_back(static_cast<unsigned char>(contents.size() >> 8));
        }
        bytes.push_back(static_cast<unsigned char>(contents.size()));
    }
    bytes.insert(bytes.end(), contents.begin(), contents.end());
    return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// DER in a notation for people: `30(06(2a03)82('a'))` is tag and contents in parentheses, their
/// length left out; bytes are hexadecimal, or characters in quotes.
inline Bytes der(std::string_view text) {
    std::vector<Bytes> open(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') {
            const std::size_t end = text.find('\'', i + 1);
            open.back() = open.back() + Bytes(text.begin() + i + 1, text.begin() + end);
            i = end;
        } else if (text[i] == '(') {
            open.emplace_back();
        } else if (text[i] == ')') {
            const Bytes contents = open.back();
            open.pop_back();
            const unsigned char tag = open.back().back();
            open.back().pop_back();
            open.back() = open.back() + tlv(tag, contents);
        } else {
            open.back() = open.back() + from_hex(text.substr(i, 2));
            ++i;
        }
    }
    return open.front();
}

/// A decoded value with the context that it lives in.
template <class Record>
class Decoded {
public:
    using Decoder = int (*)(ASN1CTXT*, Record*, ASN1TagType, int);

    Decoded(Decoder decode, const Bytes& bytes) : bytes_(bytes) {
        rtInitContext(&context_, nullptr);
        status =
            xd_setp(&context_, bytes_.data(), static_cast<int>(bytes_.size()), nullptr, nullptr);
        if (status == 0) {
            status = decode(&context_, &value, 1, 0);
        }
        latched = context_.errInfo.status;
    }
    ~Decoded() { rtFreeContext(&context_); }
    Decoded(const Decoded&) = delete;
    Decoded& operator=(const Decoded&) = delete;

    ASN1CTXT* context() { return &context_; }

    int status = 0;
    int latched = 0;
    Record value{};

private:
    Bytes bytes_;
    ASN1CTXT context_;
};

/// An encoding: the bytes, or a negative status.
struct Encoded {
    int status = 0;
    Bytes bytes;
    int latched = 0;

    std::string hex() const { return status < 0 ? std::to_string(status) : to_hex(bytes); }
};

template <class Record>
Encoded encode(int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), Record& value,
               ASN1TagType tagging = 1) {
    ASN1CTXT context;
    rtInitContext(&context, nullptr);
    xe_setp(&context, nullptr, 0);
    Encoded result;
    result.status = encoder(&context, &value, tagging);
    result.latched = context.errInfo.status;
    if (result.status >= 0) {
        const unsigned char* start = xe_getp(&context);
        result.bytes.assign(start, start + result.status);
    }
    rtFreeContext(&context);
    return result;
}

/// What the first element of `bytes` becomes when it is decoded and encoded again: hexadecimal
/// text, or the status of what failed.
template <class Record>
std::string recode(int (*decode)(ASN1CTXT*, Record*, ASN1TagType, int),
                   int (*encoder)(ASN1CTXT*, Record*, ASN1TagType), const Bytes& bytes) {
    Decoded<Record> decoded(decode, bytes);
    if (decoded.status != 0) {
        return std::to_string(decoded.status);
    }
    return encode(encoder, decoded.value).hex();
}

/// The presence bits of a record as a number, the first optional element's in bit 0. `count` says
/// how many there are: what lies behind them in the same word has no value.
template <class Bits>
unsigned presence(const Bits& bits, unsigned count) {
    unsigned number = 0;
    static_assert(sizeof(Bits) <= sizeof(number));
    std::memcpy(&number, &bits, sizeof(Bits));
    return number & ((1U << count) - 1U);
}

inline ASN1TObjId oid(const char* text) {
    ASN1TObjId result;
    if (rtStrToOid(text, &result) == 0) {
        throw std::invalid_argument(text);
    }
    return result;
}

} // namespace test_coding
