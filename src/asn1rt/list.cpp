// Both lists. Nodes are linked in one place, whatever the end at which they come in.
#include <chronoseal/asn1rt/list.h>

#include <cstdlib>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/status.h>

namespace {

rtDListNode* new_node(ASN1CTXT* ctxt, void* data) {
    auto* node = asn1rt::alloc<rtDListNode>(ctxt);
    if (node != nullptr) {
        *node = {data, nullptr, nullptr};
    }
    return node;
}

// Links the node between two neighbours, of which null stands for the list's own end.
void link(rtDList* list, rtDListNode* node, rtDListNode* before, rtDListNode* behind) {
    node->prev = before;
    node->next = behind;
    (before != nullptr ? before->next : list->head) = node;
    (behind != nullptr ? behind->prev : list->tail) = node;
    ++list->count;
}

bool shares_block(const rtDListNode* node) {
    return node->data == node + 1;
}

} // namespace

void rtDListInit(rtDList* list) {
    if (list != nullptr) {
        *list = rtDList{};
    }
}

rtDListNode* rtDListAppend(ASN1CTXT* ctxt, rtDList* list, void* data) {
    return rtDListInsertBefore(ctxt, list, nullptr, data);
}

rtDListNode* rtDListAppendNode(ASN1CTXT*, rtDList* list, void* data) {
    rtDListNode* node = static_cast<rtDListNode*>(data) - 1;
    node->data = data;
    link(list, node, list->tail, nullptr);
    return node;
}

rtDListNode* rtDListInsert(ASN1CTXT* ctxt, rtDList* list, int index, void* data) {
    if (index < 0 || static_cast<std::uint32_t>(index) > list->count) {
        return nullptr;
    }
    return rtDListInsertBefore(ctxt, list, rtDListFindByIndex(list, index), data);
}

rtDListNode* rtDListInsertBefore(ASN1CTXT* ctxt, rtDList* list, rtDListNode* node, void* data) {
    rtDListNode* fresh = new_node(ctxt, data);
    if (fresh != nullptr) {
        link(list, fresh, node != nullptr ? node->prev : list->tail, node);
    }
    return fresh;
}

rtDListNode* rtDListInsertAfter(ASN1CTXT* ctxt, rtDList* list, rtDListNode* node, void* data) {
    rtDListNode* fresh = new_node(ctxt, data);
    if (fresh != nullptr) {
        link(list, fresh, node, node != nullptr ? node->next : list->head);
    }
    return fresh;
}

rtDListNode* rtDListFindByIndex(const rtDList* list, int index) {
    if (index >= 0 && static_cast<std::uint32_t>(index) >= list->count) {
        return nullptr;
    }
    rtDListNode* node = list->head;
    for (int i = 0; i < index; ++i) {
        node = node->next;
    }
    return node;
}

rtDListNode* rtDListFindByData(const rtDList* list, const void* data) {
    for (rtDListNode* node = list->head; node != nullptr; node = node->next) {
        if (node->data == data) {
            return node;
        }
    }
    return nullptr;
}

int rtDListFindIndexByData(const rtDList* list, const void* data) {
    int index = 0;
    for (const rtDListNode* node = list->head; node != nullptr; node = node->next, ++index) {
        if (node->data == data) {
            return index;
        }
    }
    return -1;
}

void rtDListRemove(rtDList* list, rtDListNode* node) {
    (node->prev != nullptr ? node->prev->next : list->head) = node->next;
    (node->next != nullptr ? node->next->prev : list->tail) = node->prev;
    --list->count;
}

void rtDListFreeNodes(ASN1CTXT* ctxt, rtDList* list) {
    for (rtDListNode* node = list->head; node != nullptr;) {
        rtDListNode* next = node->next;
        rtMemHeapFreePtr(&ctxt->typeHeap, node);
        node = next;
    }
    rtDListInit(list);
}

void rtDListFreeAll(ASN1CTXT* ctxt, rtDList* list) {
    for (const rtDListNode* node = list->head; node != nullptr; node = node->next) {
        if (!shares_block(node)) {
            rtMemHeapFreePtr(&ctxt->typeHeap, node->data);
        }
    }
    rtDListFreeNodes(ctxt, list);
}

int rtDListToArray(ASN1CTXT* ctxt, const rtDList* list, void** array, std::uint32_t* capacity,
                   std::uint32_t elemSize) {
    if (capacity != nullptr && *capacity < list->count) {
        void* fresh =
            asn1rt::alloc_latched<unsigned char>(ctxt, std::uint64_t{list->count} * elemSize);
        if (fresh == nullptr) {
            return rtStatusNoMemory;
        }
        *array = fresh;
        *capacity = list->count;
    }
    auto* out = static_cast<unsigned char*>(*array);
    for (const rtDListNode* node = list->head; node != nullptr; node = node->next) {
        if (node->data != nullptr) {
            std::memcpy(out, node->data, elemSize);
        } else {
            std::memset(out, 0, elemSize);
        }
        out += elemSize;
    }
    return static_cast<int>(list->count);
}

void rtDListAppendArray(ASN1CTXT* ctxt, rtDList* list, void* array, std::uint32_t count,
                        std::uint32_t elemSize) {
    auto* element = static_cast<unsigned char*>(array);
    for (std::uint32_t i = 0; i < count; ++i, element += elemSize) {
        rtDListAppend(ctxt, list, element);
    }
}

int rtDListAppendArrayCopy(ASN1CTXT* ctxt, rtDList* list, const void* array, std::uint32_t bytes,
                           std::uint32_t elemSize) {
    if (elemSize == 0) {
        return rtStatusOk;
    }
    const auto* from = static_cast<const unsigned char*>(array);
    while (bytes > 0) {
        auto* element = asn1rt::alloc_latched<unsigned char>(ctxt, elemSize);
        if (element == nullptr) {
            return rtStatusNoMemory;
        }
        const std::uint32_t part = bytes < elemSize ? bytes : elemSize;
        std::memcpy(element, from, part);
        std::memset(element + part, 0, elemSize - part);
        // Without memory for the node the element is left out, its copy stays on the heap, and the
        // next one is tried.
        rtDListAppend(ctxt, list, element);
        from += part;
        bytes -= part;
    }
    return rtStatusOk;
}

void rtSListInitEx(ASN1CTXT* owner, rtSList* list) {
    *list = {0, nullptr, nullptr, owner};
}

rtSListNode* rtSListAppend(rtSList* list, void* data) {
    auto* node = list->owner != nullptr
                     ? asn1rt::alloc<rtSListNode>(list->owner)
                     : static_cast<rtSListNode*>(std::malloc(sizeof(rtSListNode)));
    if (node == nullptr) {
        return nullptr;
    }
    *node = {data, nullptr};
    (list->tail != nullptr ? list->tail->next : list->head) = node;
    list->tail = node;
    ++list->count;
    return node;
}

void rtSListFree(rtSList* list) {
    for (rtSListNode* node = list->head; node != nullptr;) {
        rtSListNode* next = node->next;
        if (list->owner != nullptr) {
            rtMemHeapFreePtr(&list->owner->typeHeap, node);
        } else {
            std::free(node);
        }
        node = next;
    }
    *list = rtSList{};
}
