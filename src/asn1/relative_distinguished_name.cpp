#include "asn1/relative_distinguished_name.h"

#include "asn1/codec.h"
#include "asn1/name_traits.h"
#include "asn1/separated_text.h"

namespace Halcyon::ASN1 {

CRelativeDistinguishedName::CRelativeDistinguishedName(const wchar_t* text) {
    fromString(text);
}

CWStringProxy CRelativeDistinguishedName::toString() const {
    return CWStringProxy(joinText(*this, L'+').c_str());
}

void CRelativeDistinguishedName::fromString(const wchar_t* text) {
    ASN1::fromString(*this, text);
}

void fromString(CRelativeDistinguishedName& name, const wchar_t* text) {
    splitText(text, L'+', [&name](const wchar_t* piece) {
        name.push_back(CAttributeTypeAndValue(piece, stringTypeDefault));
    });
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue

CBlob CRelativeDistinguishedName::encode() const {
    return asn1Encode<ASN1T_RelativeDistinguishedName_traits, CRelativeDistinguishedName>(*this);
}

void CRelativeDistinguishedName::decode(const CBlob& der) {
    asn1Decode<ASN1T_RelativeDistinguishedName_traits, CRelativeDistinguishedName>(der, *this);
}

} // namespace Halcyon::ASN1
