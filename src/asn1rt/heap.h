// Memory heaps: lists of separately allocated blocks that all die together. Every function takes
// the address of a heap slot, a variable that holds a heap or null; the address of a context is
// that of its message heap slot. Failure is a null pointer, or -12 where there is a status; nothing
// is latched. A heap, and all contexts that share it, belong to one thread: its reference count is
// a plain integer.
#pragma once

#include <cstddef>
#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;
struct _Asn1RTDList;

// In front of each payload. 48 bytes, so that payloads are as aligned as the allocator's blocks.
struct rtMemBlock {
    rtMemBlock* next; // older
    rtMemBlock* prev; // newer, null at the head of the list
    struct rtMemHeap* owner;
    void* unused[2];
    std::int64_t size; // of the payload, as asked for
};

struct rtMemHeap {
    rtMemBlock* blockList; // newest first
    std::uint32_t
        defBlkSize; // g_defBlkSize at creation; carried along, allocation doesn't look at it
    std::uint32_t refCount;
    std::uint32_t flags;  // rtMemHeapAllocated or 0
    void* arg;            // first argument of the allocator functions
    std::uint64_t budget; // bytes that may still be allocated, headers included; see limits.h
};

inline constexpr std::uint32_t rtMemHeapAllocated =
    0x10000000; // the record itself is freed with the heap
inline constexpr std::uint64_t rtMemHeapUnlimited = UINT64_MAX;

using rtMallocFunc = void* (*)(void* arg, std::size_t size);
using rtReallocFunc = void* (*)(void* arg, void* ptr, std::size_t size);
using rtFreeFunc = void (*)(void* arg, void* ptr);

extern "C" {

// The allocator behind all heaps, for the process. A program that replaces it does so before the
// first context is made. g_realloc_func is never called: blocks grow by allocate, copy, free.
CHRONOSEAL_API extern std::uint32_t g_defBlkSize;
CHRONOSEAL_API extern rtMallocFunc g_malloc_func;
CHRONOSEAL_API extern rtReallocFunc g_realloc_func;
CHRONOSEAL_API extern rtFreeFunc g_free_func;

// The defaults: the C library's functions, `arg` ignored.
CHRONOSEAL_API void* rtDefaultMalloc(void* arg, std::size_t size);
CHRONOSEAL_API void* rtDefaultRealloc(void* arg, void* ptr, std::size_t size);
CHRONOSEAL_API void rtDefaultFree(void* arg, void* ptr);

// Puts a new heap with one reference into the slot, whose old content is forgotten without a
// release. 0, -30 for a null slot, -12.
CHRONOSEAL_API int rtMemHeapCreate(rtMemHeap** slot, void* arg);

// One block, its content undefined; AllocZ clears it. An empty slot gets a heap on the spot. Size 0
// gives a valid pointer; a negative size and one above rtMaxBlockSize give null.
CHRONOSEAL_API void* rtMemHeapAlloc(rtMemHeap** slot, std::int32_t size);
CHRONOSEAL_API void* rtMemHeapAllocZ(rtMemHeap** slot, std::int32_t size);

// A block that isn't larger than before stays where it is and merely records the new size.
// Otherwise a new block is made, the recorded size copied, the old one freed; on failure the old
// one stays valid. Null `ptr` allocates, but unlike rtMemHeapAlloc an empty slot gives null.
CHRONOSEAL_API void* rtMemHeapRealloc(rtMemHeap** slot, void* ptr, std::int32_t size);

// Frees one block. Null slot, null pointer or empty slot: nothing. The block goes back to the heap
// that it came from, whichever heap the slot holds.
CHRONOSEAL_API void rtMemHeapFreePtr(rtMemHeap** slot, const void* ptr);

// Always 1, for null too: there is no membership test. Generated code asks it before it frees.
CHRONOSEAL_API int rtMemHeapCheckPtr(rtMemHeap** slot, const void* ptr);

// Always 0; does nothing.
CHRONOSEAL_API int rtMemHeapMarkSaved(rtMemHeap** slot, const void* ptr);

CHRONOSEAL_API void rtMemHeapAddRef(rtMemHeap** slot);

// Drops one reference. With the last one all blocks are freed, and the slot is cleared; otherwise
// the slot keeps its handle, and the caller overwrites it.
CHRONOSEAL_API void rtMemHeapRelease(rtMemHeap** slot);

// Frees a list of open-type records: each record's bytes, then records and nodes. With
// ctxFlagNoCopy the bytes are left alone, for they are the message's.
CHRONOSEAL_API void rtMemFreeOpenSeqExt(ASN1CTXT* ctxt, _Asn1RTDList* list);

} // extern "C"
