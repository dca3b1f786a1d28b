// The protocol by which operations fill a caller's buffer.
#pragma once

#include <chronoseal/base/blob.h>

namespace Halcyon::PKI::TSP::Client {

// `*size` is the room at `out` and gets the length of `bytes`; a null `out` ends it there. Throws
// CAtlException 0x800700EA, having copied nothing, when the room is too small.
void deliver(const CBlob& bytes, unsigned char* out, unsigned long* size);

} // namespace Halcyon::PKI::TSP::Client
