// What the object classes, objects and object sets of the schema share: identifiers as constants,
// the operations of an object that has a type, a set's rows and the fast way to one of them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <span>

#include <pthread.h>

#include <chronoseal/asn1data/record_memory.h>
#include <chronoseal/asn1rt/runtime.h>

namespace asn1data {

/// An object identifier of the schema, made by the compiler; ASN1TObjId takes it as it is.
struct OidConstant : ASN1OBJID {
    constexpr OidConstant(std::initializer_list<std::uint32_t> arcs) : ASN1OBJID{} {
        for (const std::uint32_t arc : arcs) {
            subid[numids++] = arc;
        }
    }
};

void assign(ASN1TObjId& id, std::initializer_list<std::uint32_t> arcs);

/// Ends a control object that lies in a block of its own context's heap.
void destroyControl(ASN1CType* control);

/// The operations of an object whose type is `Record`; its class names them by its suffix.
template <class Record, class Control, int (*Encode)(ASN1CTXT*, Record*, ASN1TagType),
          int (*Decode)(ASN1CTXT*, Record*, ASN1TagType, int),
          void (*Copy)(ASN1CTXT*, Record*, Record*), void (*Free)(ASN1CTXT*, Record*)>
struct OpenValueType {
    static void* constructRecord(ASN1CTXT* ctx) { return required<Record>(ctx); }

    static ASN1CType* constructControl(ASN1MessageBufferIF& buffer, void* value) {
        void* place = requiredBlock(buffer.getCtxtPtr(), sizeof(Control));
        return new (place) Control(buffer, *static_cast<Record*>(value));
    }

    static int encode(ASN1CTXT* ctx, Asn1TObject& object) {
        if (object.decoded == nullptr) {
            return rtErrSetData(&ctx->errInfo, rtStatusInvalidArgument);
        }
        return Encode(ctx, static_cast<Record*>(object.decoded), 1);
    }

    static int decode(ASN1CTXT* ctx, Asn1TObject& object) {
        auto* record = required<Record>(ctx);
        object.decoded = record;
        return Decode(ctx, record, 1, 0);
    }

    static void copy(ASN1CTXT* ctx, Asn1TObject& source, Asn1TObject& target) {
        target.decoded = nullptr;
        if (source.decoded != nullptr) {
            auto* record = required<Record>(ctx);
            Copy(ctx, static_cast<Record*>(source.decoded), record);
            target.decoded = record;
        }
    }

    static void free(ASN1CTXT* ctx, Asn1TObject& object) {
        if (object.decoded != nullptr) {
            Free(ctx, static_cast<Record*>(object.decoded));
        }
        if (rtMemHeapCheckPtr(&ctx->typeHeap, object.decoded)) {
            rtMemHeapFreePtr(&ctx->typeHeap, object.decoded);
        }
        object.decoded = nullptr;
    }
};

/// A row of a set while it is looked for: its identifier, and the object that the set's class casts
/// back.
struct ObjectRow {
    const ASN1OBJID* id;
    void* object;
};

/// By identifier; of equal ones the first row stays the first.
void sortRows(std::span<ObjectRow> rows);
/// The object of the first row with the identifier, or null.
void* findRow(std::span<const ObjectRow> rows, const ASN1OBJID& id);

/// `Set` is the derived class, which names its objects in order. One instance a process, made at
/// first use from whichever thread; it lives until the process ends.
template <class Set, class Class, std::uint32_t Count>
class ObjectSet {
public:
    static Set* instance(ASN1CTXT*) {
        static pthread_once_t once = PTHREAD_ONCE_INIT;
        pthread_once(&once, [] { mpInstance = new Set; });
        return mpInstance;
    }

    /// The first row with this identifier, or null.
    Class* lookupObject(ASN1TObjId id) { return find(id); }

    /// The same without a copy of the identifier.
    Class* find(const ASN1OBJID& id) const { return static_cast<Class*>(findRow(rows_, id)); }

protected:
    explicit ObjectSet(const std::array<Class*, Count>& objects) {
        std::transform(objects.begin(), objects.end(), rows_.begin(), [](Class* object) {
            return ObjectRow{&object->id, object};
        });
        sortRows(rows_);
    }

    static inline Set* mpInstance = nullptr;

private:
    std::array<ObjectRow, Count> rows_;
};

} // namespace asn1data
