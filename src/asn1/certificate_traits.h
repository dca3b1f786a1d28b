// Traits of Certificate, CertificateValues and CertificateList: the values are DER, which `set`
// decodes. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/certificate_value.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/ets_electronic_signature.h>
#include <chronoseal/asn1data/pkix1_explicit.h>

namespace Halcyon::ASN1 {

struct ASN1T_Certificate_traits
    : RecordTraits<asn1data::ASN1T_Certificate, asn1data::ASN1C_Certificate,
                   asn1data::asn1Copy_Certificate> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der);
    static void get(const ASN1_T& record, CBlob& der);
};

struct ASN1T_CertificateValues_traits
    : ListTypeTraits<asn1data::ASN1T_CertificateValues, asn1data::ASN1C_CertificateValues,
                     kTagSequenceOf, ASN1T_Certificate_traits, CBlob, CCertificateValues> {};

struct ASN1T_CertificateList_traits
    : RecordTraits<asn1data::ASN1T_CertificateList, asn1data::ASN1C_CertificateList,
                   asn1data::asn1Copy_CertificateList> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der);
    static void get(const ASN1_T& record, CBlob& der);
};

} // namespace Halcyon::ASN1
