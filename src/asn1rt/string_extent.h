// What the string readers share: the form of a string, and how much of the message it takes.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/tag.h>

namespace asn1rt {

struct StringExtent {
    bool constructed;
    bool indefinite; // then constructed, too
    int contents;    // what the pieces hold; of definite length: as `total`, so no less than that
    int total;       // bytes of the message, without an end-of-contents
};

// Matches the tag, if `tagging` says so, and measures the string; the cursor then stands on the
// contents. Failures are latched.
int open_string(ASN1CTXT* ctxt, ASN1TagType tagging, std::uint32_t tag, std::uint32_t pieceTag,
                int length, StringExtent& extent);

} // namespace asn1rt
