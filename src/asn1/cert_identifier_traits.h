// Traits of what names a certificate. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/attribute_certificates.h>
#include <chronoseal/asn1data/ets_electronic_signature.h>
#include <chronoseal/asn1data/extended_security_services.h>

namespace Halcyon::ASN1 {

struct ASN1T_IssuerSerial_traits
    : RecordTraits<asn1data::ASN1T_IssuerSerial, asn1data::ASN1C_IssuerSerial,
                   asn1data::asn1Copy_IssuerSerial> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value);
    static void get(const ASN1_T& record, CIssuerSerial& value);
};

struct ASN1T_ESSCertID_traits : RecordTraits<asn1data::ASN1T_ESSCertID, asn1data::ASN1C_ESSCertID,
                                             asn1data::asn1Copy_ESSCertID> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value);
    static void get(const ASN1_T& record, CESSCertID& value);
};

struct ASN1T_ESSCertIDv2_traits
    : RecordTraits<asn1data::ASN1T_ESSCertIDv2, asn1data::ASN1C_ESSCertIDv2,
                   asn1data::asn1Copy_ESSCertIDv2> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value);
    static void get(const ASN1_T& record, CESSCertIDv2& value);
};

struct ASN1T_OtherHashAlgAndValue_traits
    : RecordTraits<asn1data::ASN1T_OtherHashAlgAndValue, asn1data::ASN1C_OtherHashAlgAndValue,
                   asn1data::asn1Copy_OtherHashAlgAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHashAlgAndValue& value);
    static void get(const ASN1_T& record, COtherHashAlgAndValue& value);
};

struct ASN1T_OtherHash_traits : RecordTraits<asn1data::ASN1T_OtherHash, asn1data::ASN1C_OtherHash,
                                             asn1data::asn1Copy_OtherHash> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value);
    static void get(const ASN1_T& record, COtherHash& value);
};

struct ASN1T_OtherCertID_traits
    : RecordTraits<asn1data::ASN1T_OtherCertID, asn1data::ASN1C_OtherCertID,
                   asn1data::asn1Copy_OtherCertID> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value);
    static void get(const ASN1_T& record, COtherCertID& value);
};

} // namespace Halcyon::ASN1
