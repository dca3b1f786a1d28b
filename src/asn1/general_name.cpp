#include <chronoseal/asn1/general_name.h>

#include <string>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/name_traits.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/primitive_traits.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {

namespace {

// From the record of a name to its text, with no value between them.
struct NameTextTraits : CCodeClassT<asn1data::ASN1T_Name, asn1data::ASN1C_Name> {
    static void get(const ASN1_T& record, std::wstring& text) { text = name_text(record); }
};

} // namespace

CWStringProxy CGeneralName::toString() const {
    std::wstring text;
    if (get_rfc822Name()) {
        text = std::wstring(L"rfc822Name: ") + get_rfc822Name();
    } else if (get_dNSName()) {
        text = std::wstring(L"dNSName: ") + get_dNSName();
    } else if (get_directoryName()) {
        asn1Decode<NameTextTraits>(*get_directoryName(), text);
        text.insert(0, L"directoryName: ");
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
bool same_start(const wchar_t* a, const wchar_t* b) {
    return a && b ? *a == *b : a == b;
}

} // namespace

bool operator==(const CGeneralName& a, const CGeneralName& b) noexcept {
    return a.get_type() == b.get_type() && same_start(a.get_rfc822Name(), b.get_rfc822Name()) &&
           same_start(a.get_dNSName(), b.get_dNSName()) &&
           equal_optional(a.get_directoryName(), b.get_directoryName()) &&
           same_start(a.get_uniformResourceIdentifier(), b.get_uniformResourceIdentifier()) &&
           equal_optional(a.get_iPAddress(), b.get_iPAddress()) &&
           same_start(a.get_registeredID(), b.get_registeredID());
}

template class Encodable<CGeneralName, ASN1T_GeneralName_traits>;
template class Encodable<CGeneralNames, ASN1T_GeneralNames_traits>;

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
const char* narrow_text(ASN1CTXT* ctxt, const wchar_t* text) {
    return heap_text(ctxt, tostring(text).c_str());
}

} // namespace

void ASN1T_GeneralName_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CGeneralName& value) {
    switch (value.get_type()) {
    case kRfc822Name.kind:
        record.u.rfc822Name = narrow_text(ctxt, value.get_rfc822Name());
        break;
    case kDNSName.kind:
        record.u.dNSName = narrow_text(ctxt, value.get_dNSName());
        break;
    case kDirectoryName.kind:
        record.u.directoryName = heap_record<asn1data::ASN1T_Name>(ctxt);
        ASN1T_Name_traits::set(ctxt, *record.u.directoryName, *value.get_directoryName());
        break;
    case kUniformResourceIdentifier.kind:
        record.u.uniformResourceIdentifier =
            narrow_text(ctxt, value.get_uniformResourceIdentifier());
        break;
    case kIPAddress.kind:
        record.u.iPAddress = heap_record<ASN1TDynOctStr>(ctxt);
        ASN1TDynOctStr_traits::set(ctxt, *record.u.iPAddress, *value.get_iPAddress());
        break;
    case kRegisteredID.kind:
        record.u.registeredID = heap_record<ASN1TObjId>(ctxt);
        ASN1TObjId_traits::set(ctxt, *record.u.registeredID,
                               tostring(value.get_registeredID()).c_str());
        break;
    default:
        fail_argument();
    }
    record.t = value.get_type();
}

void ASN1T_GeneralName_traits::get(const ASN1_T& record, CGeneralName& value) {
    CBlob octets;
    switch (record.t) {
    case kRfc822Name.kind:
        value.put_rfc822Name(towstring(record.u.rfc822Name).c_str());
        break;
    case kDNSName.kind:
        value.put_dNSName(towstring(record.u.dNSName).c_str());
        break;
    case kDirectoryName.kind:
        ASN1T_Name_traits::get(*record.u.directoryName, octets);
        value.put_directoryName(octets);
        break;
    case kUniformResourceIdentifier.kind:
        value.put_uniformResourceIdentifier(towstring(record.u.uniformResourceIdentifier).c_str());
        break;
    case kIPAddress.kind:
        ASN1TDynOctStr_traits::get(*record.u.iPAddress, octets);
        value.put_iPAddress(octets);
        break;
    case kRegisteredID.kind:
        value.put_registeredID(towstring(toOID(*record.u.registeredID).c_str()).c_str());
        break;
    default:
        fail_argument();
    }
}

} // namespace Halcyon::ASN1
