// Where records come from and which context owns them. Blocks are those of the context's type heap,
// zeroed; the functions that throw do so with -12 as ASN1MessageBuffer::RTLError.
#pragma once

#include <cstddef>

#include <chronoseal/asn1rt/runtime.h>

namespace asn1data {

/// A zeroed block, or null.
inline void* zeroedBlock(ASN1CTXT* ctx, std::size_t size) {
    return rtMemHeapAllocZ(&ctx->typeHeap, static_cast<std::int32_t>(size));
}
template <class T>
T* zeroed(ASN1CTXT* ctx) {
    return static_cast<T*>(zeroedBlock(ctx, sizeof(T)));
}

/// The same, but throws.
void* requiredBlock(ASN1CTXT* ctx, std::size_t size);
template <class T>
T* required(ASN1CTXT* ctx) {
    return static_cast<T*>(requiredBlock(ctx, sizeof(T)));
}

/// The record gets the context as its owner unless it has one.
void adopt(ASN1TPDU& record, const ASN1CtxtPtr& context);

/// The context for a copy of `source`: its own, or a new one when its contents are foreign.
ASN1Context* contextForCopy(const ASN1TPDU& source);

/// Stands for the free function that a type without memory of its own doesn't have.
template <class Record>
void nothingToFree(ASN1CTXT*, Record*) {}

} // namespace asn1data
