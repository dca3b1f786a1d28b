// Each primitive type, tag and length included, to and from its encoding, beside OpenSSL. Both
// write a value that is there already into storage of the caller's, and both make a value when they
// read, and free it.
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/objects.h>

#include "primitive_values.h"
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>

namespace {

using Bytes = std::vector<unsigned char>;

struct Context : ASN1CTXT {
    Context() { rtInitContext(this, nullptr); }
    ~Context() { rtFreeContext(this); }
};

void require(bool good) {
    if (!good) {
        std::abort();
    }
}

void context_chronoseal(benchmark::State& state) {
    for (auto _ : state) {
        ASN1CTXT ctxt;
        rtInitContext(&ctxt, nullptr);
        benchmark::DoNotOptimize(&ctxt);
        rtFreeContext(&ctxt);
    }
}
BENCHMARK(context_chronoseal);

void context_with_buffer_chronoseal(benchmark::State& state) {
    for (auto _ : state) {
        ASN1CTXT ctxt;
        rtInitContext(&ctxt, nullptr);
        xe_setp(&ctxt, nullptr, 0);
        benchmark::DoNotOptimize(&ctxt);
        rtFreeContext(&ctxt);
    }
}
BENCHMARK(context_with_buffer_chronoseal);

template <typename Encode>
void encode_chronoseal(benchmark::State& state, Encode encode) {
    Context ctxt;
    Bytes storage(70000);
    for (auto _ : state) {
        xe_setp(&ctxt, storage.data(), static_cast<int>(storage.size()));
        const int length = encode(&ctxt);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
    }
    xe_setp(&ctxt, storage.data(), static_cast<int>(storage.size()));
    require(encode(&ctxt) > 0);
}

template <typename Encode>
Bytes encoded(Encode encode) {
    Context ctxt;
    xe_setp(&ctxt, nullptr, 0);
    const int length = encode(&ctxt);
    require(length > 0);
    return Bytes(xe_getp(&ctxt), xe_getp(&ctxt) + length);
}

// `decode` answers what it allocated, or null.
template <typename Encode, typename Decode>
void decode_chronoseal(benchmark::State& state, Encode encode, Decode decode) {
    const Bytes bytes = encoded(encode);
    Context ctxt;
    for (auto _ : state) {
        xd_setp(&ctxt, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
        const void* block = decode(&ctxt);
        benchmark::DoNotOptimize(block);
        rtMemHeapFreePtr(&ctxt.typeHeap, block);
    }
    require(ctxt.errInfo.status == 0);
}

template <typename T>
void encode_openssl(benchmark::State& state, T* value, int (*encode)(const T*, unsigned char**)) {
    Bytes storage(70000);
    for (auto _ : state) {
        unsigned char* at = storage.data();
        benchmark::DoNotOptimize(encode(value, &at));
        benchmark::ClobberMemory();
    }
}

template <typename T>
void decode_openssl(benchmark::State& state, T* value, int (*encode)(const T*, unsigned char**),
                    T* (*decode)(T**, const unsigned char**, long), void (*release)(T*)) {
    unsigned char* der = nullptr;
    const int length = encode(value, &der);
    require(length > 0);
    for (auto _ : state) {
        const unsigned char* at = der;
        T* read = decode(nullptr, &at, length);
        benchmark::DoNotOptimize(read);
        release(read);
    }
    OPENSSL_free(der);
}

ASN1_INTEGER* integer_of(const char* hexadecimal) {
    BIGNUM* number = nullptr;
    require(BN_hex2bn(&number, hexadecimal) > 0);
    ASN1_INTEGER* value = BN_to_ASN1_INTEGER(number, nullptr);
    BN_free(number);
    return value;
}

ASN1_OCTET_STRING* octets_of(std::size_t size) {
    const Bytes bytes(size, 0x5A);
    ASN1_OCTET_STRING* value = ASN1_OCTET_STRING_new();
    ASN1_OCTET_STRING_set(value, bytes.data(), static_cast<int>(size));
    return value;
}

// One row: a case of each library in both directions.
template <typename Encode, typename Decode, typename T>
void add_row(const std::string& name, Encode encode, Decode decode, T* value,
             int (*their_encode)(const T*, unsigned char**),
             T* (*their_decode)(T**, const unsigned char**, long), void (*release)(T*)) {
    benchmark::RegisterBenchmark((name + "_encode_chronoseal").c_str(),
                                 [=](auto& state) { encode_chronoseal(state, encode); });
    benchmark::RegisterBenchmark((name + "_encode_openssl").c_str(),
                                 [=](auto& state) { encode_openssl(state, value, their_encode); });
    benchmark::RegisterBenchmark((name + "_decode_chronoseal").c_str(),
                                 [=](auto& state) { decode_chronoseal(state, encode, decode); });
    benchmark::RegisterBenchmark((name + "_decode_openssl").c_str(), [=](auto& state) {
        decode_openssl(state, value, their_encode, their_decode, release);
    });
}

void add_octets(const std::string& name, std::size_t size) {
    static const Bytes bytes(kLargeOctets, 0x5A);
    const auto encode = [size](ASN1CTXT* c) {
        return xe_octstr(c, bytes.data(), static_cast<std::uint32_t>(size), 1);
    };
    const auto decode = [](ASN1CTXT* c) {
        const unsigned char* data = nullptr;
        std::uint32_t count = 0;
        xd_octstr(c, &data, &count, 1, 0);
        return static_cast<const void*>(data);
    };
    add_row(name, encode, decode, octets_of(size), i2d_ASN1_OCTET_STRING, d2i_ASN1_OCTET_STRING,
            ASN1_OCTET_STRING_free);
}

void add_integers() {
    const auto number = [](ASN1CTXT* c) {
        const int value = kSmallInteger;
        return xe_integer(c, &value, 1);
    };
    const auto read = [](ASN1CTXT* c) {
        int value;
        xd_integer(c, &value, 1, 0);
        benchmark::DoNotOptimize(value);
        return static_cast<const void*>(nullptr);
    };
    ASN1_INTEGER* value = ASN1_INTEGER_new();
    ASN1_INTEGER_set(value, kSmallInteger);
    add_row("integer_32", number, read, value, i2d_ASN1_INTEGER, d2i_ASN1_INTEGER,
            ASN1_INTEGER_free);

    static const std::string text = "0x0" + large_integer();
    const auto big = [](ASN1CTXT* c) { return xe_bigint(c, text.c_str(), 1); };
    const auto read_big = [](ASN1CTXT* c) {
        const char* digits = nullptr;
        xd_bigint(c, &digits, 1, 0);
        return static_cast<const void*>(digits);
    };
    add_row("integer_2048", big, read_big, integer_of(large_integer().c_str()), i2d_ASN1_INTEGER,
            d2i_ASN1_INTEGER, ASN1_INTEGER_free);
}

void add_bits() {
    static const unsigned char bytes[] = {0xA5, 0xA5, 0xA5, 0xA0};
    const auto encode = [](ASN1CTXT* c) { return xe_bitstr(c, bytes, 28, 1); };
    const auto decode = [](ASN1CTXT* c) {
        const unsigned char* data = nullptr;
        std::uint32_t count = 0;
        xd_bitstr(c, &data, &count, 1, 0);
        return static_cast<const void*>(data);
    };
    ASN1_BIT_STRING* value = ASN1_BIT_STRING_new();
    require(ASN1_BIT_STRING_set(value, const_cast<unsigned char*>(bytes), sizeof bytes) == 1);
    add_row("bits_28", encode, decode, value, i2d_ASN1_BIT_STRING, d2i_ASN1_BIT_STRING,
            ASN1_BIT_STRING_free);
}

void add_oid() {
    static const ASN1OBJID oid{7, {1, 2, 840, 113549, 1, 9, 16}};
    const auto encode = [](ASN1CTXT* c) { return xe_objid(c, &oid, 1); };
    const auto decode = [](ASN1CTXT* c) {
        ASN1OBJID read;
        xd_objid(c, &read, 1, 0);
        benchmark::DoNotOptimize(&read);
        return static_cast<const void*>(nullptr);
    };
    add_row("oid_7_arcs", encode, decode, OBJ_txt2obj(kSmallOid, 1), i2d_ASN1_OBJECT,
            d2i_ASN1_OBJECT, ASN1_OBJECT_free);
}

void add_texts() {
    const auto encode = [](ASN1CTXT* c) { return xe_charstr(c, kShortText, 1, 12); };
    const auto decode = [](ASN1CTXT* c) {
        const char* text = nullptr;
        xd_charstr(c, &text, 1, 12, 0);
        return static_cast<const void*>(text);
    };
    ASN1_UTF8STRING* value = ASN1_UTF8STRING_new();
    ASN1_STRING_set(value, kShortText, -1);
    add_row("utf8_text", encode, decode, value, i2d_ASN1_UTF8STRING, d2i_ASN1_UTF8STRING,
            ASN1_UTF8STRING_free);

    static std::vector<std::uint16_t> characters(40, 0x41);
    const auto encode_wide = [](ASN1CTXT* c) {
        const ASN1TBMPText text{40, characters.data()};
        return xe_16BitCharStr(c, &text, 1, 30);
    };
    const auto decode_wide = [](ASN1CTXT* c) {
        ASN1TBMPText text{};
        xd_16BitCharStr(c, &text, 1, 30, 0);
        return static_cast<const void*>(text.data);
    };
    ASN1_BMPSTRING* wide = ASN1_BMPSTRING_new();
    const Bytes bytes(80, 0x41);
    ASN1_STRING_set(wide, bytes.data(), 80);
    add_row("bmp_text", encode_wide, decode_wide, wide, i2d_ASN1_BMPSTRING, d2i_ASN1_BMPSTRING,
            ASN1_BMPSTRING_free);
}

void add_boolean() {
    const auto encode = [](ASN1CTXT* c) {
        const unsigned char value = 1;
        return xe_boolean(c, &value, 1);
    };
    const auto decode = [](ASN1CTXT* c) {
        unsigned char value;
        xd_boolean(c, &value, 1, 0);
        benchmark::DoNotOptimize(value);
        return static_cast<const void*>(nullptr);
    };
    ASN1_TYPE* value = ASN1_TYPE_new();
    ASN1_TYPE_set(value, V_ASN1_BOOLEAN, &value);
    add_row("boolean", encode, decode, value, i2d_ASN1_TYPE, d2i_ASN1_TYPE, ASN1_TYPE_free);
}

[[maybe_unused]] const bool registered = [] {
    add_boolean();
    add_integers();
    add_oid();
    add_bits();
    add_octets("octets_20", 20);
    add_octets("octets_64k", kLargeOctets);
    add_texts();
    return true;
}();

} // namespace
