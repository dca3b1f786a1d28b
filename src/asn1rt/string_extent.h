// What the string readers share: how much of the message a string takes, and the block that it goes
// into.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/tag.h"

namespace asn1rt {

struct StringExtent {
    bool indefinite;
    int contents; // what the pieces hold; of definite length: as `total`, so no less than that
    int total;    // bytes of the message, without an end-of-contents
};

// Matches the tag, if `tagging` says so, and measures the string; the cursor then stands on the
// contents, and ctxFlagConstructed tells their form. Failures are latched.
int open_string(ASN1CTXT* ctxt, ASN1TagType tagging, std::uint32_t tag, std::uint32_t pieceTag,
                int length, StringExtent& extent);

// A block of the type heap, or null; not latched.
void* new_block(ASN1CTXT* ctxt, std::uint64_t size);

} // namespace asn1rt
