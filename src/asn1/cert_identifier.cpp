#include <chronoseal/asn1/cert_identifier.h>

#include <cstring>

#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/cert_identifier_traits.h>
#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/primitive_traits.h>

namespace Halcyon::ASN1 {

namespace {

// The OPTIONAL issuer and serial number that three of the records end with.

template <class Record, class Value>
void set_issuer_serial(ASN1CTXT* ctxt, Record& record, const Value& value) {
    if (const CIssuerSerial* const issuer_serial = value.get_issuerSerial()) {
        record.m.issuerSerialPresent = 1;
        ASN1T_IssuerSerial_traits::set(ctxt, record.issuerSerial, *issuer_serial);
    }
}

template <class Record, class Value>
void get_issuer_serial(const Record& record, Value& value) {
    CIssuerSerial issuer_serial;
    if (record.m.issuerSerialPresent) {
        ASN1T_IssuerSerial_traits::get(record.issuerSerial, issuer_serial);
    }
    value.put_issuerSerial(record.m.issuerSerialPresent ? &issuer_serial : nullptr);
}

CBlob octets(const ASN1TDynOctStr& record) {
    CBlob value;
    ASN1TDynOctStr_traits::get(record, value);
    return value;
}

} // namespace

template class Encodable<CESSCertID, ASN1T_ESSCertID_traits>;
template class Encodable<CESSCertIDv2, ASN1T_ESSCertIDv2_traits>;
template class Encodable<COtherCertID, ASN1T_OtherCertID_traits>;
template class Encodable<CIssuerSerial, ASN1T_IssuerSerial_traits>;

// IssuerSerial ::= SEQUENCE {
//     issuer        GeneralNames,
//     serialNumber  CertificateSerialNumber,
//     issuerUID     UniqueIdentifier OPTIONAL }
//
// The last field belongs to attribute certificates: it isn't held.

void ASN1T_IssuerSerial_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value) {
    record.m = {};
    ASN1T_GeneralNames_traits::set(ctxt, record.issuer, value.get_issuer());
    record.serialNumber = BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void ASN1T_IssuerSerial_traits::get(const ASN1_T& record, CIssuerSerial& value) {
    CGeneralNames issuer;
    ASN1T_GeneralNames_traits::get(record.issuer, issuer);
    value.put_issuer(issuer);
    CBigInteger serial_number;
    ASN1StringToBigInteger(record.serialNumber, serial_number);
    value.put_serialNumber(serial_number);
}

// ESSCertID ::= SEQUENCE {
//     certHash      Hash,
//     issuerSerial  IssuerSerial OPTIONAL }

void ASN1T_ESSCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value) {
    record.m = {};
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    set_issuer_serial(ctxt, record, value);
}

void ASN1T_ESSCertID_traits::get(const ASN1_T& record, CESSCertID& value) {
    value.put_certHash(octets(record.certHash));
    get_issuer_serial(record, value);
}

// ESSCertIDv2 ::= SEQUENCE {
//     hashAlgorithm  AlgorithmIdentifier DEFAULT { algorithm id-sha256 },
//     certHash       Hash,
//     issuerSerial   IssuerSerial OPTIONAL }

void ASN1T_ESSCertIDv2_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value) {
    record.m = {};
    const CAlgorithmIdentifier& algorithm = value.get_hashAlgorithm();
    // The default is told by the identifier alone, so parameters beside it are dropped.
    if (std::strcmp(algorithm.get_algorithm(), kSha256) != 0) {
        record.m.hashAlgorithmPresent = 1;
        ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.hashAlgorithm, algorithm);
    }
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    set_issuer_serial(ctxt, record, value);
}

void ASN1T_ESSCertIDv2_traits::get(const ASN1_T& record, CESSCertIDv2& value) {
    CAlgorithmIdentifier algorithm(kSha256);
    if (record.m.hashAlgorithmPresent) {
        ASN1T_AlgorithmIdentifier_get(algorithm, record.hashAlgorithm);
    }
    value.put_hashAlgorithm(algorithm);
    value.put_certHash(octets(record.certHash));
    get_issuer_serial(record, value);
}

template class Encodable<COtherHashAlgAndValue, ASN1T_OtherHashAlgAndValue_traits>;

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
    value.put_hashValue(octets(record.hashValue));
}

bool COtherHash::compare_hashValue(const COtherHash& other) const noexcept {
    if (get_type() != other.get_type()) {
        return false;
    }
    if (get_otherHash()) {
        return get_otherHash()->compare_hashValue(*other.get_otherHash());
    }
    return equal_optional(get_sha1Hash(), other.get_sha1Hash());
}

bool operator==(const COtherHash& a, const COtherHash& b) noexcept {
    return a.get_type() == b.get_type() && equal_optional(a.get_sha1Hash(), b.get_sha1Hash()) &&
           equal_optional(a.get_otherHash(), b.get_otherHash());
}

template class Encodable<COtherHash, ASN1T_OtherHash_traits>;

// OtherHash ::= CHOICE {
//     sha1Hash   OCTET STRING,
//     otherHash  OtherHashAlgAndValue }

void ASN1T_OtherHash_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value) {
    if (const CBlob* const sha1 = value.get_sha1Hash()) {
        record.t = kSha1Hash.kind;
        record.u.sha1Hash = heap_record<ASN1TDynOctStr>(ctxt);
        ASN1TDynOctStr_traits::set(ctxt, *record.u.sha1Hash, *sha1);
    } else if (const COtherHashAlgAndValue* const hash = value.get_otherHash()) {
        record.t = kOtherHash.kind;
        record.u.otherHash = heap_record<asn1data::ASN1T_OtherHashAlgAndValue>(ctxt);
        ASN1T_OtherHashAlgAndValue_traits::set(ctxt, *record.u.otherHash, *hash);
    }
}

void ASN1T_OtherHash_traits::get(const ASN1_T& record, COtherHash& value) {
    if (record.t == kSha1Hash.kind) {
        value.put_sha1Hash(octets(*record.u.sha1Hash));
    } else if (record.t == kOtherHash.kind) {
        COtherHashAlgAndValue hash;
        ASN1T_OtherHashAlgAndValue_traits::get(*record.u.otherHash, hash);
        value.put_otherHash(hash);
    }
}

bool COtherCertID::compare_noHashParam(const COtherCertID& other) const noexcept {
    return get_otherCertHash().compare_hashValue(other.get_otherCertHash()) &&
           equal_optional(get_issuerSerial(), other.get_issuerSerial());
}

// OtherCertID ::= SEQUENCE {
//     otherCertHash  OtherHash,
//     issuerSerial   IssuerSerial OPTIONAL }

void ASN1T_OtherCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value) {
    record.m = {};
    ASN1T_OtherHash_traits::set(ctxt, record.otherCertHash, value.get_otherCertHash());
    set_issuer_serial(ctxt, record, value);
}

void ASN1T_OtherCertID_traits::get(const ASN1_T& record, COtherCertID& value) {
    COtherHash hash;
    ASN1T_OtherHash_traits::get(record.otherCertHash, hash);
    value.put_otherCertHash(hash);
    get_issuer_serial(record, value);
}

} // namespace Halcyon::ASN1
