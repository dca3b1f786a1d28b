// Each block is one call of the allocator, with a header that names the heap it hangs from.
#include <chronoseal/asn1rt/heap.h>

#include <cstdlib>
#include <cstring>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/value_record.h>

std::uint32_t g_defBlkSize = 4096;
rtMallocFunc g_malloc_func = rtDefaultMalloc;
rtReallocFunc g_realloc_func = rtDefaultRealloc;
rtFreeFunc g_free_func = rtDefaultFree;

namespace {

static_assert(sizeof(rtMemBlock) == 6 * sizeof(void*));

void* payload_of(rtMemBlock* block) {
    return block + 1;
}

rtMemBlock* block_of(const void* payload) {
    return static_cast<rtMemBlock*>(const_cast<void*>(payload)) - 1;
}

// A new block at the head of the heap's list. The size is refused when it is negative, since the
// block wouldn't even hold its own header then.
rtMemBlock* add_block(rtMemHeap* heap, std::int32_t size) {
    if (size < 0 || size > rtMaxBlockSize) {
        return nullptr;
    }
    const std::size_t bytes = static_cast<std::size_t>(size) + sizeof(rtMemBlock);
    if (bytes > heap->budget) {
        return nullptr;
    }
    auto* block = static_cast<rtMemBlock*>(g_malloc_func(heap->arg, bytes));
    if (block == nullptr) {
        return nullptr;
    }
    if (heap->budget != rtMemHeapUnlimited) {
        heap->budget -= bytes;
    }
    block->next = heap->blockList;
    block->prev = nullptr;
    block->owner = heap;
    block->size = size;
    if (heap->blockList != nullptr) {
        heap->blockList->prev = block;
    }
    heap->blockList = block;
    return block;
}

void drop_block(rtMemBlock* block) {
    rtMemHeap* heap = block->owner;
    if (block->next != nullptr) {
        block->next->prev = block->prev;
    }
    if (block->prev != nullptr) {
        block->prev->next = block->next;
    } else {
        heap->blockList = block->next;
    }
    g_free_func(heap->arg, block);
}

} // namespace

void* rtDefaultMalloc(void*, std::size_t size) {
    return std::malloc(size);
}

void* rtDefaultRealloc(void*, void* ptr, std::size_t size) {
    return std::realloc(ptr, size);
}

void rtDefaultFree(void*, void* ptr) {
    std::free(ptr);
}

int rtMemHeapCreate(rtMemHeap** slot, void* arg) {
    if (slot == nullptr) {
        return rtStatusNullArgument;
    }
    auto* heap = static_cast<rtMemHeap*>(g_malloc_func(arg, sizeof(rtMemHeap)));
    if (heap == nullptr) {
        return rtStatusNoMemory;
    }
    *heap = {nullptr, g_defBlkSize, 1, rtMemHeapAllocated, arg, rtMemHeapUnlimited};
    *slot = heap;
    return rtStatusOk;
}

void* rtMemHeapAlloc(rtMemHeap** slot, std::int32_t size) {
    if (slot == nullptr || size < 0 || size > rtMaxBlockSize) {
        return nullptr;
    }
    if (*slot == nullptr && rtMemHeapCreate(slot, nullptr) != rtStatusOk) {
        return nullptr;
    }
    rtMemBlock* block = add_block(*slot, size);
    return block == nullptr ? nullptr : payload_of(block);
}

void* rtMemHeapAllocZ(rtMemHeap** slot, std::int32_t size) {
    void* payload = rtMemHeapAlloc(slot, size);
    if (payload != nullptr) {
        std::memset(payload, 0, static_cast<std::size_t>(size));
    }
    return payload;
}

void* rtMemHeapRealloc(rtMemHeap** slot, void* ptr, std::int32_t size) {
    if (slot == nullptr || *slot == nullptr) {
        return nullptr;
    }
    rtMemBlock* old = ptr == nullptr ? nullptr : block_of(ptr);
    if (old != nullptr &&
        static_cast<std::uint64_t>(old->size) >= static_cast<std::uint32_t>(size)) {
        old->size = size;
        return ptr;
    }
    rtMemBlock* block = add_block(*slot, size);
    if (block == nullptr) {
        return nullptr;
    }
    if (old != nullptr) {
        std::memcpy(payload_of(block), ptr, static_cast<std::size_t>(old->size));
        drop_block(old);
    }
    return payload_of(block);
}

void rtMemHeapFreePtr(rtMemHeap** slot, const void* ptr) {
    if (slot != nullptr && *slot != nullptr && ptr != nullptr) {
        drop_block(block_of(ptr));
    }
}

int rtMemHeapCheckPtr(rtMemHeap**, const void*) {
    return 1;
}

int rtMemHeapMarkSaved(rtMemHeap**, const void*) {
    return 0;
}

void rtMemHeapAddRef(rtMemHeap** slot) {
    if (slot != nullptr && *slot != nullptr) {
        ++(*slot)->refCount;
    }
}

void rtMemHeapRelease(rtMemHeap** slot) {
    if (slot == nullptr || *slot == nullptr) {
        return;
    }
    rtMemHeap* heap = *slot;
    if (--heap->refCount != 0) {
        return;
    }
    rtMemBlock* block = heap->blockList;
    while (block != nullptr) {
        rtMemBlock* next = block->next;
        g_free_func(heap->arg, block);
        block = next;
    }
    heap->blockList = nullptr;
    if ((heap->flags & rtMemHeapAllocated) != 0) {
        g_free_func(heap->arg, heap);
    }
    *slot = nullptr;
}

void rtMemFreeOpenSeqExt(ASN1CTXT* ctxt, rtDList* list) {
    if (ctxt == nullptr || list == nullptr) {
        return;
    }
    for (const rtDListNode* node = list->head; node != nullptr; node = node->next) {
        const auto* element = static_cast<const ASN1TOpenType*>(node->data);
        if (element != nullptr && (ctxt->flags & ctxFlagNoCopy) == 0) {
            rtMemHeapFreePtr(&ctxt->typeHeap, element->data);
        }
    }
    rtDListFreeAll(ctxt, list);
}
