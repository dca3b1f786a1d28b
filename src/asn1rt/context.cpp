// Contexts: their life, their buffer and flags, the heaps they share, and the bounds of a decode.
#include <chronoseal/asn1rt/context.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/nesting.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/stream.h>

static_assert(std::is_trivial_v<ASN1CTXT> && std::is_standard_layout_v<ASN1CTXT>);
static_assert(offsetof(ASN1CTXT, msgHeap) == 0);

namespace {

void empty_lists(ASN1CTXT* ctxt) {
    for (rtSList* list : {&ctxt->listA, &ctxt->listB}) {
        rtSListFree(list);
        rtSListInitEx(ctxt, list);
    }
}

} // namespace

int rtInitContext(ASN1CTXT* ctxt, void* heapArg) {
    std::memset(ctxt, 0, sizeof *ctxt);
    ctxt->initCode = rtContextAlive;
    const int status = rtMemHeapCreate(&ctxt->typeHeap, heapArg);
    if (status != rtStatusOk) {
        return status;
    }
    ctxt->heapArg = heapArg;
    ctxt->msgHeap = ctxt->typeHeap;
    rtMemHeapAddRef(&ctxt->msgHeap);
    rtSListInitEx(ctxt, &ctxt->listB);
    rtSListInitEx(ctxt, &ctxt->listA);
    return rtStatusOk;
}

int rtInitContextBuffer(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t size) {
    if (ctxt->initCode != rtContextAlive) {
        return rtStatusNotInitialised;
    }
    const bool dynamic = data == nullptr;
    if (dynamic) {
        if (size == 0) {
            size = rtBufferGrowth;
        }
        data = static_cast<unsigned char*>(asn1rt::alloc(&ctxt->msgHeap, size));
        if (data == nullptr) {
            return rtStatusNoMemory;
        }
    }
    ctxt->bufData = const_cast<unsigned char*>(data); // written to by encoders only
    ctxt->bufSize = size;
    ctxt->bufDynamic = dynamic;
    ctxt->bufIndex = 0;
    ctxt->bufBitOffset = 8;
    return rtStatusOk;
}

void rtFreeContext(ASN1CTXT* ctxt) {
    if (ctxt->initCode != rtContextAlive) {
        return;
    }
    if (ctxt->bufDynamic != 0 && ctxt->bufData != nullptr) {
        if ((ctxt->flags & ctxFlagSaveBuffer) != 0) {
            rtMemHeapMarkSaved(&ctxt->msgHeap, ctxt->bufData);
        } else {
            rtMemHeapFreePtr(&ctxt->msgHeap, ctxt->bufData);
        }
    }
    if (ctxt->stream != nullptr) {
        rtStreamRelease(ctxt);
    }
    if (ctxt->listA.count != 0) {
        rtSListFree(&ctxt->listA);
    }
    if (ctxt->listB.count != 0) {
        rtSListFree(&ctxt->listB);
    }
    rtMemHeapRelease(&ctxt->typeHeap);
    rtMemHeapRelease(&ctxt->msgHeap);
    ctxt->initCode = 0;
}

void rtCopyContext(ASN1CTXT* destination, const ASN1CTXT* source) {
    destination->bufData = source->bufData;
    destination->bufIndex = source->bufIndex;
    destination->bufSize = source->bufSize;
    destination->bufBitOffset = source->bufBitOffset;
    destination->bufDynamic = source->bufDynamic;
    destination->flags = source->flags;
}

void rtCtxtSetFlag(ASN1CTXT* ctxt, std::uint32_t mask) {
    ctxt->flags = static_cast<std::uint16_t>(ctxt->flags | (mask & 0xFFFF));
}

void rtCtxtSetMemHeap(ASN1CTXT* ctxt, ASN1CTXT* source) {
    if (ctxt == nullptr || source == nullptr || ctxt->typeHeap == source->typeHeap) {
        return;
    }
    empty_lists(ctxt);
    rtMemHeapRelease(&ctxt->typeHeap);
    ctxt->typeHeap = source->typeHeap;
    rtMemHeapAddRef(&ctxt->typeHeap);
}

void rtCtxtSetMsgMemHeap(ASN1CTXT* ctxt, ASN1CTXT* source) {
    if (ctxt == nullptr || source == nullptr || ctxt->msgHeap == source->msgHeap) {
        return;
    }
    xe_free(ctxt);
    rtStreamRelease(ctxt);
    rtMemHeapRelease(&ctxt->msgHeap);
    ctxt->msgHeap = source->msgHeap;
    rtMemHeapAddRef(&ctxt->msgHeap);
}

// A heap shared with a context that is decoding already keeps that context's budget.
void rtBeginDecode(ASN1CTXT* ctxt) {
    if (ctxt->typeHeap == nullptr || ctxt->typeHeap->budget != rtMemHeapUnlimited) {
        return;
    }
    const std::uint64_t left = ctxt->bufIndex < ctxt->bufSize ? ctxt->bufSize - ctxt->bufIndex : 0;
    ctxt->typeHeap->budget = rtDecodeBaseBytes + rtDecodeBytesPerMessageByte * left;
    ctxt->holdsBudget = 1;
}

void rtEndDecode(ASN1CTXT* ctxt) {
    if (ctxt->holdsBudget != 0 && ctxt->typeHeap != nullptr) {
        ctxt->typeHeap->budget = rtMemHeapUnlimited;
    }
    ctxt->holdsBudget = 0;
}
