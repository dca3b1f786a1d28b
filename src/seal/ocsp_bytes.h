// An OCSPResponse and the BasicOCSPResponse in it (RFC 6960, 4.2.1): the first is what responders
// send and the platform reads, the second what signed messages carry.
#pragma once

#include <optional>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// A view into the response; nothing for a response of another kind, or none.
std::optional<ByteView> basic_response_of(ByteView response);

} // namespace chronoseal
