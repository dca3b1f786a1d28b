// CExtValue, CExtension and CExtensions: an extension's type with its value, with its mark of
// criticality, and the list of such (RFC 5280, 4.1.2.9).
#pragma once

#include <list>

#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// The type is dotted text; the value is its DER without the OCTET STRING around it. Not
// polymorphic.
class CExtValue {
public:
    CExtValue() : oid_("") {}
    explicit CExtValue(const char* oid) : oid_(oid) {}
    CExtValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

    const char* get_oid() const noexcept { return oid_.c_str(); }
    const CBlob& get_value() const noexcept { return value_; }
    CBlob& value() noexcept { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

class CExtension {
public:
    CExtension() = default;
    CExtension(const CExtValue& value, bool critical) : value_(value), critical_(critical) {}

    const char* get_extnID() const noexcept { return value_.get_oid(); }
    // The DER without the OCTET STRING around it.
    const CBlob& get_extnValue() const noexcept { return value_.get_value(); }
    bool get_critical() const noexcept { return critical_; }

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for a value that
    // doesn't fit a known type.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CExtValue value_;
    bool critical_ = false;
};

// The marks, then types and values byte for byte.
bool operator==(const CExtension& a, const CExtension& b) noexcept;
inline bool operator!=(const CExtension& a, const CExtension& b) noexcept {
    return !(a == b);
}

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
