// CAttributeTypeAndValue: one part of a distinguished name (RFC 5280, 4.1.2.4).
#pragma once

#include <list>

#include "asn1/attr_value.h"
#include "asn1/string_type.h"
#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// The type is dotted text; the value is DER with its tag and goes out as it came in. The text form
// is "keyword=text" for registered types and "1.2.3=#digits" for others (see
// attribute_type_register.h).
class CAttributeTypeAndValue {
public:
    CAttributeTypeAndValue();
    explicit CAttributeTypeAndValue(const CAttrValue& value);
    CAttributeTypeAndValue(const char* oid, const CBlob& der);
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
    CBlob encode() const;
    void decode(const CBlob& der);

    // Byte for byte: no matching rule, no case folding.
    friend bool operator==(const CAttributeTypeAndValue& a,
                           const CAttributeTypeAndValue& b) noexcept;
    friend bool operator!=(const CAttributeTypeAndValue& a,
                           const CAttributeTypeAndValue& b) noexcept {
        return !(a == b);
    }

private:
    CStringProxy type_;
    CBlob value_;
};

// In the order of the encoding or of insertion: never sorted, and compared in that order.
class CAttributeTypeAndValueSet : public std::list<CAttributeTypeAndValue> {
public:
    using std::list<CAttributeTypeAndValue>::list;
};

} // namespace Halcyon::ASN1
