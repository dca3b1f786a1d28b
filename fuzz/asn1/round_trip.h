// What every encoded value owes: what is read is written in a form that stays the same from then
// on, and no failure leaves but as a result code.
#pragma once

#include <cstdlib>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>

// `make` gives a value to decode into. Values of a SET may be read back in another order than they
// were written in, so that values are compared by their encodings.
template <class Make>
void round_trip(const Halcyon::CBlob& input, Make make) {
    try {
        auto value = make();
        value.decode(input);
        const Halcyon::CBlob der = value.encode();
        auto back = make();
        back.decode(der);
        const auto copy = back;
        if (back.encode() != der || copy.encode() != der) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
}

template <class Value>
void round_trip(const Halcyon::CBlob& input) {
    round_trip(input, [] { return Value(); });
}

// The same for an attribute or an extension that keeps both forms of its value.
template <class Typed>
void round_trip_typed(const Halcyon::CBlob& input) {
    try {
        Typed value(input);
        if (value.get_value() != input) {
            std::abort();
        }
        value.encode();
        Typed back(value.get_value());
        back.encode();
        if (back.get_value() != value.get_value()) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
}
