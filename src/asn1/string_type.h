// The ASN.1 character string types that this system writes.
#pragma once

namespace Halcyon::ASN1 {

enum StringType : unsigned int {
    stringTypeDefault = 0, // the default of the attribute type
    stringTypeUTF8 = 1,
    stringTypePrintable = 2,
    stringTypeTeletex = 3,
    stringTypeBMP = 4,
    stringTypeIA5 = 5,
    stringTypeUniversal = 6,
};

} // namespace Halcyon::ASN1
