// What the generated information object sets share: identifiers from their arcs and a fast way from
// an identifier to its row.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>

#include "asn1rt/runtime.h"

namespace asn1data {

ASN1TObjId makeOid(std::initializer_list<std::uint32_t> arcs);
void assign(ASN1TObjId& id, std::initializer_list<std::uint32_t> arcs);

/// A total order of identifiers, unlike that of their text: negative, 0 or positive.
int compareOids(const ASN1OBJID& a, const ASN1OBJID& b);

/// Ends a control object that lies in a block of its own context's heap.
void destroyControl(ASN1CType* control);

/// Rows sorted by identifier; among equal ones the first row comes first.
template <std::uint32_t Count>
class ObjectIndex {
public:
    template <class Object>
    void fill(Object* const (&objects)[Count]) {
        for (std::uint32_t i = 0; i < Count; ++i) {
            entries_[i] = {&objects[i]->id, static_cast<int>(i)};
        }
        std::stable_sort(entries_, entries_ + Count, [](const Entry& a, const Entry& b) {
            return compareOids(*a.id, *b.id) < 0;
        });
    }

    /// The first row with this identifier, or -1.
    int find(const ASN1OBJID& id) const {
        const Entry* entry = std::lower_bound(
            entries_, entries_ + Count, id,
            [](const Entry& a, const ASN1OBJID& b) { return compareOids(*a.id, b) < 0; });
        return entry != entries_ + Count && compareOids(*entry->id, id) == 0 ? entry->row : -1;
    }

private:
    struct Entry {
        const ASN1OBJID* id;
        int row;
    };
    Entry entries_[Count];
};

} // namespace asn1data
