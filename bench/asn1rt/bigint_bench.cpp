// A number of 2048 bits, and the largest that is taken from decimal text: text to bytes and bytes
// to text in radix 10 and 16, beside OpenSSL. libtasn1 has no number texts.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/bn.h>

#include <chronoseal/asn1rt/big_integer.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/limits.h>

namespace {

// A text of `digits` digits that is a positive number in radix 10 and 16.
std::string digits(std::int64_t count) {
    std::string text;
    for (std::int64_t i = 0; i < count; ++i) {
        text += static_cast<char>('1' + i * 7 % 9);
    }
    return text;
}

constexpr std::int64_t kDigitsOf2048Bits = 616;
constexpr std::int64_t kHexDigitsOf2048Bits = 512;

void parse_chronoseal(benchmark::State& state, int radix) {
    const std::string text = digits(state.range(0));
    ASN1CTXT ctxt;
    rtInitContext(&ctxt, nullptr);
    unsigned char storage[512];
    std::vector<unsigned char> out(16384);
    for (auto _ : state) {
        rtBigInt number;
        rtBigIntInit(&number);
        number.mag = storage;
        number.allocated = sizeof storage;
        rtBigIntSetStr(&ctxt, &number, text.c_str(), radix);
        benchmark::DoNotOptimize(
            rtBigIntGetData(&ctxt, &number, out.data(), static_cast<int>(out.size())));
        rtBigIntFree(&ctxt, &number);
    }
    rtFreeContext(&ctxt);
}

void parse_openssl(benchmark::State& state, int (*parse)(BIGNUM**, const char*)) {
    const std::string text = digits(state.range(0));
    std::vector<unsigned char> out(16384);
    for (auto _ : state) {
        BIGNUM* number = nullptr;
        parse(&number, text.c_str());
        benchmark::DoNotOptimize(BN_bn2bin(number, out.data()));
        BN_free(number);
    }
}

void write_chronoseal(benchmark::State& state, int radix) {
    const std::string text = digits(state.range(0));
    ASN1CTXT ctxt;
    rtInitContext(&ctxt, nullptr);
    rtBigInt number;
    rtBigIntInit(&number);
    rtBigIntSetStr(&ctxt, &number, text.c_str(), radix);
    std::vector<char> out(32768);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            rtBigIntToString(&ctxt, &number, radix, out.data(), static_cast<int>(out.size())));
    }
    rtFreeContext(&ctxt);
}

void write_openssl(benchmark::State& state, int (*parse)(BIGNUM**, const char*),
                   char* (*write)(const BIGNUM*)) {
    const std::string text = digits(state.range(0));
    BIGNUM* number = nullptr;
    parse(&number, text.c_str());
    for (auto _ : state) {
        char* out = write(number);
        benchmark::DoNotOptimize(out);
        OPENSSL_free(out);
    }
    BN_free(number);
}

BENCHMARK_CAPTURE(parse_chronoseal, decimal, 10)->Arg(kDigitsOf2048Bits)->Arg(rtMaxDecimalDigits);
BENCHMARK_CAPTURE(parse_openssl, decimal, BN_dec2bn)
    ->Arg(kDigitsOf2048Bits)
    ->Arg(rtMaxDecimalDigits);
BENCHMARK_CAPTURE(parse_chronoseal, hexadecimal, 16)->Arg(kHexDigitsOf2048Bits);
BENCHMARK_CAPTURE(parse_openssl, hexadecimal, BN_hex2bn)->Arg(kHexDigitsOf2048Bits);
BENCHMARK_CAPTURE(write_chronoseal, decimal, 10)->Arg(kDigitsOf2048Bits)->Arg(rtMaxDecimalDigits);
BENCHMARK_CAPTURE(write_openssl, decimal, BN_dec2bn, BN_bn2dec)
    ->Arg(kDigitsOf2048Bits)
    ->Arg(rtMaxDecimalDigits);
BENCHMARK_CAPTURE(write_chronoseal, hexadecimal, 16)->Arg(kHexDigitsOf2048Bits);
BENCHMARK_CAPTURE(write_openssl, hexadecimal, BN_hex2bn, BN_bn2hex)->Arg(kHexDigitsOf2048Bits);

} // namespace
