// put_in_front(n), the one bounds-checked step of the cursor under every writer. No other code
// moves it over bytes that are written.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/status.h>

namespace asn1rt {

// Makes the message longer by `count` bytes at its front, for the caller to fill; null on failure,
// with the status in `status`, and nothing has moved.
unsigned char* put_in_front_growing(ASN1CTXT* ctxt, std::uint32_t count, int& status);

inline unsigned char* put_in_front(ASN1CTXT* ctxt, std::uint32_t count, int& status) {
    if (ctxt->bufIndex < count) [[unlikely]] {
        return put_in_front_growing(ctxt, count, status);
    }
    ctxt->bufIndex -= count;
    return ctxt->bufData + ctxt->bufIndex;
}

// One byte: 1 or a negative status.
inline int put_byte(ASN1CTXT* ctxt, unsigned char byte) {
    int status;
    unsigned char* at = put_in_front(ctxt, 1, status);
    if (at == nullptr) {
        return status;
    }
    *at = byte;
    return 1;
}

// Octets that hold so many bits.
constexpr std::uint32_t octets_of(unsigned bits) {
    return (bits + 7) / 8;
}

// The low `count` octets of the value, at most 8: their count or a negative status.
inline int put_number(ASN1CTXT* ctxt, std::uint64_t value, std::uint32_t count) {
    int status;
    unsigned char* at = put_in_front(ctxt, count, status);
    if (at == nullptr) {
        return status;
    }
    for (std::uint32_t i = count; i-- > 0; value >>= 8) {
        at[i] = static_cast<unsigned char>(value);
    }
    return static_cast<int>(count);
}

// The result of a writer: its contents' length, or with tagging 1 the element's. `least` is the
// smallest length that gets a tag and length.
inline int finish(ASN1CTXT* ctxt, ASN1TagType tagging, std::uint32_t tag, int length,
                  int least = 0) {
    return tagging == 1 && length >= least ? xe_tag_len(ctxt, tag, length) : length;
}

} // namespace asn1rt
