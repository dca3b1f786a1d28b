// CAttributes: a list of attributes, such as the signed attributes of a CMS signer (RFC 5652, 5.3).
#pragma once

#include <list>

#include "asn1/attribute.h"

namespace Halcyon::ASN1 {

// In the order of the encoding or of insertion. Nothing prevents two attributes of one type.
class CAttributes : public std::list<CAttribute> {
public:
    using std::list<CAttribute>::list;

    // The first attribute of that type, by the exact text, or `end()`.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;
    // Removes the first attribute of that type, if there is one.
    void erase(const char* oid);
    using std::list<CAttribute>::erase;

    // The DER of the SET, sorted. Throws as `CAttribute::encode`.
    CBlob encode() const;
    // Replaces the list. Throws 0x80093101.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
