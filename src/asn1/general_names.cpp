#include "asn1/general_names.h"

#include "asn1/codec.h"
#include "asn1/general_name_traits.h"

namespace Halcyon::ASN1 {

CBlob CGeneralNames::encode() const {
    return asn1Encode<ASN1T_GeneralNames_traits, CGeneralNames>(*this);
}

void CGeneralNames::decode(const CBlob& der) {
    asn1Decode<ASN1T_GeneralNames_traits, CGeneralNames>(der, *this);
}

} // namespace Halcyon::ASN1
