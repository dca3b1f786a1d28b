// Identifiers are compared from their last arc on: those of one set mostly share their first ones.
#include "asn1data/object_support.h"

namespace asn1data {

void assign(ASN1TObjId& id, std::initializer_list<std::uint32_t> arcs) {
    id.numids = 0;
    for (const std::uint32_t arc : arcs) {
        id.subid[id.numids++] = arc;
    }
}

ASN1TObjId makeOid(std::initializer_list<std::uint32_t> arcs) {
    ASN1TObjId id;
    assign(id, arcs);
    return id;
}

int compareOids(const ASN1OBJID& a, const ASN1OBJID& b) {
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

void destroyControl(ASN1CType* control) {
    if (control != nullptr) {
        ASN1CtxtPtr context = control->getContext();
        control->~ASN1CType();
        rtMemHeapFreePtr(&context.get()->typeHeap, control);
    }
}

} // namespace asn1data
