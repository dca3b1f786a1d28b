// A SET OF n octet strings of 4 bytes each, in descending order: to its sorted encoding and back to
// a list, beside OpenSSL.
#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/asn1.h>
#include <openssl/asn1t.h>

#include "set_of_values.h"
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

int write(ASN1CTXT* ctxt, std::int64_t count) {
    rtSList list;
    rtSListInitEx(ctxt, &list);
    for (std::int64_t i = count; i > 0; --i) {
        const Member bytes = member(i);
        const int length = xe_octstr(ctxt, bytes.data(), 4, 1);
        auto* descr =
            static_cast<BufLocDescr*>(rtMemHeapAlloc(&ctxt->typeHeap, sizeof(BufLocDescr)));
        xe_getBufLocDescr(ctxt, static_cast<std::uint32_t>(length), descr);
        rtSListAppend(&list, descr);
    }
    return xe_tag_len(ctxt, 0x20000011, xe_derCanonicalSort(ctxt, &list));
}

void set_of_encode_chronoseal(benchmark::State& state) {
    for (auto _ : state) {
        Context ctxt;
        xe_setp(&ctxt, nullptr, 0);
        benchmark::DoNotOptimize(write(&ctxt, state.range(0)));
    }
}
BENCHMARK(set_of_encode_chronoseal)->Arg(10)->Arg(1000)->Arg(50000);

void set_of_decode_chronoseal(benchmark::State& state) {
    Context source;
    xe_setp(&source, nullptr, 0);
    const int size = write(&source, state.range(0));
    struct Element {
        rtDListNode node;
        ASN1TDynOctStr value;
    };
    for (auto _ : state) {
        Context ctxt;
        xd_setp(&ctxt, xe_getp(&source), size, nullptr, nullptr);
        int length = 0;
        xd_match1(&ctxt, 0x11, &length);
        const ElementLocation contents = rtContentLocation(&ctxt, length);
        rtDList list;
        rtDListInit(&list);
        while (!rtContentEnded(&ctxt, &contents)) {
            auto* element = static_cast<Element*>(rtMemHeapAllocZ(&ctxt.typeHeap, sizeof(Element)));
            xd_octstr(&ctxt, &element->value.data, &element->value.numocts, 1, 0);
            rtDListAppendNode(&ctxt, &list, &element->value);
        }
        require(list.count == static_cast<std::uint32_t>(state.range(0)));
    }
}
BENCHMARK(set_of_decode_chronoseal)->Arg(10)->Arg(1000)->Arg(50000);

void set_of_encode_openssl(benchmark::State& state) {
    for (auto _ : state) {
        ASN1_SEQUENCE_ANY* set = sk_ASN1_TYPE_new_null();
        for (std::int64_t i = state.range(0); i > 0; --i) {
            const Member bytes = member(i);
            ASN1_OCTET_STRING* octets = ASN1_OCTET_STRING_new();
            ASN1_OCTET_STRING_set(octets, bytes.data(), 4);
            ASN1_TYPE* any = ASN1_TYPE_new();
            ASN1_TYPE_set(any, V_ASN1_OCTET_STRING, octets);
            sk_ASN1_TYPE_push(set, any);
        }
        unsigned char* der = nullptr;
        benchmark::DoNotOptimize(i2d_ASN1_SET_ANY(set, &der));
        OPENSSL_free(der);
        sk_ASN1_TYPE_pop_free(set, ASN1_TYPE_free);
    }
}
BENCHMARK(set_of_encode_openssl)->Arg(10)->Arg(1000)->Arg(50000);

void set_of_decode_openssl(benchmark::State& state) {
    Context source;
    xe_setp(&source, nullptr, 0);
    const int size = write(&source, state.range(0));
    for (auto _ : state) {
        const unsigned char* at = xe_getp(&source);
        ASN1_SEQUENCE_ANY* set = d2i_ASN1_SET_ANY(nullptr, &at, size);
        require(sk_ASN1_TYPE_num(set) == state.range(0));
        sk_ASN1_TYPE_pop_free(set, ASN1_TYPE_free);
    }
}
BENCHMARK(set_of_decode_openssl)->Arg(10)->Arg(1000)->Arg(50000);

} // namespace
