#include "asn1/signing_certificate_v2.h"

#include "asn1/certs_and_policies_traits.h"
#include "asn1/codec.h"
#include "asn1/ess_cert_id_v2_traits.h"
#include "asn1/signing_certificate_v2_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidSigningCertificateV2[] = "1.2.840.113549.1.9.16.2.47";

using Fields = CertsAndPoliciesTraits<ASN1T_ESSCertIDv2_traits, CESSCertIDv2, CESSCertIDv2List>;

} // namespace

CAttrSigningCertificateV2::CAttrSigningCertificateV2()
    : CAttrSigningCertificateT(oidSigningCertificateV2) {}

CAttrSigningCertificateV2::CAttrSigningCertificateV2(const CESSCertIDv2List& certs)
    : CAttrSigningCertificateV2() {
    put_certs(certs);
}

CAttrSigningCertificateV2::CAttrSigningCertificateV2(const CBlob& der)
    : CAttrSigningCertificateV2() {
    value() = der;
    decode();
}

void CAttrSigningCertificateV2::put_certs(const CESSCertIDv2List& certs) {
    block_->certs = certs;
    encode();
}

void CAttrSigningCertificateV2::put_policies(const CPolicyInformationList* policies) {
    copy_to_auto_ptr(block_->policies, policies);
}

void CAttrSigningCertificateV2::encode() {
    value() = asn1Encode<ASN1T_SigningCertificateV2_traits, CAttrSigningCertificateV2>(*this);
}

void CAttrSigningCertificateV2::decode() {
    asn1Decode<ASN1T_SigningCertificateV2_traits, CAttrSigningCertificateV2>(get_value(), *this);
}

// SigningCertificateV2 ::= SEQUENCE {
//     certs     SEQUENCE OF ESSCertIDv2,
//     policies  SEQUENCE OF PolicyInformation OPTIONAL }

void ASN1T_SigningCertificateV2_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                            const CAttrSigningCertificateV2& value) {
    Fields::set(ctxt, record, value.get_certs(), value.get_policies());
}

// The value's encoded form stays as it is: it is what the record was read from.
void ASN1T_SigningCertificateV2_traits::get(const ASN1_T& record,
                                            CAttrSigningCertificateV2& value) {
    Fields::get(record, value.block_->certs, value.block_->policies);
}

void ASN1T_SigningCertificateV2_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_SigningCertificateV2(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
