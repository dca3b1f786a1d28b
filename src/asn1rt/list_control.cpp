// The object form of the doubly linked list, and its iterator: a place between two nodes.
#include <chronoseal/asn1rt/list_control.h>

#include <new>
#include <type_traits>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/status.h>

namespace {

[[noreturn]] void throw_no_memory(ASN1CTXT* ctxt) {
    throw ASN1MessageBuffer::RTLError(rtErrSetData(&ctxt->errInfo, rtStatusNoMemory));
}

template <typename T>
T* required(ASN1CTXT* ctxt) {
    T* const block = asn1rt::alloc_latched<T>(ctxt);
    if (block == nullptr) {
        throw ASN1MessageBuffer::RTLError(rtStatusNoMemory);
    }
    return block;
}

void* data_of(const rtDListNode* node) {
    return node != nullptr ? node->data : nullptr;
}

} // namespace

ASN1CSeqOfListIterator::ASN1CSeqOfListIterator(ASN1CSeqOfList& list, rtDListNode* next)
    : list_(list), next_(next), expected_mod_count_(list.modCount) {}

bool ASN1CSeqOfListIterator::stale() const {
    return expected_mod_count_ != list_.modCount;
}

void ASN1CSeqOfListIterator::take_over() {
    list_.changed();
    expected_mod_count_ = list_.modCount;
}

void* ASN1CSeqOfListIterator::returned(rtDListNode* node) {
    if (node == nullptr) {
        state_ = rtStatusMissingElement;
        return nullptr;
    }
    state_ = rtStatusOk;
    last_ = node;
    return node->data;
}

void* ASN1CSeqOfListIterator::next() {
    if (stale()) {
        state_ = rtStatusListChanged;
        return nullptr;
    }
    rtDListNode* node = next_;
    next_ = node != nullptr ? node->next : nullptr;
    return returned(node);
}

void* ASN1CSeqOfListIterator::prev() {
    if (stale()) {
        state_ = rtStatusListChanged;
        return nullptr;
    }
    rtDListNode* node = next_ != nullptr ? next_->prev : list_.list->tail;
    next_ = node != nullptr ? node : next_;
    return returned(node);
}

int ASN1CSeqOfListIterator::remove() {
    if (stale()) {
        return rtStatusListChanged;
    }
    if (last_ == nullptr) {
        return rtStatusNoCurrentElement;
    }
    next_ = next_ == last_ ? last_->next : next_;
    rtDListRemove(list_.list, last_);
    last_ = nullptr;
    take_over();
    return rtStatusOk;
}

int ASN1CSeqOfListIterator::set(void* data) {
    if (stale()) {
        return rtStatusListChanged;
    }
    if (last_ == nullptr) {
        return rtStatusNoCurrentElement;
    }
    last_->data = data;
    take_over();
    return rtStatusOk;
}

int ASN1CSeqOfListIterator::insert(void* data) {
    if (stale()) {
        return rtStatusListChanged;
    }
    if (rtDListInsertBefore(list_.getCtxtPtr(), list_.list, next_, data) == nullptr) {
        return rtStatusNoMemory;
    }
    take_over();
    return rtStatusOk;
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer, _Asn1RTDList& list)
    : ASN1CType(buffer), list(&list) {}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TPDUSeqOfList& list)
    : ASN1CType(buffer), list(&list) {}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer) : ASN1CType(buffer) {
    make_list();
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& sharedContext, _Asn1RTDList& list)
    : ASN1CType(sharedContext), list(&list) {}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& sharedContext, ASN1TPDUSeqOfList& list)
    : ASN1CType(sharedContext), list(&list) {}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& sharedContext) : ASN1CType(sharedContext) {
    make_list();
}

ASN1CSeqOfList::ASN1CSeqOfList(_Asn1RTDList& list) : list(&list) {}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1TPDUSeqOfList& list) : list(&list) {}

void ASN1CSeqOfList::make_list() {
    list = required<rtDList>(getCtxtPtr());
    rtDListInit(list);
}

rtDListNode* ASN1CSeqOfList::linked(rtDListNode* node) {
    if (node != nullptr) {
        changed();
    }
    return node;
}

rtDListNode* ASN1CSeqOfList::append(void* data) {
    return linked(rtDListAppend(getCtxtPtr(), list, data));
}

rtDListNode* ASN1CSeqOfList::insert(int index, void* data) {
    return linked(rtDListInsert(getCtxtPtr(), list, index, data));
}

rtDListNode* ASN1CSeqOfList::insertBefore(void* data, rtDListNode* node) {
    return linked(rtDListInsertBefore(getCtxtPtr(), list, node, data));
}

rtDListNode* ASN1CSeqOfList::insertAfter(void* data, rtDListNode* node) {
    return linked(rtDListInsertAfter(getCtxtPtr(), list, node, data));
}

void ASN1CSeqOfList::appendArray(void* data, int count, int elemSize) {
    if (count > 0 && elemSize > 0) {
        rtDListAppendArray(getCtxtPtr(), list, data, static_cast<std::uint32_t>(count),
                           static_cast<std::uint32_t>(elemSize));
    }
    changed();
}

void ASN1CSeqOfList::appendArrayCopy(const void* data, int count, int elemSize) {
    const std::int64_t bytes = std::int64_t{count} * elemSize;
    changed();
    if (count <= 0 || elemSize <= 0) {
        return;
    }
    if (bytes > UINT32_MAX ||
        rtDListAppendArrayCopy(getCtxtPtr(), list, data, static_cast<std::uint32_t>(bytes),
                               static_cast<std::uint32_t>(elemSize)) != rtStatusOk) {
        throw_no_memory(getCtxtPtr());
    }
}

void* ASN1CSeqOfList::remove(int index) {
    rtDListNode* node = rtDListFindByIndex(list, index);
    if (node != nullptr) {
        remove(node);
    }
    return data_of(node);
}

void* ASN1CSeqOfList::remove(void* data) {
    rtDListNode* node = rtDListFindByData(list, data);
    if (node != nullptr) {
        remove(node);
    }
    return data_of(node);
}

void ASN1CSeqOfList::remove(_Asn1RTDListNode* node) {
    rtDListRemove(list, node);
    changed();
}

void* ASN1CSeqOfList::getFirst() const {
    return data_of(list->head);
}

void* ASN1CSeqOfList::getLast() const {
    return data_of(list->tail);
}

void* ASN1CSeqOfList::get(int index) const {
    return data_of(rtDListFindByIndex(list, index));
}

void* ASN1CSeqOfList::set(int index, void* data) {
    rtDListNode* node = rtDListFindByIndex(list, index);
    if (node == nullptr) {
        return nullptr;
    }
    void* old = node->data;
    node->data = data;
    changed();
    return old;
}

void ASN1CSeqOfList::clear() {
    rtDListFreeNodes(getCtxtPtr(), list);
    changed();
}

void ASN1CSeqOfList::freeAll() {
    rtDListFreeAll(getCtxtPtr(), list);
    changed();
}

void* ASN1CSeqOfList::toArray(int elemSize) {
    return toArray(nullptr, elemSize, 0);
}

void* ASN1CSeqOfList::toArray(void* array, int elemSize, int capacity) {
    std::uint32_t room = capacity > 0 ? static_cast<std::uint32_t>(capacity) : 0;
    const int status =
        rtDListToArray(getCtxtPtr(), list, &array, &room, static_cast<std::uint32_t>(elemSize));
    if (status < 0) {
        throw_no_memory(getCtxtPtr());
    }
    return array;
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iterator() {
    return make_iterator(list->head);
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iteratorFromLast() {
    return make_iterator(nullptr);
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iteratorFrom(void* data) {
    rtDListNode* node = rtDListFindByData(list, data);
    return node != nullptr ? make_iterator(node) : nullptr;
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::make_iterator(rtDListNode* next) {
    static_assert(std::is_trivially_destructible_v<ASN1CSeqOfListIterator>);
    if (getCtxtPtr() == nullptr) {
        return nullptr;
    }
    return new (required<ASN1CSeqOfListIterator>(getCtxtPtr())) ASN1CSeqOfListIterator(*this, next);
}
