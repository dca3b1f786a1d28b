// Readers of octet and character strings, in primitive form, constructed, and constructed with
// indefinite length. The pieces of a constructed string of either kind are primitive OCTET STRINGs.
#include <chronoseal/asn1rt/decode.h>

#include <algorithm>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/big_endian.h>
#include <chronoseal/asn1rt/reader.h>
#include <chronoseal/asn1rt/string_extent.h>

namespace {

using asn1rt::latch;
using asn1rt::StringExtent;

// The header of a piece, or of a string with tagging 1: always primitive.
int read_piece_header(ASN1CTXT* ctxt, int* length) {
    int status = asn1rt::match_primitive(ctxt, rtTagOctetString);
    if (status != rtStatusOk) {
        return latch(ctxt, status);
    }
    asn1rt::set_constructed(ctxt, false);
    status = asn1rt::read_length(ctxt, length);
    return status == rtStatusOk ? rtStatusOk : latch(ctxt, status);
}

// Copies `length` bytes of contents into `room` bytes.
int read_contents(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room, int length) {
    if (length < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    if (static_cast<std::uint32_t>(length) > room) {
        return latch(ctxt, rtStatusValueTooLong);
    }
    const int status = xd_memcpy(ctxt, bytes, static_cast<std::uint32_t>(length));
    return status == rtStatusOk ? rtStatusOk : latch(ctxt, status);
}

// The contents of the pieces in the next `length` bytes, one behind the other; `*numocts` receives
// their sum.
int gather_pieces(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room, int length,
                  std::uint32_t* numocts) {
    const ElementLocation pieces = rtContentLocation(ctxt, length);
    std::uint32_t sum = 0;
    while (!rtContentEnded(ctxt, &pieces)) {
        const std::uint32_t left =
            static_cast<std::uint32_t>(length) - (ctxt->bufIndex - pieces.start);
        int piece = 0;
        int status = read_piece_header(ctxt, &piece);
        if (status == rtStatusOk) {
            status = read_contents(ctxt, bytes + sum, std::min(room - sum, left), piece);
        }
        if (status != rtStatusOk) {
            return status;
        }
        sum += static_cast<std::uint32_t>(piece);
    }
    if (ctxt->bufIndex - pieces.start != static_cast<std::uint32_t>(length)) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    *numocts = sum;
    return rtStatusOk;
}

// Contents of either form, whose header has been read, into storage of `room` bytes.
int read_octets(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t room, int length,
                bool constructed, std::uint32_t* numocts) {
    if (constructed) {
        return gather_pieces(ctxt, bytes, room, length, numocts);
    }
    const int status = read_contents(ctxt, bytes, room, length);
    if (status == rtStatusOk) {
        *numocts = static_cast<std::uint32_t>(length);
    }
    return status;
}

// A new block with the string and `extra` zeroed bytes behind it. A block without the string is
// handed out even when its reading fails. Null and -12 latched without memory.
int read_new_block(ASN1CTXT* ctxt, const StringExtent& extent, std::uint32_t extra,
                   unsigned char** block, std::uint32_t* numocts) {
    *block = nullptr;
    *numocts = 0;
    const auto contents = static_cast<std::uint32_t>(extent.contents);
    const std::uint32_t left = asn1rt::bytes_left(ctxt);
    if (!extent.constructed && contents > left) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    // Whatever a constructed string promises, its pieces hold no more than what is left.
    *block =
        asn1rt::alloc_latched<unsigned char>(ctxt, std::uint64_t{std::min(contents, left)} + extra);
    if (*block == nullptr) {
        return rtStatusNoMemory;
    }
    const int status =
        read_octets(ctxt, *block, contents, extent.total, extent.constructed, numocts);
    std::memset(*block + *numocts, 0, extra);
    return status;
}

// Characters of the width of T, from big-endian to host order in place.
template <typename T, typename Record>
int read_characters(ASN1CTXT* ctxt, Record* text, ASN1TagType tagging, std::uint32_t tag,
                    int length) {
    StringExtent extent;
    int status = asn1rt::open_string(ctxt, tagging, tag, rtTagOctetString, length, extent);
    if (status != rtStatusOk) {
        return status;
    }
    *text = {0, nullptr};
    if (extent.total == 0 && !extent.indefinite) {
        return rtStatusOk;
    }
    if (extent.contents < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    unsigned char* bytes;
    std::uint32_t numocts;
    status = read_new_block(ctxt, extent, 0, &bytes, &numocts);
    if (status != rtStatusOk) {
        return status;
    }
    auto* characters = reinterpret_cast<T*>(bytes);
    for (std::uint32_t i = 0; i < numocts / sizeof(T); ++i) {
        T character;
        std::memcpy(&character, characters + i, sizeof(T));
        character = asn1rt::big_endian(character);
        std::memcpy(characters + i, &character, sizeof(T));
    }
    *text = {static_cast<std::uint32_t>(numocts / sizeof(T)), characters};
    return asn1rt::end_string(ctxt, extent.indefinite);
}

} // namespace

int asn1rt::open_string(ASN1CTXT* ctxt, ASN1TagType tagging, std::uint32_t tag,
                        std::uint32_t pieceTag, int length, StringExtent& extent) {
    if (tagging == 1) {
        const auto tag_byte = static_cast<unsigned char>(tag >> 24 | (tag & 0x1F));
        const int status = xd_match1(ctxt, tag_byte, &length);
        if (status != rtStatusOk) {
            return latch(ctxt, status);
        }
    }
    const bool indefinite = length == rtIndefiniteLength;
    extent = {indefinite || is_constructed(ctxt), indefinite, length, length};
    if (!indefinite) {
        return rtStatusOk;
    }
    const int status = xd_consStrIndefLenAndSize(ctxt, pieceTag, &extent.contents, &extent.total);
    return status == rtStatusOk ? rtStatusOk : latch(ctxt, status);
}

int xd_memcpy(ASN1CTXT* ctxt, unsigned char* destination, std::uint32_t count) {
    const unsigned char* bytes;
    if (!asn1rt::take(ctxt, count, bytes)) {
        return rtStatusEndOfBuffer;
    }
    if (count != 0) {
        std::memcpy(destination, bytes, count);
    }
    return rtStatusOk;
}

int xd_octstr_s(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t* numocts, ASN1TagType tagging,
                int length) {
    if (tagging == 1) {
        const int status = read_piece_header(ctxt, &length);
        if (status != rtStatusOk) {
            return status;
        }
    }
    if (length < 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    if (static_cast<std::uint32_t>(length) > *numocts) {
        return latch(ctxt, rtStatusValueTooLong);
    }
    const bool constructed = tagging != 1 && asn1rt::is_constructed(ctxt);
    return read_octets(ctxt, bytes, *numocts, length, constructed, numocts);
}

int xd_octstr(ASN1CTXT* ctxt, const unsigned char** bytes, std::uint32_t* numocts,
              ASN1TagType tagging, int length) {
    StringExtent extent;
    int status =
        asn1rt::open_string(ctxt, tagging, rtTagOctetString, rtTagOctetString, length, extent);
    if (status != rtStatusOk) {
        return status;
    }
    if (extent.contents < 0) {
        *numocts = 0;
        *bytes = nullptr;
        return rtStatusOk;
    }
    if ((ctxt->flags & ctxFlagNoCopy) != 0 && !extent.constructed) {
        const auto count = static_cast<std::uint32_t>(extent.contents);
        if (!asn1rt::take(ctxt, count, *bytes)) {
            return latch(ctxt, rtStatusEndOfBuffer);
        }
        *numocts = count;
        return rtStatusOk;
    }
    unsigned char* block;
    status = read_new_block(ctxt, extent, 0, &block, numocts);
    *bytes = block;
    return status == rtStatusOk ? asn1rt::end_string(ctxt, extent.indefinite) : status;
}

int xd_charstr(ASN1CTXT* ctxt, const char** text, ASN1TagType tagging, std::uint32_t tag,
               int length) {
    StringExtent extent;
    int status = asn1rt::open_string(ctxt, tagging, tag, rtTagOctetString, length, extent);
    if (status != rtStatusOk) {
        return status;
    }
    if (extent.contents < 0) {
        extent.contents = extent.total = 0;
    }
    unsigned char* block;
    std::uint32_t numocts;
    status = read_new_block(ctxt, extent, 1, &block, &numocts);
    *text = reinterpret_cast<const char*>(block);
    return status == rtStatusOk ? asn1rt::end_string(ctxt, extent.indefinite) : status;
}

int xd_16BitCharStr(ASN1CTXT* ctxt, ASN1TBMPText* text, ASN1TagType tagging, std::uint32_t tag,
                    int length) {
    return read_characters<std::uint16_t>(ctxt, text, tagging, tag, length);
}

int xd_32BitCharStr(ASN1CTXT* ctxt, ASN1TUniversalText* text, ASN1TagType tagging,
                    std::uint32_t tag, int length) {
    return read_characters<std::uint32_t>(ctxt, text, tagging, tag, length);
}
