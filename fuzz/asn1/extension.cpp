// Encoded extensions, as one and as a list, and the values of the typed ones.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/extension.h>
#include <chronoseal/asn1/typed_extension.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip<ASN1::CExtension>(input);
    round_trip<ASN1::CExtensions>(input);
    round_trip_typed<ASN1::CExtCRLReason>(input);
    round_trip_typed<ASN1::CExtHoldInstructionCode>(input);
    round_trip_typed<ASN1::CExtInvalidityDate>(input);
    round_trip_typed<ASN1::CExtCertificateIssuer>(input);
    round_trip_typed<ASN1::CExtPrivateKeyUsagePeriod>(input);
    return 0;
}
