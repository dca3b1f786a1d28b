#include <chronoseal/asn1/attribute_type_register.h>

#include <algorithm>
#include <cwchar>

#include <chronoseal/asn1/char_string.h>
#include <chronoseal/asn1/failure.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {

namespace {

constexpr unsigned long kBound = 32768;

} // namespace

// The list stands in front of the entries that put themselves into it.
std::list<CATAVRegister> CATAVRegister::registered_;

const CATAVRegister commonNameAttribute("2.5.4.3", L"CN", stringTypeUTF8, kBound);
const CATAVRegister countryNameAttribute("2.5.4.6", L"C", stringTypePrintable, kBound);
const CATAVRegister localityNameAttribute("2.5.4.7", L"L", stringTypeUTF8, kBound);
const CATAVRegister stateOrProvinceNameAttribute("2.5.4.8", L"ST", stringTypeUTF8, kBound);
const CATAVRegister emailAddressAttribute("1.2.840.113549.1.9.1", L"E", stringTypeIA5, kBound);
const CATAVRegister organizationNameAttribute("2.5.4.10", L"O", stringTypeUTF8, kBound);
const CATAVRegister organizationUnitNameAttribute("2.5.4.11", L"OU", stringTypeUTF8, kBound);
const CATAVRegister titleAttribute("2.5.4.12", L"T", stringTypeUTF8, kBound);
const CATAVRegister givenNameAttribute("2.5.4.42", L"GN", stringTypeUTF8, kBound);
const CATAVRegister initialsAttribute("2.5.4.43", L"I", stringTypeUTF8, kBound);
const CATAVRegister surnameAttribute("2.5.4.4", L"SN", stringTypeUTF8, kBound);
const CATAVRegister pseudonymAttribute("2.5.4.65", L"PS", stringTypeUTF8, kBound);
const CATAVRegister ogrnAttribute("1.2.643.100.1", L"OGRN", stringTypeUTF8, kBound);
const CATAVRegister ogrnipAttribute("1.2.643.100.5", L"OGRNIP", stringTypeUTF8, kBound);
const CATAVRegister snilsAttribute("1.2.643.100.3", L"SNILS", stringTypeUTF8, kBound);
const CATAVRegister innleAttribute("1.2.643.100.4", L"INNLE", stringTypeUTF8, kBound);
const CATAVRegister innAttribute("1.2.643.3.131.1.1", L"INN", stringTypeUTF8, kBound);
const CATAVRegister streetAddressAttribute("2.5.4.9", L"STREET", stringTypeUTF8, kBound);
const CATAVRegister domainComponentAttribute("0.9.2342.19200300.100.1.25", L"DC", stringTypeIA5,
                                             kBound);
const CATAVRegister unstructuredNameAttribute("1.2.840.113549.1.9.2", L"UnstructuredName",
                                              stringTypeUTF8, kBound);
const CATAVRegister PostalCodeAttribute("2.5.4.17", L"PostalCode", stringTypeUTF8, kBound);
const CATAVRegister serialNumberAttribute("2.5.4.5", L"SERIALNUMBER", stringTypePrintable, kBound);

CATAVRegister::CATAVRegister(const char* oid, const wchar_t* name, StringType stringType,
                             unsigned long upperBound)
    : oid(oid), name(name), stringType(stringType), upperBound(upperBound) {
    registered_.push_back(*this);
}

CATAVRegister::iterator CATAVRegister::find(const char* oid) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [oid](const CATAVRegister& entry) { return entry.oid == oid; });
}

CATAVRegister::iterator CATAVRegister::find(const wchar_t* keyword) {
    return std::find_if(registered_.cbegin(), registered_.cend(),
                        [keyword](const CATAVRegister& entry) { return entry.name == keyword; });
}

CWStringProxy CATAVRegister::typeToStr(const char* oid) {
    const auto entry = find(oid);
    return CWStringProxy(entry != registered_.cend() ? entry->name.c_str()
                                                     : towstring(oid).c_str());
}

CStringProxy CATAVRegister::typeFromStr(const wchar_t* text) {
    const auto entry = find(text);
    return CStringProxy(entry != registered_.cend() ? entry->oid.c_str() : tostring(text).c_str());
}

CWStringProxy CATAVRegister::valueToStr(const char* oid, const CBlob& value) {
    if (find(oid) != registered_.cend()) {
        return decodeCharString(value);
    }
    return CWStringProxy((L"#" + towstring(value.writeToHexString(0).c_str())).c_str());
}

CBlob CATAVRegister::valueFromStr(const char* oid, const wchar_t* text, StringType stringType) {
    const auto entry = find(oid);
    if (entry == registered_.cend()) {
        const std::wstring digits = std::wstring(text).substr(1);
        CBlob der;
        der.readFromHexString(tostring(digits.c_str()).c_str());
        return der;
    }
    if (std::wcslen(text) > entry->upperBound) {
        fail_argument();
    }
    return encodeCharString(text, stringType == stringTypeDefault ? entry->stringType : stringType);
}

CAttributeTypeAndValue CATAVRegister::makeATAV(const wchar_t* type, const wchar_t* value,
                                               StringType stringType) {
    const CStringProxy oid = typeFromStr(type);
    return CAttributeTypeAndValue(oid.c_str(), valueFromStr(oid.c_str(), value, stringType));
}

CAttributeTypeAndValue CATAVRegister::makeATAV(const wchar_t* text, StringType stringType) {
    const wchar_t* const sign = std::wcschr(text, L'=');
    if (!sign) {
        fail_argument();
    }
    return makeATAV(std::wstring(text, sign).c_str(), sign + 1, stringType);
}

} // namespace Halcyon::ASN1
