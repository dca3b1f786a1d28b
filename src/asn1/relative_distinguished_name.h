// CRelativeDistinguishedName: one level of a distinguished name (RFC 5280, 4.1.2.4).
#pragma once

#include "asn1/attribute_type_and_value.h"

namespace Halcyon::ASN1 {

// The text form is that of the pairs with "+" between them, without quoting: a "+" can't stand in a
// value.
class CRelativeDistinguishedName : public CAttributeTypeAndValueSet {
public:
    CRelativeDistinguishedName() = default;
    explicit CRelativeDistinguishedName(const wchar_t* text);

    CWStringProxy toString() const;
    // Appends to what the object holds. Throws 0x80070057 for a piece without "=", an empty one
    // included.
    void fromString(const wchar_t* text);

    // The DER of the SET, sorted. Throws as `CAttributeTypeAndValue`, and 0x80093101 without a
    // pair.
    CBlob encode() const;
    // Replaces the pairs.
    void decode(const CBlob& der);
};

// The free form of the member.
void fromString(CRelativeDistinguishedName& name, const wchar_t* text);

} // namespace Halcyon::ASN1
