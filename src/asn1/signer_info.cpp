#include <chronoseal/asn1/signer_info.h>

#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/signer_info_traits.h>

namespace Halcyon::ASN1 {

bool operator==(const CSignerInfo& a, const CSignerInfo& b) noexcept {
    return a.get_version() == b.get_version() &&
           a.get_digestAlgorithm() == b.get_digestAlgorithm() && a.get_issuer() == b.get_issuer() &&
           a.get_serialNumber() == b.get_serialNumber() && a.get_signature() == b.get_signature() &&
           a.get_signatureAlgorithm() == b.get_signatureAlgorithm();
}

// SignerInfo ::= SEQUENCE {
//     version             CMSVersion,
//     sid                 SignerIdentifier,
//     digestAlgorithm     DigestAlgorithmIdentifier,
//     signedAttrs         [0] IMPLICIT SignedAttributes OPTIONAL,
//     signatureAlgorithm  SignatureAlgorithmIdentifier,
//     signature           SignatureValue,
//     unsignedAttrs       [1] IMPLICIT UnsignedAttributes OPTIONAL }

void ASN1T_SignerInfo_get(CSignerInfo& value, const asn1data::ASN1T_SignerInfo& record) {
    value.put_version(record.version);
    CAlgorithmIdentifier algorithm;
    ASN1T_AlgorithmIdentifier_get(algorithm, record.digestAlgorithm);
    value.put_digestAlgorithm(algorithm);
    ASN1T_AlgorithmIdentifier_get(algorithm, record.signatureAlgorithm);
    value.put_signatureAlgorithm(algorithm);
    value.put_signature(CBlob(record.signature.data, record.signature.numocts));
    if (record.sid.t != 1) {
        fail_codec();
    }
    const asn1data::ASN1T_IssuerAndSerialNumber& id = *record.sid.u.issuerAndSerialNumber;
    CBigInteger serial_number;
    ASN1StringToBigInteger(id.serialNumber, serial_number);
    value.put_serialNumber(serial_number);
    value.put_issuer(CBlob(id.issuer.data, id.issuer.numocts));
}

} // namespace Halcyon::ASN1
