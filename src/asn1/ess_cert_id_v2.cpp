#include "asn1/ess_cert_id_v2.h"

#include <cstring>

#include "asn1/algorithm_identifier_traits.h"
#include "asn1/codec.h"
#include "asn1/ess_cert_id_v2_traits.h"
#include "asn1/issuer_serial_traits.h"
#include "asn1/optional_owner.h"
#include "asn1/primitive_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidSha256[] = "2.16.840.1.101.3.4.2.1";

} // namespace

struct ESSCertIDv2Block {
    ESSCertIDv2Block() : hashAlgorithm(oidSha256) {}
    ESSCertIDv2Block(const ESSCertIDv2Block& other)
        : hashAlgorithm(other.hashAlgorithm), certHash(other.certHash) {
        copy_to_auto_ptr(issuerSerial, other.issuerSerial.get());
    }

    CAlgorithmIdentifier hashAlgorithm;
    CBlob certHash;
    std::unique_ptr<CIssuerSerial> issuerSerial;
};

CESSCertIDv2::CESSCertIDv2() : block_(std::make_unique<ESSCertIDv2Block>()) {}

CESSCertIDv2::CESSCertIDv2(const CBlob& certHash) : CESSCertIDv2() {
    put_certHash(certHash);
}

CESSCertIDv2::CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm)
    : CESSCertIDv2(certHash) {
    put_hashAlgorithm(hashAlgorithm);
}

CESSCertIDv2::CESSCertIDv2(const CESSCertIDv2& other)
    : block_(std::make_unique<ESSCertIDv2Block>(*other.block_)) {}

CESSCertIDv2& CESSCertIDv2::operator=(const CESSCertIDv2& other) {
    if (this != &other)
        block_ = std::make_unique<ESSCertIDv2Block>(*other.block_);
    return *this;
}

CESSCertIDv2::~CESSCertIDv2() = default;

const CAlgorithmIdentifier& CESSCertIDv2::get_hashAlgorithm() const noexcept {
    return block_->hashAlgorithm;
}

const CBlob& CESSCertIDv2::get_certHash() const noexcept {
    return block_->certHash;
}

const CIssuerSerial* CESSCertIDv2::get_issuerSerial() const noexcept {
    return block_->issuerSerial.get();
}

void CESSCertIDv2::put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm) {
    block_->hashAlgorithm = hashAlgorithm;
}

void CESSCertIDv2::put_certHash(const CBlob& certHash) {
    block_->certHash = certHash;
}

void CESSCertIDv2::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(block_->issuerSerial, issuerSerial);
}

bool operator==(const CESSCertIDv2& a, const CESSCertIDv2& b) noexcept {
    return a.get_hashAlgorithm() == b.get_hashAlgorithm() && a.get_certHash() == b.get_certHash() &&
           equal_optional(a.get_issuerSerial(), b.get_issuerSerial());
}

CBlob CESSCertIDv2::encode() const {
    return asn1Encode<ASN1T_ESSCertIDv2_traits, CESSCertIDv2>(*this);
}

void CESSCertIDv2::decode(const CBlob& der) {
    asn1Decode<ASN1T_ESSCertIDv2_traits, CESSCertIDv2>(der, *this);
}

// ESSCertIDv2 ::= SEQUENCE {
//     hashAlgorithm  AlgorithmIdentifier DEFAULT { algorithm id-sha256 },
//     certHash       Hash,
//     issuerSerial   IssuerSerial OPTIONAL }

void ASN1T_ESSCertIDv2_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value) {
    record.m = {};
    const CAlgorithmIdentifier& algorithm = value.get_hashAlgorithm();
    // The default is told by the identifier alone, so parameters beside it are dropped.
    if (std::strcmp(algorithm.get_algorithm(), oidSha256) != 0) {
        record.m.hashAlgorithmPresent = 1;
        ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.hashAlgorithm, algorithm);
    }
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    if (const CIssuerSerial* const issuerSerial = value.get_issuerSerial()) {
        record.m.issuerSerialPresent = 1;
        ASN1T_IssuerSerial_traits::set(ctxt, record.issuerSerial, *issuerSerial);
    }
}

void ASN1T_ESSCertIDv2_traits::get(const ASN1_T& record, CESSCertIDv2& value) {
    CAlgorithmIdentifier algorithm(oidSha256);
    if (record.m.hashAlgorithmPresent)
        ASN1T_AlgorithmIdentifier_get(algorithm, record.hashAlgorithm);
    value.put_hashAlgorithm(algorithm);
    CBlob certHash;
    ASN1TDynOctStr_traits::get(record.certHash, certHash);
    value.put_certHash(certHash);
    CIssuerSerial issuerSerial;
    if (record.m.issuerSerialPresent)
        ASN1T_IssuerSerial_traits::get(record.issuerSerial, issuerSerial);
    value.put_issuerSerial(record.m.issuerSerialPresent ? &issuerSerial : nullptr);
}

void ASN1T_ESSCertIDv2_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_ESSCertIDv2(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
