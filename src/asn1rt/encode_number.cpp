// Writers of BOOLEAN, INTEGER, ENUMERATED, NULL and OBJECT IDENTIFIER.
#include "asn1rt/encode.h"
#include "asn1rt/writer.h"

namespace {

using asn1rt::finish;

// Five bytes hold any 32-bit integer with its pad byte, and any 32-bit sub-identifier.
constexpr std::uint32_t kMaxOctets = 5;

// Where the octets of a number are made: in the buffer itself, if that has room for the longest.
class Octets {
public:
    explicit Octets(ASN1CTXT* ctxt)
        : ctxt_(ctxt), in_place_(ctxt->bufIndex >= kMaxOctets),
          end_(in_place_ ? ctxt->bufData + ctxt->bufIndex : local_ + kMaxOctets), first_(end_) {}

    void put(std::uint32_t octet) { *--first_ = static_cast<unsigned char>(octet); }
    bool top_bit() const { return (*first_ & 0x80) != 0; }

    // Their number, or a negative status.
    int finish() {
        const auto count = static_cast<int>(end_ - first_);
        if (!in_place_) {
            return xe_memcpy(ctxt_, first_, count);
        }
        ctxt_->bufIndex -= static_cast<std::uint32_t>(count);
        return count;
    }

private:
    ASN1CTXT* ctxt_;
    bool in_place_;
    unsigned char local_[kMaxOctets];
    unsigned char* end_;
    unsigned char* first_;
};

int put_signed(ASN1CTXT* ctxt, std::int32_t value) {
    Octets octets(ctxt);
    do {
        octets.put(static_cast<std::uint32_t>(value));
        value >>= 8;
    } while (value != 0 && value != -1);
    if (octets.top_bit() != (value == -1)) {
        octets.put(value == -1 ? 0xFF : 0x00);
    }
    return octets.finish();
}

int put_unsigned(ASN1CTXT* ctxt, std::uint32_t value) {
    Octets octets(ctxt);
    do {
        octets.put(value);
        value >>= 8;
    } while (value != 0);
    if (octets.top_bit()) {
        octets.put(0x00);
    }
    return octets.finish();
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
    Octets octets(ctxt);
    octets.put(value & 0x7F);
    for (value >>= 7; value != 0; value >>= 7) {
        octets.put(0x80 | (value & 0x7F));
    }
    return octets.finish();
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
