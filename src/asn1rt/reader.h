// take(n), the one bounds-checked step of the cursor under every reader, and the unlatched readers
// of tags and lengths that stand on it. No other code of the run-time moves the cursor over bytes
// it hasn't checked.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/status.h>

namespace asn1rt {

inline std::uint32_t bytes_left(const ASN1CTXT* ctxt) {
    return ctxt->bufIndex < ctxt->bufSize ? ctxt->bufSize - ctxt->bufIndex : 0;
}

// Steps over `count` bytes and hands out the first; false, and nothing moves, when there are fewer.
inline bool take(ASN1CTXT* ctxt, std::uint32_t count, const unsigned char*& bytes) {
    if (count > bytes_left(ctxt)) {
        return false;
    }
    bytes = ctxt->bufData + ctxt->bufIndex;
    ctxt->bufIndex += count;
    return true;
}

inline bool take_byte(ASN1CTXT* ctxt, unsigned char& byte) {
    const unsigned char* at;
    if (!take(ctxt, 1, at)) {
        return false;
    }
    byte = *at;
    return true;
}

inline bool skip(ASN1CTXT* ctxt, std::uint32_t count) {
    const unsigned char* at;
    return take(ctxt, count, at);
}

inline int latch(ASN1CTXT* ctxt, int status) {
    return rtErrSetData(&ctxt->errInfo, status);
}

inline bool is_constructed(const ASN1CTXT* ctxt) {
    return (ctxt->flags & ctxFlagConstructed) != 0;
}

inline void set_constructed(ASN1CTXT* ctxt, bool constructed) {
    ctxt->flags = static_cast<std::uint16_t>(constructed ? ctxt->flags | ctxFlagConstructed
                                                         : ctxt->flags & ~ctxFlagConstructed);
}

// A length, whose short form isn't held against the buffer: the value's reader will do that. -2
// unlatched when no byte is left, otherwise as xd_len.
inline int read_length(ASN1CTXT* ctxt, int* length) {
    const int first = xd_peek(ctxt);
    if (first < 0) {
        return rtStatusEndOfBuffer;
    }
    if (first >= 0x80) {
        return xd_len(ctxt, length);
    }
    ++ctxt->bufIndex;
    *length = first;
    return rtStatusOk;
}

// The universal tag of a primitive type: exactly this byte, or -3; -2 at the end of the buffer. Not
// latched.
inline int match_primitive(ASN1CTXT* ctxt, unsigned char tagByte) {
    const int byte = xd_peek(ctxt);
    if (byte < 0) {
        return rtStatusEndOfBuffer;
    }
    if (byte != tagByte) {
        return rtStatusTagNotFound;
    }
    ++ctxt->bufIndex;
    return rtStatusOk;
}

// The end-of-contents behind a constructed string of indefinite length: consumed, or -5 latched.
inline int end_string(ASN1CTXT* ctxt, bool indefinite) {
    return indefinite ? xd_matchEoc(ctxt) : rtStatusOk;
}

// The whole size of the element of indefinite length that starts `data`, or a negative status.
int indefinite_size(const unsigned char* data, std::uint32_t size);

} // namespace asn1rt
