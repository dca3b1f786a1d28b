// INTEGER of any size from text. The digits of "0x" and "0b" texts are the bytes of the number; the
// number of digits, and a leading zero, say what its sign is.
#include <algorithm>
#include <array>
#include <string_view>

#include <chronoseal/asn1rt/big_integer.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/writer.h>

namespace {

using asn1rt::finish;

struct Radix {
    unsigned per_byte; // digits
    unsigned bitsPerDigit;
    unsigned highest; // digit
};

constexpr Radix kHexadecimal{2, 4, 15};
constexpr Radix kBinary{8, 1, 1};
constexpr unsigned char kNoDigit = 0xFF;

constexpr std::array<unsigned char, 256> kDigitValues = [] {
    std::array<unsigned char, 256> values{};
    values.fill(kNoDigit);
    for (unsigned char i = 0; i < 10; ++i) {
        values['0' + i] = i;
    }
    for (unsigned char i = 0; i < 6; ++i) {
        values['a' + i] = values['A' + i] = static_cast<unsigned char>(10 + i);
    }
    return values;
}();

unsigned digit_value(char digit) {
    return kDigitValues[static_cast<unsigned char>(digit)];
}

// The radix of a text with a prefix and at least one digit, or null.
const Radix* radix_of(std::string_view text) {
    if (text.size() < 3) {
        return nullptr;
    }
    if (text.starts_with("0x")) {
        return &kHexadecimal;
    }
    return text.starts_with("0b") ? &kBinary : nullptr;
}

void strip_zeros(std::string_view& digits) {
    while (!digits.empty() && digits.front() == '0') {
        digits.remove_prefix(1);
    }
}

bool is_highest(std::string_view digits, const Radix& radix) {
    for (const char digit : digits) {
        if (digit_value(digit) != radix.highest) {
            return false;
        }
    }
    return true;
}

// Whole bytes whose bits are all set: the sign of a negative number, which one such bit can tell as
// well.
void strip_ones(std::string_view& digits, const Radix& radix) {
    while (!digits.empty() && is_highest(digits.substr(0, radix.per_byte), radix)) {
        digits.remove_prefix(radix.per_byte);
    }
}

// The digits as bytes, the odd ones in the first byte. The number of bytes, or -18 when one isn't a
// digit of the radix.
template <const Radix& radix>
int put_digits(ASN1CTXT* ctxt, std::string_view digits) {
    const auto is_digit = [](char c) { return digit_value(c) <= radix.highest; };
    if (!std::all_of(digits.begin(), digits.end(), is_digit)) {
        return rtStatusInvalidArgument;
    }
    const auto count = (digits.size() + radix.per_byte - 1) / radix.per_byte;
    if (count > static_cast<std::size_t>(INT32_MAX)) {
        return rtStatusNoMemory;
    }
    int status;
    unsigned char* at = asn1rt::put_in_front(ctxt, static_cast<std::uint32_t>(count), status);
    if (at == nullptr) {
        return status;
    }
    const std::size_t odd = digits.size() % radix.per_byte;
    for (std::size_t from = 0, up_to = odd != 0 ? odd : radix.per_byte; from < digits.size();
         from = up_to, up_to += radix.per_byte) {
        unsigned byte = 0;
        for (std::size_t i = from; i < up_to; ++i) {
            byte = byte << radix.bitsPerDigit | digit_value(digits[i]);
        }
        *at++ = static_cast<unsigned char>(byte);
    }
    return static_cast<int>(count);
}

int put_digits(ASN1CTXT* ctxt, std::string_view digits, const Radix& radix) {
    return &radix == &kHexadecimal ? put_digits<kHexadecimal>(ctxt, digits)
                                   : put_digits<kBinary>(ctxt, digits);
}

int put_sign(ASN1CTXT* ctxt, int length, bool negative) {
    const int sign = asn1rt::put_byte(ctxt, negative ? 0xFF : 0x00);
    return sign < 0 ? sign : length + sign;
}

int put_with_radix(ASN1CTXT* ctxt, std::string_view digits, const Radix& radix) {
    const unsigned first = digit_value(digits.front());
    const bool negative = digits.size() % radix.per_byte == 0 && first != kNoDigit &&
                          first >> (radix.bitsPerDigit - 1) == 1;
    if (negative) {
        strip_ones(digits, radix);
    } else {
        strip_zeros(digits);
    }
    const int length = put_digits(ctxt, digits, radix);
    if (length < 0 || digits.size() % radix.per_byte != 0) {
        return length;
    }
    const bool top_bit = length > 0 && (*xe_getp(ctxt) & 0x80) != 0;
    return length > 0 && top_bit == negative ? length : put_sign(ctxt, length, negative);
}

int put_parsed(ASN1CTXT* ctxt, const char* text) {
    unsigned char digits[512];
    rtBigInt number;
    rtBigIntInit(&number);
    number.mag = digits;
    number.allocated = sizeof digits;
    int length = rtBigIntSetStr(ctxt, &number, text, 0);
    if (length == rtStatusOk) {
        length = rtBigIntGetDataLen(&number);
        int status;
        unsigned char* at = asn1rt::put_in_front(ctxt, static_cast<std::uint32_t>(length), status);
        length = at == nullptr ? status : rtBigIntGetData(ctxt, &number, at, length);
    }
    rtBigIntFree(ctxt, &number);
    return length;
}

int put_bigint(ASN1CTXT* ctxt, const char* text) {
    if (text == nullptr || *text == '\0') {
        return rtStatusInvalidArgument;
    }
    const std::string_view view(text);
    if (view == "0") {
        return asn1rt::put_byte(ctxt, 0);
    }
    const Radix* radix = radix_of(view);
    return radix == nullptr ? put_parsed(ctxt, text) : put_with_radix(ctxt, view.substr(2), *radix);
}

int put_biguint(ASN1CTXT* ctxt, const char* text) {
    if (text == nullptr) {
        return rtStatusInvalidArgument;
    }
    const std::string_view view(text);
    if (view == "0") {
        return asn1rt::put_byte(ctxt, 0);
    }
    const Radix* radix = radix_of(view);
    if (radix == nullptr) {
        return rtStatusInvalidArgument;
    }
    std::string_view digits = view.substr(2);
    strip_zeros(digits);
    const bool stripped = digits.size() != view.size() - 2;
    const int length = put_digits(ctxt, digits, *radix);
    if (length < 0 || digits.size() % radix->per_byte != 0 || !stripped) {
        return length;
    }
    return put_sign(ctxt, length, false);
}

int finish_latched(ASN1CTXT* ctxt, ASN1TagType tagging, int length) {
    const int result = finish(ctxt, tagging, rtTagInteger, length);
    return result < 0 ? rtErrSetData(&ctxt->errInfo, result) : result;
}

} // namespace

int xe_bigint(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging) {
    return finish_latched(ctxt, tagging, put_bigint(ctxt, text));
}

int xe_biguint(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging) {
    return finish_latched(ctxt, tagging, put_biguint(ctxt, text));
}
