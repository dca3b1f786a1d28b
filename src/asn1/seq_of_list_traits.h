// Traits of SEQUENCE OF and SET OF: between the run-time's list of records and a list of values, in
// order. See codec.h for what traits are and how they fail.
#pragma once

#include "asn1/code_class.h"
#include "asn1/heap_copy.h"
#include "asn1rt/runtime.h"

namespace Halcyon::ASN1 {

// `T` is the element's record, `List` a standard list of `Element`.
template <class T, class ElementTraits, class Element, class List>
struct ASN1TSeqOfList_traits {
    static void set(ASN1CTXT* ctxt, rtDList& target, const List& values) {
        rtDList local{};
        for (const Element& value : values)
            ElementTraits::set(ctxt, *appendRecord(ctxt, local), value);
        moveTo(target, local);
    }

    static void get(const rtDList& from, List& values) {
        values.clear();
        for (const rtDListNode* node = from.head; node; node = node->next) {
            Element element;
            ElementTraits::get(*static_cast<const T*>(node->data), element);
            values.push_back(element);
        }
    }

    static void copy(ASN1CTXT* ctxt, const rtDList& from, rtDList& to) {
        rtDListInit(&to);
        for (const rtDListNode* node = from.head; node; node = node->next)
            ElementTraits::copy(ctxt, *static_cast<const T*>(node->data), *appendRecord(ctxt, to));
    }

private:
    static T* appendRecord(ASN1CTXT* ctxt, rtDList& list) {
        T* const record = heapRecord<T>(ctxt);
        if (!rtDListAppend(ctxt, &list, record))
            failMemory();
        return record;
    }

    static void moveTo(rtDList& target, const rtDList& local) { target = local; }
};

// The same for a list with a type of its own in the schema: `Record` and `Control` are those of the
// list, `tag` is its universal tag. A list without elements is encoded as the empty SEQUENCE or
// SET, although most types of the schema ask for one element.
template <class Record, class Control, std::uint32_t tag, class T, class ElementTraits,
          class Element, class List>
struct ListTypeTraits : CCodeClassT<Record, Control>,
                        ASN1TSeqOfList_traits<T, ElementTraits, Element, List> {
    static int encode(ASN1BEREncodeBuffer& buffer, Record& record) {
        if (record.count != 0)
            return CCodeClassT<Record, Control>::encode(buffer, record);
        buffer.init();
        return xe_tag_len(buffer.getCtxtPtr(), tag, 0);
    }
};

inline constexpr std::uint32_t tagSequenceOf = rtTagConstructed | 16;
inline constexpr std::uint32_t tagSetOf = rtTagConstructed | 17;

} // namespace Halcyon::ASN1
