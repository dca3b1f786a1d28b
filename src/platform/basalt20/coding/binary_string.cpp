// Base64 and hexadecimal. Encoding makes the whole text and hands it out; decoding goes over the
// narrow text, into which a wide one is cut first (what isn't ASCII is no part of any form).
#include <basalt/binary_string.h>

#include <basalt/coding/fault.h>
#include <basalt/sup/hexadecimal.h>

#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr DWORD kModifiers = CRYPT_STRING_NOCRLF | CRYPT_STRING_NOCR;
constexpr std::size_t kBytesOfLine = 48; // 64 characters
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

// The label of a form with lines around it, null for one without.
const char* label_of(DWORD form) {
    switch (form) {
    case CRYPT_STRING_BASE64HEADER:
        return "CERTIFICATE";
    case CRYPT_STRING_BASE64REQUESTHEADER:
        return "NEW CERTIFICATE REQUEST";
    case CRYPT_STRING_BASE64X509CRLHEADER:
        return "X509 CRL";
    default:
        return nullptr;
    }
}

std::string base64_lines(const BYTE* data, std::size_t size, std::string_view line_end) {
    std::string text;
    text.reserve((size / 3 + 1) * 4 + (size / kBytesOfLine + 1) * line_end.size());
    unsigned char line[kBytesOfLine / 3 * 4 + 1];
    while (size != 0) {
        const std::size_t count = std::min(size, kBytesOfLine);
        const int length = EVP_EncodeBlock(line, data, static_cast<int>(count));
        text.append(reinterpret_cast<const char*>(line), static_cast<std::size_t>(length));
        text += line_end;
        data += count;
        size -= count;
    }
    return text;
}

std::string encoded(const BYTE* data, DWORD size, DWORD flags) {
    const DWORD form = flags & ~kModifiers;
    const bool one_line = (flags & CRYPT_STRING_NOCRLF) != 0;
    const std::string_view line_end = one_line                           ? ""
                                      : (flags & CRYPT_STRING_NOCR) != 0 ? "\n"
                                                                         : "\r\n";
    if (form == CRYPT_STRING_HEXRAW) {
        return basalt::hexadecimal(std::span<const BYTE>(data, size)).append(line_end);
    }
    if (form == CRYPT_STRING_BASE64) {
        return base64_lines(data, size, line_end);
    }
    const char* label = label_of(form);
    basalt::require(label != nullptr && !one_line, ERROR_INVALID_PARAMETER);
    std::string text = std::string(kBegin).append(label).append(kDashes).append(line_end);
    text += base64_lines(data, size, line_end);
    return text.append(kEnd).append(label).append(kDashes).append(line_end);
}

template <class Character>
BOOL binary_to_string(const BYTE* data, DWORD size, DWORD flags, Character* text,
                      DWORD* text_size) noexcept {
    return basalt::guarded<BOOL>(FALSE, [&] {
        basalt::require(data != nullptr && size != 0 && text_size != nullptr,
                        ERROR_INVALID_PARAMETER);
        const std::string result = encoded(data, size, flags);
        basalt::require(result.size() < UINT_MAX, ERROR_ARITHMETIC_OVERFLOW);
        const auto length = static_cast<DWORD>(result.size());
        if (text == nullptr) {
            *text_size = length + 1;
            return TRUE;
        }
        if (*text_size < length + 1) {
            *text_size = length + 1;
            basalt::fail(ERROR_MORE_DATA);
        }
        std::copy(result.begin(), result.end(), text);
        text[length] = Character{};
        *text_size = length;
        return TRUE;
    });
}

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

int base64_value(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// Full groups of four only, the last one padded; bits left over in it are not looked at.
std::vector<BYTE> from_base64(std::string_view text) {
    std::vector<BYTE> bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    unsigned count = 0;
    unsigned padding = 0;
    for (const char c : text) {
        if (is_space(c)) {
            continue;
        }
        const int value = c == '=' ? 0 : base64_value(c);
        padding += c == '=' ? 1 : 0;
        // Nothing but padding follows padding, of which there are two at most.
        basalt::require(value >= 0 && padding <= 2 && (padding == 0 || c == '='),
                        ERROR_INVALID_DATA);
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++count % 4 == 0) {
            bytes.push_back(static_cast<BYTE>(group >> 16));
            bytes.push_back(static_cast<BYTE>(group >> 8));
            bytes.push_back(static_cast<BYTE>(group));
            group = 0;
        }
    }
    basalt::require(count != 0 && count % 4 == 0, ERROR_INVALID_DATA);
    bytes.erase(bytes.end() - static_cast<std::ptrdiff_t>(padding), bytes.end());
    return bytes;
}

int hexadecimal_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::vector<BYTE> from_hexadecimal(std::string_view text) {
    std::vector<BYTE> bytes;
    int high = -1;
    for (const char c : text) {
        if (is_space(c)) {
            continue;
        }
        const int value = hexadecimal_value(c);
        basalt::require(value >= 0, ERROR_INVALID_DATA);
        if (high < 0) {
            high = value;
        } else {
            bytes.push_back(static_cast<BYTE>(high * 16 + value));
            high = -1;
        }
    }
    basalt::require(high < 0 && !bytes.empty(), ERROR_INVALID_DATA);
    return bytes;
}

struct Decoded {
    std::vector<BYTE> bytes;
    std::size_t skipped = 0;
    DWORD form = 0;
};

// What stands between the first "-----BEGIN ...-----" and the "-----END " behind it; none if there
// is no such pair.
std::optional<Decoded> from_lines(std::string_view text, DWORD form) {
    const std::size_t begin = text.find(kBegin);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t label_end = text.find(kDashes, begin + kBegin.size());
    basalt::require(label_end != std::string_view::npos, ERROR_INVALID_DATA);
    const std::size_t body = label_end + kDashes.size();
    const std::size_t end = text.find(kEnd, body);
    basalt::require(end != std::string_view::npos, ERROR_INVALID_DATA);
    return Decoded{from_base64(text.substr(body, end - body)), begin, form};
}

Decoded decoded(std::string_view text, DWORD form) {
    if (form == CRYPT_STRING_BASE64) {
        return {from_base64(text), 0, form};
    }
    if (form == CRYPT_STRING_HEXRAW) {
        return {from_hexadecimal(text), 0, form};
    }
    const bool any = form == CRYPT_STRING_BASE64_ANY;
    basalt::require(any || label_of(form) != nullptr, ERROR_INVALID_PARAMETER);
    if (auto lines = from_lines(text, any ? CRYPT_STRING_BASE64HEADER : form)) {
        return std::move(*lines);
    }
    basalt::require(any, ERROR_INVALID_DATA);
    return {from_base64(text), 0, CRYPT_STRING_BASE64};
}

BOOL string_to_binary(std::string_view text, DWORD flags, BYTE* data, DWORD* size, DWORD* skipped,
                      DWORD* form) {
    const Decoded result = decoded(text, flags);
    basalt::require(result.bytes.size() <= UINT_MAX && result.skipped <= UINT_MAX,
                    ERROR_ARITHMETIC_OVERFLOW);
    if (skipped != nullptr) {
        *skipped = static_cast<DWORD>(result.skipped);
    }
    if (form != nullptr) {
        *form = result.form;
    }
    const DWORD room = *size;
    *size = static_cast<DWORD>(result.bytes.size());
    if (data == nullptr) {
        return TRUE;
    }
    basalt::require(result.bytes.size() <= room, ERROR_MORE_DATA);
    if (!result.bytes.empty()) {
        std::memcpy(data, result.bytes.data(), result.bytes.size());
    }
    return TRUE;
}

} // namespace

BOOL CryptBinaryToStringA(const BYTE* data, DWORD size, DWORD flags, LPSTR text,
                          DWORD* textSize) noexcept {
    return binary_to_string(data, size, flags, text, textSize);
}

BOOL CryptBinaryToStringW(const BYTE* data, DWORD size, DWORD flags, LPWSTR text,
                          DWORD* textSize) noexcept {
    return binary_to_string(data, size, flags, text, textSize);
}

BOOL CryptStringToBinaryA(LPCSTR text, DWORD length, DWORD flags, BYTE* data, DWORD* size,
                          DWORD* skipped, DWORD* form) noexcept {
    return basalt::guarded<BOOL>(FALSE, [&] {
        basalt::require(text != nullptr && size != nullptr, ERROR_INVALID_PARAMETER);
        const std::string_view view(text, length != 0 ? length : std::strlen(text));
        return string_to_binary(view, flags, data, size, skipped, form);
    });
}

BOOL CryptStringToBinaryW(LPCWSTR text, DWORD length, DWORD flags, BYTE* data, DWORD* size,
                          DWORD* skipped, DWORD* form) noexcept {
    return basalt::guarded<BOOL>(FALSE, [&] {
        basalt::require(text != nullptr && size != nullptr, ERROR_INVALID_PARAMETER);
        const std::wstring_view wide(text, length != 0 ? length : std::wcslen(text));
        std::string narrow(wide.size(), '\0');
        std::transform(wide.begin(), wide.end(), narrow.begin(), [](wchar_t c) {
            return c >= 0 && c < 0x80 ? static_cast<char>(c) : '\x7F';
        });
        return string_to_binary(narrow, flags, data, size, skipped, form);
    });
}
