// Number texts. Radix 2, 8 and 16 go by bits; radix 10 through limbs of 64 bits on the stack, whose
// number bounds what is converted (see limits.h).
#include <chronoseal/asn1rt/big_integer.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/status.h>

namespace {

// By radix / 2. Bits that a digit carries, in 1024ths and rounded up; digits that are read in one
// step; the radix raised to that count.
constexpr std::int32_t bitsPerDigit[] = {0, 1024, 0, 0, 3072, 3402, 0, 0, 4096};
constexpr std::int32_t digitsPerByte[] = {0, 8, 0, 0, 2, 2, 0, 0, 2};
constexpr std::int32_t byteRadix[] = {0, 256, 0, 0, 64, 100, 0, 0, 256};

constexpr bool is_radix(int radix) {
    return radix == 2 || radix == 8 || radix == 10 || radix == 16;
}

int fail(ASN1CTXT* ctxt, int status) {
    return rtErrSetData(&ctxt->errInfo, status);
}

constexpr std::uint8_t kNoDigit = 255;

constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(kNoDigit);
    for (unsigned i = 0; i < 10; ++i) {
        values['0' + i] = static_cast<std::uint8_t>(i);
    }
    for (unsigned i = 0; i < 6; ++i) {
        values['A' + i] = values['a' + i] = static_cast<std::uint8_t>(10 + i);
    }
    return values;
}();

// `kNoDigit`, which is above every radix, for any other character.
int digit_value(char c) {
    return kDigitValues[static_cast<unsigned char>(c)];
}

// The digits of a text, behind blanks, prefix and sign.
struct Digits {
    const char* text;
    std::size_t count;
};

int select_radix(Digits& digits) {
    if (digits.count >= 2 && digits.text[0] == '0') {
        const char letter = digits.text[1];
        const int radix = letter == 'b' ? 2 : letter == 'o' ? 8 : letter == 'x' ? 16 : 0;
        if (radix != 0) {
            digits = {digits.text + 2, digits.count - 2};
            return radix;
        }
    }
    return 10;
}

bool set_capacity(ASN1CTXT* ctxt, rtBigInt* number, std::size_t octets) {
    if (octets > static_cast<std::size_t>(std::max(number->allocated, 0))) {
        void* block = asn1rt::realloc(&ctxt->typeHeap, number->mag, number->dynamic != 0, octets);
        if (block == nullptr) {
            return false;
        }
        number->mag = static_cast<unsigned char*>(block);
        number->allocated = static_cast<std::int32_t>(octets);
        number->dynamic = 1;
    }
    number->numocts = static_cast<std::int32_t>(octets);
    return true;
}

// Radix 2 and 16: the first byte takes the digits that are left over.
int read_whole_bytes(ASN1CTXT* ctxt, rtBigInt* number, Digits digits, int radix) {
    const auto step = static_cast<std::size_t>(digitsPerByte[radix / 2]);
    if (!set_capacity(ctxt, number, (digits.count + step - 1) / step)) {
        return fail(ctxt, rtStatusNoMemory);
    }
    number->sign = 1;
    const char* const end = digits.text + digits.count;
    const char* byte_end = digits.text + (digits.count - 1) % step + 1;
    for (unsigned char* out = number->mag; out != number->mag + number->numocts; ++out) {
        int octet = 0;
        for (; digits.text != byte_end; ++digits.text) {
            const int digit = digit_value(*digits.text);
            if (digit >= radix) {
                return fail(ctxt, rtStatusInvalidArgument);
            }
            octet = octet * radix + digit;
        }
        *out = static_cast<unsigned char>(octet);
        byte_end += byte_end != end ? step : 0;
    }
    return rtStatusOk;
}

// One group of digits, -1 if there is none. A group of two is read as strtoul reads it: its first
// character may also be a blank or a sign in front of the second, as long as no negative value
// comes out.
int read_group(const char* text, std::size_t length, int radix) {
    const int last = digit_value(text[length - 1]);
    if (last >= radix) {
        return -1;
    }
    if (length == 1) {
        return last;
    }
    const int first = digit_value(text[0]);
    if (first < radix) {
        return first * radix + last;
    }
    if (text[0] == '-') {
        return last == 0 ? 0 : -1;
    }
    const bool blank = text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r');
    return blank || text[0] == '+' ? last : -1;
}

// Length of the next group: the first takes what the others leave over.
std::size_t group_length(std::size_t left) {
    return left % 2 == 0 ? 2 : 1;
}

__extension__ using DoubleLimb = unsigned __int128;

// A magnitude in limbs of 64 bits, least significant first, with room for the largest that is
// converted from or to decimal.
class DecimalLimbs {
public:
    // this = this * factor + summand
    void multiply_add(std::uint64_t factor, std::uint64_t summand) {
        std::uint64_t carry = summand;
        for (std::size_t i = 0; i < count_; ++i) {
            const DoubleLimb product = DoubleLimb{limbs_[i]} * factor + carry;
            limbs_[i] = static_cast<std::uint64_t>(product);
            carry = static_cast<std::uint64_t>(product >> 64);
        }
        if (carry != 0) {
            limbs_[count_++] = carry;
        }
    }

    static constexpr std::uint64_t kDivisor = 10'000'000'000'000'000'000U;
    static constexpr int kDivisorDigits = 19;

    // this = this / divisor; the remainder. Two limbs by one with a reciprocal (Moeller and
    // Granlund, "Improved division by invariant integers", algorithm 4): the divisor has its top
    // bit set.
    std::uint64_t divide() {
        constexpr auto kReciprocal = static_cast<std::uint64_t>(~DoubleLimb{0} / kDivisor);
        std::uint64_t rest = 0;
        for (std::size_t i = count_; i-- > 0;) {
            const std::uint64_t limb = limbs_[i];
            const DoubleLimb guess =
                DoubleLimb{kReciprocal} * rest + (DoubleLimb{rest} << 64 | limb);
            std::uint64_t quotient = static_cast<std::uint64_t>(guess >> 64) + 1;
            rest = limb - quotient * kDivisor;
            if (rest > static_cast<std::uint64_t>(guess)) {
                --quotient;
                rest += kDivisor;
            }
            if (rest >= kDivisor) {
                ++quotient;
                rest -= kDivisor;
            }
            limbs_[i] = quotient;
        }
        while (count_ > 0 && limbs_[count_ - 1] == 0) {
            --count_;
        }
        return rest;
    }

    bool is_zero() const { return count_ == 0; }

    void load(const unsigned char* octets, std::size_t size) {
        count_ = (size + 7) / 8;
        std::fill_n(limbs_, count_, 0);
        for (std::size_t i = 0; i < size; ++i) {
            limbs_[i / 8] |= std::uint64_t{octets[size - 1 - i]} << (i % 8 * 8);
        }
    }

    void store(unsigned char* octets, std::size_t size) const {
        for (std::size_t i = 0; i < size; ++i) {
            const std::uint64_t limb = i / 8 < count_ ? limbs_[i / 8] : 0;
            octets[size - 1 - i] = static_cast<unsigned char>(limb >> (i % 8 * 8));
        }
    }

private:
    static constexpr std::size_t kCapacity = rtMaxDecimalOctets / 8;
    static_assert(std::int64_t{rtMaxDecimalDigits} * 3402 / 8192 + 16 < rtMaxDecimalOctets);

    std::uint64_t limbs_[kCapacity];
    std::size_t count_ = 0;
};

int read_decimal(ASN1CTXT* ctxt, rtBigInt* number, Digits digits) {
    constexpr std::uint64_t kStepLimit = 1'000'000'000'000'000'000; // 18 digits
    DecimalLimbs limbs;
    std::uint64_t factor = 1;
    std::uint64_t value = 0;
    while (digits.count > 0) {
        const std::size_t length = group_length(digits.count);
        const int group = read_group(digits.text, length, 10);
        if (group < 0) {
            return fail(ctxt, rtStatusInvalidArgument);
        }
        factor *= static_cast<std::uint64_t>(byteRadix[10 / 2]);
        value = value * 100 + static_cast<std::uint64_t>(group);
        digits = {digits.text + length, digits.count - length};
        if (factor == kStepLimit || digits.count == 0) {
            limbs.multiply_add(factor, value);
            factor = 1;
            value = 0;
        }
    }
    limbs.store(number->mag, static_cast<std::size_t>(number->numocts));
    return rtStatusOk;
}

// Three bits a digit, from the low end up.
int read_octal(ASN1CTXT* ctxt, rtBigInt* number, Digits digits) {
    std::memset(number->mag, 0, static_cast<std::size_t>(number->numocts));
    unsigned char* out = number->mag + number->numocts;
    unsigned pending = 0;
    unsigned bits = 0;
    while (digits.count > 0) {
        const std::size_t length = digits.count >= 2 ? 2 : 1;
        digits.count -= length;
        const int group = read_group(digits.text + digits.count, length, 8);
        if (group < 0) {
            return fail(ctxt, rtStatusInvalidArgument);
        }
        pending |= static_cast<unsigned>(group) << bits;
        bits += 6;
        if (bits >= 8) {
            *--out = static_cast<unsigned char>(pending);
            pending >>= 8;
            bits -= 8;
        }
    }
    if (pending != 0) {
        *--out = static_cast<unsigned char>(pending);
    }
    return rtStatusOk;
}

int read_by_groups(ASN1CTXT* ctxt, rtBigInt* number, Digits digits, int radix) {
    number->sign = 1;
    if (digits.text[0] == '-') {
        number->sign = -1;
        digits = {digits.text + 1, digits.count - 1};
        if (digits.count == 0) {
            return fail(ctxt, rtStatusInvalidArgument);
        }
    }
    while (digits.count > 0 && *digits.text == '0') {
        digits = {digits.text + 1, digits.count - 1};
    }
    if (digits.count == 0) {
        number->sign = 0;
        number->numocts = 0;
        return rtStatusOk;
    }
    if (radix == 10 && digits.count > static_cast<std::size_t>(rtMaxDecimalDigits)) {
        return fail(ctxt, rtStatusNoMemory);
    }
    if (digits.count > static_cast<std::size_t>(INT_MAX)) {
        return fail(ctxt, rtStatusNoMemory);
    }
    const std::size_t per_digit = static_cast<std::size_t>(bitsPerDigit[radix / 2]);
    if (!set_capacity(ctxt, number, (((per_digit * digits.count) >> 10) + 8) / 8)) {
        return fail(ctxt, rtStatusNoMemory);
    }
    return radix == 10 ? read_decimal(ctxt, number, digits) : read_octal(ctxt, number, digits);
}

void negate_bytes(unsigned char* octets, std::int32_t count) {
    unsigned carry = 1;
    for (std::int32_t i = count; i-- > 0;) {
        carry += static_cast<unsigned char>(~octets[i]);
        octets[i] = static_cast<unsigned char>(carry);
        carry >>= 8;
    }
}

void strip_leading_zeros(rtBigInt* number) {
    const unsigned char* end = number->mag + number->numocts;
    const unsigned char* first =
        std::find_if(number->mag, number->mag + number->numocts, [](auto o) { return o != 0; });
    number->numocts = static_cast<std::int32_t>(end - first);
    std::memmove(number->mag, first, static_cast<std::size_t>(number->numocts));
    if (number->numocts == 0) {
        number->sign = 0;
    }
}

template <int bits>
char* write_bits(const unsigned char* octets, std::int64_t count, char* out) {
    for (std::int64_t i = 0; i < count; ++i) {
        const unsigned octet = octets[i];
        for (int shift = 8 - bits; shift >= 0; shift -= bits) {
            *out++ = "0123456789ABCDEF"[(octet >> shift) & ((1U << bits) - 1)];
        }
    }
    return out;
}

// Digits of radix 2 or 16, from all the bytes of the two's complement form.
int write_whole_bytes(ASN1CTXT* ctxt, const rtBigInt* number, int radix, char* out, int capacity) {
    const std::int64_t octets = rtBigIntGetDataLen(number);
    const std::int64_t step = digitsPerByte[radix / 2];
    if (octets * step + 1 > capacity) {
        return fail(ctxt, rtStatusValueTooLong);
    }
    // The bytes first stand at the end of the output, and are read there before the digits reach
    // them.
    auto* from = reinterpret_cast<unsigned char*>(out) + octets * (step - 1);
    rtBigIntGetData(ctxt, number, from, static_cast<int>(octets));
    out = radix == 2 ? write_bits<1>(from, octets, out) : write_bits<4>(from, octets, out);
    *out = '\0';
    return rtStatusOk;
}

// Writes digits from the end of a text forward, and knows when the front is reached.
class BackwardDigits {
public:
    BackwardDigits(char* out, int capacity) : begin_(out), at_(out + capacity), end_(at_) {}

    void put(char c) {
        fits_ = fits_ && at_ != begin_;
        if (fits_) {
            *--at_ = c;
        }
    }

    // Moves the text to the front. False when it didn't fit.
    bool finish() {
        if (fits_) {
            std::memmove(begin_, at_, static_cast<std::size_t>(end_ - at_));
        }
        return fits_;
    }

private:
    char* begin_;
    char* at_;
    char* end_;
    bool fits_ = true;
};

void put_decimal(const rtBigInt* number, BackwardDigits& digits) {
    DecimalLimbs limbs;
    limbs.load(number->mag, static_cast<std::size_t>(number->numocts));
    do {
        std::uint64_t rest = limbs.divide();
        // The topmost group is written without its leading zeros.
        for (int i = 0;
             i < DecimalLimbs::kDivisorDigits && (rest != 0 || i == 0 || !limbs.is_zero());
             ++i, rest /= 10) {
            digits.put(static_cast<char>('0' + rest % 10));
        }
    } while (!limbs.is_zero());
}

void put_octal(const rtBigInt* number, BackwardDigits& digits) {
    unsigned pending = 0;
    unsigned bits = 0;
    std::int32_t left = number->numocts;
    while (left > 0 || pending != 0) {
        if (bits < 3 && left > 0) {
            pending |= static_cast<unsigned>(number->mag[--left]) << bits;
            bits += 8;
        }
        digits.put(static_cast<char>('0' + (pending & 7)));
        pending >>= 3;
        bits = bits >= 3 ? bits - 3 : 0;
    }
}

} // namespace

void rtBigIntInit(rtBigInt* number) {
    *number = rtBigInt{};
}

int rtBigIntSetStr(ASN1CTXT* ctxt, rtBigInt* number, const char* text, int radix) {
    if (text == nullptr) {
        return fail(ctxt, rtStatusInvalidArgument);
    }
    while (*text == ' ') {
        ++text;
    }
    if (radix != 0 && !is_radix(radix)) {
        return fail(ctxt, rtStatusNullArgument);
    }
    Digits digits{text, std::strlen(text)};
    if (radix == 0) {
        radix = select_radix(digits);
    }
    if (digits.count == 0) {
        return fail(ctxt, rtStatusInvalidArgument);
    }
    const int status = radix == 2 || radix == 16 ? read_whole_bytes(ctxt, number, digits, radix)
                                                 : read_by_groups(ctxt, number, digits, radix);
    if (status != rtStatusOk || number->sign == 0) {
        return status;
    }
    // A full first byte with its top bit set, in a radix of bits, spells a negative number. A zero
    // in front keeps that bit clear; and octal text is given a byte to spare, so that for it this
    // doesn't happen.
    if (radix != 10 && number->sign > 0 && (number->mag[0] & 0x80) != 0) {
        negate_bytes(number->mag, number->numocts);
        number->sign = -1;
    }
    strip_leading_zeros(number);
    return rtStatusOk;
}

int rtBigIntGetDataLen(const rtBigInt* number) {
    if (number->sign == 0) {
        return 1;
    }
    const unsigned first = number->mag[0];
    if (number->sign > 0) {
        return number->numocts + ((first & 0x80) != 0 ? 1 : 0);
    }
    // Whether the bytes behind the first are all zero is judged by the second alone. So a magnitude
    // of 80 00 and then something that isn't 0 gets a byte less than it takes, and is written as a
    // positive number: -8388609 comes out as 7F FF FF.
    const bool rest_is_zero = number->numocts == 1 || number->mag[1] == 0;
    const unsigned complement = rest_is_zero ? 0 - first : ~first;
    return number->numocts + ((complement & 0x80) == 0 ? 1 : 0);
}

int rtBigIntGetData(ASN1CTXT* ctxt, const rtBigInt* number, unsigned char* out, int capacity) {
    const int length = rtBigIntGetDataLen(number);
    if (length > capacity) {
        return fail(ctxt, rtStatusValueTooLong);
    }
    const int padding = number->sign == 0 ? 1 : length - number->numocts;
    std::memset(out, 0, static_cast<std::size_t>(padding));
    if (number->sign != 0) {
        std::memcpy(out + padding, number->mag, static_cast<std::size_t>(number->numocts));
    }
    if (number->sign < 0) {
        negate_bytes(out, length);
    }
    return length;
}

int rtBigIntDigitsNum(const rtBigInt* number, int radix) {
    if (!is_radix(radix)) {
        return 0;
    }
    const std::int64_t digits =
        (std::int64_t{number->numocts} * 8192 + 8192) / bitsPerDigit[radix / 2];
    return static_cast<int>(std::min<std::int64_t>(digits, INT_MAX));
}

int rtBigIntToString(ASN1CTXT* ctxt, const rtBigInt* number, int radix, char* out, int capacity) {
    if (!is_radix(radix)) {
        return fail(ctxt, rtStatusNullArgument);
    }
    if (radix == 2 || radix == 16) {
        return write_whole_bytes(ctxt, number, radix, out, capacity);
    }
    if (radix == 10 && number->numocts > rtMaxDecimalOctets) {
        return fail(ctxt, rtStatusNoMemory);
    }
    BackwardDigits digits(out, std::max(capacity, 0));
    digits.put('\0');
    if (number->sign == 0) {
        digits.put('0');
    } else if (radix == 10) {
        put_decimal(number, digits);
    } else {
        put_octal(number, digits);
    }
    if (number->sign < 0) {
        digits.put('-');
    }
    return digits.finish() ? rtStatusOk : fail(ctxt, rtStatusValueTooLong);
}

void rtBigIntFree(ASN1CTXT* ctxt, rtBigInt* number) {
    if (number->dynamic != 0 && number->allocated != 0) {
        rtMemHeapFreePtr(&ctxt->typeHeap, number->mag);
        rtBigIntInit(number);
    }
}

namespace {

// A number for the length of a comparison, in local storage as long as it fits.
class LocalNumber {
public:
    LocalNumber(ASN1CTXT* ctxt, const char* text) : ctxt_(ctxt) {
        rtBigIntInit(&number_);
        number_.mag = storage_;
        number_.allocated = sizeof storage_;
        if (rtBigIntSetStr(ctxt, &number_, text, 0) != rtStatusOk) {
            number_.sign = 0;
            number_.numocts = 0;
        }
    }
    ~LocalNumber() { rtBigIntFree(ctxt_, &number_); }
    LocalNumber(const LocalNumber&) = delete;
    LocalNumber& operator=(const LocalNumber&) = delete;

    const rtBigInt& get() const { return number_; }

private:
    ASN1CTXT* ctxt_;
    rtBigInt number_;
    unsigned char storage_[256];
};

} // namespace

int rtBigIntStrCompare(ASN1CTXT* ctxt, const char* a, const char* b) {
    const LocalNumber left(ctxt, a);
    const LocalNumber right(ctxt, b);
    const rtBigInt& x = left.get();
    const rtBigInt& y = right.get();
    if (x.sign != y.sign) {
        return x.sign < y.sign ? -1 : 1;
    }
    int order = x.numocts - y.numocts;
    if (order == 0 && x.numocts > 0) {
        order = std::memcmp(x.mag, y.mag, static_cast<std::size_t>(x.numocts));
    }
    order = (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0);
    return x.sign < 0 ? -order : order;
}
