// Text for people: foreign text made harmless, addresses without passwords, hexadecimal digits and
// times.
#include <chronoseal/chronoseal.hpp>

#include <array>
#include <cstdio>
#include <ctime>

#include <chronoseal/seal/out_of_memory.h>

namespace chronoseal {

namespace {

struct Decoded {
    char32_t point = 0;
    std::size_t size = 0; // 0: no valid sequence begins here
};

// One character of UTF-8 by its shortest form; no surrogates.
Decoded decode(std::string_view text) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = at(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < size) {
        return {};
    }
    char32_t point = first & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((at(i) & 0xC0) != 0x80) {
            return {};
        }
        point = point << 6 | (at(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    const bool valid =
        point >= kLeast[size] && point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
    return valid ? Decoded{point, size} : Decoded{};
}

struct Range {
    char32_t first, last;
};

// What moves, hides or reorders other text: controls, line and paragraph separators, bidirectional
// controls, zero widths, fillers, variation selectors, tags, noncharacters of the specials block.
constexpr Range kHidden[] = {{0x00, 0x1F},       {0x7F, 0x9F},       {0xAD, 0xAD},
                             {0x34F, 0x34F},     {0x61C, 0x61C},     {0x115F, 0x1160},
                             {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},
                             {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
                             {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
                             {0xFFF0, 0xFFFB},   {0xFFFE, 0xFFFF},   {0x1BCA0, 0x1BCA3},
                             {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}, {0xF0000, 0x10FFFF}};

bool is_hidden(char32_t point) {
    for (const Range& range : kHidden) {
        if (point >= range.first && point <= range.last) {
            return true;
        }
    }
    return false;
}

// How much of the text is printable ASCII that stands for itself: nearly all of most texts.
std::size_t plain_prefix(std::string_view text) {
    std::size_t size = 0;
    while (size < text.size() && text[size] >= 0x20 && text[size] < 0x7F && text[size] != '\\') {
        ++size;
    }
    return size;
}

std::string escaped_byte(unsigned byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02x", byte);
    return text.data();
}

std::string escaped_point(char32_t point) {
    if (point < 0x80) {
        return escaped_byte(static_cast<unsigned>(point));
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "\\u{%x}", static_cast<unsigned>(point));
    return text.data();
}

// With leading zeros.
void append_number(std::string& text, int number, std::size_t width) {
    std::array<char, 6> digits{};
    for (std::size_t i = width; i-- > 0; number /= 10) {
        digits[i] = static_cast<char>('0' + number % 10);
    }
    text.append(digits.data(), width);
}

std::string fraction_of(Time time) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const auto micros = (time - whole).count();
    if (micros == 0) {
        return {};
    }
    std::string fraction = ".";
    append_number(fraction, static_cast<int>(micros), 6);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return fraction;
}

// Year, month and day, "T", and the time of day with the fraction.
std::string date_text(const std::tm& fields, Time time) {
    constexpr int kLastOfFourDigits = 9999;
    std::string text;
    text.reserve(32);
    const int year = fields.tm_year + 1900;
    if (year >= 0 && year <= kLastOfFourDigits) {
        append_number(text, year, 4);
    } else {
        text += std::to_string(year);
    }
    const struct {
        char before;
        int number;
    } parts[] = {{'-', fields.tm_mon + 1},
                 {'-', fields.tm_mday},
                 {'T', fields.tm_hour},
                 {':', fields.tm_min},
                 {':', fields.tm_sec}};
    for (const auto& part : parts) {
        text += part.before;
        append_number(text, part.number, 2);
    }
    return text += fraction_of(time);
}

std::time_t seconds_of(Time time) {
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

int digit_of(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char small = static_cast<char>(c | 0x20);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

} // namespace

std::string quote_foreign(std::string_view text, std::size_t limit) {
    return within_memory("write a text", [&]() -> std::string {
        if (plain_prefix(text) == text.size() && (limit == 0 || text.size() <= limit)) {
            return std::string(text);
        }
        std::string result;
        for (std::size_t count = 0; !text.empty(); ++count) {
            const std::size_t room = limit == 0 ? text.size() : limit - count;
            const std::size_t plain = plain_prefix(text.substr(0, room));
            result += text.substr(0, plain);
            text.remove_prefix(plain);
            count += plain;
            if (text.empty()) {
                break;
            }
            if (limit != 0 && count == limit) {
                return result + "...";
            }
            const Decoded next = decode(text);
            if (next.size == 0) {
                result += escaped_byte(static_cast<unsigned char>(text[0]));
            } else if (next.point == '\\') {
                result += "\\\\";
            } else if (is_hidden(next.point)) {
                result += escaped_point(next.point);
            } else {
                result += text.substr(0, next.size);
            }
            text.remove_prefix(next.size == 0 ? 1 : next.size);
        }
        return result;
    });
}

std::string quote_address(std::string_view url) {
    const std::size_t scheme = url.find("://");
    const std::size_t start = scheme == std::string_view::npos ? 0 : scheme + 3;
    const std::size_t end = std::min(url.find_first_of("/?#", start), url.size());
    const std::size_t at = url.substr(0, end).rfind('@');
    if (at == std::string_view::npos || at < start) {
        return quote_foreign(url);
    }
    return within_memory("write a text", [&] {
        return quote_foreign(url.substr(0, start)) + "***" + quote_foreign(url.substr(at));
    });
}

std::string to_hex(ByteView bytes) {
    return within_memory("write a text", [&] {
        constexpr char kDigits[] = "0123456789abcdef";
        std::string text;
        text.reserve(bytes.size() * 2);
        for (const std::byte byte : bytes) {
            text += kDigits[std::to_integer<unsigned>(byte) >> 4];
            text += kDigits[std::to_integer<unsigned>(byte) & 0xF];
        }
        return text;
    });
}

Bytes from_hex(std::string_view digits) {
    return within_memory("write a text", [&] {
        // With colons between all octets, or none.
        const std::size_t step = digits.size() > 2 && digits[2] == ':' ? 3 : 2;
        Bytes bytes;
        bytes.reserve(digits.size() / step + 1);
        bool good = (digits.size() + step - 2) % step == 0;
        for (std::size_t i = 0; good && i < digits.size(); i += step) {
            const int high = digit_of(digits[i]);
            const int low = digit_of(digits[i + 1]);
            good = high >= 0 && low >= 0 && (step == 2 || i == 0 || digits[i - 1] == ':');
            bytes.push_back(static_cast<std::byte>(high << 4 | low));
        }
        if (!good) {
            throw Error(Category::misuse, "digest_malformed", 0,
                        "\"" + quote_foreign(digits, 140) +
                            "\" is not an even number of hexadecimal digits",
                        "give digits 0-9 and a-f only, with colons between the octets or without");
        }
        return bytes;
    });
}

std::string utc_text(Time time) {
    return within_memory("write a text", [&] {
        const std::time_t seconds = seconds_of(time);
        std::tm fields{};
        gmtime_r(&seconds, &fields);
        return date_text(fields, time) + "Z";
    });
}

std::string local_text(Time time) {
    return within_memory("write a text", [&] {
        const std::time_t seconds = seconds_of(time);
        std::tm fields{};
        localtime_r(&seconds, &fields);
        const long minutes = fields.tm_gmtoff / 60;
        std::array<char, 32> zone{};
        std::snprintf(zone.data(), zone.size(), "%c%02ld:%02ld", minutes < 0 ? '-' : '+',
                      std::labs(minutes) / 60, std::labs(minutes) % 60);
        return date_text(fields, time) + zone.data();
    });
}

} // namespace chronoseal
