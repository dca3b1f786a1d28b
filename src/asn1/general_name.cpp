#include "asn1/general_name.h"

#include <string>

#include "asn1/choice.h"
#include "asn1/codec.h"
#include "asn1/general_name_traits.h"
#include "asn1/heap_copy.h"
#include "asn1/name.h"
#include "asn1/name_traits.h"
#include "asn1/object_identifier.h"
#include "asn1/optional_owner.h"
#include "asn1/primitive_traits.h"
#include "asn1/text_width.h"

namespace Halcyon::ASN1 {

namespace {

// The numbers of the alternatives in the schema's record.
enum Kind : unsigned int {
    kindRfc822Name = 2,
    kindDNSName = 3,
    kindDirectoryName = 5,
    kindUniformResourceIdentifier = 7,
    kindIPAddress = 8,
    kindRegisteredID = 9,
};

} // namespace

class CGeneralNameImpl final : public Choice {
public:
    ~CGeneralNameImpl() override { clearValue(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept override {
        static constexpr const ChoiceValueTraits* none = &ChoiceValueTraitsT<void*, 0>::instance;
        static constexpr const ChoiceValueTraits* traits[] = {
            none,
            none,
            &ChoiceValueTraitsT<std::wstring, kindRfc822Name>::instance,
            &ChoiceValueTraitsT<std::wstring, kindDNSName>::instance,
            none,
            &ChoiceValueTraitsT<CBlob, kindDirectoryName>::instance,
            none,
            &ChoiceValueTraitsT<std::wstring, kindUniformResourceIdentifier>::instance,
            &ChoiceValueTraitsT<CBlob, kindIPAddress>::instance,
            &ChoiceValueTraitsT<std::wstring, kindRegisteredID>::instance,
        };
        return kind < std::size(traits) ? traits[kind] : none;
    }
};

namespace {

using Impl = std::unique_ptr<CGeneralNameImpl>;

const wchar_t* textOf(const Impl& impl, unsigned int kind) {
    const std::wstring* const text = choiceValue<std::wstring>(impl, kind);
    return text ? text->c_str() : nullptr;
}

void putText(Impl& impl, unsigned int kind, const wchar_t* text) {
    const std::wstring copy(text);
    putChoice(impl, kind, &copy);
}

} // namespace

CGeneralName::CGeneralName() : impl_(std::make_unique<CGeneralNameImpl>()) {}

CGeneralName::CGeneralName(const CGeneralName& other) : impl_(copyChoice(other.impl_)) {}

CGeneralName& CGeneralName::operator=(const CGeneralName& other) {
    assignChoice(impl_, other.impl_);
    return *this;
}

CGeneralName::~CGeneralName() = default;

void CGeneralName::clear() noexcept {
    impl_.reset();
}

unsigned int CGeneralName::get_type() const noexcept {
    return choiceType(impl_);
}

const wchar_t* CGeneralName::get_rfc822Name() const noexcept {
    return textOf(impl_, kindRfc822Name);
}

const wchar_t* CGeneralName::get_dNSName() const noexcept {
    return textOf(impl_, kindDNSName);
}

const CBlob* CGeneralName::get_directoryName() const noexcept {
    return choiceValue<CBlob>(impl_, kindDirectoryName);
}

const wchar_t* CGeneralName::get_uniformResourceIdentifier() const noexcept {
    return textOf(impl_, kindUniformResourceIdentifier);
}

const CBlob* CGeneralName::get_iPAddress() const noexcept {
    return choiceValue<CBlob>(impl_, kindIPAddress);
}

const wchar_t* CGeneralName::get_registeredID() const noexcept {
    return textOf(impl_, kindRegisteredID);
}

void CGeneralName::put_rfc822Name(const wchar_t* name) {
    putText(impl_, kindRfc822Name, name);
}

void CGeneralName::put_dNSName(const wchar_t* name) {
    putText(impl_, kindDNSName, name);
}

void CGeneralName::put_directoryName(const CBlob& der) {
    putChoice(impl_, kindDirectoryName, &der);
}

void CGeneralName::put_uniformResourceIdentifier(const wchar_t* uri) {
    putText(impl_, kindUniformResourceIdentifier, uri);
}

void CGeneralName::put_iPAddress(const CBlob& octets) {
    putChoice(impl_, kindIPAddress, &octets);
}

void CGeneralName::put_registeredID(const wchar_t* oid) {
    putText(impl_, kindRegisteredID, oid);
}

CWStringProxy CGeneralName::toString() const {
    std::wstring text;
    if (get_rfc822Name()) {
        text = std::wstring(L"rfc822Name: ") + get_rfc822Name();
    } else if (get_dNSName()) {
        text = std::wstring(L"dNSName: ") + get_dNSName();
    } else if (get_directoryName()) {
        CName name;
        name.decode(*get_directoryName());
        text = std::wstring(L"directoryName: ") + name.toString().c_str();
    } else if (get_uniformResourceIdentifier()) {
        text = std::wstring(L"uniformResourceIdentifier: ") + get_uniformResourceIdentifier();
    } else if (get_iPAddress()) {
        text = L"iPAddress: (to string is not implemented)";
    } else if (get_registeredID()) {
        text = std::wstring(L"registeredID: ") + get_registeredID();
    }
    return CWStringProxy(text.c_str());
}

namespace {

// Both texts are absent, or begin with the same character.
bool sameStart(const wchar_t* a, const wchar_t* b) {
    return a && b ? *a == *b : a == b;
}

} // namespace

bool operator==(const CGeneralName& a, const CGeneralName& b) noexcept {
    return a.get_type() == b.get_type() && sameStart(a.get_rfc822Name(), b.get_rfc822Name()) &&
           sameStart(a.get_dNSName(), b.get_dNSName()) &&
           equal_optional(a.get_directoryName(), b.get_directoryName()) &&
           sameStart(a.get_uniformResourceIdentifier(), b.get_uniformResourceIdentifier()) &&
           equal_optional(a.get_iPAddress(), b.get_iPAddress()) &&
           sameStart(a.get_registeredID(), b.get_registeredID());
}

CBlob CGeneralName::encode() const {
    return asn1Encode<ASN1T_GeneralName_traits, CGeneralName>(*this);
}

void CGeneralName::decode(const CBlob& der) {
    asn1Decode<ASN1T_GeneralName_traits, CGeneralName>(der, *this);
}

// GeneralName ::= CHOICE {
//     otherName                  [0] OtherName,
//     rfc822Name                 [1] IA5String,
//     dNSName                    [2] IA5String,
//     x400Address                [3] ORAddress,
//     directoryName              [4] EXPLICIT Name,
//     ediPartyName               [5] EDIPartyName,
//     uniformResourceIdentifier  [6] IA5String,
//     iPAddress                  [7] OCTET STRING,
//     registeredID               [8] OBJECT IDENTIFIER }

namespace {

// The text in the system's code page.
const char* narrowText(ASN1CTXT* ctxt, const wchar_t* text) {
    return heapText(ctxt, tostring(text).c_str());
}

} // namespace

void ASN1T_GeneralName_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value) {
    switch (value.get_type()) {
    case kindRfc822Name:
        record.u.rfc822Name = narrowText(ctxt, value.get_rfc822Name());
        break;
    case kindDNSName:
        record.u.dNSName = narrowText(ctxt, value.get_dNSName());
        break;
    case kindDirectoryName:
        record.u.directoryName = heapRecord<asn1data::ASN1T_Name>(ctxt);
        ASN1T_Name_traits::set(ctxt, *record.u.directoryName, *value.get_directoryName());
        break;
    case kindUniformResourceIdentifier:
        record.u.uniformResourceIdentifier =
            narrowText(ctxt, value.get_uniformResourceIdentifier());
        break;
    case kindIPAddress:
        record.u.iPAddress = heapRecord<ASN1TDynOctStr>(ctxt);
        ASN1TDynOctStr_traits::set(ctxt, *record.u.iPAddress, *value.get_iPAddress());
        break;
    case kindRegisteredID:
        record.u.registeredID = heapRecord<ASN1TObjId>(ctxt);
        ASN1TObjId_traits::set(ctxt, *record.u.registeredID,
                               tostring(value.get_registeredID()).c_str());
        break;
    default:
        failArgument();
    }
    record.t = value.get_type();
}

void ASN1T_GeneralName_traits::get(const ASN1_T& record, CGeneralName& value) {
    CBlob octets;
    switch (record.t) {
    case kindRfc822Name:
        value.put_rfc822Name(towstring(record.u.rfc822Name).c_str());
        break;
    case kindDNSName:
        value.put_dNSName(towstring(record.u.dNSName).c_str());
        break;
    case kindDirectoryName:
        ASN1T_Name_traits::get(*record.u.directoryName, octets);
        value.put_directoryName(octets);
        break;
    case kindUniformResourceIdentifier:
        value.put_uniformResourceIdentifier(towstring(record.u.uniformResourceIdentifier).c_str());
        break;
    case kindIPAddress:
        ASN1TDynOctStr_traits::get(*record.u.iPAddress, octets);
        value.put_iPAddress(octets);
        break;
    case kindRegisteredID:
        value.put_registeredID(towstring(toOID(*record.u.registeredID).c_str()).c_str());
        break;
    default:
        failArgument();
    }
}

void ASN1T_GeneralName_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_GeneralName(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
