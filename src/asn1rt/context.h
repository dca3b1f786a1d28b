// ASN1CTXT, the record under every encode and decode: message buffer and cursor, first status,
// flags and two slots for memory heaps. Needs no initialisation before rtInitContext, so it can
// stand on the stack; it and everything that shares a heap with it belong to one thread. Status
// results here aren't latched.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/heap.h>
#include <chronoseal/asn1rt/list.h>
#include <chronoseal/visibility.h>

struct rtStream;

struct CHRONOSEAL_API ASN1CTXT {
    // First, so that the context's address is the address of its message heap slot.
    rtMemHeap* msgHeap;
    rtMemHeap* typeHeap; // decoded values, list nodes, copies
    unsigned char* bufData;
    std::uint32_t bufIndex;     // decoding: next byte to read; encoding: first byte written
    std::uint32_t bufSize;      // decoding: limit of the cursor; encoding: size of the storage
    std::uint16_t bufBitOffset; // 8 on every new buffer; nothing here looks at it
    unsigned char bufDynamic;   // 1: the context allocated the buffer, and it may grow
    rtStream* stream;           // output stream, or null
    // Snapshot of xd_tag_len, and of xu_SaveBufferState without a snapshot of the caller's.
    std::uint32_t savedIndex;
    std::uint16_t savedBitOffset;
    std::uint16_t savedFlags;
    ASN1ErrorRecord errInfo;
    rtSList listA; // emptied when the context is freed
    rtSList listB;
    std::uint32_t initCode; // rtContextAlive or 0
    std::uint16_t flags;
    void* heapArg; // first argument of the allocator functions

    // Kept by DecodeNesting (nesting.h).
    std::uint16_t nestingDepth;
    unsigned char holdsBudget; // 1: the budget that the type heap has was set by this context
};

inline constexpr std::uint32_t rtContextAlive = 0x1AA2A34A;

// A length that goes beyond the buffer passes xd_len and xd_setp. Values are still never read
// beyond it.
inline constexpr std::uint16_t ctxFlagNoLengthCheck = 0x0040;
// rtFreeContext leaves a dynamic buffer to the heap's release.
inline constexpr std::uint16_t ctxFlagSaveBuffer = 0x0100;
// The last tag read had the constructed bit.
inline constexpr std::uint16_t ctxFlagConstructed = 0x0400;
// xd_octstr, xd_bitstr and xd_OpenType point into the message, which must outlive the values. Such
// values are never freed one by one: they are no blocks of a heap. Generated free functions and
// rtMemFreeOpenSeqExt therefore leave them alone on a context with this flag; rtMemHeapFreePtr
// can't tell.
inline constexpr std::uint16_t ctxFlagNoCopy = 0x0800;
// With ctxFlagIndefMessage: the end-of-contents of the outermost element has been read. No one sets
// it here.
inline constexpr std::uint16_t ctxFlagLastEoc = 0x1000;
// The outermost element has indefinite length.
inline constexpr std::uint16_t ctxFlagIndefMessage = 0x4000;

extern "C" {

// Makes the context alive, with one heap in both slots. 0 or -12.
CHRONOSEAL_API int rtInitContext(ASN1CTXT* ctxt, void* heapArg);

// Gives the context a buffer: the caller's, or with null a dynamic one of `size` bytes (0: 16384)
// on the message heap. An earlier dynamic buffer stays on the heap. 0, -12, or -32 on a context
// that isn't alive.
CHRONOSEAL_API int rtInitContextBuffer(ASN1CTXT* ctxt, const unsigned char* data,
                                       std::uint32_t size);

// Frees the dynamic buffer and drops both heap references. Nothing happens to a context that isn't
// alive.
CHRONOSEAL_API void rtFreeContext(ASN1CTXT* ctxt);

// Copies the description of the buffer and the flags only. Heaps, status and stream stay the
// destination's, which therefore may be an uninitialised record that serves as nothing but a store.
CHRONOSEAL_API void rtCopyContext(ASN1CTXT* destination, const ASN1CTXT* source);

// Sets the flags in the low 16 bits of the mask. Flags can't be cleared.
CHRONOSEAL_API void rtCtxtSetFlag(ASN1CTXT* ctxt, std::uint32_t mask);

// The context gives up its type heap (its message heap) and shares the source's. What lived there
// for the context's own use may die with it, so the context lets go of it: the nodes of listA and
// listB, or a buffer that the context had allocated, and its stream.
CHRONOSEAL_API void rtCtxtSetMemHeap(ASN1CTXT* ctxt, ASN1CTXT* source);
CHRONOSEAL_API void rtCtxtSetMsgMemHeap(ASN1CTXT* ctxt, ASN1CTXT* source);

} // extern "C"
