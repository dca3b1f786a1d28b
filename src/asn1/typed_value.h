// TypedValue: what typed attributes and typed extensions have in common, the decoded form of a
// value beside the encoded one.
#pragma once

#include <chronoseal/asn1/attribute.h>
#include <chronoseal/asn1/extension.h>

namespace Halcyon::ASN1 {

// `Base` holds type and encoded value, `Field` is the decoded form, `oid` the type. Who changes one
// form brings the other in step by `encode` or `decode`, which stand as specialisations beside each
// class.
template <class Base, class Field, const char* oid>
class TypedValue : public Base {
public:
    // The encoded form from the field, and the field from the encoded form. A failure leaves what
    // was to be replaced.
    void encode();
    void decode();

protected:
    // Without an encoded form.
    explicit TypedValue(const Field& field) : Base(oid), field_(field) {}
    // `field` is what `decode` starts from.
    TypedValue(const Field& field, const CBlob& der) : Base(oid, der), field_(field) { decode(); }
    ~TypedValue() = default;
    TypedValue(const TypedValue&) = default;
    TypedValue& operator=(const TypedValue&) = default;

    const Field& field() const noexcept { return field_; }
    Field& field() noexcept { return field_; }
    void put(const Field& field) {
        field_ = field;
        encode();
    }

private:
    Field field_;
};

template <class Field, const char* oid>
using TypedAttribute = TypedValue<CAttrValue, Field, oid>;

template <class Field, const char* oid>
using TypedExtension = TypedValue<CExtValue, Field, oid>;

} // namespace Halcyon::ASN1
