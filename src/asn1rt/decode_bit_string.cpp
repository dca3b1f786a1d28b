// Readers of BIT STRING.
#include <algorithm>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/reader.h>
#include <chronoseal/asn1rt/string_extent.h>

namespace {

using asn1rt::latch;
using asn1rt::take;
using asn1rt::take_byte;

constexpr unsigned kMaxUnused = 7;

// The number of bits in `count` bytes of data, or -5 when there is none or it goes beyond 32 bits.
int count_bits(std::uint32_t count, unsigned unused, std::uint32_t* numbits) {
    const std::uint64_t bits = std::uint64_t{count} * 8;
    if (bits < unused || bits - unused > UINT32_MAX) {
        return rtStatusInvalidLength;
    }
    *numbits = static_cast<std::uint32_t>(bits - unused);
    return rtStatusOk;
}

int read_primitive(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room, std::uint32_t* numbits,
                   int length) {
    if (length < 1) {
        *numbits = 0;
        return length == 0 ? rtStatusOk : rtStatusInvalidLength;
    }
    unsigned char unused;
    if (!take_byte(ctxt, unused)) {
        return rtStatusEndOfBuffer;
    }
    const auto count = static_cast<std::uint32_t>(length - 1);
    if (count == 0) {
        *numbits = 0;
        return unused == 0 ? rtStatusOk : rtStatusInvalidLength;
    }
    if (unused > kMaxUnused) {
        return rtStatusInvalidArgument;
    }
    if (count > room) {
        return rtStatusValueTooLong;
    }
    const int status = xd_memcpy(ctxt, bytes, count);
    return status == rtStatusOk ? count_bits(count, unused, numbits) : status;
}

// The pieces of a constructed string as they are gathered. The count of unused bits is that of the
// piece with which the room is filled to the last byte or, when none does that, of the last one;
// the first bytes of all other pieces stay where they are, in the middle of the data.
struct Pieces {
    unsigned char* bytes;
    std::uint32_t room;
    std::uint32_t sum = 0;
    std::uint32_t last_start = 0;
    std::uint32_t last_size = 0;
    bool any = false;
    bool final_met = false;
    unsigned char unused = 0;

    int add(ASN1CTXT* ctxt) {
        int length = 0;
        const int status = xd_match1(ctxt, static_cast<unsigned char>(rtTagBitString), &length);
        if (status != rtStatusOk) {
            return status;
        }
        if (length < 0) {
            return latch(ctxt, rtStatusInvalidLength);
        }
        auto size = static_cast<std::uint32_t>(length);
        any = true;
        if (std::uint64_t{sum} + size == std::uint64_t{room} + 1) {
            final_met = true;
            if (!take_byte(ctxt, unused)) {
                return rtStatusEndOfBuffer;
            }
            --size;
        } else {
            last_start = sum;
            last_size = size;
        }
        if (size > room - sum) {
            return latch(ctxt, rtStatusValueTooLong);
        }
        sum += size;
        return xd_memcpy(ctxt, bytes + sum - size, size);
    }

    // Takes the count of unused bits out of the last piece.
    int close(ASN1CTXT* ctxt) {
        if (final_met || !any) {
            return rtStatusOk;
        }
        if (last_size == 0) {
            return latch(ctxt, rtStatusInvalidLength);
        }
        unsigned char* const last = bytes + last_start;
        unused = *last;
        std::memmove(last, last + 1, last_size - 1);
        --sum;
        return rtStatusOk;
    }
};

int read_constructed(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room,
                     std::uint32_t* numbits, int length) {
    Pieces pieces{bytes, room};
    const ElementLocation location = rtContentLocation(ctxt, length);
    int status = rtStatusOk;
    while (status == rtStatusOk && !rtContentEnded(ctxt, &location)) {
        status = pieces.add(ctxt);
    }
    if (status == rtStatusOk) {
        status = pieces.close(ctxt);
    }
    if (status != rtStatusOk) {
        return status;
    }
    if (pieces.unused > kMaxUnused) {
        return rtStatusInvalidArgument;
    }
    const std::int64_t walked = std::int64_t{ctxt->bufIndex} - location.start;
    if (length != rtIndefiniteLength && walked != length) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    return count_bits(pieces.sum, pieces.unused, numbits);
}

int read_bits(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room, std::uint32_t* numbits,
              int length, bool constructed) {
    return constructed ? read_constructed(ctxt, bytes, room, numbits, length)
                       : read_primitive(ctxt, bytes, room, numbits, length);
}

// A string without a bit: nothing, or the one byte 0.
int read_empty(ASN1CTXT* ctxt, int contents) {
    if (contents != 1) {
        return rtStatusOk;
    }
    unsigned char unused;
    if (!take_byte(ctxt, unused)) {
        return rtStatusEndOfBuffer;
    }
    return unused == 0 ? rtStatusOk : rtStatusInvalidLength;
}

int point_into_message(ASN1CTXT* ctxt, const unsigned char** bytes, std::uint32_t* numbits,
                       int contents) {
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(contents), octets)) {
        return rtStatusEndOfBuffer;
    }
    if (octets[0] > kMaxUnused) {
        return rtStatusInvalidArgument;
    }
    *bytes = octets + 1;
    return count_bits(static_cast<std::uint32_t>(contents - 1), octets[0], numbits);
}

int read_new_block(ASN1CTXT* ctxt, const asn1rt::StringExtent& extent, const unsigned char** bytes,
                   std::uint32_t* numbits) {
    const auto room = static_cast<std::uint32_t>(extent.contents - 1);
    // Whatever the length promises, nothing is read behind the end of the message.
    auto* block =
        asn1rt::alloc_latched<unsigned char>(ctxt, std::min(room, asn1rt::bytes_left(ctxt)));
    if (block == nullptr) {
        return rtStatusNoMemory;
    }
    *bytes = block;
    return read_bits(ctxt, block, room, numbits, extent.total, extent.constructed);
}

} // namespace

int xd_bitstr_s(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t* numbits, ASN1TagType tagging,
                int length) {
    const std::uint32_t room = *numbits == 0 ? 0 : (*numbits - 1) / 8 + 1;
    if (tagging == 1) {
        int status = asn1rt::match_primitive(ctxt, static_cast<unsigned char>(rtTagBitString));
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
        asn1rt::set_constructed(ctxt, false);
        status = asn1rt::read_length(ctxt, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    const bool constructed = tagging != 1 && asn1rt::is_constructed(ctxt);
    return read_bits(ctxt, bytes, room, numbits, length, constructed);
}

int xd_bitstr(ASN1CTXT* ctxt, const unsigned char** bytes, std::uint32_t* numbits,
              ASN1TagType tagging, int length) {
    asn1rt::StringExtent extent;
    int status = asn1rt::open_string(ctxt, tagging, rtTagBitString, rtTagBitString, length, extent);
    if (status != rtStatusOk) {
        return status;
    }
    *numbits = 0;
    *bytes = nullptr;
    if (extent.contents < 2) {
        status = read_empty(ctxt, extent.contents);
    } else if ((ctxt->flags & ctxFlagNoCopy) != 0 && !extent.constructed) {
        status = point_into_message(ctxt, bytes, numbits, extent.contents);
    } else {
        status = read_new_block(ctxt, extent, bytes, numbits);
    }
    return status == rtStatusOk ? asn1rt::end_string(ctxt, extent.indefinite) : status;
}
