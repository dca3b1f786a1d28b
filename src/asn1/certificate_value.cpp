#include <chronoseal/asn1/certificate_value.h>

#include <chronoseal/asn1/certificate_traits.h>

namespace Halcyon::ASN1 {

CBlob CCertificateValue::encode() const {
    return asn1Encode<ASN1T_Certificate_traits, CCertificateValue>(*this);
}

void CCertificateValue::decode(const CBlob& der) {
    asn1Decode<ASN1T_Certificate_traits, CCertificateValue>(der, *this);
}

CBlob CCertificateValues::encode() const {
    return asn1Encode<ASN1T_CertificateValues_traits, CCertificateValues>(*this);
}

void CCertificateValues::decode(const CBlob& der) {
    asn1Decode<ASN1T_CertificateValues_traits, CCertificateValues>(der, *this);
}

void ASN1T_Certificate_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der) {
    asn1DecodeT<ASN1T_Certificate_traits>(der, ctxt, record);
}

void ASN1T_Certificate_traits::get(const ASN1_T& record, CBlob& der) {
    der = asn1EncodeT<ASN1T_Certificate_traits>(record);
}

void ASN1T_CertificateList_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& der) {
    asn1DecodeT<ASN1T_CertificateList_traits>(der, ctxt, record);
}

void ASN1T_CertificateList_traits::get(const ASN1_T& record, CBlob& der) {
    der = asn1EncodeT<ASN1T_CertificateList_traits>(record);
}

} // namespace Halcyon::ASN1
