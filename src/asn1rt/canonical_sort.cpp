// The order of a SET OF: ascending by the bytes of the encodings, and of two that are alike as far
// as the shorter one goes, the shorter first. Equal elements all stay. Costs n log n comparisons,
// and nothing but one pass when the elements are in order already.
#include <algorithm>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/writer.h>

namespace {

struct Element {
    const unsigned char* data;
    std::uint32_t size;
};

// The order from the top of the buffer downward: the greatest element comes first.
bool stands_above(const Element& a, const Element& b) {
    const int order = std::memcmp(a.data, b.data, std::min(a.size, b.size));
    return order != 0 ? order > 0 : a.size > b.size;
}

// False when the descriptor names bytes outside the message.
bool locate(const ASN1CTXT* ctxt, const BufLocDescr* descr, Element& element) {
    if (descr == nullptr || ctxt->bufSize == 0 || descr->offset > ctxt->bufSize - 1 ||
        descr->numocts > descr->offset) {
        return false;
    }
    element = {ctxt->bufData + (ctxt->bufSize - 1 - descr->offset), descr->numocts};
    return true;
}

struct Survey {
    bool valid = true;
    bool in_order = true;
    std::uint64_t sum = 0;
};

Survey survey(const ASN1CTXT* ctxt, const rtSList* list) {
    Survey result;
    Element previous{};
    for (const rtSListNode* node = list->head; node != nullptr && result.valid; node = node->next) {
        Element element;
        result.valid = locate(ctxt, static_cast<const BufLocDescr*>(node->data), element);
        if (!result.valid) {
            break;
        }
        if (node != list->head && stands_above(element, previous)) {
            result.in_order = false;
        }
        previous = element;
        result.sum += element.size;
    }
    // The elements are what was written last, so together they are no more than the message.
    result.valid = result.valid && result.sum <= ctxt->bufSize - 1 - ctxt->bufIndex;
    return result;
}

void free_descriptors(ASN1CTXT* ctxt, rtSList* list) {
    for (const rtSListNode* node = list->head; node != nullptr; node = node->next) {
        rtMemHeapFreePtr(&ctxt->typeHeap, node->data);
    }
    rtSListFree(list);
}

// One block from the type heap: the index of the elements, and behind it the room for their bytes.
int rearrange(ASN1CTXT* ctxt, const rtSList* list, std::uint32_t sum) {
    const std::uint64_t bytes = std::uint64_t{list->count} * sizeof(Element) + sum;
    void* block = asn1rt::alloc(&ctxt->typeHeap, bytes);
    if (block == nullptr) {
        return rtStatusNoMemory;
    }
    auto* const elements = static_cast<Element*>(block);
    Element* end = elements;
    for (const rtSListNode* node = list->head; node != nullptr; node = node->next) {
        locate(ctxt, static_cast<const BufLocDescr*>(node->data), *end++);
    }
    std::stable_sort(elements, end, stands_above);
    auto* const scratch = reinterpret_cast<unsigned char*>(end);
    unsigned char* at = scratch + sum;
    for (const Element* element = elements; element != end; ++element) {
        at -= element->size;
        std::memcpy(at, element->data, element->size);
    }
    std::memcpy(xe_getp(ctxt), scratch, sum);
    rtMemHeapFreePtr(&ctxt->typeHeap, block);
    return rtStatusOk;
}

} // namespace

int xe_derCanonicalSort(ASN1CTXT* ctxt, rtSList* list) {
    if (list == nullptr || list->head == nullptr) {
        return 0;
    }
    const Survey found = survey(ctxt, list);
    if (!found.valid) {
        return rtStatusInvalidArgument;
    }
    const auto sum = static_cast<std::uint32_t>(found.sum);
    const int status = found.in_order ? rtStatusOk : rearrange(ctxt, list, sum);
    if (status != rtStatusOk) {
        return status;
    }
    free_descriptors(ctxt, list);
    return static_cast<int>(sum);
}
