// Encoded attributes, as one and as a set, and the values of the typed ones.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/attribute.h>
#include <chronoseal/asn1/typed_attribute.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip<ASN1::CAttribute>(input);
    round_trip<ASN1::CAttributes>(input);
    round_trip_typed<ASN1::CAttrContentType>(input);
    round_trip_typed<ASN1::CAttrMessageDigest>(input);
    round_trip_typed<ASN1::CAttrSigningTime>(input);
    return 0;
}
