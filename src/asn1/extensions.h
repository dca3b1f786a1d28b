// CExtensions: a list of extensions (RFC 5280, 4.1.2.9).
#pragma once

#include <list>

#include "asn1/extension.h"

namespace Halcyon::ASN1 {

// In the order of the encoding. Through `insert` a type stands once at most; a decoded list keeps
// what came.
class CExtensions : public std::list<CExtension> {
public:
    using std::list<CExtension>::list;

    // The first extension of that type, by the exact text, or `end()`.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;
    // Removes the first extension of that type, if there is one.
    void erase(const char* oid);
    using std::list<CExtension>::erase;
    // Replaces value and mark of the extension of that type, or appends.
    void insert(const CExtension& extension);
    using std::list<CExtension>::insert;

    // The DER. Throws as `CExtension`.
    CBlob encode() const;
    // Replaces the list.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
