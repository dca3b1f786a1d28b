// Tags, lengths and the start of a message.
#include <chronoseal/asn1rt/decode.h>

#include <climits>

#include <chronoseal/asn1rt/reader.h>

namespace {

using asn1rt::latch;
using asn1rt::set_constructed;
using asn1rt::take_byte;

constexpr unsigned char kLongTag = 0x1F;
constexpr int kMaxTagNumberOctets = 9;

// The rest of a tag whose number doesn't fit its first byte.
int read_tag_number(ASN1CTXT* ctxt, std::uint32_t* number) {
    std::uint64_t value = 0;
    for (int octets = 0;; ++octets) {
        unsigned char byte;
        if (!take_byte(ctxt, byte)) {
            return rtStatusEndOfBuffer;
        }
        value = value << 7 | (byte & 0x7F);
        if (octets == kMaxTagNumberOctets || value > rtTagNumberMask) {
            return rtStatusInvalidTag;
        }
        if ((byte & 0x80) == 0) {
            break;
        }
    }
    *number = static_cast<std::uint32_t>(value);
    return rtStatusOk;
}

int read_header(ASN1CTXT* ctxt, std::uint32_t* tag, int* length) {
    std::uint32_t read;
    int status = xd_tag(ctxt, &read);
    if (status != rtStatusOk) {
        return status;
    }
    status = asn1rt::read_length(ctxt, length);
    if (status != rtStatusOk) {
        return status;
    }
    if (*length == rtIndefiniteLength && (read & rtTagConstructed) == 0) {
        return rtStatusInvalidLength;
    }
    *tag = read;
    return rtStatusOk;
}

bool is_past_last_eoc(const ASN1CTXT* ctxt) {
    constexpr int kBoth = ctxFlagIndefMessage | ctxFlagLastEoc;
    return (ctxt->flags & kBoth) == kBoth;
}

// A header of four octets at most, with a short tag and all of its contents behind it, which nearly
// every one is. False, with nothing read, for any other, good or bad. It calls nothing, for there
// are more headers than anything else.
inline bool read_plain_header(ASN1CTXT* ctxt, std::uint32_t* tag, int* length) {
    const std::uint32_t left = asn1rt::bytes_left(ctxt);
    const unsigned char* const at = ctxt->bufData + ctxt->bufIndex;
    if (left < 2 || (at[0] & kLongTag) == kLongTag) {
        return false;
    }
    std::uint32_t size = 2;
    std::uint32_t contents = at[1];
    if (contents == 0x81 && left > 2) {
        size = 3;
        contents = at[2];
    } else if (contents == 0x82 && left > 3) {
        size = 4;
        contents = static_cast<std::uint32_t>(at[2]) << 8 | at[3];
    } else if (contents >= 0x80) {
        return false;
    }
    if (contents > left - size) {
        return false;
    }
    set_constructed(ctxt, (at[0] & 0x20) != 0);
    *tag = static_cast<std::uint32_t>(at[0] & 0xE0) << 24 | (at[0] & kLongTag);
    *length = static_cast<int>(contents);
    ctxt->bufIndex += size;
    return true;
}

[[gnu::noinline]] int read_any_header(ASN1CTXT* ctxt, std::uint32_t* tag, int* length,
                                      int options) {
    const int status = read_header(ctxt, tag, length);
    if ((options & xdAdvance) == 0) {
        ctxt->bufIndex = ctxt->savedIndex;
        ctxt->flags = ctxt->savedFlags;
    }
    return status;
}

} // namespace

int xd_setp(ASN1CTXT* ctxt, const unsigned char* data, int size, std::uint32_t* tag, int* length) {
    if (data == nullptr) {
        // The caller may go on without a look at the status: it finds nothing to read.
        ctxt->bufData = nullptr;
        ctxt->bufDynamic = 0;
        ctxt->bufIndex = 0;
        ctxt->bufSize = 0;
        return rtStatusInvalidArgument;
    }
    int status =
        rtInitContextBuffer(ctxt, data, static_cast<std::uint32_t>(size < 1 ? INT_MAX : size));
    if (status != rtStatusOk) {
        return status;
    }
    ctxt->flags = static_cast<std::uint16_t>(ctxt->flags & ~(ctxFlagLastEoc | ctxFlagIndefMessage));
    std::uint32_t read_tag = 0;
    int contents = 0;
    status = xd_tag_len(ctxt, &read_tag, &contents, xdAdvance);
    if (status == rtStatusInvalidLength) {
        ctxt->bufIndex = 0;
    }
    if (status != rtStatusOk) {
        return status;
    }
    int whole = rtIndefiniteLength;
    if (contents == rtIndefiniteLength) {
        ctxt->flags |= ctxFlagIndefMessage;
    } else {
        const std::uint64_t end = ctxt->bufIndex + static_cast<std::uint64_t>(contents);
        // The buffer never ends behind the bytes that the caller has vouched for.
        if (end <= ctxt->bufSize) {
            ctxt->bufSize = static_cast<std::uint32_t>(end);
        } else {
            status = rtStatusInvalidLength;
        }
        whole = end > INT_MAX ? INT_MAX : static_cast<int>(end);
    }
    ctxt->bufIndex = 0;
    if (tag != nullptr) {
        *tag = read_tag;
    }
    if (length != nullptr) {
        *length = whole;
    }
    return status;
}

int xd_tag(ASN1CTXT* ctxt, std::uint32_t* tag) {
    unsigned char first;
    if (!take_byte(ctxt, first)) {
        return rtStatusEndOfBuffer;
    }
    set_constructed(ctxt, (first & 0x20) != 0);
    std::uint32_t number = first & kLongTag;
    if (number == kLongTag) {
        const int status = read_tag_number(ctxt, &number);
        if (status != rtStatusOk) {
            return status;
        }
    }
    *tag = static_cast<std::uint32_t>(first & 0xE0) << 24 | number;
    return rtStatusOk;
}

int xd_len(ASN1CTXT* ctxt, int* length) {
    unsigned char first;
    if (!take_byte(ctxt, first)) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    if (first == 0x80) {
        *length = rtIndefiniteLength;
        return rtStatusOk;
    }
    std::uint32_t value = first;
    if (first > 0x80) {
        const unsigned count = first & 0x7F;
        if (count > 4) {
            return latch(ctxt, rtStatusInvalidLength);
        }
        const unsigned char* octets;
        if (!asn1rt::take(ctxt, count, octets)) {
            // What is there of the length is gone: nobody takes it for the next element.
            ctxt->bufIndex = ctxt->bufSize;
            return latch(ctxt, rtStatusEndOfBuffer);
        }
        value = 0;
        for (unsigned i = 0; i < count; ++i) {
            value = value << 8 | octets[i];
        }
    }
    const auto result = static_cast<std::int32_t>(value);
    // FF FF D8 F1 spells the number that stands for the indefinite form, and is taken for it.
    if (result != rtIndefiniteLength) {
        const bool checked = (ctxt->flags & ctxFlagNoLengthCheck) == 0;
        if (result < 0 || (checked && value > asn1rt::bytes_left(ctxt))) {
            return latch(ctxt, rtStatusInvalidLength);
        }
    }
    *length = result;
    return rtStatusOk;
}

int xd_tag_len(ASN1CTXT* ctxt, std::uint32_t* tag, int* length, int options) {
    if (is_past_last_eoc(ctxt) || ctxt->bufIndex >= ctxt->bufSize) {
        return rtStatusEndOfBuffer;
    }
    ctxt->savedIndex = ctxt->bufIndex;
    ctxt->savedFlags = ctxt->flags;
    if ((options & xdAdvance) != 0 && read_plain_header(ctxt, tag, length)) {
        return rtStatusOk;
    }
    return read_any_header(ctxt, tag, length, options);
}

int xd_Tag1AndLen(ASN1CTXT* ctxt, int* length) {
    unsigned char byte;
    if (is_past_last_eoc(ctxt) || !take_byte(ctxt, byte)) {
        return rtStatusEndOfBuffer;
    }
    set_constructed(ctxt, (byte & 0x20) != 0);
    return asn1rt::read_length(ctxt, length);
}

int xd_match1(ASN1CTXT* ctxt, unsigned char tagByte, int* length) {
    const int byte = xd_peek(ctxt);
    if (byte < 0) {
        return latch(ctxt, rtStatusEndOfBuffer);
    }
    if (((byte ^ tagByte) & 0xDF) != 0) {
        return latch(ctxt, rtStatusTagNotFound);
    }
    ++ctxt->bufIndex;
    set_constructed(ctxt, (byte & 0x20) != 0);
    int read;
    const int status = asn1rt::read_length(ctxt, &read);
    if (status != rtStatusOk || length == nullptr) {
        return status;
    }
    *length = read;
    if (read == rtIndefiniteLength && (byte & 0x20) == 0) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    return rtStatusOk;
}

int xd_matchEoc(ASN1CTXT* ctxt) {
    const unsigned char* octets;
    if (!asn1rt::take(ctxt, 2, octets)) {
        return latch(ctxt, rtStatusInvalidLength);
    }
    if (octets[0] != 0 || octets[1] != 0) {
        ctxt->bufIndex -= 2;
        return latch(ctxt, rtStatusInvalidLength);
    }
    return rtStatusOk;
}

void xu_SaveBufferState(ASN1CTXT* ctxt, BufferState* state) {
    if (state == nullptr) {
        ctxt->savedIndex = ctxt->bufIndex;
        ctxt->savedBitOffset = ctxt->bufBitOffset;
        ctxt->savedFlags = ctxt->flags;
        return;
    }
    *state = {ctxt->bufIndex, ctxt->bufBitOffset, ctxt->flags};
}

void xu_RestoreBufferState(ASN1CTXT* ctxt, const BufferState* state) {
    const BufferState own{ctxt->savedIndex, ctxt->savedBitOffset, ctxt->savedFlags};
    const BufferState& from = state == nullptr ? own : *state;
    ctxt->bufIndex = from.index;
    ctxt->bufBitOffset = from.bitOffset;
    ctxt->flags = static_cast<std::uint16_t>(from.flags & ~ctxFlagLastEoc);
}
