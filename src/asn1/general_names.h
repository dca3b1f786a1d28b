// CGeneralNames: the list GeneralNames (RFC 5280, 4.2.1.6).
#pragma once

#include <list>

#include "asn1/general_name.h"

namespace Halcyon::ASN1 {

// In the order of the encoding. Equal if the counts are and the names pairwise.
class CGeneralNames : public std::list<CGeneralName> {
public:
    using std::list<CGeneralName>::list;

    // The DER. Throws as `CGeneralName`.
    CBlob encode() const;
    // Replaces the list.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
