// ASN1CSeqOfList, the object form of rtDList, with its iterator. Nodes, arrays and iterators come
// from the type heap of the object's context and die with it. A list outlives that only if it keeps
// the context itself, as a copy made with getCopy does. Where memory runs out, what answers a node
// answers null; what has neither node nor status to tell it by throws ASN1MessageBuffer::RTLError
// with -12.
#pragma once

#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/pdu.h>
#include <chronoseal/visibility.h>

// A list that is a top-level value: it may keep the context that its elements live in.
struct ASN1TPDUSeqOfList : ASN1TSeqOfList, ASN1TPDU {
    ASN1TPDUSeqOfList() { rtDListInit(this); }
};

class ASN1CSeqOfList;

// Stands between two elements. Goes stale when the list is changed by anything but this iterator.
// The memory is the heap's: an iterator is never deleted.
class CHRONOSEAL_API ASN1CSeqOfListIterator {
public:
    // The element behind or in front of the iterator, which moves over it. Null at the end (-8) and
    // when stale (-27): getState tells which, as null may be an element too.
    void* next();
    void* prev();

    // On the element that next or prev returned last: 0, -27 when stale, -28 without such an
    // element. remove unlinks it, and frees neither node nor data.
    int remove();
    int set(void* data);

    // Puts an element in front of the one that next would return. 0, -27 or -12.
    int insert(void* data);

    // The status of the last next or prev.
    int getState() const { return state_; }

private:
    friend class ASN1CSeqOfList;
    ASN1CSeqOfListIterator(ASN1CSeqOfList& list, rtDListNode* next);

    bool stale() const;
    void take_over();
    void* returned(rtDListNode* node);

    ASN1CSeqOfList& list_;
    rtDListNode* next_; // null: at the end
    rtDListNode* last_ = nullptr;
    int expected_mod_count_;
    int state_ = 0;
};

class CHRONOSEAL_API ASN1CSeqOfList : public ASN1CType {
public:
    // On a list of the caller's, whose elements may live anywhere, or with a new one on the heap.
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, _Asn1RTDList& list);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TPDUSeqOfList& list);
    explicit ASN1CSeqOfList(ASN1MessageBufferIF& buffer);
    ASN1CSeqOfList(ASN1Context& sharedContext, _Asn1RTDList& list);
    ASN1CSeqOfList(ASN1Context& sharedContext, ASN1TPDUSeqOfList& list);
    explicit ASN1CSeqOfList(ASN1Context& sharedContext);
    // With a private context: what is added dies with this object.
    explicit ASN1CSeqOfList(_Asn1RTDList& list);
    explicit ASN1CSeqOfList(ASN1TPDUSeqOfList& list);

    // Link a new node and answer it. Null, and no change, without memory and for an index below 0
    // or above the size. A null node means the end for insertBefore, the front for insertAfter.
    rtDListNode* append(void* data);
    rtDListNode* insert(int index, void* data);
    rtDListNode* insertBefore(void* data, rtDListNode* node);
    rtDListNode* insertAfter(void* data, rtDListNode* node);

    // As rtDListAppendArray and rtDListAppendArrayCopy, with the count of elements.
    void appendArray(void* data, int count, int elemSize);
    void appendArrayCopy(const void* data, int count, int elemSize);

    // Unlink an element and free nothing. The element's data, null when there is none such.
    void* remove(int index);
    void* remove(void* data);
    void remove(_Asn1RTDListNode* node);

    int indexOf(const void* data) const { return rtDListFindIndexByData(list, data); }

    // The data, or null when there is no such element. An index below 0 gives the first.
    void* getFirst() const;
    void* getLast() const;
    void* get(int index) const;

    // Replaces the data and answers the old; null, and no change, without such an element.
    void* set(int index, void* data);

    void clear();   // frees the nodes, and with them data that shares its block with the node
    void freeAll(); // frees the data too

    bool isEmpty() const { return list->count == 0; }
    int size() const { return static_cast<int>(list->count); }

    // The elements one behind the other in a new array, or in the caller's if it has room for them
    // (`capacity` in elements). An empty list gives null, or the caller's array.
    void* toArray(int elemSize);
    void* toArray(void* array, int elemSize, int capacity);

    // At the front, at the end (for prev), in front of the first element with this data (null if
    // there is none). Null also without a context.
    ASN1CSeqOfListIterator* iterator();
    ASN1CSeqOfListIterator* iteratorFromLast();
    ASN1CSeqOfListIterator* iteratorFrom(void* data);

    rtDList* getList() const { return list; }

protected:
    rtDList* list;
    int modCount = 0;

private:
    friend class ASN1CSeqOfListIterator;
    void make_list();
    rtDListNode* linked(rtDListNode* node);
    ASN1CSeqOfListIterator* make_iterator(rtDListNode* next);
    // Wraps around: only equality counts.
    void changed() { modCount = static_cast<int>(static_cast<unsigned>(modCount) + 1); }
};
