#include "asn1/signing_certificate.h"

#include "asn1/certs_and_policies_traits.h"
#include "asn1/codec.h"
#include "asn1/ess_cert_id_traits.h"
#include "asn1/signing_certificate_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidSigningCertificate[] = "1.2.840.113549.1.9.16.2.12";

using Fields = CertsAndPoliciesTraits<ASN1T_ESSCertID_traits, CESSCertID, CESSCertIDList>;

} // namespace

CAttrSigningCertificate::CAttrSigningCertificate()
    : CAttrSigningCertificateT(oidSigningCertificate) {}

CAttrSigningCertificate::CAttrSigningCertificate(const CESSCertIDList& certs)
    : CAttrSigningCertificate() {
    put_certs(certs);
}

CAttrSigningCertificate::CAttrSigningCertificate(const CBlob& der) : CAttrSigningCertificate() {
    value() = der;
    decode();
}

void CAttrSigningCertificate::put_certs(const CESSCertIDList& certs) {
    block_->certs = certs;
    encode();
}

void CAttrSigningCertificate::put_policies(const CPolicyInformationList* policies) {
    copy_to_auto_ptr(block_->policies, policies);
}

void CAttrSigningCertificate::encode() {
    value() = asn1Encode<ASN1T_SigningCertificate_traits, CAttrSigningCertificate>(*this);
}

void CAttrSigningCertificate::decode() {
    asn1Decode<ASN1T_SigningCertificate_traits, CAttrSigningCertificate>(get_value(), *this);
}

// SigningCertificate ::= SEQUENCE {
//     certs     SEQUENCE OF ESSCertID,
//     policies  SEQUENCE OF PolicyInformation OPTIONAL }

void ASN1T_SigningCertificate_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                          const CAttrSigningCertificate& value) {
    Fields::set(ctxt, record, value.get_certs(), value.get_policies());
}

// The value's encoded form stays as it is: it is what the record was read from.
void ASN1T_SigningCertificate_traits::get(const ASN1_T& record, CAttrSigningCertificate& value) {
    Fields::get(record, value.block_->certs, value.block_->policies);
}

void ASN1T_SigningCertificate_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_SigningCertificate(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
