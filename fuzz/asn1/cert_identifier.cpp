// Encoded identifiers of certificates, and the attributes that list them.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/signing_certificate.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip<ASN1::CIssuerSerial>(input);
    round_trip<ASN1::CESSCertID>(input);
    round_trip<ASN1::CESSCertIDv2>(input);
    round_trip<ASN1::COtherHash>(input);
    round_trip<ASN1::COtherCertID>(input);
    round_trip_typed<ASN1::CAttrSigningCertificate>(input);
    round_trip_typed<ASN1::CAttrSigningCertificateV2>(input);
    round_trip_typed<ASN1::CAttrOtherSigningCertificate>(input);
    return 0;
}
