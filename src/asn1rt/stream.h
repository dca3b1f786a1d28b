// Output behind a context: a stream takes the bytes that the forward writers rtWriteBytes and
// rtStreamBufWrite produce. BER encoding doesn't use it. A program that wants one allocates the
// record from the message heap, fills it and puts it into the context's `stream`; rtFreeContext
// gives it back.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;
struct rtStream;

// Both answer a negative status on failure.
using rtStreamWriteFunc = int (*)(rtStream* stream, const unsigned char* data, std::uint32_t count);
using rtStreamFlushFunc = int (*)(rtStream* stream);

inline constexpr std::uint32_t rtStreamOutput = 0x0002;
inline constexpr std::uint32_t rtStreamBufferedOutput = 0x8000;

struct rtStream {
    rtStreamWriteFunc write;
    rtStreamFlushFunc flush; // may be null
    std::uint32_t bytesWritten;
    std::uint32_t flags;
};

extern "C" {

// Frees the record from the message heap; 0.
CHRONOSEAL_API int rtStreamRelease(ASN1CTXT* ctxt);

// Straight to the stream. -32 latched without a stream that can write.
CHRONOSEAL_API int rtStreamWrite(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count);

// -30 latched unless the stream is open for output. A stream without a flush function has nothing
// to do: 0.
CHRONOSEAL_API int rtStreamFlush(ASN1CTXT* ctxt);

// Writes out the first `bufIndex` bytes of the buffer, then flushes. -30 and -32 latched as above.
CHRONOSEAL_API int rtStreamBufFlush(ASN1CTXT* ctxt);

// Through the buffer: it is written out when the bytes don't fit behind `bufIndex`; what is no
// smaller than the whole buffer goes straight to the stream. 0 or a negative status.
CHRONOSEAL_API int rtStreamBufWrite(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count);

// Makes room for `count` bytes behind `bufIndex`: flushes a bound stream, grows a dynamic buffer.
// 0, or latched -1 on a fixed buffer, -12.
CHRONOSEAL_API int rtCheckBuffer(ASN1CTXT* ctxt, std::uint32_t count);

// Appends to the stream or, without one, to the buffer. 0 or a negative status.
CHRONOSEAL_API int rtWriteBytes(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t count);

} // extern "C"
