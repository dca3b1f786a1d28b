// What every codec fuzzer of this folder checks about one input. Whatever it is, decoding and
// encoding stay in bounds. If it is complete BER, a record that was decoded encodes, and the
// encoding decodes to a record that encodes to the same bytes. If its DER form can only be itself,
// it comes back unchanged. A breach aborts.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "canonical.h"
#include "well_formed.h"
#include <chronoseal/asn1rt/runtime.h>

namespace roundtrip {

/// One decode of the first element of `input`, and what it encodes to again.
template <class Record, class Control>
struct Recoded {
    int decoded = 0;
    int encoded = 0;
    Bytes bytes;

    explicit Recoded(const Bytes& input) {
        ASN1BERDecodeBuffer source(input.data(), static_cast<int>(input.size()));
        Record record{};
        Control control(source, record);
        decoded = control.Decode();
        if (decoded != 0)
            return;
        ASN1BEREncodeBuffer target;
        control.setMsgBuf(target);
        encoded = control.Encode();
        if (encoded > 0)
            bytes.assign(target.getMsgPtr(), target.getMsgPtr() + encoded);
    }
};

[[noreturn]] inline void fail(const char* what, int status) {
    std::fprintf(stderr, "round trip: %s (%d)\n", what, status);
    std::abort();
}

template <class Record, class Control>
int check(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 1U << 20)
        return 0;
    const Bytes input(data, data + size);
    const Recoded<Record, Control> first(input);
    if (first.decoded != 0 || !WellFormed(input).first())
        return 0;
    if (first.encoded <= 0)
        fail("a decoded value doesn't encode", first.encoded);
    if (first.bytes != input && CanonicalForm(input).certain() &&
        !same_but_sorted(first.bytes, input))
        fail("a canonical input came back changed", first.encoded);
    const Recoded<Record, Control> second(first.bytes);
    if (second.decoded != 0)
        fail("our own encoding doesn't decode", second.decoded);
    if (second.bytes != first.bytes)
        fail("the second encoding differs from the first", second.encoded);
    return 0;
}

} // namespace roundtrip
