#include <chronoseal/asn1/certificate_value.h>

#include <chronoseal/asn1/certificate_traits.h>
#include <chronoseal/asn1/encodable_definitions.h>

namespace Halcyon::ASN1 {

template class Encodable<CCertificateValue, ASN1T_Certificate_traits>;
template class Encodable<CCertificateValues, ASN1T_CertificateValues_traits>;

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
