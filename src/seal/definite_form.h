// BER with indefinite lengths brought into the form with definite ones: what many signing tools
// write while the content is still coming. Nothing is sorted, and no length that is definite
// already is written anew unless something within it had to be; so what was signed stays as it was.
#pragma once

#include <optional>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Nothing for what isn't one element of BER and nothing behind it, or nests deeper than 64 levels. Strings in pieces become one where one of their lengths was indefinite.
std::optional<Bytes> with_definite_lengths(ByteView bytes);

} // namespace chronoseal
