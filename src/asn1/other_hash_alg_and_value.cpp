#include "asn1/other_hash_alg_and_value.h"

#include "asn1/algorithm_identifier_traits.h"
#include "asn1/codec.h"
#include "asn1/other_hash_traits.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

COtherHashAlgAndValue::COtherHashAlgAndValue(const CBlob& hashValue,
                                             const CAlgorithmIdentifier& hashAlgorithm)
    : hashAlgorithm_(hashAlgorithm), hashValue_(hashValue) {}

bool operator==(const COtherHashAlgAndValue& a, const COtherHashAlgAndValue& b) noexcept {
    return a.get_hashAlgorithm() == b.get_hashAlgorithm() && a.compare_hashValue(b);
}

CBlob COtherHashAlgAndValue::encode() const {
    return asn1Encode<ASN1T_OtherHashAlgAndValue_traits, COtherHashAlgAndValue>(*this);
}

void COtherHashAlgAndValue::decode(const CBlob& der) {
    asn1Decode<ASN1T_OtherHashAlgAndValue_traits, COtherHashAlgAndValue>(der, *this);
}

// OtherHashAlgAndValue ::= SEQUENCE {
//     hashAlgorithm  AlgorithmIdentifier,
//     hashValue      OCTET STRING }

void ASN1T_OtherHashAlgAndValue_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                            const COtherHashAlgAndValue& value) {
    ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.hashAlgorithm, value.get_hashAlgorithm());
    ASN1TDynOctStr_traits::set(ctxt, record.hashValue, value.get_hashValue());
}

void ASN1T_OtherHashAlgAndValue_traits::get(const ASN1_T& record, COtherHashAlgAndValue& value) {
    CAlgorithmIdentifier algorithm;
    ASN1T_AlgorithmIdentifier_get(algorithm, record.hashAlgorithm);
    value.put_hashAlgorithm(algorithm);
    CBlob hashValue;
    ASN1TDynOctStr_traits::get(record.hashValue, hashValue);
    value.put_hashValue(hashValue);
}

void ASN1T_OtherHashAlgAndValue_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_OtherHashAlgAndValue(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
