#include <chronoseal/asn1/name.h>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include <chronoseal/asn1/attribute_type_register.h>
#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/name_traits.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>

namespace Halcyon::ASN1 {

namespace {

// Texts that consist of pieces with a separator character between them, which can't be quoted.

// Calls `take` with each piece in order, terminated; an empty text has one empty piece.
template <class Take>
void split_text(std::wstring_view text, wchar_t separator, Take&& take) {
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(separator, start);
        take(std::wstring(text.substr(start, end - start)).c_str());
        if (end == std::wstring_view::npos) {
            return;
        }
        start = end + 1;
    }
}

// The `toString` of the elements with the separator between them.
template <class List>
std::wstring join_text(const List& list, wchar_t separator) {
    std::wstring text;
    for (const auto& element : list) {
        if (&element != &list.front()) {
            text += separator;
        }
        text += element.toString().c_str();
    }
    return text;
}

} // namespace

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* type, const wchar_t* value,
                                               StringType stringType)
    : CAttributeTypeAndValue(CATAVRegister::makeATAV(type, value, stringType)) {}

CAttributeTypeAndValue::CAttributeTypeAndValue(const wchar_t* text, StringType stringType)
    : CAttributeTypeAndValue(CATAVRegister::makeATAV(text, stringType)) {}

CWStringProxy CAttributeTypeAndValue::get_type_str() const {
    return CATAVRegister::typeToStr(get_type());
}

CWStringProxy CAttributeTypeAndValue::get_value_str() const {
    return CATAVRegister::valueToStr(get_type(), value_);
}

void CAttributeTypeAndValue::put_type(const char* oid) {
    type_ = CStringProxy(oid);
}

void CAttributeTypeAndValue::put_type_str(const wchar_t* type) {
    type_ = CATAVRegister::typeFromStr(type);
}

void CAttributeTypeAndValue::put_value(const CBlob& der) {
    value_ = der;
}

void CAttributeTypeAndValue::put_value_str(const wchar_t* value, StringType stringType) {
    value_ = CATAVRegister::valueFromStr(get_type(), value, stringType);
}

CWStringProxy CAttributeTypeAndValue::toString() const {
    std::wstring text = get_type_str().c_str();
    text += L'=';
    text += get_value_str().c_str();
    return CWStringProxy(text.c_str());
}

void CAttributeTypeAndValue::fromString(const wchar_t* text, StringType stringType) {
    *this = CATAVRegister::makeATAV(text, stringType);
}

bool operator==(const CAttributeTypeAndValue& a, const CAttributeTypeAndValue& b) noexcept {
    return std::strcmp(a.get_type(), b.get_type()) == 0 && a.value_ == b.value_;
}

template class Encodable<CAttributeTypeAndValue, ASN1T_AttributeTypeAndValue_traits>;

// AttributeTypeAndValue ::= SEQUENCE {
//     type   OBJECT IDENTIFIER,
//     value  ANY DEFINED BY type }

void ASN1T_AttributeTypeAndValue_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                             const CAttributeTypeAndValue& value) {
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.type, value.get_type());
    Asn1TObject_traits::set(ctxt, local.value, value.get_value());
    copy_checked(ctxt, local, record);
}

void ASN1T_AttributeTypeAndValue_traits::get(const ASN1_T& record, CAttributeTypeAndValue& value) {
    value.put_type(toOID(record.type).c_str());
    CBlob der;
    Asn1TObject_traits::get(record.value, der);
    value.put_value(der);
}

CWStringProxy CRelativeDistinguishedName::toString() const {
    return CWStringProxy(join_text(*this, L'+').c_str());
}

void CRelativeDistinguishedName::fromString(const wchar_t* text) {
    ASN1::fromString(*this, text);
}

void fromString(CRelativeDistinguishedName& name, const wchar_t* text) {
    split_text(text, L'+', [&name](const wchar_t* piece) {
        name.push_back(CAttributeTypeAndValue(piece, stringTypeDefault));
    });
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue

template class Encodable<CRelativeDistinguishedName, ASN1T_RelativeDistinguishedName_traits>;

CWStringProxy CName::toString() const {
    return CWStringProxy(join_text(*this, L',').c_str());
}

void CName::fromString(const wchar_t* text) {
    ASN1::fromString(*this, text);
}

void fromString(CName& name, const wchar_t* text) {
    split_text(text, L',', [&name](const wchar_t* piece) {
        CRelativeDistinguishedName level(piece);
        name.push_back(std::move(level));
    });
}

template class Encodable<CName, ASN1T_Name_traits>;

// Name ::= CHOICE { rdnSequence RDNSequence } RDNSequence ::= SEQUENCE OF RelativeDistinguishedName

namespace {

using RDNSequenceTraits = ASN1TSeqOfList_traits<asn1data::ASN1T_RelativeDistinguishedName,
                                                ASN1T_RelativeDistinguishedName_traits,
                                                CRelativeDistinguishedName, CRDNSequence>;

} // namespace

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CName& value) {
    record.t = 1;
    record.u.rdnSequence = heap_record<asn1data::ASN1T_RDNSequence>(ctxt);
    RDNSequenceTraits::set(ctxt, *record.u.rdnSequence, value);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CName& value) {
    if (record.t != 1) {
        fail_codec();
    }
    RDNSequenceTraits::get(*record.u.rdnSequence, value);
}

void ASN1T_Name_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der) {
    asn1DecodeT<ASN1T_Name_traits>(der, ctxt, record);
}

void ASN1T_Name_traits::get(const ASN1_T& record, CBlob& der) {
    der = asn1EncodeT<ASN1T_Name_traits>(record);
}

namespace {

// Appends the text of each element of the list of `Record`, with the separator between them.
template <class Record, class Append>
void join_records(std::wstring& text, const rtDList& list, wchar_t separator, Append append) {
    for (const rtDListNode* node = list.head; node; node = node->next) {
        if (node != list.head) {
            text += separator;
        }
        append(*static_cast<const Record*>(node->data));
    }
}

} // namespace

std::wstring name_text(const asn1data::ASN1T_Name& record) {
    if (record.t != 1) {
        fail_codec();
    }
    using Level = asn1data::ASN1T_RelativeDistinguishedName;
    using Part = asn1data::ASN1T_AttributeTypeAndValue;
    std::wstring text;
    join_records<Level>(text, *record.u.rdnSequence, L',', [&text](const Level& level) {
        join_records<Part>(text, level, L'+', [&text](const Part& part) {
            const CStringProxy type = toOID(part.type);
            text += CATAVRegister::typeToStr(type.c_str()).c_str();
            text += L'=';
            const CBlob value(part.value.data, part.value.numocts);
            text += CATAVRegister::valueToStr(type.c_str(), value).c_str();
        });
    });
    return text;
}

} // namespace Halcyon::ASN1
