// The decoder of each primitive type over any bytes. What decodes encodes again, and what that
// gives decodes to the same value; where OpenSSL takes the same bytes in primitive form, so must
// we, and with the same value.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <openssl/asn1.h>
#include <openssl/bn.h>

#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/encode.h>

namespace {

using Bytes = std::vector<unsigned char>;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Context : ASN1CTXT {
    Context() { rtInitContext(this, nullptr); }
    ~Context() { rtFreeContext(this); }

    void read(const Bytes& bytes) {
        rtInitContextBuffer(this, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        flags = static_cast<std::uint16_t>(flags & ctxFlagNoCopy);
    }
};

template <typename Encode>
Bytes write(Encode encode) {
    Context ctxt;
    xe_setp(&ctxt, nullptr, 0);
    const int length = encode(&ctxt);
    require(length >= 0);
    return Bytes(xe_getp(&ctxt), xe_getp(&ctxt) + length);
}

// Decode, encode, decode: the values, as the encoder's bytes, agree. The first encoding, or nothing
// when the bytes don't decode.
template <typename Decode, typename Encode>
Bytes round_trip(const Bytes& bytes, Decode decode, Encode encode) {
    Context ctxt;
    ctxt.read(bytes);
    if (decode(&ctxt) != 0) {
        require(ctxt.bufIndex <= bytes.size());
        return {};
    }
    require(ctxt.bufIndex <= bytes.size());
    const Bytes first = write(encode);
    Context again;
    again.read(first);
    require(decode(&again) == 0);
    require(again.bufIndex == first.size());
    require(write(encode) == first);
    return first;
}

template <typename T>
void plain_number(const Bytes& bytes, int (*decode)(ASN1CTXT*, T*, ASN1TagType, int),
                  int (*encode)(ASN1CTXT*, const T*, ASN1TagType)) {
    T value{};
    round_trip(
        bytes, [&](ASN1CTXT* c) { return decode(c, &value, 1, 0); },
        [&](ASN1CTXT* c) { return encode(c, &value, 1); });
}

// The part of the bytes that OpenSSL took, as it writes it again; empty when it refused them, and
// for any other tag than the primitive type's one byte: OpenSSL takes long forms, too, and some
// functions any class.
template <typename T>
Bytes openssl(const Bytes& bytes, std::uint32_t tag, T* (*decode)(T**, const unsigned char**, long),
              int (*encode)(const T*, unsigned char**), void (*release)(T*)) {
    if (bytes[0] != tag || (bytes.size() > 1 && bytes[1] > 0x84)) {
        return {};
    }
    const unsigned char* at = bytes.data();
    T* value = decode(nullptr, &at, static_cast<long>(bytes.size()));
    if (value == nullptr) {
        return {};
    }
    Bytes result(static_cast<std::size_t>(std::max(encode(value, nullptr), 0)));
    unsigned char* out = result.data();
    encode(value, &out);
    release(value);
    return result;
}

void big_integer(const Bytes& bytes) {
    std::string kept;
    const Bytes ours = round_trip(
        bytes,
        [&](ASN1CTXT* c) {
            const char* text = nullptr;
            const int status = xd_bigint(c, &text, 1, 0);
            if (status == 0) {
                kept = text;
            }
            return status;
        },
        [&](ASN1CTXT* c) { return xe_bigint(c, kept.c_str(), 1); });
    const Bytes theirs =
        openssl(bytes, rtTagInteger, d2i_ASN1_INTEGER, i2d_ASN1_INTEGER, ASN1_INTEGER_free);
    if (!theirs.empty()) {
        require(ours == theirs);
    }
    int small = 0;
    Context ctxt;
    ctxt.read(bytes);
    if (xd_integer(&ctxt, &small, 1, 0) == 0) {
        require(write([&](ASN1CTXT* c) { return xe_integer(c, &small, 1); }) == ours);
    }
}

// Whether each sub-identifier has at most 28 bits, so that nothing falls off.
bool has_small_arcs(const Bytes& contents) {
    std::size_t run = 0;
    for (const unsigned char byte : contents) {
        run = (byte & 0x80) != 0 ? run + 1 : 0;
        if (run > 3) {
            return false;
        }
    }
    return true;
}

void object_id(const Bytes& bytes) {
    ASN1OBJID oid{};
    const Bytes ours = round_trip(
        bytes, [&](ASN1CTXT* c) { return xd_objid(c, &oid, 1, 0); },
        // The first arc may have lost its high bits or be too wide to be written: nothing to
        // compare then.
        [&](ASN1CTXT* c) { return oid.subid[1] > UINT32_MAX - 80 ? 0 : xe_objid(c, &oid, 1); });
    const Bytes theirs =
        openssl(bytes, rtTagObjectId, d2i_ASN1_OBJECT, i2d_ASN1_OBJECT, ASN1_OBJECT_free);
    if (!theirs.empty() && theirs.size() < 100 && has_small_arcs(theirs)) {
        require(ours == theirs);
    }
}

void octet_string(const Bytes& bytes) {
    Bytes kept;
    const auto encode = [&](ASN1CTXT* c) {
        return xe_octstr(c, kept.data(), static_cast<std::uint32_t>(kept.size()), 1);
    };
    const auto decode = [&](std::uint16_t flags) {
        return [&kept, flags](ASN1CTXT* c) {
            c->flags = flags;
            const unsigned char* data = nullptr;
            std::uint32_t count = 0;
            const int status = xd_octstr(c, &data, &count, 1, 0);
            if (status == 0) {
                kept.assign(data, data + count);
            }
            return status;
        };
    };
    const Bytes ours = round_trip(bytes, decode(0), encode);
    require(round_trip(bytes, decode(ctxFlagNoCopy), encode) == ours);
    const Bytes theirs = openssl(bytes, rtTagOctetString, d2i_ASN1_OCTET_STRING,
                                 i2d_ASN1_OCTET_STRING, ASN1_OCTET_STRING_free);
    if (!theirs.empty()) {
        require(ours == theirs);
    }
    Context ctxt;
    ctxt.read(bytes);
    Bytes fixed(16);
    std::uint32_t count = 16;
    if (xd_octstr_s(&ctxt, fixed.data(), &count, 1, 0) == 0) {
        fixed.resize(count);
        require(fixed == (round_trip(bytes, decode(0), encode), kept));
    }
}

void bit_string(const Bytes& bytes) {
    Bytes kept;
    std::uint32_t bits = 0;
    const auto encode = [&](ASN1CTXT* c) { return xe_bitstr(c, kept.data(), bits, 1); };
    const auto decode = [&](std::uint16_t flags) {
        return [&kept, &bits, flags](ASN1CTXT* c) {
            c->flags = flags;
            const unsigned char* data = nullptr;
            const int status = xd_bitstr(c, &data, &bits, 1, 0);
            kept.assign(data, data + (status == 0 ? (bits + 7) / 8 : 0));
            return status;
        };
    };
    const Bytes ours = round_trip(bytes, decode(0), encode);
    require(round_trip(bytes, decode(ctxFlagNoCopy), encode) == ours);
    const unsigned char* at = bytes.data();
    ASN1_BIT_STRING* theirs = d2i_ASN1_BIT_STRING(nullptr, &at, static_cast<long>(bytes.size()));
    // OpenSSL takes a count of unused bits without any data, and clears the unused bits; all others
    // agree.
    if (theirs != nullptr && theirs->length > 0 && bytes[0] == rtTagBitString && bytes[1] <= 0x84) {
        require(!ours.empty() && static_cast<int>(kept.size()) == theirs->length);
        for (std::uint32_t i = 0; i < bits; ++i) {
            require(((kept[i / 8] >> (7 - i % 8)) & 1) ==
                    ASN1_BIT_STRING_get_bit(theirs, static_cast<int>(i)));
        }
    }
    ASN1_BIT_STRING_free(theirs);
    Context ctxt;
    ctxt.read(bytes);
    ctxt.flags = ctxFlagConstructed;
    Bytes fixed(4);
    bits = 32;
    const int length = static_cast<int>(bytes.size());
    if (xd_bitstr_s(&ctxt, fixed.data(), &bits, 0, length) == 0) {
        require(bits <= 32);
    }
}

void texts(const Bytes& bytes) {
    for (const std::uint32_t tag : {12U, 22U}) {
        std::string kept;
        round_trip(
            bytes,
            [&](ASN1CTXT* c) {
                const char* text = nullptr;
                const int status = xd_charstr(c, &text, 1, tag, 0);
                kept = text == nullptr ? "" : text;
                return status;
            },
            [&](ASN1CTXT* c) { return xe_charstr(c, kept.c_str(), 1, tag); });
    }
    std::vector<std::uint16_t> narrow;
    round_trip(
        bytes,
        [&](ASN1CTXT* c) {
            ASN1TBMPText text{};
            const int status = xd_16BitCharStr(c, &text, 1, 30, 0);
            narrow.assign(text.data, text.data + text.nchars);
            return status;
        },
        [&](ASN1CTXT* c) {
            const ASN1TBMPText text{static_cast<std::uint32_t>(narrow.size()), narrow.data()};
            return xe_16BitCharStr(c, &text, 1, 30);
        });
    std::vector<std::uint32_t> wide;
    round_trip(
        bytes,
        [&](ASN1CTXT* c) {
            ASN1TUniversalText text{};
            const int status = xd_32BitCharStr(c, &text, 1, 28, 0);
            wide.assign(text.data, text.data + text.nchars);
            return status;
        },
        [&](ASN1CTXT* c) {
            const ASN1TUniversalText text{static_cast<std::uint32_t>(wide.size()), wide.data()};
            return xe_32BitCharStr(c, &text, 1, 28);
        });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) {
        return 0;
    }
    // One byte more keeps data() from being null; the readers aren't told of it.
    Bytes bytes;
    bytes.reserve(size + 1);
    bytes.assign(data, data + size);
    unsigned char truth = 0;
    Context ctxt;
    ctxt.read(bytes);
    if (size != 0 && xd_boolean(&ctxt, &truth, 1, 0) == 0) {
        require(write([&](ASN1CTXT* c) { return xe_boolean(c, &truth, 1); }).size() == 3);
    }
    if (size == 0) {
        return 0;
    }
    plain_number<int>(bytes, xd_integer, xe_integer);
    plain_number<int>(bytes, xd_enum, xe_enum);
    plain_number<unsigned int>(bytes, xd_unsigned, xe_unsigned);
    plain_number<unsigned short>(bytes, xd_uint16, xe_uint16);
    big_integer(bytes);
    object_id(bytes);
    octet_string(bytes);
    bit_string(bytes);
    texts(bytes);
    return 0;
}
