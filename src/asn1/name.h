// CName: a distinguished name, its levels and their parts (RFC 5280, 4.1.2.4).
#pragma once

#include <list>

#include <chronoseal/asn1/attribute.h>
#include <chronoseal/asn1/char_string.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_AttributeTypeAndValue_traits;
struct ASN1T_RelativeDistinguishedName_traits;
struct ASN1T_Name_traits;

// The type is dotted text; the value is DER with its tag and goes out as it came in. The text form
// is "keyword=text" for registered types and "1.2.3=#digits" for others (see
// attribute_type_register.h).
class CAttributeTypeAndValue
    : public Encodable<CAttributeTypeAndValue, ASN1T_AttributeTypeAndValue_traits> {
public:
    CAttributeTypeAndValue() : type_("") {}
    explicit CAttributeTypeAndValue(const CAttrValue& value)
        : CAttributeTypeAndValue(value.get_oid(), value.get_value()) {}
    CAttributeTypeAndValue(const char* oid, const CBlob& der) : type_(oid), value_(der) {}
    // Throws as `CATAVRegister::makeATAV`.
    CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value, StringType stringType);
    CAttributeTypeAndValue(const wchar_t* text, StringType stringType);

    const char* get_type() const noexcept { return type_.c_str(); }
    // The keyword, or the identifier of an unregistered type.
    CWStringProxy get_type_str() const;
    CBlob get_value() const { return value_; }
    // Throws 0x80093101 if the value isn't a string that can be read.
    CWStringProxy get_value_str() const;
    void put_type(const char* oid);
    // A keyword, or any other text as the identifier. The value stays.
    void put_type_str(const wchar_t* type);
    void put_value(const CBlob& der);
    // Encodes by the present type.
    void put_value_str(const wchar_t* value, StringType stringType);

    CWStringProxy toString() const;
    void fromString(const wchar_t* text, StringType stringType);

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for a value that
    // doesn't fit a known type.
    using Encodable::encode;

    // Byte for byte: no matching rule, no case folding.
    friend bool operator==(const CAttributeTypeAndValue& a,
                           const CAttributeTypeAndValue& b) noexcept;

private:
    CStringProxy type_;
    CBlob value_;
};

// In the order of the encoding or of insertion: never sorted, and compared in that order.
class CAttributeTypeAndValueSet : public std::list<CAttributeTypeAndValue> {
public:
    using std::list<CAttributeTypeAndValue>::list;
};

// One level. The text form is that of the pairs with "+" between them, without quoting: a "+" can't
// stand in a value.
class CRelativeDistinguishedName
    : public CAttributeTypeAndValueSet,
      public Encodable<CRelativeDistinguishedName, ASN1T_RelativeDistinguishedName_traits> {
public:
    CRelativeDistinguishedName() = default;
    explicit CRelativeDistinguishedName(const wchar_t* text) { fromString(text); }

    CWStringProxy toString() const;
    // Appends to what the object holds. Throws 0x80070057 for a piece without "=", an empty one
    // included.
    void fromString(const wchar_t* text);

    // The DER of the SET, sorted. Throws as `CAttributeTypeAndValue`. A level without a pair is the
    // empty SET, which no name takes: neither `decode` nor `CName::encode` accepts it.
    using Encodable::encode;
};

// The free form of the member.
void fromString(CRelativeDistinguishedName& name, const wchar_t* text);

class CRDNSequence : public std::list<CRelativeDistinguishedName> {
public:
    using std::list<CRelativeDistinguishedName>::list;
};

// The levels in the order of the encoding. The text form is that of the levels with "," between
// them, in the same order (unlike RFC 4514), without quoting, escaping or trimming: neither "," nor
// "+" can stand in a value, and a blank behind a separator belongs to the next keyword. Names are
// compared as DER.
class CName : public CRDNSequence, public Encodable<CName, ASN1T_Name_traits> {
public:
    CName() = default;
    explicit CName(const wchar_t* text) { fromString(text); }

    CWStringProxy toString() const;
    // Appends to what the object holds. Throws 0x80070057 for a piece without "=", an empty one
    // included.
    void fromString(const wchar_t* text);

    // The DER. Throws as `CRelativeDistinguishedName`.
    using Encodable::encode;
};

// The free form of the member.
void fromString(CName& name, const wchar_t* text);

} // namespace Halcyon::ASN1
