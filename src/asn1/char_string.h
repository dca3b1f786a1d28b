// One ASN.1 character string, tag and length included, from wide text and back. Failures are
// CAtlException: 0x80093101 for anything that can't be converted, 0x80093106 without memory.
#pragma once

#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// The ASN.1 character string types that this system writes.
enum StringType : unsigned int {
    stringTypeDefault = 0, // the default of the attribute type
    stringTypeUTF8 = 1,
    stringTypePrintable = 2,
    stringTypeTeletex = 3,
    stringTypeBMP = 4,
    stringTypeIA5 = 5,
    stringTypeUniversal = 6,
};

// The string in the given type; `stringTypeDefault` is refused. No character set is checked:
// Printable, Teletex and IA5 strings take the text in the system's code page as it comes. A
// BMPString loses the high bits of characters above U+FFFF.
CBlob encodeCharString(const wchar_t* text, StringType type);

// Reads UTF8String, NumericString, PrintableString, TeletexString, IA5String, UniversalString and
// BMPString; every other type is refused. Only the first element of `der` is looked at. Characters
// above U+FFFF of a UniversalString are dropped.
CWStringProxy decodeCharString(const CBlob& der);

} // namespace Halcyon::ASN1
