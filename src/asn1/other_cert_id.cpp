#include "asn1/other_cert_id.h"

#include "asn1/codec.h"
#include "asn1/issuer_serial_traits.h"
#include "asn1/optional_owner.h"
#include "asn1/other_cert_id_traits.h"
#include "asn1/other_hash_traits.h"

namespace Halcyon::ASN1 {

struct OtherCertIDBlock {
    OtherCertIDBlock() = default;
    OtherCertIDBlock(const OtherCertIDBlock& other) : otherCertHash(other.otherCertHash) {
        copy_to_auto_ptr(issuerSerial, other.issuerSerial.get());
    }

    COtherHash otherCertHash;
    std::unique_ptr<CIssuerSerial> issuerSerial;
};

COtherCertID::COtherCertID() : block_(std::make_unique<OtherCertIDBlock>()) {}

COtherCertID::COtherCertID(const CBlob& sha1) : COtherCertID() {
    put_otherCertHash(COtherHash(sha1));
}

COtherCertID::COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& algorithm)
    : COtherCertID() {
    put_otherCertHash(COtherHash(COtherHashAlgAndValue(hash, algorithm)));
}

COtherCertID::COtherCertID(const COtherCertID& other)
    : block_(std::make_unique<OtherCertIDBlock>(*other.block_)) {}

COtherCertID& COtherCertID::operator=(const COtherCertID& other) {
    if (this != &other)
        block_ = std::make_unique<OtherCertIDBlock>(*other.block_);
    return *this;
}

COtherCertID::~COtherCertID() = default;

const COtherHash& COtherCertID::get_otherCertHash() const noexcept {
    return block_->otherCertHash;
}

const CIssuerSerial* COtherCertID::get_issuerSerial() const noexcept {
    return block_->issuerSerial.get();
}

void COtherCertID::put_otherCertHash(const COtherHash& hash) {
    block_->otherCertHash = hash;
}

void COtherCertID::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
}

bool COtherCertID::compare_noHashParam(const COtherCertID& other) const noexcept {
    return get_otherCertHash().compare_hashValue(other.get_otherCertHash()) &&
           equal_optional(get_issuerSerial(), other.get_issuerSerial());
}

bool operator==(const COtherCertID& a, const COtherCertID& b) noexcept {
    return a.get_otherCertHash() == b.get_otherCertHash() &&
           equal_optional(a.get_issuerSerial(), b.get_issuerSerial());
}

CBlob COtherCertID::encode() const {
    return asn1Encode<ASN1T_OtherCertID_traits, COtherCertID>(*this);
}

void COtherCertID::decode(const CBlob& der) {
    asn1Decode<ASN1T_OtherCertID_traits, COtherCertID>(der, *this);
}

// OtherCertID ::= SEQUENCE {
//     otherCertHash  OtherHash,
//     issuerSerial   IssuerSerial OPTIONAL }

void ASN1T_OtherCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value) {
    record.m = {};
    ASN1T_OtherHash_traits::set(ctxt, record.otherCertHash, value.get_otherCertHash());
    if (const CIssuerSerial* const issuerSerial = value.get_issuerSerial()) {
        record.m.issuerSerialPresent = 1;
        ASN1T_IssuerSerial_traits::set(ctxt, record.issuerSerial, *issuerSerial);
    }
}

void ASN1T_OtherCertID_traits::get(const ASN1_T& record, COtherCertID& value) {
    COtherHash hash;
    ASN1T_OtherHash_traits::get(record.otherCertHash, hash);
    value.put_otherCertHash(hash);
    CIssuerSerial issuerSerial;
    if (record.m.issuerSerialPresent)
        ASN1T_IssuerSerial_traits::get(record.issuerSerial, issuerSerial);
    value.put_issuerSerial(record.m.issuerSerialPresent ? &issuerSerial : nullptr);
}

void ASN1T_OtherCertID_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_OtherCertID(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
