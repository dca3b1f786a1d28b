// An element of an open-type list: the record lies in one block with its node, for
// rtDListAppendNode.
#pragma once

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/value_record.h>

namespace asn1rt {

// A zeroed record in a new block of the type heap, or null.
inline ASN1TOpenType* new_list_element(ASN1CTXT* ctxt) {
    struct NodeAndElement {
        rtDListNode node;
        ASN1TOpenType element;
    };
    auto* block = alloc<NodeAndElement>(ctxt);
    if (block == nullptr) {
        return nullptr;
    }
    *block = {};
    return &block->element;
}

} // namespace asn1rt
