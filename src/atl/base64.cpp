// Base64 encoder.
#include <basalt/error_codes.h>
#include <chronoseal/atl/base64.h>

#include <cstdint>

#include <chronoseal/base/atl_exception.h>

namespace ATL {

namespace {

constexpr int kCharsPerLine = 76;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The first `chars` of the four characters of a group; bytes behind `count` read as 0.
char* put_group(char* out, const unsigned char* source, int count, int chars) {
    std::uint32_t bits = 0;
    for (int i = 0; i < 3; ++i) {
        bits = bits << 8 | (i < count ? source[i] : 0u);
    }
    for (int i = 0; i < chars; ++i) {
        *out++ = kAlphabet[bits >> (18 - 6 * i) & 0x3Fu];
    }
    return out;
}

// The value of a character, -1 outside of the alphabet.
int value_of(char c) {
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

} // namespace

int Base64EncodeGetRequiredLength(int size, unsigned flags) {
    int length = size * 4 / 3;
    if ((flags & kBase64NoPadding) == 0) {
        length += size % 3;
    }
    const int lines = length / kCharsPerLine + 1;
    length = (length + 3) / 4 * 4; // a full line is a multiple of 4 already
    return (flags & kBase64NoLineEnds) == 0 ? length + 2 * lines : length;
}

bool Base64Encode(const unsigned char* source, int size, char* out, int* outSize, unsigned flags) {
    if (!source || !out || !outSize) {
        return false;
    }
    if (size >= 0x20000000) {
        AtlThrowImpl(Halcyon::hr(E_FAIL));
    }
    if (size < 0 || *outSize < Base64EncodeGetRequiredLength(size, flags)) {
        return false;
    }
    char* const start = out;
    const int groups = size / 3;
    for (int group = 0; group < groups; ++group) {
        out = put_group(out, source + 3 * group, 3, 4);
        if ((flags & kBase64NoLineEnds) == 0 && (group + 1) % (kCharsPerLine / 4) == 0) {
            *out++ = '\r';
            *out++ = '\n';
        }
    }
    if (const int rest = size % 3; rest != 0) {
        out = put_group(out, source + 3 * groups, rest, rest + 1);
        for (int i = rest; i < 3 && (flags & kBase64NoPadding) == 0; ++i) {
            *out++ = '=';
        }
    }
    *outSize = static_cast<int>(out - start);
    return true;
}

bool Base64Decode(const char* source, int size, unsigned char* out, int* outSize) {
    if (!source || !out || !outSize || size <= 0) {
        return false;
    }
    int written = 0;
    std::uint32_t bits = 0;
    int pending = 0; // bits read and not yet written, below 8 after each step
    for (int i = 0; i < size && source[i] != '\0'; ++i) {
        const int value = value_of(source[i]);
        if (value < 0) {
            continue;
        }
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        pending += 6;
        if (pending >= 8) {
            pending -= 8;
            if (written == *outSize) {
                return false;
            }
            out[written++] = static_cast<unsigned char>(bits >> pending);
        }
    }
    *outSize = written;
    return true;
}

} // namespace ATL
