// Text to big number. The first byte chooses the radix. Small decimal and octal numbers against
// C++'s own, all others against OpenSSL's; what was parsed is written in every radix and parsed
// again. Aborts on a difference.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <openssl/bn.h>

#include <chronoseal/asn1rt/big_integer.h>
#include <chronoseal/asn1rt/context.h>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

class Number {
public:
    Number() {
        require(rtInitContext(&ctxt_, nullptr) == 0);
        rtBigIntInit(&number_);
    }
    ~Number() {
        rtBigIntFree(&ctxt_, &number_);
        require(ctxt_.typeHeap->blockList == nullptr);
        rtFreeContext(&ctxt_);
    }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;

    bool parse(const std::string& text, int radix) {
        const int status = rtBigIntSetStr(&ctxt_, &number_, text.c_str(), radix);
        require(status <= 0 && ctxt_.errInfo.status == status);
        return status == 0;
    }

    std::string text(int radix) {
        std::string out(static_cast<std::size_t>(rtBigIntDigitsNum(&number_, radix)) + 16, '#');
        const int size = static_cast<int>(out.size());
        return rtBigIntToString(&ctxt_, &number_, radix, out.data(), size) == 0 ? out.c_str() : "";
    }

    // The value as OpenSSL holds it.
    BIGNUM* reference() const {
        BIGNUM* value = BN_bin2bn(number_.mag, number_.numocts, nullptr);
        BN_set_negative(value, number_.sign < 0 ? 1 : 0);
        return value;
    }

    const rtBigInt& get() const { return number_; }
    ASN1CTXT* context() { return &ctxt_; }

private:
    ASN1CTXT ctxt_;
    rtBigInt number_;
};

bool only(const std::string& text, const char* digits) {
    return !text.empty() && text.find_first_not_of(digits) == std::string::npos;
}

std::string without_sign(const std::string& text) {
    return !text.empty() && text[0] == '-' ? text.substr(1) : text;
}

// The value that a plain text stands for; null when the text isn't plain.
BIGNUM* expected(const std::string& text, int radix) {
    BIGNUM* value = nullptr;
    if (radix == 10 && only(without_sign(text), "0123456789")) {
        BN_dec2bn(&value, text.c_str());
    } else if (radix == 16 && only(text, "0123456789abcdefABCDEF")) {
        BN_hex2bn(&value, text.c_str());
        const bool negative = text.size() % 2 == 0 && std::strchr("01234567", text[0]) == nullptr;
        if (negative) {
            BIGNUM* range = BN_new();
            BN_set_bit(range, static_cast<int>(text.size()) * 4);
            BN_sub(value, value, range);
            BN_free(range);
        }
    }
    return value;
}

void check_small(const Number& number, const std::string& text, int radix) {
    const char* digits = radix == 8 ? "01234567" : "0123456789";
    if ((radix != 8 && radix != 10) || !only(without_sign(text), digits) || text.size() > 18) {
        return;
    }
    const long long value = std::strtoll(text.c_str(), nullptr, radix);
    unsigned long long magnitude = 0;
    for (int i = 0; i < number.get().numocts; ++i) {
        magnitude = magnitude << 8 | number.get().mag[i];
    }
    require(magnitude == static_cast<unsigned long long>(value < 0 ? -value : value));
    require(number.get().sign == (value > 0) - (value < 0));
}

// Two's complement, but for the negative forms whose length is judged by the second byte alone.
void check_data(Number& number) {
    const rtBigInt& n = number.get();
    std::vector<unsigned char> data(static_cast<std::size_t>(rtBigIntGetDataLen(&n)));
    const int size = static_cast<int>(data.size());
    require(rtBigIntGetData(number.context(), &n, data.data(), size) == size);
    const bool short_form = n.sign < 0 && n.numocts > 2 && n.mag[0] == 0x80 && n.mag[1] == 0;
    if (short_form) {
        return;
    }
    BIGNUM* value = BN_bin2bn(data.data(), size, nullptr);
    if ((data[0] & 0x80) != 0) {
        BIGNUM* range = BN_new();
        BN_set_bit(range, size * 8);
        BN_sub(value, value, range);
        BN_free(range);
    }
    BIGNUM* reference = number.reference();
    require(BN_cmp(value, reference) == 0);
    BN_free(reference);
    BN_free(value);
    // No shorter form exists.
    require(size == 1 ||
            !((data[0] == 0 && data[1] < 0x80) || (data[0] == 0xFF && data[1] >= 0x80)));
    Number again;
    require(again.parse(number.text(16), 16) && number.text(10) == again.text(10));
    require(again.parse(number.text(2), 2) && number.text(10) == again.text(10));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static constexpr int kRadixes[] = {0, 2, 8, 10, 16, 7};
    if (size == 0 || size > 20000) {
        return 0;
    }
    const int radix = kRadixes[data[0] % std::size(kRadixes)];
    const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string text = input.c_str();
    Number number;
    const bool taken = number.parse(text, radix);
    if (BIGNUM* value = expected(text, radix)) {
        require(taken);
        BIGNUM* reference = number.reference();
        require(BN_cmp(value, reference) == 0);
        BN_free(reference);
        BN_free(value);
    }
    if (!taken) {
        return 0;
    }
    check_small(number, text, radix);
    check_data(number);
    for (const int other : {8, 10}) {
        const std::string shown = number.text(other);
        Number again;
        require(!shown.empty() && again.parse(shown, other) && again.text(10) == number.text(10));
        require(again.get().sign == number.get().sign);
    }
    require(rtBigIntStrCompare(number.context(), number.text(10).c_str(),
                               number.text(10).c_str()) == 0);
    return 0;
}
