// Writers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER.
#include <bit>

#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/writer.h>

namespace {

using asn1rt::finish;

// One bit is the sign's.
int put_signed(ASN1CTXT* ctxt, std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    const auto magnitude = static_cast<unsigned>(std::bit_width(value < 0 ? ~bits : bits));
    return asn1rt::put_number(ctxt, bits, asn1rt::octets_of(magnitude + 1));
}

int put_unsigned(ASN1CTXT* ctxt, std::uint32_t value) {
    const auto magnitude = static_cast<unsigned>(std::bit_width(value));
    return asn1rt::put_number(ctxt, value, asn1rt::octets_of(magnitude + 1));
}

} // namespace

int xe_boolean(ASN1CTXT* ctxt, const unsigned char* value, ASN1TagType tagging) {
    if (value == nullptr) {
        return rtStatusInvalidArgument;
    }
    const int length = asn1rt::put_byte(ctxt, *value != 0 ? 0xFF : 0x00);
    return finish(ctxt, tagging, rtTagBoolean, length, 1);
}

int xe_integer(ASN1CTXT* ctxt, const int* value, ASN1TagType tagging) {
    if (value == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, rtTagInteger, put_signed(ctxt, *value), 1);
}

int xe_unsigned(ASN1CTXT* ctxt, const unsigned int* value, ASN1TagType tagging) {
    if (value == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, rtTagInteger, put_unsigned(ctxt, *value), 1);
}

int xe_uint16(ASN1CTXT* ctxt, const unsigned short* value, ASN1TagType tagging) {
    if (value == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, rtTagInteger, put_unsigned(ctxt, *value), 1);
}

int xe_enum(ASN1CTXT* ctxt, const int* value, ASN1TagType tagging) {
    if (value == nullptr) {
        return rtStatusInvalidArgument;
    }
    return finish(ctxt, tagging, rtTagEnumerated, put_signed(ctxt, *value));
}

int xe_null(ASN1CTXT* ctxt, ASN1TagType tagging) {
    return finish(ctxt, tagging, rtTagNull, 0);
}

int xe_identifier(ASN1CTXT* ctxt, std::uint32_t value) {
    std::uint64_t octets = value & 0x7F;
    std::uint32_t count = 1;
    for (value >>= 7; value != 0; value >>= 7, ++count) {
        octets |= std::uint64_t{0x80 | (value & 0x7F)} << (8 * count);
    }
    return asn1rt::put_number(ctxt, octets, count);
}

// The first two arcs make one sub-identifier. Where it would go beyond 32 bits the identifier is
// refused, since what xd_objid could read of it would be another identifier.
int xe_objid(ASN1CTXT* ctxt, const ASN1OBJID* oid, ASN1TagType tagging) {
    if (oid == nullptr || oid->numids < 2 || oid->numids > maxObjectIdArcs || oid->subid[0] > 2 ||
        (oid->subid[0] < 2 && oid->subid[1] > 39) || oid->subid[1] > UINT32_MAX - 80) {
        return rtStatusInvalidObjectId;
    }
    int length = 0;
    for (std::uint32_t arc = oid->numids - 1; arc >= 2; --arc) {
        const int octets = xe_identifier(ctxt, oid->subid[arc]);
        if (octets < 0) {
            return octets;
        }
        length += octets;
    }
    const int octets = xe_identifier(ctxt, oid->subid[0] * 40 + oid->subid[1]);
    return octets < 0 ? octets : finish(ctxt, tagging, rtTagObjectId, length + octets, 1);
}
