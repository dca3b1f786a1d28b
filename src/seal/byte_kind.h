// What bytes are, by their outside alone.
#pragma once

#include <string>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/armor.h>

namespace chronoseal {

// The kind of bytes without armor. A response, token or request is told by its shape; whether it
// can be read is another matter.
Kind kind_of(ByteView bytes);

// "an X.509 certificate"
std::string_view kind_phrase(Kind kind);

// "an X.509 certificate in PEM": for a sentence. Armor is looked through.
std::string describe_bytes(ByteView bytes);
std::string describe(Kind kind, Form form);

// One that a stamp on the signature stands in.
bool is_stamp_attribute(const AttributeInfo& attribute);

// Whether a signed message is what a server of the older Authenticode protocol answers with.
bool is_authenticode_answer(ByteView der);

} // namespace chronoseal
