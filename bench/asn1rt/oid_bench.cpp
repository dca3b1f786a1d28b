// An object identifier of 20 arcs: text to DER and DER to text, and the text forms alone, beside
// OpenSSL and libtasn1.
#include <benchmark/benchmark.h>
#include <openssl/objects.h>

#include "oid_text.h"
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/object_identifier.h>

namespace {

struct Der {
    Der() {
        ASN1_OBJECT* object = OBJ_txt2obj(kOidText, 1);
        unsigned char* at = bytes;
        length = i2d_ASN1_OBJECT(object, &at);
        ASN1_OBJECT_free(object);
    }
    unsigned char bytes[128];
    int length;
};

void oid_text_to_der_chronoseal(benchmark::State& state) {
    unsigned char out[256];
    ASN1CTXT ctxt;
    rtInitContext(&ctxt, nullptr);
    for (auto _ : state) {
        ASN1OBJID oid;
        xe_setp(&ctxt, out, sizeof out);
        benchmark::DoNotOptimize(rtStrToOid(kOidText, &oid));
        benchmark::DoNotOptimize(xe_objid(&ctxt, &oid, 1));
    }
    rtFreeContext(&ctxt);
}
BENCHMARK(oid_text_to_der_chronoseal);

void oid_text_to_der_openssl(benchmark::State& state) {
    for (auto _ : state) {
        ASN1_OBJECT* object = OBJ_txt2obj(kOidText, 1);
        unsigned char out[256];
        unsigned char* at = out;
        benchmark::DoNotOptimize(i2d_ASN1_OBJECT(object, &at));
        ASN1_OBJECT_free(object);
    }
}
BENCHMARK(oid_text_to_der_openssl);

void oid_der_to_text_chronoseal(benchmark::State& state) {
    const Der der;
    ASN1CTXT ctxt;
    rtInitContext(&ctxt, nullptr);
    for (auto _ : state) {
        ASN1OBJID oid;
        char text[256];
        xd_setp(&ctxt, der.bytes, der.length, nullptr, nullptr);
        benchmark::DoNotOptimize(xd_objid(&ctxt, &oid, 1, 0));
        benchmark::DoNotOptimize(rtOidToStr(&oid, text, sizeof text));
    }
    rtFreeContext(&ctxt);
}
BENCHMARK(oid_der_to_text_chronoseal);

void oid_der_to_text_openssl(benchmark::State& state) {
    const Der der;
    for (auto _ : state) {
        const unsigned char* at = der.bytes;
        ASN1_OBJECT* object = d2i_ASN1_OBJECT(nullptr, &at, der.length);
        char text[256];
        benchmark::DoNotOptimize(OBJ_obj2txt(text, sizeof text, object, 1));
        ASN1_OBJECT_free(object);
    }
}
BENCHMARK(oid_der_to_text_openssl);

void oid_compare_chronoseal(benchmark::State& state) {
    ASN1OBJID a;
    rtStrToOid(kOidText, &a);
    const ASN1OBJID b = a;
    for (auto _ : state) {
        unsigned char equal = 1;
        benchmark::DoNotOptimize(rtCmpOID(nullptr, &a, &b, &equal));
    }
}
BENCHMARK(oid_compare_chronoseal);

void oid_compare_openssl(benchmark::State& state) {
    ASN1_OBJECT* a = OBJ_txt2obj(kOidText, 1);
    ASN1_OBJECT* b = OBJ_txt2obj(kOidText, 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(OBJ_cmp(a, b));
    }
    ASN1_OBJECT_free(a);
    ASN1_OBJECT_free(b);
}
BENCHMARK(oid_compare_openssl);

} // namespace
