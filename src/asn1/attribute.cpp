#include <chronoseal/asn1/attribute.h>

#include <algorithm>
#include <string_view>

#include <chronoseal/asn1/attribute_traits.h>
#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>

namespace Halcyon::ASN1 {

bool operator==(const CAttrValue& a, const CAttrValue& b) noexcept {
    return std::string_view(a.get_oid()) == b.get_oid() && a.get_value() == b.get_value();
}

bool operator==(const CAttribute& a, const CAttribute& b) noexcept {
    return std::string_view(a.get_oid()) == b.get_oid() && a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin());
}

template class Encodable<CAttribute, ASN1T_Attribute_traits>;
template class Encodable<CAttributes, ASN1T_Attributes_traits>;

// Attribute ::= SEQUENCE {
//     type    OBJECT IDENTIFIER,
//     values  SET OF ANY DEFINED BY type }

namespace {

using ValuesTraits = ASN1TSeqOfList_traits<Asn1TObject, Asn1TObject_traits, CBlob, CBlobList>;

} // namespace

void ASN1T_Attribute_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value) {
    CBlobList blobs;
    for (const CAttrValue& element : value) {
        blobs.push_back(element.get_value());
    }
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.type, value.get_oid());
    ValuesTraits::set(ctxt, local.values, blobs);
    copy_checked(ctxt, local, record);
}

void ASN1T_Attribute_traits::get(const ASN1_T& record, CAttribute& value) {
    CAttribute attribute(toOID(record.type).c_str());
    CBlobList blobs;
    ValuesTraits::get(record.values, blobs);
    for (const CBlob& blob : blobs) {
        attribute.add(blob);
    }
    value = attribute;
}

} // namespace Halcyon::ASN1
