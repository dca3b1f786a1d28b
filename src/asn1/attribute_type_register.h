// CATAVRegister: the register of the name attributes that are known by a keyword: for each its
// identifier, its default string type and the greatest length of a value. It is filled before main
// and never changes.
#pragma once

#include <list>
#include <string>

#include "asn1/attribute_type_and_value.h"
#include "asn1/string_type.h"
#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

class CATAVRegister {
public:
    using iterator = std::list<CATAVRegister>::const_iterator;

    // Puts a copy of itself at the end of the register.
    CATAVRegister(char const* oid, wchar_t const* name, StringType stringType,
                  unsigned long upperBound);

    // The entry with exactly that identifier or keyword (case matters), or the end of
    // `registered_`.
    static iterator find(char const* oid);
    static iterator find(wchar_t const* keyword);

    // The keyword of an identifier, or the identifier itself if it isn't registered; and the
    // reverse.
    static CWStringProxy typeToStr(char const* oid);
    static CStringProxy typeFromStr(wchar_t const* text);

    // The text of a value; "#" and hexadecimal digits for an identifier that isn't registered.
    // Throws 0x80093101.
    static CWStringProxy valueToStr(char const* oid, CBlob const& value);
    // The DER of a value. A text above the limit throws 0x80070057. For an identifier that isn't
    // registered the first character is dropped unseen and the rest is read as hexadecimal digits,
    // as far as they go; an empty text throws std::out_of_range then.
    static CBlob valueFromStr(char const* oid, wchar_t const* text, StringType stringType);

    // A pair from keyword (or identifier) and text.
    static CAttributeTypeAndValue makeATAV(wchar_t const* type, wchar_t const* value,
                                           StringType stringType);
    // The same from "type=value", cut at the first "=" and not trimmed. Throws 0x80070057 without
    // "=".
    static CAttributeTypeAndValue makeATAV(wchar_t const* text, StringType stringType);

    static std::list<CATAVRegister> registered_;

    std::string oid;
    std::wstring name;
    StringType stringType;
    // In wide characters.
    unsigned long upperBound;
};

extern CATAVRegister const commonNameAttribute;
extern CATAVRegister const countryNameAttribute;
extern CATAVRegister const localityNameAttribute;
extern CATAVRegister const stateOrProvinceNameAttribute;
extern CATAVRegister const emailAddressAttribute;
extern CATAVRegister const organizationNameAttribute;
extern CATAVRegister const organizationUnitNameAttribute;
extern CATAVRegister const titleAttribute;
extern CATAVRegister const givenNameAttribute;
extern CATAVRegister const initialsAttribute;
extern CATAVRegister const surnameAttribute;
extern CATAVRegister const pseudonymAttribute;
extern CATAVRegister const ogrnAttribute;
extern CATAVRegister const ogrnipAttribute;
extern CATAVRegister const snilsAttribute;
extern CATAVRegister const innleAttribute;
extern CATAVRegister const innAttribute;
extern CATAVRegister const streetAddressAttribute;
extern CATAVRegister const domainComponentAttribute;
extern CATAVRegister const unstructuredNameAttribute;
extern CATAVRegister const PostalCodeAttribute;
extern CATAVRegister const serialNumberAttribute;

} // namespace Halcyon::ASN1
