// The primitive types with libtasn1's functions for single values. They read into storage of the
// caller's.
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>
#include <libtasn1.h>

#include "primitive_values.h"

namespace {

using Bytes = std::vector<unsigned char>;

void require(bool good) {
    if (!good) {
        std::abort();
    }
}

// Tag and length, and the contents behind them.
unsigned write(unsigned type, const Bytes& contents, unsigned char* out) {
    unsigned header = 16;
    require(asn1_encode_simple_der(type, contents.data(), static_cast<unsigned>(contents.size()),
                                   out, &header) == ASN1_SUCCESS);
    std::memcpy(out + header, contents.data(), contents.size());
    return header + static_cast<unsigned>(contents.size());
}

void add_row(const std::string& name, unsigned type, const Bytes& contents) {
    benchmark::RegisterBenchmark((name + "_encode_libtasn1").c_str(), [=](benchmark::State& state) {
        Bytes out(70000);
        for (auto _ : state) {
            benchmark::DoNotOptimize(write(type, contents, out.data()));
            benchmark::ClobberMemory();
        }
    });
    benchmark::RegisterBenchmark((name + "_decode_libtasn1").c_str(), [=](benchmark::State& state) {
        Bytes der(70000);
        const unsigned length = write(type, contents, der.data());
        Bytes value(contents.size() + 1);
        for (auto _ : state) {
            unsigned char tag_class = 0;
            int header = 0;
            unsigned long tag = 0;
            require(asn1_get_tag_der(der.data(), static_cast<int>(length), &tag_class, &header,
                                     &tag) == ASN1_SUCCESS);
            int octets = 0;
            const long size = asn1_get_length_der(der.data() + header,
                                                  static_cast<int>(length) - header, &octets);
            require(size >= 0);
            std::memcpy(value.data(), der.data() + header + octets, static_cast<std::size_t>(size));
            benchmark::ClobberMemory();
        }
    });
}

void add_oid() {
    benchmark::RegisterBenchmark("oid_7_arcs_encode_libtasn1", [](benchmark::State& state) {
        for (auto _ : state) {
            unsigned char out[64];
            int size = sizeof out;
            benchmark::DoNotOptimize(asn1_object_id_der(kSmallOid, out, &size, 0));
        }
    });
    benchmark::RegisterBenchmark("oid_7_arcs_decode_libtasn1", [](benchmark::State& state) {
        unsigned char der[64];
        int length = sizeof der;
        require(asn1_object_id_der(kSmallOid, der, &length, 0) == ASN1_SUCCESS);
        for (auto _ : state) {
            char text[64];
            int used = 0;
            // It takes the value behind tag and length.
            benchmark::DoNotOptimize(
                asn1_get_object_id_der(der + 1, length - 1, &used, text, sizeof text));
        }
    });
}

[[maybe_unused]] const bool registered = [] {
    add_row("integer_32", ASN1_ETYPE_INTEGER, {0x12, 0xD6, 0x87});
    Bytes large(257, 0xC3);
    large[0] = 0;
    add_row("integer_2048", ASN1_ETYPE_INTEGER, large);
    add_row("octets_20", ASN1_ETYPE_OCTET_STRING, Bytes(20, 0x5A));
    add_row("octets_64k", ASN1_ETYPE_OCTET_STRING, Bytes(kLargeOctets, 0x5A));
    add_row("utf8_text", ASN1_ETYPE_UTF8_STRING,
            Bytes(kShortText, kShortText + std::strlen(kShortText)));
    add_oid();
    return true;
}();

} // namespace
