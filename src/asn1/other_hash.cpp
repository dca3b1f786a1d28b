#include "asn1/other_hash.h"

#include "asn1/choice.h"
#include "asn1/codec.h"
#include "asn1/heap_copy.h"
#include "asn1/optional_owner.h"
#include "asn1/other_hash_traits.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

class COtherHashImpl final : public Choice {
public:
    ~COtherHashImpl() override { clearValue(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept override {
        switch (kind) {
        case 1:
            return &ChoiceValueTraitsT<CBlob, 1>::instance;
        case 2:
            return &ChoiceValueTraitsT<COtherHashAlgAndValue, 2>::instance;
        default:
            return &ChoiceValueTraitsT<void*, 0>::instance;
        }
    }
};

COtherHash::COtherHash() : impl_(std::make_unique<COtherHashImpl>()) {}

COtherHash::COtherHash(const CBlob& sha1) : COtherHash() {
    put_sha1Hash(sha1);
}

COtherHash::COtherHash(const COtherHashAlgAndValue& hash) : COtherHash() {
    put_otherHash(hash);
}

COtherHash::COtherHash(const COtherHash& other) : impl_(copyChoice(other.impl_)) {}

COtherHash& COtherHash::operator=(const COtherHash& other) {
    assignChoice(impl_, other.impl_);
    return *this;
}

COtherHash::~COtherHash() = default;

void COtherHash::clear() noexcept {
    impl_.reset();
}

unsigned int COtherHash::get_type() const noexcept {
    return choiceType(impl_);
}

const CBlob* COtherHash::get_sha1Hash() const noexcept {
    return choiceValue<CBlob>(impl_, 1);
}

const COtherHashAlgAndValue* COtherHash::get_otherHash() const noexcept {
    return choiceValue<COtherHashAlgAndValue>(impl_, 2);
}

void COtherHash::put_sha1Hash(const CBlob& sha1) {
    putChoice(impl_, 1, &sha1);
}

void COtherHash::put_otherHash(const COtherHashAlgAndValue& hash) {
    putChoice(impl_, 2, &hash);
}

bool COtherHash::compare_hashValue(const COtherHash& other) const noexcept {
    if (get_type() != other.get_type())
        return false;
    if (get_otherHash())
        return get_otherHash()->compare_hashValue(*other.get_otherHash());
    return equal_optional(get_sha1Hash(), other.get_sha1Hash());
}

bool operator==(const COtherHash& a, const COtherHash& b) noexcept {
    return a.get_type() == b.get_type() && equal_optional(a.get_sha1Hash(), b.get_sha1Hash()) &&
           equal_optional(a.get_otherHash(), b.get_otherHash());
}

CBlob COtherHash::encode() const {
    return asn1Encode<ASN1T_OtherHash_traits, COtherHash>(*this);
}

void COtherHash::decode(const CBlob& der) {
    asn1Decode<ASN1T_OtherHash_traits, COtherHash>(der, *this);
}

// OtherHash ::= CHOICE {
//     sha1Hash   OCTET STRING,
//     otherHash  OtherHashAlgAndValue }

void ASN1T_OtherHash_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value) {
    if (const CBlob* const sha1 = value.get_sha1Hash()) {
        record.t = 1;
        record.u.sha1Hash = heapRecord<ASN1TDynOctStr>(ctxt);
        ASN1TDynOctStr_traits::set(ctxt, *record.u.sha1Hash, *sha1);
    } else if (const COtherHashAlgAndValue* const hash = value.get_otherHash()) {
        record.t = 2;
        record.u.otherHash = heapRecord<asn1data::ASN1T_OtherHashAlgAndValue>(ctxt);
        ASN1T_OtherHashAlgAndValue_traits::set(ctxt, *record.u.otherHash, *hash);
    }
}

void ASN1T_OtherHash_traits::get(const ASN1_T& record, COtherHash& value) {
    if (record.t == 1) {
        CBlob sha1;
        ASN1TDynOctStr_traits::get(*record.u.sha1Hash, sha1);
        value.put_sha1Hash(sha1);
    } else if (record.t == 2) {
        COtherHashAlgAndValue hash;
        ASN1T_OtherHashAlgAndValue_traits::get(*record.u.otherHash, hash);
        value.put_otherHash(hash);
    }
}

void ASN1T_OtherHash_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_OtherHash(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
