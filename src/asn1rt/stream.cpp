// The forward writers, through the buffer to a stream.
#include <chronoseal/asn1rt/stream.h>

#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/status.h>

namespace {

int latch(ASN1CTXT* ctxt, int status) {
    return rtErrSetData(&ctxt->errInfo, status);
}

bool has_room(const ASN1CTXT* ctxt, std::uint32_t count) {
    return ctxt->bufIndex <= ctxt->bufSize && count <= ctxt->bufSize - ctxt->bufIndex;
}

int write_and_count(rtStream* stream, const unsigned char* data, std::uint32_t count) {
    const int status = stream->write(stream, data, count);
    if (status >= 0) {
        stream->bytesWritten += count;
    }
    return status;
}

int grow(ASN1CTXT* ctxt, std::uint32_t count) {
    const std::uint64_t size = asn1rt::grown_size(ctxt->bufSize, count);
    void* data = asn1rt::realloc(&ctxt->msgHeap, ctxt->bufData, true, size);
    if (data == nullptr) {
        return latch(ctxt, rtStatusNoMemory);
    }
    ctxt->bufData = static_cast<unsigned char*>(data);
    ctxt->bufSize = static_cast<std::uint32_t>(size);
    return rtStatusOk;
}

void append(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count) {
    if (count != 0) {
        std::memcpy(ctxt->bufData + ctxt->bufIndex, data, count);
    }
    ctxt->bufIndex += count;
}

} // namespace

int rtStreamRelease(ASN1CTXT* ctxt) {
    rtMemHeapFreePtr(&ctxt->msgHeap, ctxt->stream);
    ctxt->stream = nullptr;
    return rtStatusOk;
}

int rtStreamWrite(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count) {
    rtStream* stream = ctxt->stream;
    if (stream == nullptr || stream->write == nullptr || (stream->flags & rtStreamOutput) == 0) {
        return latch(ctxt, rtStatusNotInitialised);
    }
    return write_and_count(stream, data, count);
}

int rtStreamFlush(ASN1CTXT* ctxt) {
    rtStream* stream = ctxt->stream;
    if (stream == nullptr || (stream->flags & rtStreamOutput) == 0) {
        return latch(ctxt, rtStatusNullArgument);
    }
    return stream->flush == nullptr ? rtStatusOk : stream->flush(stream);
}

int rtStreamBufFlush(ASN1CTXT* ctxt) {
    rtStream* stream = ctxt->stream;
    if (stream == nullptr || (stream->flags & (rtStreamOutput | rtStreamBufferedOutput)) == 0) {
        return latch(ctxt, rtStatusNullArgument);
    }
    if (ctxt->bufIndex > 0) {
        if (stream->write == nullptr) {
            return latch(ctxt, rtStatusNotInitialised);
        }
        const int status = write_and_count(stream, ctxt->bufData, ctxt->bufIndex);
        if (status < 0) {
            return latch(ctxt, status);
        }
    }
    ctxt->bufIndex = 0;
    return rtStreamFlush(ctxt);
}

int rtStreamBufWrite(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count) {
    if (!has_room(ctxt, count)) {
        const int status = rtStreamWrite(ctxt, ctxt->bufData, ctxt->bufIndex);
        if (status < 0) {
            return status;
        }
        ctxt->bufIndex = 0;
    }
    if (count >= ctxt->bufSize) {
        return rtStreamWrite(ctxt, data, count);
    }
    append(ctxt, data, count);
    return rtStatusOk;
}

int rtCheckBuffer(ASN1CTXT* ctxt, std::uint32_t count) {
    if (has_room(ctxt, count)) {
        return rtStatusOk;
    }
    if (ctxt->stream != nullptr) {
        const int status = rtStreamBufFlush(ctxt);
        if (status < 0) {
            return status;
        }
        if (has_room(ctxt, count)) {
            return rtStatusOk;
        }
    }
    return ctxt->bufDynamic == 0 ? latch(ctxt, rtStatusBufferOverflow) : grow(ctxt, count);
}

int rtWriteBytes(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count) {
    if (count == 0) {
        return rtStatusOk;
    }
    if (ctxt->stream != nullptr) {
        return rtStreamBufWrite(ctxt, data, count);
    }
    const int status = rtCheckBuffer(ctxt, count);
    if (status == rtStatusOk) {
        append(ctxt, data, count);
    }
    return status;
}
