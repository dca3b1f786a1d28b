// What traits are made of: the traits of one record, of one with an open type, of SEQUENCE OF and
// SET OF. See codec.h for what traits are and how they fail.
#pragma once

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/heap_copy.h>

namespace Halcyon::ASN1 {

// `asn1Copy_X`, of which the schema has an overload with a source that is const, too.
template <class Record>
using CopyFunction = void (*)(ASN1CTXT*, Record*, Record*);

// Codec and deep copy of the record through its control class and its copy function, which leaves
// its source alone although the type doesn't say so.
template <class Record, class Control, CopyFunction<Record> copy_record>
struct RecordTraits : CCodeClassT<Record, Control> {
    static void copy(ASN1CTXT* ctxt, const Record& from, Record& to) {
        with_result_codes([&] { copy_record(ctxt, const_cast<Record*>(&from), &to); });
    }
};

// The same for a record with an open type: `check_record` tells whether its value fits what the
// schema knows of its identifier.
template <class Record, class Control, CopyFunction<Record> copy_record, auto check_record>
struct OpenRecordTraits : RecordTraits<Record, Control, copy_record> {
    // Throws 0x80093101 for a value that doesn't fit.
    static void copy_checked(ASN1CTXT* ctxt, Record& from, Record& to) {
        with_result_codes([&] {
            // What the check decodes lies on its heap and is part of what is copied.
            ASN1BERDecodeBuffer check;
            if (check_record(check.getCtxtPtr(), &from) != 0) {
                fail_codec();
            }
            OpenRecordTraits::copy(ctxt, from, to);
        });
    }
};

// Between the run-time's list of records and a list of values, in order. `T` is the element's
// record, `List` a standard list of `Element`.
template <class T, class ElementTraits, class Element, class List>
struct ASN1TSeqOfList_traits {
    static void set(ASN1CTXT* ctxt, rtDList& target, const List& values) {
        rtDList local{};
        for (const Element& value : values) {
            ElementTraits::set(ctxt, *append_record(ctxt, local), value);
        }
        target = local;
    }

    static void get(const rtDList& from, List& values) {
        values.clear();
        for (const rtDListNode* node = from.head; node; node = node->next) {
            ElementTraits::get(*static_cast<const T*>(node->data), values.emplace_back());
        }
    }

    static void copy(ASN1CTXT* ctxt, const rtDList& from, rtDList& to) {
        rtDListInit(&to);
        for (const rtDListNode* node = from.head; node; node = node->next) {
            ElementTraits::copy(ctxt, *static_cast<const T*>(node->data), *append_record(ctxt, to));
        }
    }

private:
    static T* append_record(ASN1CTXT* ctxt, rtDList& list) {
        T* const record = heap_record<T>(ctxt);
        if (!rtDListAppend(ctxt, &list, record)) {
            fail_memory();
        }
        return record;
    }
};

inline constexpr std::uint32_t kTagSequenceOf = rtTagConstructed | 16;
inline constexpr std::uint32_t kTagSetOf = rtTagConstructed | 17;

// The same for a list with a type of its own in the schema: `Record` and `Control` are those of the
// list, `tag` is its universal tag. A list without elements is encoded as the empty SEQUENCE or
// SET, although most types of the schema ask for one element.
template <class Record, class Control, std::uint32_t tag, class ElementTraits, class Element,
          class List>
struct ListTypeTraits
    : CCodeClassT<Record, Control>,
      ASN1TSeqOfList_traits<typename ElementTraits::ASN1_T, ElementTraits, Element, List> {
    static int encode(ASN1BEREncodeBuffer& buffer, Record& record) {
        if (record.count != 0) {
            return CCodeClassT<Record, Control>::encode(buffer, record);
        }
        buffer.init();
        return xe_tag_len(buffer.getCtxtPtr(), tag, 0);
    }
};

} // namespace Halcyon::ASN1
