// Readers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER.
#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/reader.h>

namespace {

using asn1rt::latch;
using asn1rt::match_primitive;
using asn1rt::take;
using asn1rt::take_byte;

// Universal tag and length; not latched (but for what xd_len latches).
int read_primitive_header(ASN1CTXT* ctxt, std::uint32_t tag, int* length) {
    const int status = match_primitive(ctxt, static_cast<unsigned char>(tag));
    return status != rtStatusOk ? status : asn1rt::read_length(ctxt, length);
}

std::uint32_t big_endian(const unsigned char* octets, int count, std::uint32_t value) {
    for (int i = 0; i < count; ++i) {
        value = value << 8 | octets[i];
    }
    return value;
}

int read_signed(ASN1CTXT* ctxt, int* value, int length) {
    if (length > 4) {
        return latch(ctxt, rtStatusIntegerOverflow);
    }
    if (length < 1) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(length), octets)) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    const std::uint32_t sign = (octets[0] & 0x80) != 0 ? UINT32_MAX : 0;
    *value = static_cast<std::int32_t>(big_endian(octets, length, sign));
    return rtStatusOk;
}

// The arcs in `count` bytes of contents. Bits above the 32nd fall off, and the last arc may be cut
// short.
int read_arcs(const unsigned char* octets, int count, ASN1OBJID* oid) {
    const unsigned char* const end = octets + count;
    oid->numids = 0;
    while (octets != end) {
        std::uint32_t arc = 0;
        unsigned char byte;
        do {
            byte = *octets++;
            arc = arc << 7 | (byte & 0x7F);
        } while ((byte & 0x80) != 0 && octets != end);
        if (oid->numids == maxObjectIdArcs) {
            return rtStatusInvalidObjectId;
        }
        if (oid->numids == 0) {
            const std::uint32_t first = arc < 80 ? arc / 40 : 2;
            oid->subid[oid->numids++] = first;
            arc -= first * 40;
        }
        oid->subid[oid->numids++] = arc;
    }
    return rtStatusOk;
}

} // namespace

// The byte is kept as it came: any but 0 is true, and DER's 0xFF isn't asked for.
int xd_boolean(ASN1CTXT* ctxt, unsigned char* value, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = match_primitive(ctxt, rtTagBoolean);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
        asn1rt::set_constructed(ctxt, false);
        unsigned char raw;
        if (!take_byte(ctxt, raw)) {
            return latch(ctxt, rtStatusEndOfBuffer);
        }
        length = raw;
    }
    if (length != 1) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    return take_byte(ctxt, *value) ? rtStatusOk : latch(ctxt, rtStatusEndOfBuffer);
}

int xd_integer(ASN1CTXT* ctxt, int* value, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = read_primitive_header(ctxt, rtTagInteger, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    return read_signed(ctxt, value, length);
}

int xd_unsigned(ASN1CTXT* ctxt, unsigned int* value, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = read_primitive_header(ctxt, rtTagInteger, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    if (length > 5) {
        return latch(ctxt, rtStatusIntegerOverflow);
    }
    if (length < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    if (length == 5 && xd_peek(ctxt) > 0) {
        return latch(ctxt, rtStatusIntegerOverflow);
    }
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(length), octets)) {
        return rtStatusEndOfBuffer;
    }
    *value = big_endian(octets, length, 0);
    return rtStatusOk;
}

// A length of 0 takes a byte of what follows, as a length of 1 does.
int xd_uint16(ASN1CTXT* ctxt, unsigned short* value, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const bool indefinite = (ctxt->flags & ctxFlagIndefMessage) != 0;
        if (!indefinite && asn1rt::bytes_left(ctxt) < 3) {
            return latch(ctxt, rtStatusEndOfBuffer);
        }
        const int status = match_primitive(ctxt, rtTagInteger);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
        unsigned char raw;
        if (!take_byte(ctxt, raw)) {
            return latch(ctxt, rtStatusEndOfBuffer);
        }
        length = raw;
    }
    if (length > 3) {
        return latch(ctxt, rtStatusIntegerOverflow);
    }
    if (length < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    if (length == 3 && xd_peek(ctxt) > 0) {
        return latch(ctxt, rtStatusIntegerOverflow);
    }
    const int count = length == 0 ? 1 : length;
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(count), octets)) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    *value = static_cast<unsigned short>(big_endian(octets, count, 0));
    return rtStatusOk;
}

int xd_enum(ASN1CTXT* ctxt, int* value, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = read_primitive_header(ctxt, rtTagEnumerated, &length);
        if (status != rtStatusOk) {
            return status;
        }
    }
    return read_signed(ctxt, value, length);
}

int xd_null(ASN1CTXT* ctxt, ASN1TagType tagging) {
    if (tagging != 1) {
        return rtStatusOk;
    }
    const int status = match_primitive(ctxt, rtTagNull);
    if (status != rtStatusOk) {
        return latch(ctxt, status);
    }
    unsigned char length;
    if (!take_byte(ctxt, length)) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    return length == 0 ? rtStatusOk : latch(ctxt, rtStatusInvalidLength);
}

int xd_objid(ASN1CTXT* ctxt, ASN1OBJID* oid, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = read_primitive_header(ctxt, rtTagObjectId, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    if (length < 1) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(length), octets)) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    const int status = read_arcs(octets, length, oid);
    return status == rtStatusOk ? rtStatusOk : latch(ctxt, status);
}

int xd_bigint(ASN1CTXT* ctxt, const char** text, ASN1TagType tagging, int length) {
    if (tagging == 1) {
        const int status = read_primitive_header(ctxt, rtTagInteger, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    if (length < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    const unsigned char* octets;
    if (!take(ctxt, static_cast<std::uint32_t>(length), octets)) {
        return rtStatusEndOfBuffer;
    }
    const unsigned char* const end = octets + length;
    while (octets != end && *octets == 0) {
        ++octets;
    }
    const bool stripped = end - octets != length;
    char* const start = asn1rt::alloc<char>(ctxt, 2 * static_cast<std::uint64_t>(end - octets) + 4);
    if (start == nullptr) {
        return rtStatusNoMemory;
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    char* at = start;
    *at++ = '0';
    *at++ = 'x';
    // An odd digit in front keeps a positive number from reading as two's complement.
    if (octets == end || (stripped && (*octets & 0x80) != 0)) {
        *at++ = '0';
    }
    for (; octets != end; ++octets) {
        *at++ = kDigits[*octets >> 4];
        *at++ = kDigits[*octets & 0x0F];
    }
    *at = '\0';
    *text = start;
    return rtStatusOk;
}
