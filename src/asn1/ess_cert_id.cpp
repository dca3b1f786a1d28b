#include "asn1/ess_cert_id.h"

#include "asn1/codec.h"
#include "asn1/ess_cert_id_traits.h"
#include "asn1/issuer_serial_traits.h"
#include "asn1/optional_owner.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

struct ESSCertIDBlock {
    ESSCertIDBlock() = default;
    ESSCertIDBlock(const ESSCertIDBlock& other) : certHash(other.certHash) {
        copy_to_auto_ptr(issuerSerial, other.issuerSerial.get());
    }

    CBlob certHash;
    std::unique_ptr<CIssuerSerial> issuerSerial;
};

CESSCertID::CESSCertID() : block_(std::make_unique<ESSCertIDBlock>()) {}

CESSCertID::CESSCertID(const CBlob& certHash) : CESSCertID() {
    put_certHash(certHash);
}

CESSCertID::CESSCertID(const CESSCertID& other)
    : block_(std::make_unique<ESSCertIDBlock>(*other.block_)) {}

CESSCertID& CESSCertID::operator=(const CESSCertID& other) {
    if (this != &other)
        block_ = std::make_unique<ESSCertIDBlock>(*other.block_);
    return *this;
}

CESSCertID::~CESSCertID() = default;

const CBlob& CESSCertID::get_certHash() const noexcept {
    return block_->certHash;
}

const CIssuerSerial* CESSCertID::get_issuerSerial() const noexcept {
    return block_->issuerSerial.get();
}

void CESSCertID::put_certHash(const CBlob& certHash) {
    block_->certHash = certHash;
}

void CESSCertID::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
}

bool operator==(const CESSCertID& a, const CESSCertID& b) noexcept {
    return a.get_certHash() == b.get_certHash() &&
           equal_optional(a.get_issuerSerial(), b.get_issuerSerial());
}

CBlob CESSCertID::encode() const {
    return asn1Encode<ASN1T_ESSCertID_traits, CESSCertID>(*this);
}

void CESSCertID::decode(const CBlob& der) {
    asn1Decode<ASN1T_ESSCertID_traits, CESSCertID>(der, *this);
}

// ESSCertID ::= SEQUENCE {
//     certHash      Hash,
//     issuerSerial  IssuerSerial OPTIONAL }

void ASN1T_ESSCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value) {
    record.m = {};
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    if (const CIssuerSerial* const issuerSerial = value.get_issuerSerial()) {
        record.m.issuerSerialPresent = 1;
        ASN1T_IssuerSerial_traits::set(ctxt, record.issuerSerial, *issuerSerial);
    }
}

void ASN1T_ESSCertID_traits::get(const ASN1_T& record, CESSCertID& value) {
    CBlob certHash;
    ASN1TDynOctStr_traits::get(record.certHash, certHash);
    value.put_certHash(certHash);
    CIssuerSerial issuerSerial;
    if (record.m.issuerSerialPresent)
        ASN1T_IssuerSerial_traits::get(record.issuerSerial, issuerSerial);
    value.put_issuerSerial(record.m.issuerSerialPresent ? &issuerSerial : nullptr);
}

void ASN1T_ESSCertID_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_ESSCertID(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
