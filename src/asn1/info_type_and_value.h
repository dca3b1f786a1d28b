// CInfoTypeAndValue and its list: general information of the management protocols (RFC 4210,
// 5.3.19).
#pragma once

#include <list>

#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// The type is dotted text, the value is DER. An empty value is an absent one.
class CInfoTypeAndValue {
public:
    CInfoTypeAndValue();
    explicit CInfoTypeAndValue(const char* infoType);
    CInfoTypeAndValue(const char* infoType, const CBlob& infoValue);

    const char* get_infoType() const noexcept { return infoType_.c_str(); }
    const CBlob& get_infoValue() const noexcept { return infoValue_; }

    bool operator==(const CInfoTypeAndValue& other) const noexcept;
    bool operator!=(const CInfoTypeAndValue& other) const noexcept { return !(*this == other); }

private:
    CStringProxy infoType_;
    CBlob infoValue_;
};

// In the order of the encoding. Through `insert` a type stands once at most.
class CInfoTypeAndValueList : public std::list<CInfoTypeAndValue> {
public:
    using std::list<CInfoTypeAndValue>::list;

    // The first element of that type, by the exact text, or `end()`.
    iterator find(const char* oid);
    const_iterator find(const char* oid) const;
    // Replaces an element of the same type, or appends.
    void insert(const CInfoTypeAndValue& element);
    using std::list<CInfoTypeAndValue>::insert;
    // Removes the first element of that type, which must be there: throws 0x80070057 if it isn't.
    void remove(const char* oid);
};

} // namespace Halcyon::ASN1
