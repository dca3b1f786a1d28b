// CAttribute: an attribute's type with its values (RFC 5652, 5.3).
#pragma once

#include <memory>

#include "asn1/attr_value.h"

namespace Halcyon::ASN1 {

struct AttributeBlock;

// The values stand in the order of the encoding or of insertion and compare in that order, although
// they are a SET. Owns all its data.
class CAttribute {
public:
    using iterator = CAttrValueList::iterator;
    using const_iterator = CAttrValueList::const_iterator;

    CAttribute();
    explicit CAttribute(const char* oid);
    CAttribute(const CAttribute& other);
    CAttribute& operator=(const CAttribute& other);
    ~CAttribute();

    const char* get_oid() const noexcept;
    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    unsigned long size() const noexcept;

    // Appends a value of the attribute's own type.
    void add(const CBlob& value);
    // Appends a copy with the type that it brings along, unchecked. The encoding knows only the
    // type of the attribute.
    void add(const CAttrValue& value);
    void erase(iterator position);

    // The DER, in which the values are sorted. Throws 0x80070057 for a type that is no identifier,
    // and 0x80093101 if a value doesn't fit a known type.
    CBlob encode() const;
    // Throws 0x80093101.
    void decode(const CBlob& der);

private:
    std::unique_ptr<AttributeBlock> block_;
};

bool operator==(const CAttribute& a, const CAttribute& b) noexcept;
inline bool operator!=(const CAttribute& a, const CAttribute& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
