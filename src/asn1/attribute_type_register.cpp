#include "asn1/attribute_type_register.h"

#include <algorithm>
#include <cwchar>

#include "asn1/char_string.h"
#include "asn1/failure.h"
#include "asn1/text_width.h"

namespace Halcyon::ASN1 {

namespace {

constexpr unsigned long bound = 32768;

} // namespace

// The list stands in front of the entries that put themselves into it.
std::list<CATAVRegister> CATAVRegister::registered_;

CATAVRegister const commonNameAttribute("2.5.4.3", L"CN", stringTypeUTF8, bound);
CATAVRegister const countryNameAttribute("2.5.4.6", L"C", stringTypePrintable, bound);
CATAVRegister const localityNameAttribute("2.5.4.7", L"L", stringTypeUTF8, bound);
CATAVRegister const stateOrProvinceNameAttribute("2.5.4.8", L"ST", stringTypeUTF8, bound);
CATAVRegister const emailAddressAttribute("1.2.840.113549.1.9.1", L"E", stringTypeIA5, bound);
CATAVRegister const organizationNameAttribute("2.5.4.10", L"O", stringTypeUTF8, bound);
CATAVRegister const organizationUnitNameAttribute("2.5.4.11", L"OU", stringTypeUTF8, bound);
CATAVRegister const titleAttribute("2.5.4.12", L"T", stringTypeUTF8, bound);
CATAVRegister const givenNameAttribute("2.5.4.42", L"GN", stringTypeUTF8, bound);
CATAVRegister const initialsAttribute("2.5.4.43", L"I", stringTypeUTF8, bound);
CATAVRegister const surnameAttribute("2.5.4.4", L"SN", stringTypeUTF8, bound);
CATAVRegister const pseudonymAttribute("2.5.4.65", L"PS", stringTypeUTF8, bound);
CATAVRegister const ogrnAttribute("1.2.643.100.1", L"OGRN", stringTypeUTF8, bound);
CATAVRegister const ogrnipAttribute("1.2.643.100.5", L"OGRNIP", stringTypeUTF8, bound);
CATAVRegister const snilsAttribute("1.2.643.100.3", L"SNILS", stringTypeUTF8, bound);
CATAVRegister const innleAttribute("1.2.643.100.4", L"INNLE", stringTypeUTF8, bound);
CATAVRegister const innAttribute("1.2.643.3.131.1.1", L"INN", stringTypeUTF8, bound);
CATAVRegister const streetAddressAttribute("2.5.4.9", L"STREET", stringTypeUTF8, bound);
CATAVRegister const domainComponentAttribute("0.9.2342.19200300.100.1.25", L"DC", stringTypeIA5,
                                             bound);
CATAVRegister const unstructuredNameAttribute("1.2.840.113549.1.9.2", L"UnstructuredName",
                                              stringTypeUTF8, bound);
CATAVRegister const PostalCodeAttribute("2.5.4.17", L"PostalCode", stringTypeUTF8, bound);
CATAVRegister const serialNumberAttribute("2.5.4.5", L"SERIALNUMBER", stringTypePrintable, bound);

CATAVRegister::CATAVRegister(char const* oid, wchar_t const* name, StringType stringType,
                             unsigned long upperBound)
    : oid(oid), name(name), stringType(stringType), upperBound(upperBound) {
    registered_.push_back(*this);
}

CATAVRegister::iterator CATAVRegister::find(char const* oid) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [oid](CATAVRegister const& entry) { return entry.oid == oid; });
}

CATAVRegister::iterator CATAVRegister::find(wchar_t const* keyword) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [keyword](CATAVRegister const& entry) { return entry.name == keyword; });
}

CWStringProxy CATAVRegister::typeToStr(char const* oid) {
    auto const entry = find(oid);
    return CWStringProxy(entry != registered_.cend() ? entry->name.c_str()
                                                     : towstring(oid).c_str());
}

CStringProxy CATAVRegister::typeFromStr(wchar_t const* text) {
    auto const entry = find(text);
    return CStringProxy(entry != registered_.cend() ? entry->oid.c_str() : tostring(text).c_str());
}

CWStringProxy CATAVRegister::valueToStr(char const* oid, CBlob const& value) {
    if (find(oid) != registered_.cend())
        return decodeCharString(value);
    return CWStringProxy((L"#" + towstring(value.writeToHexString(0).c_str())).c_str());
}

CBlob CATAVRegister::valueFromStr(char const* oid, wchar_t const* text, StringType stringType) {
    auto const entry = find(oid);
    if (entry == registered_.cend()) {
        std::wstring const digits = std::wstring(text).substr(1);
        CBlob der;
        der.readFromHexString(tostring(digits.c_str()).c_str());
        return der;
    }
    if (std::wcslen(text) > entry->upperBound)
        failArgument();
    return encodeCharString(text, stringType == stringTypeDefault ? entry->stringType : stringType);
}

CAttributeTypeAndValue CATAVRegister::makeATAV(wchar_t const* type, wchar_t const* value,
                                               StringType stringType) {
    CStringProxy const oid = typeFromStr(type);
    return CAttributeTypeAndValue(oid.c_str(), valueFromStr(oid.c_str(), value, stringType));
}

CAttributeTypeAndValue CATAVRegister::makeATAV(wchar_t const* text, StringType stringType) {
    wchar_t const* const sign = std::wcschr(text, L'=');
    if (!sign)
        failArgument();
    return makeATAV(std::wstring(text, sign).c_str(), sign + 1, stringType);
}

} // namespace Halcyon::ASN1
