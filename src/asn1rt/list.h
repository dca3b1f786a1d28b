// Doubly linked lists (the elements of SEQUENCE OF and SET OF) and singly linked lists over a
// context's type heap. Nodes die with that heap. Functions that make a node answer null when memory
// is gone, and leave the list as it was; none of them throws.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;

struct _Asn1RTDListNode {
    void* data;
    _Asn1RTDListNode* next;
    _Asn1RTDListNode* prev;
};

struct _Asn1RTDList {
    std::uint32_t count;
    _Asn1RTDListNode* head;
    _Asn1RTDListNode* tail;
};

using rtDListNode = _Asn1RTDListNode;
using rtDList = _Asn1RTDList;

// The list as a member of a value record.
struct ASN1TSeqOfList : _Asn1RTDList {};

struct rtSListNode {
    void* data;
    rtSListNode* next;
};

// `owner` null: the nodes come from malloc instead of a type heap.
struct CHRONOSEAL_API rtSList {
    std::uint32_t count;
    rtSListNode* head;
    rtSListNode* tail;
    ASN1CTXT* owner;
};

extern "C" {

// Makes the list empty and frees nothing. A null list is tolerated.
CHRONOSEAL_API void rtDListInit(rtDList* list);

// Links a new node at the tail and answers it.
CHRONOSEAL_API rtDListNode* rtDListAppend(ASN1CTXT* ctxt, rtDList* list, void* data);

// Links a node that lies in one block with its data: `data` points directly behind a node header,
// at the start of a block of the type heap. Allocates nothing and can't fail.
CHRONOSEAL_API rtDListNode* rtDListAppendNode(ASN1CTXT* ctxt, rtDList* list, void* data);

// Puts `data` in front of the node that stands at `index`; `count` appends. An index below 0 or
// above `count` gives null.
CHRONOSEAL_API rtDListNode* rtDListInsert(ASN1CTXT* ctxt, rtDList* list, int index, void* data);

// A null `node` stands for the end of the list: the new node becomes the tail.
CHRONOSEAL_API rtDListNode* rtDListInsertBefore(ASN1CTXT* ctxt, rtDList* list, rtDListNode* node,
                                                void* data);

// A null `node` stands for the place in front of the list: the new node becomes the head.
CHRONOSEAL_API rtDListNode* rtDListInsertAfter(ASN1CTXT* ctxt, rtDList* list, rtDListNode* node,
                                               void* data);

// Null at and behind `count`; an index below 1 gives the head.
CHRONOSEAL_API rtDListNode* rtDListFindByIndex(const rtDList* list, int index);

// The first node, or its index, whose `data` is this very pointer. Null, or -1, when there is none.
CHRONOSEAL_API rtDListNode* rtDListFindByData(const rtDList* list, const void* data);
CHRONOSEAL_API int rtDListFindIndexByData(const rtDList* list, const void* data);

// Unlinks the node, which must be of this list, and frees nothing.
CHRONOSEAL_API void rtDListRemove(rtDList* list, rtDListNode* node);

// Frees the nodes but not their data; the list is empty afterwards.
CHRONOSEAL_API void rtDListFreeNodes(ASN1CTXT* ctxt, rtDList* list);

// Frees data and nodes. Data that lies in one block with its node is told by its address and dies
// with that block, so a list may mix both layouts.
CHRONOSEAL_API void rtDListFreeAll(ASN1CTXT* ctxt, rtDList* list);

// Copies `elemSize` bytes from each node's data to consecutive elements of `*array`, and answers
// `count`. With `capacity` (in elements), an array that is too small is replaced by a new one of
// the type heap, and `*capacity` is set; -12 is latched when that fails. Without `capacity` the
// array is trusted to be large enough.
CHRONOSEAL_API int rtDListToArray(ASN1CTXT* ctxt, const rtDList* list, void** array,
                                  std::uint32_t* capacity, std::uint32_t elemSize);

// Appends a node for each of the `count` elements; the nodes point into `array`, which the caller
// keeps alive. An element whose node can't be allocated is left out.
CHRONOSEAL_API void rtDListAppendArray(ASN1CTXT* ctxt, rtDList* list, void* array,
                                       std::uint32_t count, std::uint32_t elemSize);

// Appends a copy, in a block of its own, of each element of the `bytes` long array. 0, or -12
// latched when an element's block can't be had. A rest that is shorter than an element is copied
// and filled up with zeros; an element size of 0 appends nothing.
CHRONOSEAL_API int rtDListAppendArrayCopy(ASN1CTXT* ctxt, rtDList* list, const void* array,
                                          std::uint32_t bytes, std::uint32_t elemSize);

// Makes the list empty and binds it to the context from whose type heap its nodes come; a null
// owner means malloc.
CHRONOSEAL_API void rtSListInitEx(ASN1CTXT* owner, rtSList* list);

CHRONOSEAL_API rtSListNode* rtSListAppend(rtSList* list, void* data);

// Frees the nodes and clears the list, its owner included: before it is used again it needs
// rtSListInitEx, else its nodes would come from malloc.
CHRONOSEAL_API void rtSListFree(rtSList* list);

} // extern "C"
