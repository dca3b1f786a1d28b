// The encode buffer, tags and lengths.
#include "asn1rt/encode.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>

#include "asn1rt/limits.h"
#include "asn1rt/writer.h"

namespace {

// A tag or length has at most 6 octets, and both together at most 11.
constexpr std::uint32_t kMaxHeader = 11;

// The octets of a tag, written backward from `end`; the first of them.
unsigned char* tag_before(unsigned char* end, std::uint32_t tag) {
    const std::uint32_t number = tag & rtTagNumberMask;
    const auto form = static_cast<unsigned char>(tag >> 24 & 0xE0);
    if (number < 31) {
        *--end = static_cast<unsigned char>(form | number);
        return end;
    }
    *--end = number & 0x7F;
    for (std::uint32_t rest = number >> 7; rest != 0; rest >>= 7) {
        *--end = static_cast<unsigned char>(0x80 | (rest & 0x7F));
    }
    *--end = form | 0x1F;
    return end;
}

unsigned char* length_before(unsigned char* end, int length) {
    if (length == rtIndefiniteLength) {
        *--end = 0x80;
        return end;
    }
    auto rest = static_cast<std::uint32_t>(length);
    unsigned char* const last = end;
    do {
        *--end = static_cast<unsigned char>(rest);
        rest >>= 8;
    } while (rest != 0);
    if (length > 127) {
        const auto count = last - end;
        *--end = static_cast<unsigned char>(0x80 | count);
    }
    return end;
}

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
    rtMemHeapFreePtr(&ctxt->typeHeap, ctxt->bufData);
    ctxt->bufData = nullptr;
    ctxt->bufDynamic = 0;
    // Nothing can be written or read until the next xe_setp or xd_setp.
    ctxt->bufIndex = 0;
    ctxt->bufSize = 0;
}

int xe_expandBuffer(ASN1CTXT* ctxt, std::uint32_t count) {
    if (ctxt->bufDynamic == 0) {
        return rtStatusBufferOverflow;
    }
    const std::uint32_t grow = std::max(count, rtBufferGrowth);
    const std::uint64_t size = std::uint64_t{ctxt->bufSize} + grow;
    if (size > static_cast<std::uint64_t>(rtMaxBlockSize)) {
        return rtStatusNoMemory;
    }
    auto* data = static_cast<unsigned char*>(
        rtMemHeapAlloc(&ctxt->typeHeap, static_cast<std::int32_t>(size)));
    if (data == nullptr) {
        return rtStatusNoMemory;
    }
    std::memcpy(data + ctxt->bufIndex + grow, ctxt->bufData + ctxt->bufIndex,
                ctxt->bufSize - ctxt->bufIndex);
    rtMemHeapFreePtr(&ctxt->typeHeap, ctxt->bufData);
    ctxt->bufData = data;
    ctxt->bufSize = static_cast<std::uint32_t>(size);
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
    unsigned char octets[kMaxHeader];
    const unsigned char* first = tag_before(octets + kMaxHeader, tag);
    return xe_memcpy(ctxt, first, static_cast<int>(octets + kMaxHeader - first));
}

int xe_len(ASN1CTXT* ctxt, int length) {
    if (length < 0 && length != rtIndefiniteLength) {
        return 0;
    }
    unsigned char octets[kMaxHeader];
    const unsigned char* first = length_before(octets + kMaxHeader, length);
    return xe_memcpy(ctxt, first, static_cast<int>(octets + kMaxHeader - first));
}

int xe_tag_len(ASN1CTXT* ctxt, std::uint32_t tag, int length) {
    if (length < 0 && length != rtIndefiniteLength) {
        return length;
    }
    if (length > INT_MAX - static_cast<int>(kMaxHeader)) {
        return rtStatusInvalidLength;
    }
    const int contents = length < 0 ? 0 : length;
    // Nearly always both fit: they are written in place.
    if (ctxt->bufIndex >= kMaxHeader) [[likely]] {
        unsigned char* const end = ctxt->bufData + ctxt->bufIndex;
        const unsigned char* first = tag_before(length_before(end, length), tag);
        const auto header = end - first;
        ctxt->bufIndex -= static_cast<std::uint32_t>(header);
        return contents + static_cast<int>(header);
    }
    const int length_octets = xe_len(ctxt, length);
    if (length_octets < 0) {
        return length_octets;
    }
    const int tag_octets = xe_tag(ctxt, tag);
    return tag_octets < 0 ? tag_octets : contents + length_octets + tag_octets;
}
