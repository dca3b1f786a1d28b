// The encode buffer, tags and lengths.
#include <chronoseal/asn1rt/encode.h>

#include <bit>
#include <climits>
#include <cstring>
#include <functional>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/writer.h>

namespace {

// A tag or length has at most 6 octets, and both together at most 11.
constexpr std::uint32_t kMaxHeader = 11;

} // namespace

unsigned char* asn1rt::put_in_front_growing(ASN1CTXT* ctxt, std::uint32_t count, int& status) {
    status = xe_expandBuffer(ctxt, count);
    if (status != rtStatusOk) {
        return nullptr;
    }
    ctxt->bufIndex -= count;
    return ctxt->bufData + ctxt->bufIndex;
}

int xe_setp(ASN1CTXT* ctxt, unsigned char* buffer, int size) {
    if (buffer != nullptr && size < 0) {
        size = 0;
    }
    const int status = rtInitContextBuffer(ctxt, buffer, static_cast<std::uint32_t>(size));
    if (status != rtStatusOk) {
        return status;
    }
    ctxt->bufIndex = ctxt->bufSize == 0 ? 0 : ctxt->bufSize - 1;
    if (ctxt->bufDynamic != 0) {
        ctxt->bufData[ctxt->bufIndex] = 0;
    }
    return rtStatusOk;
}

unsigned char* xe_getp(ASN1CTXT* ctxt) {
    return ctxt->bufData + ctxt->bufIndex;
}

void xe_free(ASN1CTXT* ctxt) {
    if (ctxt->bufDynamic == 0 || ctxt->bufData == nullptr) {
        return;
    }
    rtMemHeapFreePtr(&ctxt->msgHeap, ctxt->bufData);
    ctxt->bufData = nullptr;
    ctxt->bufDynamic = 0;
    // Nothing can be written or read until the next xe_setp or xd_setp.
    ctxt->bufIndex = 0;
    ctxt->bufSize = 0;
}

// The buffer lives where rtInitContextBuffer makes it, on the message heap: the type heap may be
// exchanged for another one while it is in use.
int xe_expandBuffer(ASN1CTXT* ctxt, std::uint32_t count) {
    if (ctxt->bufDynamic == 0) {
        return rtStatusBufferOverflow;
    }
    const std::uint64_t size = asn1rt::grown_size(ctxt->bufSize, count);
    auto* data = static_cast<unsigned char*>(asn1rt::alloc(&ctxt->msgHeap, size));
    if (data == nullptr) {
        return rtStatusNoMemory;
    }
    const auto grow = static_cast<std::uint32_t>(size) - ctxt->bufSize;
    std::memcpy(data + ctxt->bufIndex + grow, ctxt->bufData + ctxt->bufIndex,
                ctxt->bufSize - ctxt->bufIndex);
    rtMemHeapFreePtr(&ctxt->msgHeap, ctxt->bufData);
    ctxt->bufData = data;
    ctxt->bufSize += grow;
    ctxt->bufIndex += grow;
    return rtStatusOk;
}

int xe_memcpy(ASN1CTXT* ctxt, const unsigned char* source, int count) {
    if (source == nullptr || count < 0) {
        return rtStatusInvalidArgument;
    }
    if (count == 1) {
        return asn1rt::put_byte(ctxt, *source);
    }
    // A source that is part of the message moves with it when the buffer grows.
    const unsigned char* const top = ctxt->bufData + ctxt->bufSize;
    const bool inside = std::greater_equal<>{}(source, ctxt->bufData + ctxt->bufIndex) &&
                        std::less<>{}(source, top);
    const auto from_top = inside ? top - source : 0;
    int status;
    unsigned char* at = asn1rt::put_in_front(ctxt, static_cast<std::uint32_t>(count), status);
    if (at == nullptr) {
        return status;
    }
    if (inside) {
        source = ctxt->bufData + ctxt->bufSize - from_top;
    }
    std::memmove(at, source, static_cast<std::size_t>(count));
    return count;
}

void xe_getBufLocDescr(ASN1CTXT* ctxt, std::uint32_t length, BufLocDescr* descr) {
    descr->numocts = length;
    descr->offset = ctxt->bufSize - 1 - ctxt->bufIndex;
}

int xe_tag(ASN1CTXT* ctxt, std::uint32_t tag) {
    const std::uint32_t number = tag & rtTagNumberMask;
    const auto form = static_cast<unsigned char>(tag >> 24 & 0xE0);
    if (number < 31) {
        return asn1rt::put_byte(ctxt, static_cast<unsigned char>(form | number));
    }
    const int octets = xe_identifier(ctxt, number);
    const int first = octets < 0 ? octets : asn1rt::put_byte(ctxt, form | 0x1F);
    return first < 0 ? first : first + octets;
}

int xe_len(ASN1CTXT* ctxt, int length) {
    if (length == rtIndefiniteLength) {
        return asn1rt::put_byte(ctxt, 0x80);
    }
    if (length < 0) {
        return 0;
    }
    const auto value = static_cast<std::uint32_t>(length);
    if (value < 0x80) {
        return asn1rt::put_byte(ctxt, static_cast<unsigned char>(value));
    }
    // The count of the octets stands in front of them.
    const std::uint32_t octets = asn1rt::octets_of(static_cast<unsigned>(std::bit_width(value)));
    return asn1rt::put_number(ctxt, std::uint64_t{0x80 | octets} << (8 * octets) | value,
                              octets + 1);
}

int xe_tag_len(ASN1CTXT* ctxt, std::uint32_t tag, int length) {
    if (length < 0 && length != rtIndefiniteLength) {
        return length;
    }
    if (length > INT_MAX - static_cast<int>(kMaxHeader)) {
        return rtStatusInvalidLength;
    }
    const int length_octets = xe_len(ctxt, length);
    if (length_octets < 0) {
        return length_octets;
    }
    const int tag_octets = xe_tag(ctxt, tag);
    const int contents = length < 0 ? 0 : length;
    return tag_octets < 0 ? tag_octets : contents + length_octets + tag_octets;
}
