// Growth of memory buffers. A size beyond a heap block is refused like any other lack of memory.
#include <chronoseal/asn1rt/memory_buffer.h>

#include <cstring>
#include <functional>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/status.h>

namespace {

int reserve(rtMemBuf* buffer, std::uint32_t count) {
    const std::uint64_t needed = std::uint64_t{buffer->usedLength} + count;
    if (needed <= buffer->capacity) {
        return rtStatusOk;
    }
    const std::uint64_t segment = buffer->segSize == 0 ? 1 : buffer->segSize;
    const std::uint64_t capacity = ((needed - 1) / segment + 1) * segment;
    const bool grows = buffer->isDynamic != 0 && buffer->data != nullptr;
    void* data = asn1rt::realloc(&buffer->ctxt->typeHeap, buffer->data, grows, capacity);
    if (data == nullptr) {
        return rtStatusNoMemory;
    }
    // The bytes of lent storage aren't carried over. What stands in their place is at least
    // defined.
    if (!grows) {
        std::memset(data, 0, buffer->usedLength);
    }
    buffer->data = static_cast<unsigned char*>(data);
    buffer->capacity = static_cast<std::uint32_t>(capacity);
    buffer->isDynamic = 1;
    return rtStatusOk;
}

} // namespace

void rtMemBufInit(ASN1CTXT* ctxt, rtMemBuf* buffer, std::uint32_t segSize) {
    *buffer = {ctxt, segSize, 0, 0, 0, nullptr, 1};
}

void rtMemBufFree(rtMemBuf* buffer) {
    if (buffer->isDynamic != 0) {
        rtMemHeapFreePtr(&buffer->ctxt->typeHeap, buffer->data);
    }
}

void rtMemBufReset(rtMemBuf* buffer) {
    buffer->startIndex = 0;
    buffer->usedLength = 0;
}

int rtMemBufAppend(rtMemBuf* buffer, const unsigned char* data, std::uint32_t count) {
    // A source that lies in the buffer itself moves with it. (Lent storage stays where it is.)
    const bool inside = buffer->isDynamic != 0 && data != nullptr &&
                        std::greater_equal<>{}(data, buffer->data) &&
                        std::less<>{}(data, buffer->data + buffer->capacity);
    const auto from = inside ? data - buffer->data : 0;
    const int status = rtMemBufPreAllocate(buffer, count);
    if (status != rtStatusOk || count == 0 || data == nullptr) {
        return status;
    }
    std::memmove(buffer->data + buffer->usedLength, inside ? buffer->data + from : data, count);
    buffer->usedLength += count;
    return rtStatusOk;
}

int rtMemBufPreAllocate(rtMemBuf* buffer, std::uint32_t count) {
    return count == 0 ? rtStatusOk : reserve(buffer, count);
}

int rtMemBufSet(rtMemBuf* buffer, unsigned char value, std::uint32_t count) {
    const int status = rtMemBufPreAllocate(buffer, count);
    if (status != rtStatusOk || count == 0) {
        return status;
    }
    std::memset(buffer->data + buffer->usedLength, value, count);
    buffer->usedLength += count;
    return rtStatusOk;
}

unsigned char* rtMemBufGetData(const rtMemBuf* buffer, std::uint32_t* length) {
    if (length != nullptr) {
        *length = buffer->usedLength - buffer->startIndex;
    }
    return buffer->data + buffer->startIndex;
}
