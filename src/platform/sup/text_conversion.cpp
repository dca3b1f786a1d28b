// UTF-8 and 32-bit code points. Each direction reads one character at a time and hands its units to
// a sink, which counts them and stores what there is room for.
#include <basalt/text_conversion.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <cstring>
#include <cwchar>

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kIllFormed = 0xFFFFFFFF;

int fail(DWORD code) {
    SetLastError(code);
    return 0;
}

bool is_code_point(std::uint32_t c) {
    return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

template <class Unit>
class Sink {
public:
    Sink(Unit* buffer, int size) : buffer_(buffer), size_(static_cast<std::size_t>(size)) {}

    void put(std::uint32_t unit) {
        if (size_ != 0 && count_ < size_) {
            buffer_[count_] = static_cast<Unit>(unit);
        }
        ++count_;
    }

    // What the call returns.
    int finish() const {
        if (size_ != 0 && count_ > size_) {
            return fail(ERROR_INSUFFICIENT_BUFFER);
        }
        return count_ > INT32_MAX ? fail(ERROR_INVALID_PARAMETER) : static_cast<int>(count_);
    }

private:
    Unit* buffer_;
    std::size_t size_;
    std::size_t count_ = 0;
};

void put_utf8(Sink<char>& sink, std::uint32_t c) {
    if (c < 0x80) {
        sink.put(c);
    } else if (c < 0x800) {
        sink.put(0xC0 | c >> 6);
        sink.put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        sink.put(0xE0 | c >> 12);
        sink.put(0x80 | (c >> 6 & 0x3F));
        sink.put(0x80 | (c & 0x3F));
    } else {
        sink.put(0xF0 | c >> 18);
        sink.put(0x80 | (c >> 12 & 0x3F));
        sink.put(0x80 | (c >> 6 & 0x3F));
        sink.put(0x80 | (c & 0x3F));
    }
}

// What the first byte of a character says: how many follow, its own bits, and the range of the
// second byte, which is narrower than 80..BF where that keeps out overlong forms, surrogates and
// what lies above 10FFFF (Unicode 15, table 3-7).
struct Lead {
    int following;
    std::uint32_t bits;
    unsigned char second_low = 0x80;
    unsigned char second_high = 0xBF;
};

Lead lead_of(unsigned char byte) {
    if (byte < 0x80) {
        return {0, byte};
    }
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {1, byte & 0x1FU};
    }
    if (byte >= 0xE0 && byte <= 0xEF) {
        return {2, byte & 0x0FU, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    }
    if (byte >= 0xF0 && byte <= 0xF4) {
        return {3, byte & 0x07U, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, kIllFormed};
}

// Takes one character, or one maximal ill-formed subpart, off the front.
std::uint32_t take_utf8(const unsigned char*& at, const unsigned char* end) {
    const Lead lead = lead_of(*at++);
    std::uint32_t c = lead.bits;
    for (int i = 0; i < lead.following; ++i) {
        const unsigned char low = i == 0 ? lead.second_low : 0x80;
        const unsigned char high = i == 0 ? lead.second_high : 0xBF;
        if (at == end || *at < low || *at > high) {
            return kIllFormed;
        }
        c = c << 6 | (*at++ & 0x3FU);
    }
    return c;
}

// The checks that both calls share; 0 when all is well.
DWORD refusal(UINT codePage, DWORD flags, DWORD allowedFlags, const void* text, int length,
              const void* buffer, int size) {
    if (text == nullptr || length == 0 || length < -1 || size < 0 ||
        (size > 0 && buffer == nullptr) || text == buffer) {
        return ERROR_INVALID_PARAMETER;
    }
    if (codePage != CP_ACP && codePage != CP_UTF8) {
        return ERROR_INVALID_PARAMETER;
    }
    return (flags & ~allowedFlags) != 0 ? ERROR_INVALID_FLAGS : ERROR_SUCCESS;
}

} // namespace

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR text, int length, LPSTR buffer,
                        int size, LPCSTR defaultChar, LPBOOL usedDefaultChar) noexcept {
    DWORD code = refusal(codePage, flags, WC_ERR_INVALID_CHARS, text, length, buffer, size);
    if (code == ERROR_SUCCESS && (defaultChar != nullptr || usedDefaultChar != nullptr)) {
        code = ERROR_INVALID_PARAMETER;
    }
    if (code != ERROR_SUCCESS) {
        return fail(code);
    }
    const std::size_t count =
        length == -1 ? std::wcslen(text) + 1 : static_cast<std::size_t>(length);
    Sink<char> sink(buffer, size);
    for (std::size_t i = 0; i < count; ++i) {
        auto c = static_cast<std::uint32_t>(text[i]);
        if (!is_code_point(c)) {
            if ((flags & WC_ERR_INVALID_CHARS) != 0) {
                return fail(ERROR_NO_UNICODE_TRANSLATION);
            }
            c = kReplacement;
        }
        put_utf8(sink, c);
    }
    return sink.finish();
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                        int size) noexcept {
    const DWORD code = refusal(codePage, flags, MB_ERR_INVALID_CHARS, text, length, buffer, size);
    if (code != ERROR_SUCCESS) {
        return fail(code);
    }
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end =
        at + (length == -1 ? std::strlen(text) + 1 : static_cast<std::size_t>(length));
    Sink<wchar_t> sink(buffer, size);
    while (at != end) {
        std::uint32_t c = take_utf8(at, end);
        if (c == kIllFormed) {
            if ((flags & MB_ERR_INVALID_CHARS) != 0) {
                return fail(ERROR_NO_UNICODE_TRANSLATION);
            }
            c = kReplacement;
        }
        sink.put(c);
    }
    return sink.finish();
}
