// CATAVRegister: the register of the name attributes that are known by a keyword: for each its
// identifier, its default string type and the greatest length of a value. It is filled before main
// and never changes.
#pragma once

#include <list>
#include <string>

#include <chronoseal/asn1/char_string.h>
#include <chronoseal/asn1/name.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

class CATAVRegister {
public:
    using iterator = std::list<CATAVRegister>::const_iterator;

    // Puts a copy of itself at the end of the register.
    CATAVRegister(const char* oid, const wchar_t* name, StringType stringType,
                  unsigned long upperBound);

    // The entry with exactly that identifier or keyword (case matters), or the end of
    // `registered_`.
    static iterator find(const char* oid);
    static iterator find(const wchar_t* keyword);

    // The keyword of an identifier, or the identifier itself if it isn't registered; and the
    // reverse.
    static CWStringProxy typeToStr(const char* oid);
    static CStringProxy typeFromStr(const wchar_t* text);

    // The text of a value; "#" and hexadecimal digits for an identifier that isn't registered.
    // Throws 0x80093101.
    static CWStringProxy valueToStr(const char* oid, const CBlob& value);
    // The DER of a value. A text above the limit throws 0x80070057. For an identifier that isn't
    // registered the first character is dropped unseen and the rest is read as hexadecimal digits,
    // as far as they go; an empty text throws std::out_of_range then.
    static CBlob valueFromStr(const char* oid, const wchar_t* text, StringType stringType);

    // A pair from keyword (or identifier) and text.
    static CAttributeTypeAndValue makeATAV(const wchar_t* type, const wchar_t* value,
                                           StringType stringType);
    // The same from "type=value", cut at the first "=" and not trimmed. Throws 0x80070057 without
    // "=".
    static CAttributeTypeAndValue makeATAV(const wchar_t* text, StringType stringType);

    static std::list<CATAVRegister> registered_;

    std::string oid;
    std::wstring name;
    StringType stringType;
    // In wide characters.
    unsigned long upperBound;
};

extern const CATAVRegister commonNameAttribute;
extern const CATAVRegister countryNameAttribute;
extern const CATAVRegister localityNameAttribute;
extern const CATAVRegister stateOrProvinceNameAttribute;
extern const CATAVRegister emailAddressAttribute;
extern const CATAVRegister organizationNameAttribute;
extern const CATAVRegister organizationUnitNameAttribute;
extern const CATAVRegister titleAttribute;
extern const CATAVRegister givenNameAttribute;
extern const CATAVRegister initialsAttribute;
extern const CATAVRegister surnameAttribute;
extern const CATAVRegister pseudonymAttribute;
extern const CATAVRegister ogrnAttribute;
extern const CATAVRegister ogrnipAttribute;
extern const CATAVRegister snilsAttribute;
extern const CATAVRegister innleAttribute;
extern const CATAVRegister innAttribute;
extern const CATAVRegister streetAddressAttribute;
extern const CATAVRegister domainComponentAttribute;
extern const CATAVRegister unstructuredNameAttribute;
extern const CATAVRegister PostalCodeAttribute;
extern const CATAVRegister serialNumberAttribute;

} // namespace Halcyon::ASN1
