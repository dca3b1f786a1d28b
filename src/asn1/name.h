// CName: a distinguished name (RFC 5280, 4.1.2.4).
#pragma once

#include <list>

#include "asn1/relative_distinguished_name.h"

namespace Halcyon::ASN1 {

class CRDNSequence : public std::list<CRelativeDistinguishedName> {
public:
    using std::list<CRelativeDistinguishedName>::list;
};

// The levels in the order of the encoding. The text form is that of the levels with "," between
// them, in the same order (unlike RFC 4514), without quoting, escaping or trimming: neither "," nor
// "+" can stand in a value, and a blank behind a separator belongs to the next keyword. Names are
// compared as DER.
class CName : public CRDNSequence {
public:
    CName() = default;
    explicit CName(const wchar_t* text);

    CWStringProxy toString() const;
    // Appends to what the object holds. Throws 0x80070057 for a piece without "=", an empty one
    // included.
    void fromString(const wchar_t* text);

    // The DER. Throws as `CRelativeDistinguishedName`.
    CBlob encode() const;
    // Replaces the levels.
    void decode(const CBlob& der);
};

// The free form of the member.
void fromString(CName& name, const wchar_t* text);

} // namespace Halcyon::ASN1
