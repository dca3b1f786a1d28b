// The object identifier of 20 arcs with libtasn1: text to DER and DER to text.
#include <cstdlib>

#include <benchmark/benchmark.h>
#include <libtasn1.h>

#include "oid_text.h"

namespace {

void oid_text_to_der_libtasn1(benchmark::State& state) {
    for (auto _ : state) {
        unsigned char out[256];
        int size = sizeof out;
        benchmark::DoNotOptimize(asn1_object_id_der(kOidText, out, &size, 0));
    }
}
BENCHMARK(oid_text_to_der_libtasn1);

void oid_der_to_text_libtasn1(benchmark::State& state) {
    unsigned char der[128];
    int length = sizeof der;
    if (asn1_object_id_der(kOidText, der, &length, 0) != ASN1_SUCCESS) {
        std::abort();
    }
    for (auto _ : state) {
        char text[256];
        int used = 0;
        // It takes the value behind tag and length.
        benchmark::DoNotOptimize(
            asn1_get_object_id_der(der + 1, length - 1, &used, text, sizeof text));
    }
}
BENCHMARK(oid_der_to_text_libtasn1);

} // namespace
