// Identifiers are compared from their last arc on: those of one set mostly share their first ones.
#include <chronoseal/asn1data/object_support.h>

namespace asn1data {
namespace {

// A total order, unlike that of their text: negative, 0 or positive.
int compare_oids(const ASN1OBJID& a, const ASN1OBJID& b) {
    if (a.numids != b.numids) {
        return a.numids < b.numids ? -1 : 1;
    }
    for (std::uint32_t i = std::min(a.numids, maxObjectIdArcs); i-- > 0;) {
        if (a.subid[i] != b.subid[i]) {
            return a.subid[i] < b.subid[i] ? -1 : 1;
        }
    }
    return 0;
}

} // namespace

void assign(ASN1TObjId& id, std::initializer_list<std::uint32_t> arcs) {
    id.numids = 0;
    for (const std::uint32_t arc : arcs) {
        id.subid[id.numids++] = arc;
    }
}

void sortRows(std::span<ObjectRow> rows) {
    std::stable_sort(rows.begin(), rows.end(), [](const ObjectRow& a, const ObjectRow& b) {
        return compare_oids(*a.id, *b.id) < 0;
    });
}

void* findRow(std::span<const ObjectRow> rows, const ASN1OBJID& id) {
    const auto row =
        std::lower_bound(rows.begin(), rows.end(), id, [](const ObjectRow& a, const ASN1OBJID& b) {
            return compare_oids(*a.id, b) < 0;
        });
    return row != rows.end() && compare_oids(*row->id, id) == 0 ? row->object : nullptr;
}

void destroyControl(ASN1CType* control) {
    if (control != nullptr) {
        ASN1CtxtPtr context = control->getContext();
        control->~ASN1CType();
        rtMemHeapFreePtr(&context.get()->typeHeap, control);
    }
}

} // namespace asn1data
