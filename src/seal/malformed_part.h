// Where a response or a token that can't be read is broken, for the words of a failure.
#pragma once

#include <string>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// "the tsa name in the TSTInfo"; empty where the place can't be told (BER with indefinite lengths,
// or a fault that lies deeper). Never throws for what the bytes are.
std::string malformed_part_of_response(ByteView der);
std::string malformed_part_of_token(ByteView der);

} // namespace chronoseal
