// Blocks on a context's heap for the records that traits fill. All throw 0x80093106 without memory.
#pragma once

#include <cstring>
#include <limits>

#include <chronoseal/asn1/failure.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// `size` bytes of undefined content.
inline void* heap_block(ASN1CTXT* ctxt, unsigned long size) {
    if (size > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max())) {
        fail_memory();
    }
    void* const block = rtMemHeapAlloc(&ctxt->typeHeap, static_cast<std::int32_t>(size));
    if (!block) {
        fail_memory();
    }
    return block;
}

inline void* heap_copy(ASN1CTXT* ctxt, const void* source, unsigned long size) {
    void* const block = heap_block(ctxt, size);
    if (size != 0) {
        std::memcpy(block, source, size);
    }
    return block;
}

// A text with its terminator.
inline const char* heap_text(ASN1CTXT* ctxt, const char* text) {
    return static_cast<const char*>(heap_copy(ctxt, text, std::strlen(text) + 1));
}

// A zeroed record, which is a record without content for every type of the schema.
template <class Record>
Record* heap_record(ASN1CTXT* ctxt) {
    void* const block = rtMemHeapAllocZ(&ctxt->typeHeap, static_cast<std::int32_t>(sizeof(Record)));
    if (!block) {
        fail_memory();
    }
    return static_cast<Record*>(block);
}

// Count and bytes of an octet string or open type.
template <class Record>
void heap_octets(ASN1CTXT* ctxt, Record& record, const CBlob& octets) {
    record.data =
        static_cast<const unsigned char*>(heap_copy(ctxt, octets.pbData(), octets.cbData()));
    record.numocts = static_cast<std::uint32_t>(octets.cbData());
}

} // namespace Halcyon::ASN1
