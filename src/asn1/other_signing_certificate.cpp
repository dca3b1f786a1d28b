#include "asn1/other_signing_certificate.h"

#include "asn1/certs_and_policies_traits.h"
#include "asn1/codec.h"
#include "asn1/other_cert_id_traits.h"
#include "asn1/other_signing_certificate_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidOtherSigningCertificate[] = "1.2.840.113549.1.9.16.2.19";

using Fields = CertsAndPoliciesTraits<ASN1T_OtherCertID_traits, COtherCertID, COtherCertIDList>;

} // namespace

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate()
    : CAttrSigningCertificateT(oidOtherSigningCertificate) {}

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate(const COtherCertIDList& certs)
    : CAttrOtherSigningCertificate() {
    put_certs(certs);
}

CAttrOtherSigningCertificate::CAttrOtherSigningCertificate(const CBlob& der)
    : CAttrOtherSigningCertificate() {
    value() = der;
    decode();
}

void CAttrOtherSigningCertificate::put_certs(const COtherCertIDList& certs) {
    block_->certs = certs;
    encode();
}

void CAttrOtherSigningCertificate::put_policies(const CPolicyInformationList* policies) {
    copy_to_auto_ptr(block_->policies, policies);
    encode();
}

void CAttrOtherSigningCertificate::encode() {
    value() = asn1Encode<ASN1T_OtherSigningCertificate_traits, CAttrOtherSigningCertificate>(*this);
}

void CAttrOtherSigningCertificate::decode() {
    asn1Decode<ASN1T_OtherSigningCertificate_traits, CAttrOtherSigningCertificate>(get_value(),
                                                                                   *this);
}

// OtherSigningCertificate ::= SEQUENCE {
//     certs     SEQUENCE OF OtherCertID,
//     policies  SEQUENCE OF PolicyInformation OPTIONAL }

void ASN1T_OtherSigningCertificate_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                               const CAttrOtherSigningCertificate& value) {
    Fields::set(ctxt, record, value.get_certs(), value.get_policies());
}

// The value's encoded form stays as it is: it is what the record was read from.
void ASN1T_OtherSigningCertificate_traits::get(const ASN1_T& record,
                                               CAttrOtherSigningCertificate& value) {
    Fields::get(record, value.block_->certs, value.block_->policies);
}

void ASN1T_OtherSigningCertificate_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_OtherSigningCertificate(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
