#include "asn1/name.h"

#include <utility>

#include "asn1/codec.h"
#include "asn1/name_traits.h"
#include "asn1/separated_text.h"

namespace Halcyon::ASN1 {

CName::CName(const wchar_t* text) {
    fromString(text);
}

CWStringProxy CName::toString() const {
    return CWStringProxy(joinText(*this, L',').c_str());
}

void CName::fromString(const wchar_t* text) {
    ASN1::fromString(*this, text);
}

void fromString(CName& name, const wchar_t* text) {
    splitText(text, L',', [&name](const wchar_t* piece) {
        CRelativeDistinguishedName level(piece);
        name.push_back(std::move(level));
    });
}

CBlob CName::encode() const {
    return asn1Encode<ASN1T_Name_traits, CName>(*this);
}

void CName::decode(const CBlob& der) {
    asn1Decode<ASN1T_Name_traits, CName>(der, *this);
}

// Name ::= CHOICE { rdnSequence RDNSequence } RDNSequence ::= SEQUENCE OF RelativeDistinguishedName

namespace {

using RDNSequenceTraits = ASN1TSeqOfList_traits<asn1data::ASN1T_RelativeDistinguishedName,
                                                ASN1T_RelativeDistinguishedName_traits,
                                                CRelativeDistinguishedName, CName>;

} // namespace

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value) {
    record.t = 1;
    record.u.rdnSequence = heapRecord<asn1data::ASN1T_RDNSequence>(ctxt);
    RDNSequenceTraits::set(ctxt, *record.u.rdnSequence, value);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CName& value) {
    if (record.t != 1)
        failCodec();
    RDNSequenceTraits::get(*record.u.rdnSequence, value);
}

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der) {
    asn1DecodeT<ASN1T_Name_traits>(der, ctxt, record);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CBlob& der) {
    der = asn1EncodeT<ASN1T_Name_traits>(record);
}

void ASN1T_Name_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_Name(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
