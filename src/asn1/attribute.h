// CAttrValue, CAttribute and CAttributes: an attribute's type with one value, with its values, and
// the list of such, for example the signed attributes of a CMS signer (RFC 5652, 5.3).
#pragma once

#include <list>
#include <string>

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/typed_list.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_Attribute_traits;
struct ASN1T_Attributes_traits;

// The type is dotted text, the value is DER. Not polymorphic: a typed attribute that is copied into
// one keeps its encoded form only.
class CAttrValue {
public:
    CAttrValue() : oid_("") {}
    explicit CAttrValue(const char* oid) : oid_(oid) {}
    CAttrValue(const char* oid, const CBlob& value) : oid_(oid), value_(value) {}

    const char* get_oid() const noexcept { return oid_.c_str(); }
    const CBlob& get_value() const noexcept { return value_; }
    CBlob& value() noexcept { return value_; }

private:
    CStringProxy oid_;
    CBlob value_;
};

// Type and value byte for byte.
bool operator==(const CAttrValue& a, const CAttrValue& b) noexcept;

// In the order of the encoding or of insertion. Equal pairwise in that order.
class CAttrValueList : public std::list<CAttrValue> {
public:
    using std::list<CAttrValue>::list;
};

// The values stand in the order of the encoding or of insertion and compare in that order, although
// they are a SET. Owns all its data.
class CAttribute : public Encodable<CAttribute, ASN1T_Attribute_traits> {
public:
    using iterator = CAttrValueList::iterator;
    using const_iterator = CAttrValueList::const_iterator;

    CAttribute() = default;
    explicit CAttribute(const char* oid) { block_->oid = oid ? oid : ""; }

    const char* get_oid() const noexcept { return block_->oid.c_str(); }
    iterator begin() noexcept { return block_->values.begin(); }
    iterator end() noexcept { return block_->values.end(); }
    const_iterator begin() const noexcept { return block_->values.begin(); }
    const_iterator end() const noexcept { return block_->values.end(); }
    unsigned long size() const noexcept { return block_->values.size(); }

    // Appends a value of the attribute's own type.
    void add(const CBlob& value) { add(CAttrValue(get_oid(), value)); }
    // Appends a copy with the type that it brings along, unchecked. The encoding knows only the
    // type of the attribute.
    void add(const CAttrValue& value) { block_->values.push_back(value); }
    void erase(iterator position) { block_->values.erase(position); }

    // The DER, in which the values are sorted. Throws 0x80070057 for a type that is no identifier,
    // and 0x80093101 if a value doesn't fit a known type.
    using Encodable::encode;

private:
    struct Block {
        CAttrValueList values;
        std::string oid;
    };

    Owned<Block> block_{std::in_place};
};

bool operator==(const CAttribute& a, const CAttribute& b) noexcept;

// Nothing prevents two attributes of one type.
class CAttributes : public TypedList<CAttribute>,
                    public Encodable<CAttributes, ASN1T_Attributes_traits> {
public:
    using TypedList::TypedList;

    // The DER of the SET, sorted. Throws as `CAttribute::encode`.
    using Encodable::encode;
    // Replaces the list. Throws 0x80093101.
    using Encodable::decode;
};

} // namespace Halcyon::ASN1
