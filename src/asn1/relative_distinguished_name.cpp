#include "asn1/relative_distinguished_name.h"

#include "asn1/codec.h"
#include "asn1/name_traits.h"
#include "asn1/separated_text.h"

namespace Halcyon::ASN1 {

CRelativeDistinguishedName::CRelativeDistinguishedName(wchar_t const* text) {
    fromString(text);
}

CWStringProxy CRelativeDistinguishedName::toString() const {
    return CWStringProxy(joinText(*this, L'+').c_str());
}

void CRelativeDistinguishedName::fromString(wchar_t const* text) {
    ASN1::fromString(*this, text);
}

void fromString(CRelativeDistinguishedName& name, wchar_t const* text) {
    splitText(text, L'+', [&name](wchar_t const* piece) {
        name.push_back(CAttributeTypeAndValue(piece, stringTypeDefault));
    });
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue

CBlob CRelativeDistinguishedName::encode() const {
    return asn1Encode<ASN1T_RelativeDistinguishedName_traits, CRelativeDistinguishedName>(*this);
}

void CRelativeDistinguishedName::decode(CBlob const& der) {
    asn1Decode<ASN1T_RelativeDistinguishedName_traits, CRelativeDistinguishedName>(der, *this);
}

} // namespace Halcyon::ASN1
