#include <chronoseal/asn1/signing_certificate.h>

#include <chronoseal/asn1/cert_identifier_traits.h>
#include <chronoseal/asn1/policy_information_traits.h>

namespace Halcyon::ASN1 {

// X ::= SEQUENCE {
//     certs     SEQUENCE OF Element,
//     policies  SEQUENCE OF PolicyInformation OPTIONAL }
template <class Record, class Control, CopyFunction<Record> copy_record, class ElementTraits,
          class Element, class List>
struct CertsAndPoliciesTraits : RecordTraits<Record, Control, copy_record> {
    using Certs =
        ASN1TSeqOfList_traits<typename ElementTraits::ASN1_T, ElementTraits, Element, List>;
    using Policies =
        ASN1TSeqOfList_traits<asn1data::ASN1T_PolicyInformation, ASN1T_PolicyInformation_traits,
                              CPolicyInformation, CPolicyInformationList>;

    // An empty list of policies is left out.
    static void set(ASN1CTXT* ctxt, Record& record, const CertsAndPolicies<List>& value) {
        record.m = {};
        Certs::set(ctxt, record.certs, value.certs);
        if (value.policies.get() && !value.policies->empty()) {
            record.m.policiesPresent = 1;
            Policies::set(ctxt, record.policies, *value.policies);
        }
    }

    static void get(const Record& record, CertsAndPolicies<List>& value) {
        Certs::get(record.certs, value.certs);
        CPolicyInformationList list;
        if (record.m.policiesPresent) {
            Policies::get(record.policies, list);
        }
        copy_to_auto_ptr(value.policies, record.m.policiesPresent ? &list : nullptr);
    }
};

struct ASN1T_SigningCertificate_traits
    : CertsAndPoliciesTraits<asn1data::ASN1T_SigningCertificate, asn1data::ASN1C_SigningCertificate,
                             asn1data::asn1Copy_SigningCertificate, ASN1T_ESSCertID_traits,
                             CESSCertID, CESSCertIDList> {};

template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDList>>, kSigningCertificate>::encode() {
    value() = asn1Encode<ASN1T_SigningCertificate_traits>(*field_);
}

template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDList>>, kSigningCertificate>::decode() {
    asn1Decode<ASN1T_SigningCertificate_traits>(get_value(), *field_);
}

struct ASN1T_SigningCertificateV2_traits
    : CertsAndPoliciesTraits<asn1data::ASN1T_SigningCertificateV2,
                             asn1data::ASN1C_SigningCertificateV2,
                             asn1data::asn1Copy_SigningCertificateV2, ASN1T_ESSCertIDv2_traits,
                             CESSCertIDv2, CESSCertIDv2List> {};

template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDv2List>>, kSigningCertificateV2>::encode() {
    value() = asn1Encode<ASN1T_SigningCertificateV2_traits>(*field_);
}

template <>
void TypedAttribute<Owned<CertsAndPolicies<CESSCertIDv2List>>, kSigningCertificateV2>::decode() {
    asn1Decode<ASN1T_SigningCertificateV2_traits>(get_value(), *field_);
}

struct ASN1T_OtherSigningCertificate_traits
    : CertsAndPoliciesTraits<asn1data::ASN1T_OtherSigningCertificate,
                             asn1data::ASN1C_OtherSigningCertificate,
                             asn1data::asn1Copy_OtherSigningCertificate, ASN1T_OtherCertID_traits,
                             COtherCertID, COtherCertIDList> {};

template <>
void TypedAttribute<Owned<CertsAndPolicies<COtherCertIDList>>, kOtherSigningCertificate>::encode() {
    value() = asn1Encode<ASN1T_OtherSigningCertificate_traits>(*field_);
}

template <>
void TypedAttribute<Owned<CertsAndPolicies<COtherCertIDList>>, kOtherSigningCertificate>::decode() {
    asn1Decode<ASN1T_OtherSigningCertificate_traits>(get_value(), *field_);
}

} // namespace Halcyon::ASN1
