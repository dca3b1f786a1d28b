// A small growable byte buffer whose storage comes from a context's type heap and dies with it.
// Failures are returned and not latched.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;

struct rtMemBuf {
    ASN1CTXT* ctxt;
    std::uint32_t segSize;    // the capacity is a multiple of it; 0 counts as 1
    std::uint32_t startIndex; // first valid byte
    std::uint32_t usedLength; // behind the last valid byte
    std::uint32_t capacity;
    unsigned char* data;
    unsigned char isDynamic; // 1: `data` is null or a block of the heap
};

using ASN1MemBuf = rtMemBuf;

extern "C" {

CHRONOSEAL_API void rtMemBufInit(ASN1CTXT* ctxt, rtMemBuf* buffer, std::uint32_t segSize);

// Frees dynamic storage and resets nothing: before it is used again the buffer needs rtMemBufInit.
CHRONOSEAL_API void rtMemBufFree(rtMemBuf* buffer);

// Empties the buffer and keeps its storage.
CHRONOSEAL_API void rtMemBufReset(rtMemBuf* buffer);

// Appends `count` bytes, which may lie in the buffer itself; null `data` only makes room for them.
// A buffer that outgrows storage which the caller had lent loses what was in it. 0 or -12.
CHRONOSEAL_API int rtMemBufAppend(rtMemBuf* buffer, const unsigned char* data, std::uint32_t count);

// Makes room for `count` bytes behind the last valid one. 0 or -12.
CHRONOSEAL_API int rtMemBufPreAllocate(rtMemBuf* buffer, std::uint32_t count);

// Appends `count` bytes of the value. 0 or -12.
CHRONOSEAL_API int rtMemBufSet(rtMemBuf* buffer, unsigned char value, std::uint32_t count);

// The first valid byte; `length`, if not null, receives the number of valid bytes.
CHRONOSEAL_API unsigned char* rtMemBufGetData(const rtMemBuf* buffer, std::uint32_t* length);

} // extern "C"
