// alloc(size), the one way from a size of any width to a block of a heap. A size that no block can
// have is a lack of memory like any other; nothing is cut off on the way.
#pragma once

#include <algorithm>
#include <cstdint>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/status.h>

namespace asn1rt {

// A block of `size` bytes, its content undefined, or null; not latched.
inline void* alloc(rtMemHeap** heap, std::uint64_t size) {
    return size > static_cast<std::uint64_t>(rtMaxBlockSize)
               ? nullptr
               : rtMemHeapAlloc(heap, static_cast<std::int32_t>(size));
}

// As rtMemHeapRealloc; with null `block`, or one that the heap doesn't own, as alloc.
inline void* realloc(rtMemHeap** heap, void* block, bool owned, std::uint64_t size) {
    if (!owned || block == nullptr) {
        return alloc(heap, size);
    }
    return size > static_cast<std::uint64_t>(rtMaxBlockSize)
               ? nullptr
               : rtMemHeapRealloc(heap, block, static_cast<std::int32_t>(size));
}

// The size that a buffer of `size` bytes gets when it has to take `more`: see rtBufferGrowth.
inline std::uint64_t grown_size(std::uint32_t size, std::uint32_t more) {
    const std::uint64_t wanted = std::uint64_t{size} + std::max({more, size / 2, rtBufferGrowth});
    const bool possible = wanted <= static_cast<std::uint64_t>(rtMaxBlockSize);
    return possible ? wanted : std::uint64_t{size} + more;
}

// Room for `count` objects on the type heap, or null; not latched.
template <typename T>
T* alloc(ASN1CTXT* ctxt, std::uint64_t count = 1) {
    const bool fits = count <= static_cast<std::uint64_t>(rtMaxBlockSize) / sizeof(T);
    return fits ? static_cast<T*>(alloc(&ctxt->typeHeap, count * sizeof(T))) : nullptr;
}

// The same, and -12 latched when there is none.
template <typename T>
T* alloc_latched(ASN1CTXT* ctxt, std::uint64_t count = 1) {
    T* const block = alloc<T>(ctxt, count);
    if (block == nullptr) {
        rtErrSetData(&ctxt->errInfo, rtStatusNoMemory);
    }
    return block;
}

} // namespace asn1rt
