// The SET OF octet strings with libtasn1. 50,000 members are left out: it finds the last member by
// walking to it, so that the time grows with the square (10: 2.1 us, 1,000: 2.4 ms).
#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>
#include <libtasn1.h>

#include "set_of_values.h"

namespace {

// T {} DEFINITIONS IMPLICIT TAGS ::= BEGIN Members ::= SET OF OCTET STRING END
const asn1_static_node set_of_definitions[] = {{"T", 536875024, nullptr},
                                               {nullptr, 1073741836, nullptr},
                                               {"Members", 536870927, nullptr},
                                               {nullptr, 7, nullptr},
                                               {nullptr, 0, nullptr}};

void require(int status) {
    if (status != ASN1_SUCCESS) {
        std::abort();
    }
}

asn1_node definitions() {
    static const asn1_node made = [] {
        asn1_node node = nullptr;
        require(asn1_array2tree(set_of_definitions, &node, nullptr));
        return node;
    }();
    return made;
}

asn1_node make_set(std::int64_t count) {
    asn1_node set = nullptr;
    require(asn1_create_element(definitions(), "T.Members", &set));
    for (std::int64_t i = count; i > 0; --i) {
        const Member bytes = member(i);
        require(asn1_write_value(set, "", "NEW", 1));
        require(asn1_write_value(set, "?LAST", bytes.data(), 4));
    }
    return set;
}

std::vector<unsigned char> code(asn1_node set, std::int64_t count) {
    std::vector<unsigned char> der(static_cast<std::size_t>(count) * 6 + 16);
    int size = static_cast<int>(der.size());
    require(asn1_der_coding(set, "", der.data(), &size, nullptr));
    der.resize(static_cast<std::size_t>(size));
    return der;
}

void set_of_encode_libtasn1(benchmark::State& state) {
    for (auto _ : state) {
        asn1_node set = make_set(state.range(0));
        benchmark::DoNotOptimize(code(set, state.range(0)).data());
        asn1_delete_structure(&set);
    }
}
BENCHMARK(set_of_encode_libtasn1)->Arg(10)->Arg(1000);

void set_of_decode_libtasn1(benchmark::State& state) {
    asn1_node source = make_set(state.range(0));
    const std::vector<unsigned char> der = code(source, state.range(0));
    asn1_delete_structure(&source);
    for (auto _ : state) {
        asn1_node set = nullptr;
        require(asn1_create_element(definitions(), "T.Members", &set));
        require(asn1_der_decoding(&set, der.data(), static_cast<int>(der.size()), nullptr));
        asn1_delete_structure(&set);
    }
}
BENCHMARK(set_of_decode_libtasn1)->Arg(10)->Arg(1000);

} // namespace
