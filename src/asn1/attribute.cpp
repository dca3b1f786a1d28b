#include "asn1/attribute.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "asn1/attribute_traits.h"
#include "asn1/codec.h"
#include "asn1/object_identifier.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

struct AttributeBlock {
    CAttrValueList values;
    std::string oid;
};

CAttribute::CAttribute() : block_(std::make_unique<AttributeBlock>()) {}

CAttribute::CAttribute(const char* oid) : CAttribute() {
    block_->oid = oid ? oid : "";
}

CAttribute::CAttribute(const CAttribute& other)
    : block_(std::make_unique<AttributeBlock>(*other.block_)) {}

CAttribute& CAttribute::operator=(const CAttribute& other) {
    if (this != &other)
        block_ = std::make_unique<AttributeBlock>(*other.block_);
    return *this;
}

CAttribute::~CAttribute() = default;

const char* CAttribute::get_oid() const noexcept {
    return block_->oid.c_str();
}
CAttribute::iterator CAttribute::begin() noexcept {
    return block_->values.begin();
}
CAttribute::iterator CAttribute::end() noexcept {
    return block_->values.end();
}
CAttribute::const_iterator CAttribute::begin() const noexcept {
    return block_->values.begin();
}
CAttribute::const_iterator CAttribute::end() const noexcept {
    return block_->values.end();
}
unsigned long CAttribute::size() const noexcept {
    return block_->values.size();
}

void CAttribute::add(const CBlob& value) {
    block_->values.push_back(CAttrValue(get_oid(), value));
}

void CAttribute::add(const CAttrValue& value) {
    block_->values.push_back(value);
}

void CAttribute::erase(iterator position) {
    block_->values.erase(position);
}

bool operator==(const CAttribute& a, const CAttribute& b) noexcept {
    return std::string_view(a.get_oid()) == b.get_oid() && a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin());
}

CBlob CAttribute::encode() const {
    return asn1Encode<ASN1T_Attribute_traits, CAttribute>(*this);
}

void CAttribute::decode(const CBlob& der) {
    asn1Decode<ASN1T_Attribute_traits, CAttribute>(der, *this);
}

// Attribute ::= SEQUENCE {
//     type    OBJECT IDENTIFIER,
//     values  SET OF ANY DEFINED BY type }

namespace {

using ValuesTraits = ASN1TSeqOfList_traits<Asn1TObject, Asn1TObject_traits, CBlob, CBlobList>;

} // namespace

void ASN1T_Attribute_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CAttribute& value) {
    CBlobList blobs;
    for (const CAttrValue& element : value)
        blobs.push_back(element.get_value());
    ASN1_T local;
    ASN1TObjId_traits::set(ctxt, local.type, value.get_oid());
    ValuesTraits::set(ctxt, local.values, blobs);
    ASN1BERDecodeBuffer check;
    if (asn1data::asn1DTC_Attribute(check.getCtxtPtr(), &local) != 0)
        failCodec();
    copy(ctxt, local, record);
}

void ASN1T_Attribute_traits::get(const ASN1_T& record, CAttribute& value) {
    CAttribute attribute(toOID(record.type).c_str());
    CBlobList blobs;
    ValuesTraits::get(record.values, blobs);
    for (const CBlob& blob : blobs)
        attribute.add(blob);
    value = attribute;
}

void ASN1T_Attribute_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_Attribute(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
